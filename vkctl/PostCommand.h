// `vkctl post`: asks the daemon to post devices now, as another process of the host would.
#pragma once

#include <string>
#include <vector>

#include "vkctl/base/HostProcess.h"

namespace vkctl
{

constexpr int kLargestSid = 0xFFFF; // the daemon looks at sixteen bits

struct PostCommand
{
    std::vector<int> sids;
    long lParam = 0; // the daemon only logs it
    std::string pid_file = kPidFile;
};

// Puts one request for each SID on the request queue. Throws CCliError when there is no queue or
// it is full.
void post_requests(const std::vector<int>& sids, long lParam);

int run_post(const PostCommand& command); // the exit status

} // namespace vkctl
