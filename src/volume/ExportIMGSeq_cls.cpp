// PNG slice export.
// Sections: names; slices; PNG files; the export.
#include "volume/ExportIMGSeq_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include <png.h>

namespace
{

constexpr const char* kSource = "SRC/DF3/FILEIO/clsExportIMGSeq";

// --- names ------------------------------------------------------------------------------------

// One integer conversion found in a pattern: where it is, its width and padding.
struct Conversion {
    size_t uBegin = 0, uEnd = 0;
    int iWidth = 0;
    bool bZero = false;
};

// Literal text of a pattern piece: "%%" stands for "%".
std::wstring Literal(const std::wstring& text)
{
    std::wstring out;
    for (size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] == L'%' && i + 1 < text.size() && text[i + 1] == L'%')
            ++i;
    }
    return out;
}

// Finds the one integer conversion; false when there is none, more than one or another kind.
bool FindConversion(const std::wstring& pattern, Conversion& found)
{
    int count = 0;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != L'%')
            continue;
        if (i + 1 < pattern.size() && pattern[i + 1] == L'%') {
            ++i;
            continue;
        }
        Conversion c;
        c.uBegin = i++;
        if (i < pattern.size() && pattern[i] == L'0') {
            c.bZero = true;
            ++i;
        }
        while (i < pattern.size() && pattern[i] >= L'0' && pattern[i] <= L'9' && c.iWidth < 100)
            c.iWidth = c.iWidth * 10 + (pattern[i++] - L'0');
        if (i >= pattern.size() || (pattern[i] != L'd' && pattern[i] != L'i' && pattern[i] != L'u') || c.iWidth > 32)
            return false;
        c.uEnd = i + 1;
        found = c;
        ++count;
    }
    return count == 1;
}

int DecimalDigits(uint64_t n)
{
    int digits = 1;
    while (n >= 10) {
        n /= 10;
        ++digits;
    }
    return digits;
}

// --- PNG files --------------------------------------------------------------------------------

// libpng reports errors by longjmp; the state it jumps back to lives outside the coding frame.
struct PngWriteJob {
    FILE* pFile = nullptr;
    png_structp pPng = nullptr;
    png_infop pInfo = nullptr;
    const uint8_t* pPixels = nullptr;
    uint32_t uWidth = 0, uHeight = 0;
    char acMessage[256] = {};
};

void PngWriteError(png_structp png, png_const_charp message)
{
    auto* job = static_cast<PngWriteJob*>(png_get_error_ptr(png));
    std::snprintf(job->acMessage, sizeof job->acMessage, "%s", message);
    png_longjmp(png, 1);
}

void PngWriteWarning(png_structp, png_const_charp)
{
}

bool PngEncode(PngWriteJob* job)
{
    if (setjmp(png_jmpbuf(job->pPng)))
        return false;
    png_init_io(job->pPng, job->pFile);
    // Level 3 writes CT-sized slices about twice as fast as the default for a few percent more bytes.
    png_set_compression_level(job->pPng, 3);
    png_set_IHDR(job->pPng, job->pInfo, job->uWidth, job->uHeight, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(job->pPng, job->pInfo);
    for (uint32_t y = 0; y < job->uHeight; ++y)
        png_write_row(job->pPng, job->pPixels + static_cast<size_t>(y) * job->uWidth);
    png_write_end(job->pPng, nullptr);
    return true;
}

} // namespace

// --- names ------------------------------------------------------------------------------------

bool ExportIMGSeq_cls::MakeFileNames(const Settings& settings, uint32_t count, std::vector<std::wstring>& names,
                                     std::wstring& error)
{
    names.clear();
    std::wstring pattern = settings.strPattern;
    if (pattern.empty()) {
        error = TrW("No file name was given for the slices");
        return false;
    }
    if (settings.iFirstNumber < 0) {
        error = TrW("The first slice number must not be negative");
        return false;
    }
    std::error_code ec;
    const bool isFolder = std::filesystem::is_directory(std::filesystem::path(Narrow(pattern)), ec);
    if (isFolder || pattern.back() == L'/') {
        if (pattern.back() != L'/')
            pattern += L'/';
        if (!isFolder) {
            std::filesystem::create_directories(std::filesystem::path(Narrow(pattern)), ec);
            if (ec) {
                error = WStrPrintf(Tr("%s can not be created").c_str(), Narrow(pattern).c_str());
                return false;
            }
        }
        const uint64_t last = static_cast<uint64_t>(settings.iFirstNumber) + (count ? count - 1 : 0);
        pattern += WStrPrintf("slice_%%0%dd.png", std::max(4, DecimalDigits(last)));
    }
    Conversion c;
    if (!FindConversion(pattern, c)) {
        error = WStrPrintf(
            Tr("%s: the name needs exactly one number such as %%04d (and no other %% sign but %%%%)").c_str(),
            Narrow(pattern).c_str());
        return false;
    }
    const std::wstring before = Literal(pattern.substr(0, c.uBegin));
    const std::wstring after = Literal(pattern.substr(c.uEnd));
    names.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const long long n = static_cast<long long>(settings.iFirstNumber) + i;
        names.push_back(before + WStrPrintf(c.bZero ? "%0*lld" : "%*lld", c.iWidth, n) + after);
    }
    return true;
}

// --- slices -----------------------------------------------------------------------------------

