#include "cli/CliVolume_cls.h"

#include "config/TextFormat.h"
#include "volume/DF3_cls.h"
#include "volume/SourceFormat_cls.h"

void CliVolume_cls::SetSource(DF3_cls& frame, const std::string& path, const std::string& last)
{
    frame.SetFilePath(Widen(path), Widen(last), SourceFormat_cls::FromPath(Widen(path)));
}

std::string CliVolume_cls::Samples(DF3_cls& frame)
{
    switch (frame.GetFilePathFormat()) {
    case DF3_cls::FORMAT_IMGSEQ: {
        const ImageSliceReader_cls::Info& info = frame.GetReadBodyImgSeq().GetFirstSliceInfo();
        return StrPrintf("%d-bit %s%s", info.iBits, ImageSliceReader_cls::KindName(info.eKind),
                         info.bColour ? ", colour" : "");
    }
    case DF3_cls::FORMAT_TXT: {
        const ReadBodyTxt_cls& txt = frame.GetReadBodyTxt();
        if (!txt.IsRangeKnown())
            return "text";
        return StrPrintf("text, values %.9g .. %.9g", txt.GetMin(), txt.GetMax());
    }
    default:
        return StrPrintf("%d-bit", frame.GetReadBodyDF3().GetSampleBits());
    }
}

std::string CliVolume_cls::Slices(DF3_cls& frame)
{
    if (frame.GetFilePathFormat() != DF3_cls::FORMAT_IMGSEQ)
        return "";
    const ReadBodyImgSeq_cls& stack = frame.GetReadBodyImgSeq();
    const auto& files = stack.GetSliceFiles();
    if (files.empty())
        return "";
    if (stack.IsMultiPage())
        return StrPrintf("%u pages of one TIFF file", frame.GetTrueSize(2));
    if (files.size() == 1)
        return "1 file: " + Narrow(files.front());
    return StrPrintf("%zu files: ", files.size()) + Narrow(files.front()) + " .. " + Narrow(files.back());
}
