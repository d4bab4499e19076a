#include "vkctl/base/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "vkctl/base/CliError.h"

namespace vkctl
{

bool is_color_wanted()
{
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool isDumb = terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
    return isatty(STDOUT_FILENO) != 0 && !isDumb && (noColor == nullptr || *noColor == '\0');
}

std::size_t terminal_columns()
{
    constexpr std::size_t kUsual = 80; // of a terminal that does not tell its own
    if (isatty(STDOUT_FILENO) == 0)
    {
        return 0;
    }
    winsize size{};
    const bool isTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isTold ? size.ws_col : kUsual;
}

void flush_output()
{
    std::cout.flush();
    if (!std::cout)
    {
        throw CCliError("standard output cannot be written: is the disk full?", kExitFile);
    }
}

} // namespace vkctl
