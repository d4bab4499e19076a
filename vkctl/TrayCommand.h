// `vkctl tray`: shows what the daemon reports to the front panel's tray process.
#pragma once

#include <string>

namespace vkctl
{

// A report in words: "(1,1) the posting cycle starts".
std::string report_text(long wParam, long lParam);

// Prints what is waiting; `take` reads it as the tray process would. The exit status.
int run_tray(bool take);

} // namespace vkctl
