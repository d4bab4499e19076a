#include "vkctl/TrayCommand.h"

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

struct Report
{
    long type;
    long wParam;
    long lParam;
    char reserved[112];
};

// Reads the report at that place of the queue. False at the end of it.
bool read_report(int queue, long place, bool take, Report& report)
{
    const int flags = take ? IPC_NOWAIT | MSG_NOERROR : IPC_NOWAIT | MSG_NOERROR | MSG_COPY;
    if (msgrcv(queue, &report, sizeof(report) - sizeof(report.type), take ? 0 : place, flags) >= 0)
    {
        return true;
    }
    if (errno == ENOMSG)
    {
        return false;
    }
    if (errno == ENOSYS && !take)
    {
        throw CCliError("this kernel cannot show messages without taking them (no MSG_COPY); "
                        "--take takes them away from the tray process");
    }
    throw CCliError(std::string("the tray queue cannot be read: ") + std::strerror(errno));
}

void show(bool take)
{
    const int queue = open_queue(kTrayQueueKey, "the daemon or the tray process");
    long count = 0;
    for (Report report{}; read_report(queue, count, take, report); ++count)
    {
        std::cout << (report.type == kTrayMessageType
                          ? report_text(report.wParam, report.lParam)
                          : "message of another type " + std::to_string(report.type))
                  << "\n";
    }
    if (count == 0)
    {
        std::cerr << "nothing is waiting\n";
    }
}

} // namespace

std::string report_text(long wParam, long lParam)
{
    const std::string code = "(" + std::to_string(wParam) + "," + std::to_string(lParam) + ") ";
    if (wParam == 1 && lParam == 1)
    {
        return code + "the posting cycle starts";
    }
    if (wParam == 1 && lParam == 0)
    {
        return code + "start-up failed";
    }
    return code + (wParam == 0 && lParam == 1 ? "alive" : "unknown");
}

int run_tray(const TrayCommand& command)
{
    const DaemonVerdict daemon =
        look_at_daemon(command.pid_file); // before --take empties the queue
    if (daemon.health == DaemonHealth::kNone && msgget(kTrayQueueKey, 0) < 0)
    {
        throw CCliError(daemon.text + ", and there is no tray queue", kExitNoDaemon);
    }
    show(command.take);
    std::cerr << daemon.text << "\n";
    return exit_status(daemon.health);
}

} // namespace vkctl
