// What other processes of the host share with the daemon: its process, its request queue, the tray
// queue. Everything here acts as such a process would; failures are thrown as CCliError.
#pragma once

#include <sys/types.h>

#include <string>

#include "app/AppQueues.h" // the keys

namespace vkctl
{

constexpr char kPidFile[] = "/var/run/vkAppPost.pid";

// The process that holds the lock on the pid file; 0 when none does. A stale file, whose process
// has ended, counts as none.
pid_t daemon_pid(const std::string& pid_file);

// What a process runs: the file name of its program, under an emulator that of the program that is
// emulated. Empty when it has ended or may not be looked at.
std::string program_name(pid_t pid);

// Throws CCliError unless the process is a daemon: its program is called vkAppPost, or, renamed, as
// the pid file whose lock it holds. Any other process would be ended by the alarm signal.
void expect_daemon(pid_t pid, const std::string& pid_file);

// Tells the daemon that an alarm is waiting (SIGRTMIN+1). Looks at the process first.
void signal_alarm(pid_t pid, const std::string& pid_file);

// The queue of that key, which somebody else must have made; `owner` says who in the message.
int open_queue(int key, const std::string& owner);

} // namespace vkctl
