// Whether a daemon runs, and whether it moves: what the lock on the pid file, /proc and the tray
// queue tell together. Looks only; nothing is sent, and no report is taken.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace vkctl
{

enum class DaemonHealth
{
    kNone,    // no process holds the lock
    kHanging, // one does, and does not move
    kAlive,
};

// What there is to see of it. Times are in seconds.
struct DaemonSigns
{
    pid_t pid = 0;                        // 0: none holds the lock
    char process = 'S';                   // as in /proc/PID/stat; 'T' is stopped, 't' by a debugger
    bool is_queue_full = false;           // then a missing report tells nothing
    std::optional<long long> last_report; // how long ago; none: none of this daemon's is known
    std::optional<long long> limit;       // longest silence of one that moves; none: has no bound
};

struct DaemonVerdict
{
    DaemonHealth health;
    std::string text; // one line for the user, no line end
};

DaemonVerdict judge_daemon(const DaemonSigns& signs, const std::string& pid_file);

// Both steps for the daemon of that pid file. CCliError never: what cannot be read is not known.
DaemonVerdict look_at_daemon(const std::string& pid_file);

// kExitNoDaemon, kExitHanging or 0.
int exit_status(DaemonHealth health);

} // namespace vkctl
