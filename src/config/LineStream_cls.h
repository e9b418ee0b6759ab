#pragma once
// The lines of a settings or project text with a read cursor. Readers of blocks take lines from
// it until their block ends and hand a line they do not own back with UngetLine.
#include <cstddef>
#include <string>
#include <vector>

class LineStream_cls
{
  public:
    LineStream_cls() = default;
    /// Splits `text` at "\n"; a trailing "\r" of each line is dropped, a final empty line is not kept.
    explicit LineStream_cls(const std::wstring& text);
    /// Takes the next line; false at the end (line left unchanged).
    bool GetLine(std::wstring& line);
    /// Steps back one line so that the next GetLine returns it again (no effect at the start).
    void UngetLine();
    /// True when every line has been taken.
    bool AtEnd() const { return muNext >= mvStrLines.size(); }
    /// Number of lines taken so far (the 1-based number of the line last taken).
    size_t GetLineNumber() const { return muNext; }

  private:
    std::vector<std::wstring> mvStrLines;
    size_t muNext = 0;
};
