#include "config/LineStream_cls.h"

LineStream_cls::LineStream_cls(const std::wstring& text)
{
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(L'\n', start);
        if (end == std::wstring::npos)
            end = text.size();
        std::wstring line = text.substr(start, end - start);
        if (!line.empty() && line.back() == L'\r')
            line.pop_back();
        mvStrLines.push_back(std::move(line));
        start = end + 1;
    }
}

bool LineStream_cls::GetLine(std::wstring& line)
{
    if (muNext >= mvStrLines.size())
        return false;
    line = mvStrLines[muNext++];
    return true;
}

void LineStream_cls::UngetLine()
{
    if (muNext > 0)
        --muNext;
}
