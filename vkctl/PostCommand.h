// `vkctl post`: asks the daemon to post devices now, as another process of the host would.
#pragma once

#include <CLI/App.hpp>

#include <vector>

namespace vkctl
{

// Puts one request for each SID on the request queue. Throws CCliError when there is no queue or
// it is full.
void post_requests(const std::vector<int>& sids, long lParam);

void add_post_command(CLI::App& app, int& exitStatus);

} // namespace vkctl
