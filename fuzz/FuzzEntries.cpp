// Entry points of the fuzz targets and of the corpus replay test.
//
// Sections: helpers (in-memory files, byte text, limits); DF3 files; configuration lines;
// project text; key-frame text; image slices; text volumes; the target table.
//
// Inputs are bounded where the application itself would honestly need the memory (a header may
// promise up to 2 GB of voxels, which the program allocates before it looks at the body): such
// inputs are still read as far as the header, but their bodies are skipped, so one fuzz process
// never needs more than a few megabytes per input.
#include "FuzzEntries.h"

#include "anim/KeyFrame_cls.h"
#include "anim/MultiParameters_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "color/CustomColor_cls.h"
#include "config/ConfItemList_cls.h"
#include "config/ConfItem_cls.h"
#include "config/LineStream_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "pov/Camera_cls.h"
#include "pov/LightSRC_cls.h"
#include "pov/PovRay_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"
#include "volume/ImageSliceReader_cls.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

namespace
{

// ---- helpers ------------------------------------------------------------------------------------

/// Largest voxel count whose body a fuzz input may have read (4 Mi voxels, a few MB of buffers).
constexpr uint64_t kMaxFuzzVoxels = uint64_t(1) << 22;
/// Read calls allowed for one resumable read before it counts as stuck.
constexpr int kMaxResumeCalls = 100000;

/// The input as an anonymous in-memory file, reachable by path through /proc/self/fd.
class MemFile_cls
{
  public:
    MemFile_cls(const uint8_t* data, size_t size)
    {
        miFd = memfd_create("tessan-fuzz", MFD_CLOEXEC);
        CheckOrAbort(miFd >= 0, "memfd_create failed");
        size_t done = 0;
        while (done < size) {
            const ssize_t n = write(miFd, data + done, size - done);
            CheckOrAbort(n > 0, "write to memfd failed");
            done += static_cast<size_t>(n);
        }
    }
    ~MemFile_cls() { close(miFd); }
    MemFile_cls(const MemFile_cls&) = delete;
    MemFile_cls& operator=(const MemFile_cls&) = delete;
    std::wstring Path() const { return Widen("/proc/self/fd/" + std::to_string(miFd)); }

  private:
    int miFd = -1;
};

/// Each byte becomes one character, as the project reader takes a file.
std::wstring ByteText(const uint8_t* data, size_t size)
{
    std::wstring t;
    t.reserve(size);
    for (size_t i = 0; i < size; ++i)
        t.push_back(static_cast<wchar_t>(data[i]));
    return t;
}

/// All lines of a text, split as the readers split them.
std::vector<std::wstring> Lines(const std::wstring& text)
{
    LineStream_cls stream(text);
    std::vector<std::wstring> lines;
    std::wstring line;
    while (stream.GetLine(line))
        lines.push_back(line);
    return lines;
}

/// Reads a frame's body with a zero time budget, one block per call, as idle passes would.
/// Returns the result of the last call; aborts when the read never finishes.
bool ReadResumed(DF3_cls& frame, UserPrompt_cls* prompt, ResumableProgress_cls& reader)
{
    reader.SetTimeBudget(0);
    for (int call = 0; call < kMaxResumeCalls; ++call) {
        if (!frame.ReadBodyIfNotFinished(false, prompt))
            return false;
        if (frame.IsReadFinished())
            return true;
    }
    CheckOrAbort(false, "resumable read never finishes");
    return false;
}

std::vector<uint8_t> FrameBytes(const DF3_cls& frame)
{
    const uint8_t* p = frame.GetXYZData();
    return p ? std::vector<uint8_t>(p, p + frame.GetCurrentTotalSize()) : std::vector<uint8_t>();
}

// ---- DF3 files ------------------------------------------------------------------------------------

/// The voxels the reader must produce, decoded independently of it; empty when the file size
/// fits neither sample width.
bool ReferenceDf3(const uint8_t* data, size_t size, const uint32_t* f, std::vector<uint8_t>& out)
{
    uint32_t sz[3];
    for (int a = 0; a < 3; ++a)
        sz[a] = static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>((data[2 * a] << 8) | data[2 * a + 1])));
    const uint64_t total = uint64_t(sz[0]) * sz[1] * sz[2];
    int width = 0;
    if (total <= kMaxFuzzVoxels && size == 2 * total + 6)
        width = 2;
    else if (total <= kMaxFuzzVoxels && size == total + 6)
        width = 1;
    if (width == 0)
        return false;
    const uint32_t cx = sz[0] / f[0], cy = sz[1] / f[1], cz = sz[2] / f[2];
    out.clear();
    if (uint64_t(cx) * cy * cz == 0)
        return true; // a 0-size axis beside a negative (huge) one: nothing to walk
    out.reserve(uint64_t(cx) * cy * cz);
    for (uint32_t z = 0; z < cz; ++z)
        for (uint32_t y = 0; y < cy; ++y)
            for (uint32_t x = 0; x < cx; ++x) {
                const uint64_t i = (uint64_t(y) * f[1] + uint64_t(z) * f[2] * sz[1]) * sz[0] + uint64_t(x) * f[0];
                out.push_back(data[6 + i * width]);
            }
    return true;
}

