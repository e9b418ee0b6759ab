#pragma once
// A file opened read-only by path, closed on every way out of a read.
#include "config/TextFormat.h"

#include <fcntl.h>
#include <string>
#include <unistd.h>

class FileDescriptor_cls {
public:
    /// Opens `path` (wide, converted to the file-name encoding) for reading; Get() < 0 on failure.
    explicit FileDescriptor_cls(const std::wstring& path) : miFd(open(Narrow(path).c_str(), O_RDONLY | O_CLOEXEC)) {}
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
