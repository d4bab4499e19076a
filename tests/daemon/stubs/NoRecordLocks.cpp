// Preloaded into a daemon: the file system of its pid file knows no record locks.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{

bool is_pid_file(int fd)
{
    char link[64];
    char path[256] = {};
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
    return readlink(link, path, sizeof(path) - 1) > 0 && std::strstr(path, ".pid") != nullptr;
}

using Fcntl = int (*)(int, int, ...);

int call_fcntl(const char* name, int fd, int command, void* argument)
{
    if (command == F_SETLK && is_pid_file(fd))
    {
        errno = ENOLCK;
        return -1;
    }
    static const auto next = reinterpret_cast<Fcntl>(dlsym(RTLD_NEXT, name));
    return next(fd, command, argument);
}

} // namespace

#define VK_FORWARD(NAME)                                                                           \
    extern "C" __attribute__((visibility("default"))) int NAME(int fd, int command, ...)           \
    {                                                                                              \
        va_list rest;                                                                              \
        va_start(rest, command);                                                                   \
        void* argument = va_arg(rest, void*);                                                      \
        va_end(rest);                                                                              \
        return call_fcntl(#NAME, fd, command, argument);                                           \
    }

VK_FORWARD(fcntl)
VK_FORWARD(fcntl64)