void FuzzDf3Once(const uint8_t* data, size_t size, const std::wstring& path, const uint32_t* factors)
{
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    seq.SetMessageParent(&prompt);
    for (int a = 0; a < 3; ++a)
        seq.SetDownSizeSRC(a, factors[a]);
    DF3_cls frame(&seq);
    frame.SetFilePath(path);
    if (!frame.ReadHeader(&prompt)) {
        CheckOrAbort(prompt.MessageCount() == 1, "a failed DF3 header read gives one message");
        return;
    }
    CheckOrAbort(size >= 6, "a header was read from fewer than 6 bytes");
    // A body that cannot fit: the real program allocates (up to 2 GB) and then finds the size
    // inconsistency; the fuzzer stops at the header.
    if (frame.GetTrueTotalSize() > kMaxFuzzVoxels)
        return;
    if (!frame.Allocate()) {
        CheckOrAbort(prompt.MessageCount() == 1, "a refused allocation gives one message");
        return;
    }
    std::vector<uint8_t> expected;
    const bool consistent = ReferenceDf3(data, size, factors, expected);
    const bool ok = ReadResumed(frame, &prompt, frame.GetReadBodyDF3());
    CheckOrAbort(ok == consistent, "DF3 read result disagrees with the file size rule");
    if (ok) {
        CheckOrAbort(prompt.MessageCount() == 0, "a good DF3 read shows a message");
        CheckOrAbort(FrameBytes(frame) == expected, "DF3 voxels differ from the independent decoding");
    } else {
        CheckOrAbort(prompt.MessageCount() == 1, "a failed DF3 body read gives one message");
        CheckOrAbort(!frame.IsValid() && !frame.IsReadFinished(), "a failed DF3 read leaves a valid frame");
    }
    // Reading the same file again after a release gives the same voxels.
    if (ok) {
        frame.Release();
        frame.SetFilePath(path);
        CheckOrAbort(frame.ReadHeader(&prompt) && frame.Allocate(), "second header read of the same file fails");
        CheckOrAbort(frame.ReadBodyIfNotFinished(true, &prompt), "uninterrupted read fails where resumed succeeded");
        CheckOrAbort(FrameBytes(frame) == expected, "uninterrupted read differs from resumed read");
    }
}

// ---- configuration lines ---------------------------------------------------------------------

