// The command line of `vkctl alarm`.
#pragma once

#include <CLI/App.hpp>

namespace vkctl
{

void add_alarm_command(CLI::App& app, int& exitStatus);

} // namespace vkctl
