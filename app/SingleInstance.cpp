#include "app/SingleInstance.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "vkPub/vkLog.h"

namespace
{

constexpr size_t kLinkBytes = 4096;

// Asks for a write lock on the whole file. Only a lock that someone else holds counts as refused:
// a file system that knows no record locks must not keep the daemon from starting.
bool is_locked_by_other(int fd)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(fd, F_SETLK, &lock) == -1 && (errno == EACCES || errno == EAGAIN);
}

// False, with errno set, when the file does not hold the whole number: a part of it is the number
// of another process, so none is left there.
bool write_pid(int fd)
{
    char digits[16] = {};
    std::snprintf(digits, sizeof(digits), "%d", static_cast<int>(getpid()));
    const size_t length = std::strlen(digits);
    [[maybe_unused]] int ignored = ftruncate(fd, 0); // the write tells whether it can be used
    const ssize_t written = write(fd, digits, length);
    if (written < 0 || static_cast<size_t>(written) == length)
    {
        return written >= 0;
    }
    // Why no more was taken, the system says only when it is asked for more.
    const int error = write(fd, digits, length) < 0 ? errno : ENOSPC;
    ignored = ftruncate(fd, 0);
    errno = error;
    return false;
}

} // namespace

std::string currentExeName()
{
    char link[kLinkBytes] = {};
    const ssize_t length = readlink("/proc/self/exe", link, sizeof(link));
    if (length < 0 || static_cast<size_t>(length) >= sizeof(link))
    {
        return {};
    }
    const char* slash = std::strrchr(link, '/');
    return slash != nullptr ? slash + 1 : std::string();
}

int runSingleInstance()
{
    const std::string name = currentExeName();
    if (name.empty())
    {
        std::exit(1);
    }
    const std::string path = "/var/run/" + name + ".pid";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
    {
        VKLOG_TRACE("Open file failed, error : %s", std::strerror(errno));
        std::exit(1);
    }

    if (is_locked_by_other(fd))
    {
        VKLOG_TRACE("%s already locked, error: %s\n", path.c_str(), std::strerror(errno));
        close(fd);
        return 0;
    }

    if (!write_pid(fd))
    {
        VKLOG_TRACE("Write file failed, file: %s, error: %s\n", path.c_str(), std::strerror(errno));
        close(fd);
        std::exit(1);
    }
    return 1; // the descriptor stays open: it is the lock
}
