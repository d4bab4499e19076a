// A vkAppPost process.
//
// Owns the process: whoever holds this ends it, at the latest by its destructor. Its standard
// output and error go to files in its directory.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

class CDaemon
{
public:
    CDaemon() = default;
    ~CDaemon() { Kill(); }
    CDaemon(const CDaemon&) = delete;
    CDaemon& operator=(const CDaemon&) = delete;

    // Set before Start, beside the test's own environment.
    void Env(const std::string& name, const std::string& value) { m_env[name] = value; }

    // What is started instead of the usual daemon: another build of it, or a program that becomes
    // it.
    void Command(std::vector<std::string> command) { m_command = std::move(command); }

    // Set before Start: strace -y writes down there what files the daemon opens, reads and writes.
    // It has the whole record when it says how the daemon ended.
    void Trace(const std::string& record);

    // Done in the daemon's process right before the program starts: what a parent leaves behind.
    void Before(std::function<void()> work) { m_before = std::move(work); }

    // Throws std::runtime_error when there is no process to be had.
    void Start(const std::string& dir);

    pid_t Pid() const { return m_pid; }
    void Signal(int sig) const;
    bool IsRunning(); // false also before Start

    // Waits until it has ended by itself: its exit status, 1000 plus the signal that ended it, or
    // -1 when it still runs at the deadline.
    int WaitExit();

    void Kill(); // SIGKILL, and its end is waited for; nothing when it does not run

    std::string Stdout() const;
    std::string Stderr() const;

private:
    std::map<std::string, std::string> m_env;
    std::function<void()> m_before;
    std::vector<std::string> m_command; // empty: the usual daemon
    std::string m_strDir;
    pid_t m_pid = -1;
    int m_status = -1; // as WaitExit returns it; -1 while it runs
};
