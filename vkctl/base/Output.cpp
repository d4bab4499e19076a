#include "vkctl/base/Output.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "vkctl/base/CliError.h"

namespace vkctl
{

bool is_color_wanted()
{
    const char* no_color = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
    return isatty(STDOUT_FILENO) != 0 && !is_dumb && (no_color == nullptr || *no_color == '\0');
}

size_t terminal_columns()
{
    constexpr size_t kUsual = 80; // of a terminal that does not tell its own
    if (isatty(STDOUT_FILENO) == 0)
    {
        return 0;
    }
    winsize size{};
    const bool is_told = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_told ? size.ws_col : kUsual;
}

void end_if_pipe_is_closed()
{
    pollfd out = {STDOUT_FILENO, 0, 0};
    if (poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0)
    {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
}

void flush_output()
{
    std::cout.flush();
    if (!std::cout)
    {
        end_if_pipe_is_closed();
        throw CCliError("standard output cannot be written: is the disk full?", kExitFile);
    }
}

} // namespace vkctl