/// A list with one item of every type, keys chosen so that none is the tail of another.
struct ConfSet {
    ConfItemBOOL_cls b;
    ConfItemINT_cls i;
    ConfItemUINT_cls u;
    ConfItemFLOAT_cls f;
    ConfItemDOUBLE_cls d;
    ConfItemSTR_cls s;
    ConfItemBOOLARRAY_cls ba;
    ConfItemINTARRAY_cls ia;
    ConfItemUINTARRAY_cls ua;
    ConfItemFLOATARRAY_cls fa;
    ConfItemList_cls list;
    std::vector<ConfItem_cls*> items;
    ConfSet()
    {
        list.Add(&b, L"ToolTip=", L"1");
        list.Add(&i, L"IntVal=", L"-3");
        list.Add(&u, L"DF3CritXYMemoryMB=", L"200");
        list.Add(&f, L"FloatVal=", L"0.5");
        list.Add(&d, L"DoubleVal=", L"2.25");
        list.Add(&s, L"POVRAY_PATH=", L"/usr/bin/povray");
        list.Add(&ba, L"BoolArr=", L"1 0 1");
        list.Add(&ia, L"IntArr=", L"-1 2");
        list.Add(&ua, L"DownSizeSRC=", L"1 1 1");
        list.Add(&fa, L"FloatArr=", L"0.1 0.2 0.3");
        items = {&b, &i, &u, &f, &d, &s, &ba, &ia, &ua, &fa};
    }
};

void CheckConfRoundTrip(ConfSet& set)
{
    ConfSet fresh;
    for (size_t k = 0; k < set.items.size(); ++k) {
        const std::wstring line = set.items[k]->Serialize();
        if (line.empty())
            continue; // "!!SKIP!!" writes nothing
        CheckOrAbort(line.compare(0, set.items[k]->GetKey().size(), set.items[k]->GetKey()) == 0,
                     "an item line does not start with its key");
        CheckOrAbort(line.back() == L'\n' && line.find(L'\n') == line.size() - 1, "an item is not one line");
        CheckOrAbort(fresh.items[k]->ReadStrLine(line.substr(0, line.size() - 1)), "an item misses its own line");
        CheckOrAbort(fresh.items[k]->Serialize() == line, "an item line changes when read back");
    }
}

// ---- project text -----------------------------------------------------------------------------

/// The pieces of the core that take project lines, offered every line in the file's order.
struct ProjectSet {
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls slots{&clock};
    PovRay_cls pov;
    Camera_cls camera;
    CustomColor_cls colours;
    LightSRC_cls light;
    Parameters_cls boxSize{6, L"BoxSize"};
    Parameters_cls boxRotate{3, L"BoxRotate"};
    MultiParameters_cls lights{4, L"Light"};

    void Read(const std::wstring& text)
    {
        FilterCtrl_cls::PushListOmit();
        LineStream_cls stream(text);
        std::wstring line;
        while (stream.GetLine(line)) {
            if (slots.ReadStrLineAllDF3Sequence(stream, line))
                continue;
            // The block readers take their own marker lines (and the lines of their block).
            const bool taken = clock.ReadStrLine(stream, line) || light.ReadStrLine(stream, line) ||
                               boxSize.ReadStrLine(stream, line) || boxRotate.ReadStrLine(stream, line) ||
                               lights.ReadStrLine(stream, line) || colours.ReadStrLine(stream, line);
            if (!taken) {
                slots.GetActiveSequence().GetFilterCtrl().ReadStrLine(stream, line);
                slots.ReadStrLine(line);
                pov.ReadStrLine(line);
                camera.ReadStrLine(line);
            }
        }
        FilterCtrl_cls::PopListOmit();
    }
    std::wstring Write()
    {
        return slots.SerializeConf() + pov.Serialize() + camera.SerializeConf() + slots.SerializeAllDF3Sequence() +
               clock.SerializeParam() + boxSize.Serialize() + boxRotate.Serialize() + lights.Serialize() +
               light.Serialize() + colours.Serialize();
    }
};

