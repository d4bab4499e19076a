#include "vkctl/base/DaemonState.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <sstream>

#include "app/AppPostConfig.h"
#include "common/SimpleIni.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/HostFiles.h"
#include "vkctl/base/HostProcess.h"

namespace vkctl
{

namespace
{

constexpr size_t kReportBytes = 100; // of one report in the tray queue, without its type

std::string proc_path(pid_t pid, const std::string& name)
{
    return "/proc/" + std::to_string(pid) + "/" + name;
}

// The letter behind the program's name, which stands in parentheses and may hold some itself.
char process_state(pid_t pid)
{
    std::ifstream in(proc_path(pid, "stat"));
    std::ostringstream content;
    content << in.rdbuf();
    const std::string text = content.str();
    const size_t end = text.rfind(')');
    return end != std::string::npos && end + 2 < text.size() ? text[end + 2] : 'S';
}

// A daemon reports before each retry and each transfer, and not while it waits for the next sweep.
std::optional<long long> longest_silence(pid_t pid)
{
    constexpr long long kMarginS = 10; // what lies between two reports beside the two settings
    const std::string path = proc_path(pid, "cwd/" + std::string(kConfigFile));
    if (!is_readable_file(path))
    {
        return std::nullopt;
    }
    SimpleIni ini("");
    if (!ini.Load(path))
    {
        return std::nullopt;
    }
    const long long delay_ms = ini.GetValue<int>("POST", "Delay", 5000);
    const long long timeout_s = ini.GetValue<int>("POST", "Timeout", 15);
    if (timeout_s <= 0) // a transfer may take for ever
    {
        return std::nullopt;
    }
    return std::max(delay_ms, 0LL) / 1000 + timeout_s + kMarginS;
}

void look_at_reports(DaemonSigns& signs)
{
    const int queue = msgget(kTrayQueueKey, 0);
    msqid_ds state = {};
    if (queue < 0 || msgctl(queue, IPC_STAT, &state) != 0)
    {
        return; // without a queue it has nobody to report to
    }
    signs.is_queue_full = state.__msg_cbytes + kReportBytes > state.msg_qbytes;
    if (state.msg_lspid == signs.pid)
    {
        signs.last_report = std::max<long long>(std::time(nullptr) - state.msg_stime, 0);
    }
}

std::string seconds(long long number)
{
    return std::to_string(number) + " s";
}

} // namespace

DaemonVerdict judge_daemon(const DaemonSigns& signs, const std::string& pid_file)
{
    if (signs.pid == 0)
    {
        return {DaemonHealth::kNone, "no daemon runs: no process holds the lock on " + pid_file};
    }
    const std::string who = "the daemon, process " + std::to_string(signs.pid) + ", ";
    if (signs.process == 'T' || signs.process == 't')
    {
        return {DaemonHealth::kHanging, who + "is stopped (kill -CONT lets it go on)"};
    }
    if (signs.is_queue_full)
    {
        return {DaemonHealth::kAlive, who + "runs; whether it moves is not known, as nobody takes "
                                            "its reports: the tray queue is full"};
    }
    if (!signs.last_report)
    {
        return {DaemonHealth::kAlive, who + "runs; the tray queue has no report of it yet"};
    }
    const std::string ago = seconds(*signs.last_report);
    if (signs.limit && *signs.last_report > *signs.limit)
    {
        return {DaemonHealth::kHanging, who + "hangs: its last report came " + ago +
                                            " ago, where Delay and Timeout allow a silence of " +
                                            seconds(*signs.limit)};
    }
    return {DaemonHealth::kAlive, who + "runs; its last report came " + ago + " ago"};
}

DaemonVerdict look_at_daemon(const std::string& pid_file)
{
    DaemonSigns signs;
    signs.pid = daemon_pid(pid_file);
    if (signs.pid != 0)
    {
        signs.process = process_state(signs.pid);
        signs.limit = longest_silence(signs.pid);
        look_at_reports(signs);
    }
    return judge_daemon(signs, pid_file);
}

int exit_status(DaemonHealth health)
{
    switch (health)
    {
    case DaemonHealth::kNone:
        return kExitNoDaemon;
    case DaemonHealth::kHanging:
        return kExitHanging;
    case DaemonHealth::kAlive:
        break;
    }
    return 0;
}

} // namespace vkctl
