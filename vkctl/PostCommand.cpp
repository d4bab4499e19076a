#include "vkctl/PostCommand.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/base/CliError.h"
#include "vkctl/base/HostProcess.h"

namespace vkctl
{

namespace
{

constexpr long kRequestType = 38154;
constexpr int kLargestSid = 0xFFFF; // the daemon looks at sixteen bits

constexpr char kExamples[] = R"(
The daemon takes one request every 50 ms. It repeats all earlier ones at each later pick-up.

Examples:
  vkctl post 1001                          post device 1001 now
  vkctl post 1001 1002 1003                three devices
)";

struct Request
{
    long type;
    long wParam;
    long lParam;
};

struct PostArguments
{
    std::vector<int> sids;
    long lParam = 0;
};

} // namespace

void post_requests(const std::vector<int>& sids, long lParam)
{
    const int queue = open_queue(kRequestQueueKey, "the daemon");
    for (const int sid : sids)
    {
        const Request request{kRequestType, sid, lParam};
        if (msgsnd(queue, &request, sizeof(request) - sizeof(request.type), IPC_NOWAIT) != 0)
        {
            throw CCliError("the request for SID " + std::to_string(sid) +
                            " was not taken: " + std::strerror(errno) +
                            (errno == EAGAIN ? "; the queue is full, is the daemon running?" : ""));
        }
    }
}

void add_post_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command = app.add_subcommand("post", "Ask the daemon to post devices now");
    const auto arguments = std::make_shared<PostArguments>();
    command->add_option("SID", arguments->sids, "Devices")
        ->required()
        ->check(CLI::Range(0, kLargestSid));
    command->add_option("--lparam", arguments->lParam, "Number that the daemon only logs")
        ->capture_default_str();
    command->footer(kExamples);
    command->callback(
        [arguments, &exitStatus]
        {
            post_requests(arguments->sids, arguments->lParam);
            std::cout << "requested: " << arguments->sids.size() << "\n";
            exitStatus = 0;
        });
}

} // namespace vkctl