/// Runs every slot's chain, as read, over a small volume: a garbled setting must not crash it.
void RunChains(ProjectSet& set)
{
    const unsigned size[3] = {6, 5, 4};
    std::vector<unsigned char> in(6 * 5 * 4), next(in.size()), out(in.size());
    for (size_t k = 0; k < in.size(); ++k) {
        in[k] = static_cast<unsigned char>(k * 37 + 11);
        next[k] = static_cast<unsigned char>(k * 11 + 200);
    }
    for (int slot = 0; slot < DF3SeqCtrl_cls::kSlotCount; ++slot) {
        FilterCtrl_cls& chain = set.slots.GetSequence(slot).GetFilterCtrl();
        chain.UpdateParameters(0.5);
        chain.ProcessXYZData(out.data(), in.data(), size, true, 0.25f, next.data());
    }
}

// ---- key-frame text -------------------------------------------------------------------------

void CheckParameters(Parameters_cls& p)
{
    const std::wstring once = p.Serialize();
    Parameters_cls again(p.GetDimension(), p.GetName());
    LineStream_cls stream(once);
    std::wstring first;
    CheckOrAbort(stream.GetLine(first) && again.ReadStrLine(stream, first), "a parameter block misses its own text");
    CheckOrAbort(again.Serialize() == once, "a parameter block changes when read back");
    // Values at a few times, including every key's own time.
    std::vector<double> times = {-1.0, 0.0, 0.25, 0.5, 1.0, 2.0};
    for (int k = 0; k < p.GetKeyNumber() && k < 64; ++k)
        times.push_back(p.GetKeyFrameDoubleIndex(k));
    for (double t : times) {
        const double* v = p.GetPInterpolatedValue(t, 0.0);
        CheckOrAbort(v != nullptr || p.GetDimension() == 0, "no value array");
    }
}

// ---- image slices -------------------------------------------------------------------------------

/// Largest picture the fuzzer decodes (16 Mi pixels).
constexpr uint64_t kMaxFuzzPixels = uint64_t(1) << 24;

const wchar_t* ExtensionOf(ImageSliceReader_cls::Kind kind)
{
    switch (kind) {
    case ImageSliceReader_cls::KIND_PNG:
        return L".png";
    case ImageSliceReader_cls::KIND_TIFF:
        return L".tif";
    case ImageSliceReader_cls::KIND_JPEG:
        return L".jpg";
    case ImageSliceReader_cls::KIND_BMP:
        return L".bmp";
    default:
        return L".png";
    }
}

/// A scratch folder of this process for inputs that need a real file name, removed at exit. It
/// lies in memory (/dev/shm) where there is one: a file written and removed per input then costs
/// no disk I/O.
const std::filesystem::path& ScratchDir()
{
    struct Folder {
        std::filesystem::path path;
        Folder()
        {
            std::error_code ec;
            const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", ec)
                                                   ? std::filesystem::path("/dev/shm")
                                                   : std::filesystem::temp_directory_path();
            path = base / ("tessan-fuzz-" + std::to_string(getpid()));
            std::filesystem::create_directories(path);
        }
        ~Folder()
        {
            std::error_code ec;
            std::filesystem::remove_all(path, ec);
        }
    };
    static const Folder folder;
    return folder.path;
}

// ---- text volumes -------------------------------------------------------------------------------

struct TextLoad {
    RecordingPrompt_cls prompt;
    DF3Sequence_cls seq;
    DF3_cls frame{&seq};
    bool header = false, body = false;
    TextLoad() { seq.SetMessageParent(&prompt); }
};

} // namespace

namespace
{
std::string GStrFuzzCaseName;
}

void SetFuzzCaseName(const std::string& name)
{
    GStrFuzzCaseName = name;
}

void CheckOrAbort(bool ok, const char* what)
{
    if (ok)
        return;
    std::fprintf(stderr, "fuzz check failed: %s%s%s\n", what, GStrFuzzCaseName.empty() ? "" : " in ",
                 GStrFuzzCaseName.c_str());
    std::abort();
}

int FuzzDf3File(const uint8_t* data, size_t size)
{
    MemFile_cls file(data, size);
    static const uint32_t kPlain[3] = {1, 1, 1}, kDown[3] = {2, 1, 3};
    FuzzDf3Once(data, size, file.Path(), kPlain);
    FuzzDf3Once(data, size, file.Path(), kDown);
    return 0;
}

