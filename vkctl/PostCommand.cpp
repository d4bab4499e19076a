#include "vkctl/PostCommand.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "vkctl/base/CliError.h"
#include "vkctl/base/DaemonState.h"
#include "vkctl/base/HostProcess.h"

namespace vkctl
{

namespace
{

struct Request
{
    long type;
    long wParam;
    long lParam;
};

} // namespace

void post_requests(const std::vector<int>& sids, long lParam)
{
    const int queue = open_queue(kRequestQueueKey, "the daemon");
    for (const int sid : sids)
    {
        const Request request{kRequestMessageType, sid, lParam};
        if (msgsnd(queue, &request, sizeof(request) - sizeof(request.type), IPC_NOWAIT) != 0)
        {
            throw CCliError("the request for SID " + std::to_string(sid) +
                            " was not taken: " + std::strerror(errno) +
                            (errno == EAGAIN ? "; the queue is full, is the daemon running?" : ""));
        }
    }
}

int run_post(const PostCommand& command)
{
    const DaemonVerdict daemon = look_at_daemon(command.pid_file);
    if (daemon.health == DaemonHealth::kNone)
    {
        throw CCliError(daemon.text + "; nothing was requested", kExitNoDaemon);
    }
    post_requests(command.sids, command.lParam);
    std::cout << "requested: " << command.sids.size() << "\n";
    if (daemon.health == DaemonHealth::kHanging)
    {
        throw CCliError(daemon.text + "; the requests wait in its queue", kExitHanging);
    }
    return 0;
}

} // namespace vkctl
