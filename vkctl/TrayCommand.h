// `vkctl tray`: shows what the daemon reports to the front panel's tray process.
#pragma once

#include <CLI/App.hpp>

#include <string>

namespace vkctl
{

// A report in words: "(1,1) the posting cycle starts".
std::string report_text(long wParam, long lParam);

void add_tray_command(CLI::App& app, int& exitStatus);

} // namespace vkctl
