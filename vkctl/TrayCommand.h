// `vkctl tray`: shows what the daemon reports to the front panel's tray process.
#pragma once

#include <string>

#include "vkctl/base/HostProcess.h"

namespace vkctl
{

// A report in words: "(1,1) the posting cycle starts".
std::string report_text(long wParam, long lParam);

struct TrayCommand
{
    bool take = false; // out of the queue, as the tray process would
    std::string pid_file = kPidFile;
};

// Prints what is waiting, then on standard error how the daemon is. The exit status tells it too.
int run_tray(const TrayCommand& command);

} // namespace vkctl