void ExportIMGSeq_cls::ExtractSlice(const DF3_cls& frame, const uint8_t* data, int axis, uint32_t p,
                                    std::vector<uint8_t>& out)
{
    const int S = AxisXYZSTU_cls::GetAxisS(axis), T = AxisXYZSTU_cls::GetAxisT(axis);
    const uint32_t ns = frame.GetCurrSize(S), nt = frame.GetCurrSize(T);
    out.resize(static_cast<size_t>(ns) * nt);
    uint32_t c[3] = {0, 0, 0};
    c[axis] = p;
    // Voxels one step apart along S are `stride` bytes apart: 1 along X, a row along Y.
    const size_t stride = S == AxisXYZSTU_cls::AXIS_X ? 1 : frame.GetCurrSize(AxisXYZSTU_cls::AXIS_X);
    for (uint32_t t = 0; t < nt; ++t) {
        c[T] = t;
        const uint8_t* src = data + frame.GetIndex(c[0], c[1], c[2]);
        uint8_t* row = out.data() + static_cast<size_t>(t) * ns;
        if (stride == 1)
            std::memcpy(row, src, ns);
        else
            for (uint32_t s = 0; s < ns; ++s)
                row[s] = src[s * stride];
    }
}

// --- PNG files --------------------------------------------------------------------------------

bool ExportIMGSeq_cls::WritePng(const std::wstring& path, const uint8_t* pixels, uint32_t width, uint32_t height,
                                std::wstring& error)
{
    const std::string name = Narrow(path);
    // O_EXCL: a file that appeared since the names were checked is still not overwritten.
    const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = errno == EEXIST ? WStrPrintf("%s %s", name.c_str(), Tr("overwrite forbidden").c_str())
                                : WStrPrintf(Tr("%s can not open").c_str(), name.c_str());
        return false;
    }
    PngWriteJob job;
    job.pFile = fdopen(fd, "wb");
    if (!job.pFile) {
        close(fd);
        unlink(name.c_str());
        error = WStrPrintf(Tr("%s can not open").c_str(), name.c_str());
        return false;
    }
    job.pPixels = pixels;
    job.uWidth = width;
    job.uHeight = height;
    job.pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, &job, PngWriteError, PngWriteWarning);
    if (job.pPng)
        job.pInfo = png_create_info_struct(job.pPng);
    bool ok = job.pPng && job.pInfo && PngEncode(&job);
    png_destroy_write_struct(&job.pPng, &job.pInfo);
    ok = std::fflush(job.pFile) == 0 && ok;
    ok = std::fclose(job.pFile) == 0 && ok;
    if (!ok) {
        unlink(name.c_str());
        error = WStrPrintf(Tr("%s could not be written completely").c_str(), name.c_str());
        if (job.acMessage[0])
            error += L" (" + Widen(job.acMessage) + L")";
    }
    return ok;
}

// --- the export -------------------------------------------------------------------------------

bool ExportIMGSeq_cls::OutputIMGSeq(const Settings& settings, UserPrompt_cls* prompt)
{
    TESSAN_ASSERT(mpDF3->IsAllocated() == 1, kSource);
    TESSAN_ASSERT(settings.iAxis >= 0 && settings.iAxis <= 2, kSource);
    if (!mpDF3->IsAllocated() || settings.iAxis < 0 || settings.iAxis > 2)
        return false;
    const int axis = settings.iAxis;
    const uint32_t count = mpDF3->GetCurrSize(axis);
    std::vector<std::wstring> names;
    std::wstring error;
    if (!MakeFileNames(settings, count, names, error)) {
        prompt->Message(error, TrW("Write Error"));
        return false;
    }
    // Every name is checked before anything is written, so a refused export leaves no trace.
    for (const std::wstring& name : names) {
        std::error_code ec;
        if (std::filesystem::exists(std::filesystem::symlink_status(std::filesystem::path(Narrow(name)), ec))) {
            prompt->Message(WStrPrintf("%s %s", Narrow(name).c_str(), Tr("overwrite forbidden").c_str()),
                            TrW("Write Error"));
            return false;
        }
    }

    const uint8_t* data = mpDF3->GetXYZData();
    DF3Sequence_cls* owner = mpDF3->GetOwner();
    if (owner && owner->IsFilterProcessRequired()) {
        if (!mpDF3->IsProcessed())
            mpDF3->ProcessXYZData();
        data = mpDF3->GetProcessedData();
    }

    static const char kAxisName[3] = {'X', 'Y', 'Z'};
    const uint32_t width = mpDF3->GetCurrSizeS(axis), height = mpDF3->GetCurrSizeT(axis);
    prompt->SetStatusText(WStrPrintf(Tr("Writing %u PNG slices across %c (%u x %u): %s").c_str(), count,
                                     kAxisName[axis], width, height, Narrow(names.empty() ? L"" : names[0]).c_str()),
                          0);
    std::vector<uint8_t> slice;
    for (uint32_t p = 0; p < count; ++p) {
        ExtractSlice(*mpDF3, data, axis, p, slice);
        if (!WritePng(names[p], slice.data(), width, height, error)) {
            // A half-written series is of no use: the slices written so far go as well.
            for (uint32_t q = 0; q < p; ++q)
                unlink(Narrow(names[q]).c_str());
            prompt->SetProgress(-1);
            prompt->Message(error, TrW("Write Error"));
            return false;
        }
        prompt->SetProgress(static_cast<int>((static_cast<uint64_t>(p) + 1) * 100 / count));
    }
    prompt->SetProgress(-1);
    prompt->SetStatusText(WStrPrintf(Tr("%u PNG slices written").c_str(), count), 0);
    return true;
}
