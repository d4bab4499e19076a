#include "vkctl/base/Output.h"

#include <iostream>

#include "vkctl/base/CliError.h"

namespace vkctl
{

void flush_output()
{
    std::cout.flush();
    if (!std::cout)
    {
        throw CCliError("standard output cannot be written: is the disk full?", kExitFile);
    }
}

} // namespace vkctl
