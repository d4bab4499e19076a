// Files by descriptor and by name.
#include "tests/daemon/torture/preload/Gate.h"

#include <cstdarg>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

namespace
{

using Open = int (*)(const char*, int, ...);

// The mode is read whether it was given or not; it is looked at only when it was.
int open_or_fail(size_t index, const char* path, int flags, mode_t mode)
{
    if (call_fails(index, errno))
    {
        return -1;
    }
    return next<Open>(index)(path, flags, mode);
}

int fcntl_or_fail(size_t index, int fd, int command, void* argument)
{
    if (call_fails(index, errno))
    {
        return -1;
    }
    return next<int (*)(int, int, ...)>(index)(fd, command, argument);
}

} // namespace

#define VK_OPEN(NAME)                                                                              \
    VK_DEFINE(int, NAME, (const char* path, int flags, ...))                                       \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        const mode_t mode = va_arg(rest, mode_t);                                                  \
        va_end(rest);                                                                              \
        return open_or_fail(kIndex, path, flags, mode);                                            \
    }

VK_OPEN(open)
VK_OPEN(open64)

#define VK_FCNTL(NAME)                                                                             \
    VK_DEFINE(int, NAME, (int fd, int command, ...))                                               \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        va_list rest;                                                                              \
        va_start(rest, command);                                                                   \
        void* argument = va_arg(rest, void*);                                                      \
        va_end(rest);                                                                              \
        return fcntl_or_fail(kIndex, fd, command, argument);                                       \
    }

VK_FCNTL(fcntl)
VK_FCNTL(fcntl64)

VK_MAY_FAIL(ssize_t, read, (int fd, void* to, size_t n), (fd, to, n), -1)
VK_MAY_FAIL(ssize_t, pread, (int fd, void* to, size_t n, off_t at), (fd, to, n, at), -1)
VK_MAY_FAIL(ssize_t, pread64, (int fd, void* to, size_t n, off64_t at), (fd, to, n, at), -1)
VK_MAY_FAIL(ssize_t, write, (int fd, const void* from, size_t n), (fd, from, n), -1)
VK_MAY_FAIL(ssize_t, pwrite, (int fd, const void* from, size_t n, off_t at), (fd, from, n, at), -1)
VK_MAY_FAIL(ssize_t, pwrite64, (int fd, const void* from, size_t n, off64_t at), (fd, from, n, at),
            -1)
VK_MAY_FAIL(ssize_t, writev, (int fd, const iovec* parts, int count), (fd, parts, count), -1)
VK_MAY_FAIL(int, fsync, (int fd), (fd), -1)
VK_MAY_FAIL(int, fdatasync, (int fd), (fd), -1)
VK_MAY_FAIL(int, ftruncate, (int fd, off_t length), (fd, length), -1)
VK_MAY_FAIL(int, ftruncate64, (int fd, off64_t length), (fd, length), -1)
VK_MAY_FAIL(off64_t, lseek64, (int fd, off64_t to, int from), (fd, to, from), -1)
VK_MAY_FAIL_AFTERWARDS(int, close, (int fd), (fd), -1)

VK_MAY_FAIL(int, rename, (const char* from, const char* to), (from, to), -1)
VK_MAY_FAIL(int, remove, (const char* path), (path), -1)
VK_MAY_FAIL(int, unlink, (const char* path), (path), -1)
VK_MAY_FAIL(int, stat, (const char* path, struct stat* out), (path, out), -1)
VK_MAY_FAIL(int, stat64, (const char* path, struct stat64* out), (path, out), -1)
VK_MAY_FAIL(int, fstat, (int fd, struct stat* out), (fd, out), -1)
VK_MAY_FAIL(int, fstat64, (int fd, struct stat64* out), (fd, out), -1)
VK_MAY_FAIL(int, lstat64, (const char* path, struct stat64* out), (path, out), -1)
VK_MAY_FAIL(int, access, (const char* path, int mode), (path, mode), -1)
VK_MAY_FAIL(ssize_t, readlink, (const char* path, char* to, size_t n), (path, to, n), -1)
