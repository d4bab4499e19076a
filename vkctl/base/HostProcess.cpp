#include "vkctl/base/HostProcess.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "vkctl/base/CliError.h"

namespace vkctl
{

pid_t daemon_pid(const std::string& pidFile)
{
    const int fd = open(pidFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        return 0;
    }
    // The lock, not the file's text, tells whether a daemon runs, and which.
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    const bool isKnown = fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(fd);
    return isKnown ? lock.l_pid : 0;
}

void signal_alarm(pid_t pid)
{
    if (kill(pid, SIGRTMIN + 1) != 0)
    {
        throw CCliError("process " + std::to_string(pid) +
                        " cannot be signalled: " + std::strerror(errno));
    }
}

int open_queue(int key, const std::string& owner)
{
    const int queue = msgget(key, 0);
    if (queue < 0)
    {
        throw CCliError("there is no message queue " + std::to_string(key) + ": " +
                        std::strerror(errno) + "; " + owner +
                        " makes it when it starts. Queues of a box are seen only inside that box");
    }
    return queue;
}

} // namespace vkctl
