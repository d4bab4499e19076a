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

bool write_pid(int fd)
{
    char digits[16] = {};
    std::snprintf(digits, sizeof(digits), "%d", static_cast<int>(getpid()));
    [[maybe_unused]] const int ignored = ftruncate(fd, 0); // the write tells whether it can be used
    return write(fd, digits, std::strlen(digits)) >= 0;
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