int FuzzConfigLines(const uint8_t* data, size_t size)
{
    // Once with each byte as a character (the file reader's way), once decoded as UTF-8.
    for (const std::wstring& text :
         {ByteText(data, size), Widen(std::string_view(reinterpret_cast<const char*>(data), size))}) {
        ConfSet set;
        for (const std::wstring& line : Lines(text))
            set.list.ReadStrLineAll(line);
        CheckConfRoundTrip(set);
        const std::wstring all = set.list.SerializeAll();
        CheckOrAbort(Lines(all).size() <= set.items.size(), "more lines written than items");
    }
    return 0;
}

int FuzzProjectText(const uint8_t* data, size_t size)
{
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped(&prompt);
    const std::wstring text = ByteText(data, size);
    auto first = std::make_unique<ProjectSet>();
    first->Read(text);
    RunChains(*first);
    // What was read must write and read back without trouble.
    const std::wstring written = first->Write();
    auto second = std::make_unique<ProjectSet>();
    second->Read(written);
    RunChains(*second);
    return 0;
}

int FuzzKeyFrameText(const uint8_t* data, size_t size)
{
    // The first byte picks the dimension of the set (1..7), the rest is the text.
    const unsigned dimension = size == 0 ? 1u : 1u + data[0] % 7u;
    const std::wstring text = size == 0 ? std::wstring() : ByteText(data + 1, size - 1);
    Parameters_cls::SetFrameNumber(size == 0 ? 1 : 1 + data[0] / 7);
    const std::vector<std::wstring> lines = Lines(text);
    // Single key lines.
    for (const std::wstring& line : lines) {
        KeyFrame_cls key;
        if (!key.ReadStrLine(line))
            continue;
        const std::wstring once = key.Serialize();
        KeyFrame_cls again;
        CheckOrAbort(again.ReadStrLine(once), "a key misses its own line");
        CheckOrAbort(again.Serialize() == once, "a key line changes when read back");
    }
    // Parameter blocks wherever they start.
    LineStream_cls stream(text);
    std::wstring line;
    Parameters_cls p(dimension, L"Fz");
    MultiParameters_cls multi(dimension, L"Fz");
    while (stream.GetLine(line)) {
        if (p.ReadStrLine(stream, line))
            CheckParameters(p);
        else
            multi.ReadStrLine(stream, line);
    }
    const std::wstring multiText = multi.Serialize();
    MultiParameters_cls multiAgain(dimension, L"Fz");
    LineStream_cls multiStream(multiText);
    CheckOrAbort(multiStream.GetLine(line) && multiAgain.ReadStrLine(multiStream, line), "a list misses its own text");
    CheckOrAbort(multiAgain.Serialize() == multiText, "a parameter list changes when read back");
    Parameters_cls::SetFrameNumber(1);
    return 0;
}

