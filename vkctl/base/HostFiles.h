// The files of a host directory, as the subcommands that only look at them find them.
#pragma once

#include <string>

namespace vkctl
{

// Whether a path leads to a plain file that this user may read. What is no plain file is not
// opened: a FIFO would never answer.
bool is_readable_file(const std::string& path);

} // namespace vkctl
