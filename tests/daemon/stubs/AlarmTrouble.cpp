// Preloaded into a daemon, for alarm signals at odd moments:
//   VK_ALARM_BEHIND_PID  the alarm signal comes right behind the pid in the pid file
//   VK_NO_ALARM_HANDLER  no handler can be installed for the alarm signal
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/syscall.h>
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

} // namespace

extern "C" __attribute__((visibility("default"))) ssize_t write(int fd, const void* bytes,
                                                                size_t size)
{
    const ssize_t written = syscall(SYS_write, fd, bytes, size);
    if (written > 0 && std::getenv("VK_ALARM_BEHIND_PID") != nullptr && is_pid_file(fd))
    {
        raise(SIGRTMIN + 1);
    }
    return written;
}

extern "C" __attribute__((visibility("default"))) sighandler_t signal(int sig, sighandler_t handler)
{
    const bool is_handler = handler != SIG_IGN && handler != SIG_DFL;
    if (sig == SIGRTMIN + 1 && is_handler && std::getenv("VK_NO_ALARM_HANDLER") != nullptr)
    {
        errno = EINVAL;
        return SIG_ERR;
    }
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    return sigaction(sig, &action, &before) == 0 ? before.sa_handler : SIG_ERR;
}
