#include "config/ComPreviewProperty_cls.h"

#include "config/PreviewProperty_cls.h"

bool ComPreviewProperty_cls::Execute(bool /*undo*/)
{
    size_t start = 0;
    while (start < mStrLines.size()) {
        size_t end = mStrLines.find(L'\n', start);
        if (end == std::wstring::npos)
            end = mStrLines.size();
        if (end > start)
            mpPreview->ReadStrLine(mStrLines.substr(start, end - start));
        start = end + 1;
    }
    mpPreview->NotifyChanged();
    return false;
}
