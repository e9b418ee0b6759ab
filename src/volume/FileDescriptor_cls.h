#pragma once
// A file opened read-only by path, closed on every way out of a read.
#include "config/TextFormat.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

class FileDescriptor_cls
{
  public:
    /// Opens `path` (wide, converted to the file-name encoding) for reading; Get() < 0 on failure.
    /// A directory counts as a file that cannot be opened: reading it would only fail later with a
    /// less helpful message.
    explicit FileDescriptor_cls(const std::wstring& path) : miFd(open(Narrow(path).c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat st;
        if (miFd >= 0 && (fstat(miFd, &st) != 0 || S_ISDIR(st.st_mode))) {
            close(miFd);
            miFd = -1;
        }
    }
    ~FileDescriptor_cls()
    {
        if (miFd >= 0)
            close(miFd);
    }
    FileDescriptor_cls(const FileDescriptor_cls&) = delete;
    FileDescriptor_cls& operator=(const FileDescriptor_cls&) = delete;
    /// The descriptor, or -1 when the file could not be opened.
    int Get() const { return miFd; }

  private:
    int miFd;
};
