// With it, the C library would have bodies of its own for what is replaced here.
#undef _FORTIFY_SOURCE

#include "kit/file_calls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>

static std::atomic<bool> noUnnamedFile(false);
static std::atomic<bool> byteByByte(false);

// Both in the place of the C library's.

extern "C" int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const unsigned int mode = creates ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    if ((flags & O_TMPFILE) != O_TMPFILE || !noUnnamedFile)
        return ::openat(AT_FDCWD, path, flags, mode);
    errno = EOPNOTSUPP;
    return -1;
}

extern "C" ssize_t write(int descriptor, const void *bytes, size_t size)
{
    const size_t most = byteByByte ? std::min<size_t>(size, 1) : size;
    return ::syscall(SYS_write, descriptor, bytes, most);
}

namespace test_line {

NoUnnamedFile::NoUnnamedFile()
{
    noUnnamedFile = true;
}

NoUnnamedFile::~NoUnnamedFile()
{
    noUnnamedFile = false;
}

WrittenByteByByte::WrittenByteByByte()
{
    byteByByte = true;
}

WrittenByteByByte::~WrittenByteByByte()
{
    byteByByte = false;
}

} // namespace test_line
