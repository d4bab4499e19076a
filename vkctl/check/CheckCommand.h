// The command line of `vkctl check`.
#pragma once

#include <CLI/App.hpp>

namespace vkctl
{

// Adds the subcommand; it runs when `app` parses it, and stores its exit status.
void add_check_command(CLI::App& app, int& exitStatus);

} // namespace vkctl