int FuzzImageSlice(const uint8_t* data, size_t size)
{
    MemFile_cls file(data, size);
    ImageSliceReader_cls reader;
    ImageSliceReader_cls::Info info;
    const ImageSliceReader_cls::Kind kind = ImageSliceReader_cls::DetectKind(file.Path());
    const bool infoOk = reader.ReadInfo(file.Path(), info);
    CheckOrAbort(infoOk || !reader.GetError().empty(), "a failed image read gives no reason");
    std::vector<std::vector<uint8_t>> pages;
    if (infoOk && uint64_t(info.uWidth) * info.uHeight * std::min<uint32_t>(info.uPages, 4) <= kMaxFuzzPixels) {
        CheckOrAbort(info.eKind == kind, "header kind differs from the detected kind");
        for (uint32_t page = 0; page < std::min<uint32_t>(info.uPages, 4); ++page) {
            std::vector<uint8_t> grey;
            uint32_t w = 0, h = 0;
            if (!reader.ReadSlice(file.Path(), page, grey, w, h)) {
                CheckOrAbort(!reader.GetError().empty(), "a failed slice decode gives no reason");
                break;
            }
            // The header is page 0's; later pages of a TIFF file may have sizes of their own.
            CheckOrAbort(page > 0 || (w == info.uWidth && h == info.uHeight), "decoded size differs from the header");
            CheckOrAbort(grey.size() == uint64_t(w) * h, "decoded slice has the wrong byte count");
            pages.push_back(std::move(grey));
        }
        reader.Close();
    }
    if (!infoOk || kind == ImageSliceReader_cls::KIND_UNKNOWN)
        return 0;
    if (uint64_t(info.uWidth) * info.uHeight * info.uPages > kMaxFuzzVoxels)
        return 0;
    // The same bytes as the only slice of a stack, through the frame reader.
    const std::filesystem::path slice = ScratchDir() / (L"s_0000" + std::wstring(ExtensionOf(kind)));
    {
        std::FILE* f = std::fopen(slice.c_str(), "wb");
        CheckOrAbort(f != nullptr, "cannot write the scratch slice");
        CheckOrAbort(std::fwrite(data, 1, size, f) == size, "cannot write the scratch slice");
        std::fclose(f);
    }
    {
        RecordingPrompt_cls prompt;
        DF3Sequence_cls seq;
        seq.SetMessageParent(&prompt);
        DF3_cls frame(&seq);
        frame.SetFilePath(Widen(slice.string()), L"", DF3_cls::FORMAT_IMGSEQ);
        if (frame.ReadHeader(&prompt) && frame.GetTrueTotalSize() <= kMaxFuzzVoxels && frame.Allocate()) {
            const bool ok = ReadResumed(frame, &prompt, frame.GetReadBodyImgSeq());
            CheckOrAbort(ok == (prompt.MessageCount() == 0), "image-stack read result and messages disagree");
            if (ok && pages.size() == frame.GetCurrSize(2)) {
                std::vector<uint8_t> expected;
                for (const auto& page : pages)
                    expected.insert(expected.end(), page.begin(), page.end());
                CheckOrAbort(FrameBytes(frame) == expected, "stack voxels differ from the decoded slices");
            }
        }
    }
    std::filesystem::remove(slice);
    return 0;
}

int FuzzTextVolume(const uint8_t* data, size_t size)
{
    MemFile_cls file(data, size);
    TextLoad whole, resumed;
    for (TextLoad* load : {&whole, &resumed}) {
        load->frame.SetFilePath(file.Path(), L"", DF3_cls::FORMAT_TXT);
        load->header = load->frame.ReadHeader(&load->prompt);
        if (!load->header) {
            CheckOrAbort(load->prompt.MessageCount() == 1, "a failed text header gives one message");
            return 0;
        }
        if (load->frame.GetTrueTotalSize() > kMaxFuzzVoxels || !load->frame.Allocate())
            return 0;
    }
    whole.body = whole.frame.ReadBodyIfNotFinished(true, &whole.prompt);
    resumed.body = ReadResumed(resumed.frame, &resumed.prompt, resumed.frame.GetReadBodyTxt());
    CheckOrAbort(whole.body == resumed.body, "resumed text read result differs from an uninterrupted one");
    CheckOrAbort(whole.prompt.MessageCount() == (whole.body ? 0u : 1u), "text read result and messages disagree");
    if (whole.body)
        CheckOrAbort(FrameBytes(whole.frame) == FrameBytes(resumed.frame), "resumed text read differs in voxels");
    else
        CheckOrAbort(whole.prompt.Messages()[0].text == resumed.prompt.Messages()[0].text,
                     "resumed text read reports a different failure");
    return 0;
}

const std::vector<FuzzTarget>& GetFuzzTargets()
{
    static const std::vector<FuzzTarget> targets = {
        {"df3", FuzzDf3File},           {"config_lines", FuzzConfigLines}, {"project", FuzzProjectText},
        {"keyframe", FuzzKeyFrameText}, {"image_slice", FuzzImageSlice},   {"text_volume", FuzzTextVolume},
    };
    return targets;
}
