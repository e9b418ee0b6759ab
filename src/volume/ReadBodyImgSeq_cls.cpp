// Image-stack reader.
// Sections: finding the slices; header; body.
#include "volume/ReadBodyImgSeq_cls.h"

#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "volume/DF3_cls.h"
#include "volume/NumberedSeries_cls.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr const char* kSource = "SRC/DF3/FILEIO/clsReadBodyImgSeq";

} // namespace

// --- finding the slices -----------------------------------------------------------------------

std::vector<std::wstring> ReadBodyImgSeq_cls::FindSliceFiles(const std::wstring& path, const std::wstring& last)
{
    std::vector<std::wstring> all = NumberedSeries_cls::Find(path);
    if (last.empty() || last == path)
        return last.empty() ? all : std::vector<std::wstring>{path};
    const NumberedSeries_cls::Parts a = NumberedSeries_cls::Split(path);
    const NumberedSeries_cls::Parts b = NumberedSeries_cls::Split(last);
    if (!a.bNumbered || !b.bNumbered || a.strPrefix != b.strPrefix || a.strSuffix != b.strSuffix ||
        a.strDigits.size() != b.strDigits.size())
        return {};
    // Equal digit counts: comparing the digits as text is comparing the numbers.
    const std::wstring& lo = std::min(a.strDigits, b.strDigits);
    const std::wstring& hi = std::max(a.strDigits, b.strDigits);
    std::vector<std::wstring> range;
    for (const std::wstring& file : all) {
        const std::wstring digits = file.substr(a.strPrefix.size(), a.strDigits.size());
        if (digits >= lo && digits <= hi)
            range.push_back(file);
    }
    if (range.empty())
        range.push_back(path);
    return range;
}

// --- header -----------------------------------------------------------------------------------

bool ReadBodyImgSeq_cls::ReadHeaderInfo(UserPrompt_cls* parent)
{
    const std::wstring& path = mpDF3->GetFilePath();
    auto fail = [&](const std::wstring& text) {
        if (parent)
            parent->Message(text, TrW("read error Header Image"));
        mvStrFiles.clear();
        mbMultiPage = false;
        return false;
    };
    mvStrFiles.clear();
    mbMultiPage = false;
    ImageSliceReader_cls::Info info;
    if (!mCImage.ReadInfo(path, info))
        return fail(path + L"\n" + mCImage.GetError());
    uint32_t depth;
    if (info.eKind == ImageSliceReader_cls::KIND_TIFF && info.uPages > 1) {
        mvStrFiles.push_back(path);
        mbMultiPage = true;
        depth = info.uPages;
    } else {
        mvStrFiles = FindSliceFiles(path, mpDF3->GetFilePath2());
        if (mvStrFiles.empty())
            return fail(path + L"\n" + mpDF3->GetFilePath2() + L"\n" +
                        TrW("The first and the last slice do not belong to one numbered series"));
        if (mvStrFiles.front() != path && !mCImage.ReadInfo(mvStrFiles.front(), info))
            return fail(mvStrFiles.front() + L"\n" + mCImage.GetError());
        depth = static_cast<uint32_t>(mvStrFiles.size());
    }
    if (info.uWidth == 0 || info.uHeight == 0)
        return fail(mvStrFiles.front() + L"\n" + TrW("The image has no pixels"));
    mCFirstInfo = info;
    mpDF3->SetTrueSize(info.uWidth, info.uHeight, depth);
    return true;
}

// --- body -------------------------------------------------------------------------------------

bool ReadBodyImgSeq_cls::MainProcess(bool noInterrupt, UserPrompt_cls* parent)
{
    UserPrompt_cls* prompt = parent ? parent : mpDF3->GetMessageParent();
    Initialize(mpDF3->GetCurrSize(2));
    TESSAN_ASSERT(mpDF3->IsAllocated() == 1, kSource);
    if (!mpDF3->IsAllocated())
        return false;
    mpDF3->SetWorkState(DF3_cls::WORK_READ);
    struct WorkStateReset {
        DF3_cls* mpFrame;
        ImageSliceReader_cls* mpImage;
        // A multi-page file is not kept open between idle passes: the frame may be released meanwhile.
        ~WorkStateReset()
        {
            mpImage->Close();
            mpFrame->SetWorkState(DF3_cls::WORK_IDLE);
        }
    } reset{mpDF3, &mCImage};

    const uint32_t X = mpDF3->GetTrueSize(0), Y = mpDF3->GetTrueSize(1);
    const uint32_t cx = mpDF3->GetCurrSize(0), cy = mpDF3->GetCurrSize(1), cz = mpDF3->GetCurrSize(2);
    const uint32_t fx = mpDF3->GetDownSize(0), fy = mpDF3->GetDownSize(1), fz = mpDF3->GetDownSize(2);
    uint8_t* out = mpDF3->GetXYZData();
    for (uint32_t z = GetPosition(); z < cz;) {
        const uint32_t zt = z * fz; // nearest sample: the first true slice of each down-sized one
        if (!mbMultiPage && zt >= mvStrFiles.size()) {
            prompt->Message(mpDF3->GetFilePath() + L"\n" + TrW("The slices of the stack have not been found"),
                            TrW("read Error Main"));
            return false;
        }
        const std::wstring& file = mbMultiPage ? mvStrFiles.front() : mvStrFiles[zt];
        const std::wstring where = mbMultiPage ? file + WStrPrintf(Tr(", page %u").c_str(), zt + 1) : file;
        uint32_t w = 0, h = 0;
        if (!mCImage.ReadSlice(file, mbMultiPage ? zt : 0, mvSlice, w, h)) {
            prompt->Message(where + L"\n" + mCImage.GetError(), TrW("read Error Main"));
            return false;
        }
        if (w != X || h != Y) {
            prompt->Message(
                WStrPrintf(Tr("Slice z = %u (%s) is %u x %u pixels, but the first slice is %u x %u").c_str(), zt,
                           Narrow(where).c_str(), w, h, X, Y),
                TrW("read Error Main"));
            return false;
        }
        uint8_t* dst = out + static_cast<size_t>(z) * cx * cy;
        if (fx == 1 && fy == 1) {
            std::memcpy(dst, mvSlice.data(), static_cast<size_t>(cx) * cy);
        } else {
            for (uint32_t y = 0; y < cy; ++y) {
                const uint8_t* row = mvSlice.data() + static_cast<size_t>(y) * fy * X;
                uint8_t* line = dst + static_cast<size_t>(y) * cx;
                for (uint32_t x = 0; x < cx; ++x)
                    line[x] = row[static_cast<size_t>(x) * fx];
            }
        }
        ++z;
        SetPosition(z);
        if (IsResumeConditionSatisfied(noInterrupt))
            break;
    }
    if (IsFinishConditionSatisfied()) {
        Finalize();
        mpDF3->SetReadFinished();
        std::vector<uint8_t>().swap(mvSlice); // a loaded frame keeps no read buffers
    }
    return true;
}
