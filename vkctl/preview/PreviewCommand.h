// `vkctl preview`: shows what the daemon would post now.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vkctl
{

struct PreviewCommand
{
    std::string directory = ".";
    std::optional<int> sid;
    std::string table;
    std::vector<std::string> kinds; // of preview_kinds(); empty: all
    bool alarms = false;
    bool explain = false;
    bool encoding = false;
    bool null = false;
    bool log = false;
};

std::vector<std::string> preview_kinds();

// Bodies on standard output, notes on standard error. The exit status.
int run_preview(const PreviewCommand& command);

} // namespace vkctl
