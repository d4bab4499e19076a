#include "app/Inherited.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{

// A missing descriptor of the three would go to the next file that is opened: the pid file, into
// which everything printed then goes, or a database. Where there is no /dev/null, the root
// directory keeps the place as well: nothing can be written into it.
void open_missing_descriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    {
        if (fcntl(fd, F_GETFD) != -1 || errno != EBADF)
        {
            continue;
        }
        // The lowest free number is given: this one. The commands that the daemon runs get it, too.
        if (open("/dev/null", O_RDWR) < 0) // NOLINT(android-cloexec-open)
        {
            [[maybe_unused]] const int kept = open("/", O_RDONLY | O_DIRECTORY);
        }
    }
}

void put_signals_in_order()
{
    // A limit of file size makes a write fail, and the log bears that; it ends nobody.
    std::signal(SIGXFSZ, SIG_IGN);
    // Ignored, the commands that the daemon runs would leave no status to wait for.
    std::signal(SIGCHLD, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);

    // A blocked alarm signal would never arrive, a blocked SIGTERM never end anything.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

void put_inherited_in_order()
{
    open_missing_descriptors();
    alarm(0); // wound up before this program was: its signal would end the daemon
    put_signals_in_order();
}
