#include "volume/SourceFormat_cls.h"

#include "volume/DF3_cls.h"
#include "volume/ImageSliceReader_cls.h"

int SourceFormat_cls::FromPath(const std::wstring& path)
{
    if (ImageSliceReader_cls::KindFromExtension(path) != ImageSliceReader_cls::KIND_UNKNOWN)
        return DF3_cls::FORMAT_IMGSEQ;
    const size_t slash = path.find_last_of(L'/');
    const size_t dot = path.find_last_of(L'.');
    if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash))
        return DF3_cls::FORMAT_DF3;
    std::wstring ext = path.substr(dot + 1);
    for (wchar_t& c : ext)
        if (c >= L'A' && c <= L'Z')
            c = static_cast<wchar_t>(c - L'A' + L'a');
    if (ext == L"txt" || ext == L"dat" || ext == L"vol")
        return DF3_cls::FORMAT_TXT;
    return DF3_cls::FORMAT_DF3;
}

const char* SourceFormat_cls::Name(int format)
{
    switch (format) {
    case DF3_cls::FORMAT_DF3:
        return "DF3";
    case DF3_cls::FORMAT_IMGSEQ:
        return "image stack";
    case DF3_cls::FORMAT_TXT:
        return "text volume";
    default:
        return "unknown";
    }
}
