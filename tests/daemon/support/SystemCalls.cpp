#include "tests/daemon/support/SystemCalls.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#include "tests/daemon/support/Command.h"
#include "tests/daemon/support/HostDir.h"

namespace
{

// Calls that change nothing but the process itself, whatever their arguments. Writing is among
// them, since a descriptor that can be written is either given or opened, and opening is judged.
const std::set<std::string>& harmless_calls()
{
    static const std::set<std::string> kCalls = {
        // Memory and time
        "brk", "mmap", "munmap", "mremap", "mprotect", "madvise", "mincore", "msync", "mlock",
        "munlock", "membarrier", "clock_gettime", "clock_getres", "clock_nanosleep", "nanosleep",
        "gettimeofday", "time", "times", "getrandom", "alarm", "setitimer", "getitimer",
        // Reading files, and what is open
        "read", "readv", "pread64", "preadv", "lseek", "close", "close_range", "dup", "dup2",
        "dup3", "fcntl", "flock", "ioctl", "fadvise64", "readahead", "stat", "lstat", "fstat",
        "newfstatat", "statx", "statfs", "fstatfs", "access", "faccessat", "faccessat2", "readlink",
        "readlinkat", "getdents", "getdents64", "getcwd", "chdir", "fchdir", "umask", "getxattr",
        "lgetxattr", "fgetxattr", "getpeername", "getsockname", "getsockopt", "poll", "ppoll",
        "select", "pselect6", "epoll_create1", "epoll_ctl", "epoll_wait", "epoll_pwait", "fsync",
        "fdatasync",
        // Writing to what is open
        "write", "writev", "pwrite64", "pwritev", "pipe", "pipe2", "eventfd2",
        // The process, its threads and its children
        "execve", "clone", "clone3", "fork", "vfork", "wait4", "waitid", "exit", "exit_group",
        "futex", "sched_yield", "sched_getaffinity", "sched_getparam", "sched_getscheduler",
        "set_robust_list", "get_robust_list", "set_tid_address", "rseq", "arch_prctl", "prctl",
        "personality", "gettid", "getpid", "getppid", "getpgrp", "getpgid", "getsid", "getuid",
        "geteuid", "getgid", "getegid", "getgroups", "getresuid", "getresgid", "capget", "uname",
        "sysinfo", "getrlimit", "setrlimit", "prlimit64", "getrusage", "getpriority", "getcpu",
        // Its own signals
        "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "rt_sigpending", "rt_sigsuspend",
        "sigaltstack", "restart_syscall", "pause"};
    return kCalls;
}

bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// The first text in quotes, which is the file's name.
std::string quoted(const std::string& arguments)
{
    const size_t begin = arguments.find('"');
    const size_t end = begin == std::string::npos ? begin : arguments.find('"', begin + 1);
    return end == std::string::npos ? "" : arguments.substr(begin + 1, end - begin - 1);
}

bool ends_with(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool is_shared_memory_of_a_database(const std::string& path)
{
    return ends_with(path, ".db3-shm");
}

bool may_be_written(const std::string& path)
{
    return path == "/dev/null" || path == "/dev/tty" || is_shared_memory_of_a_database(path);
}

// Everything behind the name: the flags. What a path holds is no flag.
bool opens_for_more_than_reading(const std::string& arguments)
{
    const size_t name = arguments.rfind('"');
    const std::string flags = name == std::string::npos ? arguments : arguments.substr(name);
    for (const char* const flag :
         {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC", "O_APPEND", "O_TMPFILE", "O_ACCMODE"})
    {
        if (has(flags, flag))
        {
            return true;
        }
    }
    return !has(flags, "O_RDONLY") && !has(flags, "O_PATH");
}

} // namespace

SystemCall parse_call(const std::string& line)
{
    size_t at = line.find_first_not_of("0123456789 ");
    if (at == std::string::npos || line.compare(at, 5, "<... ") == 0)
    {
        return {}; // the rest of a call whose begin has been judged
    }
    const size_t name = at;
    while (at < line.size() &&
           (std::isalnum(static_cast<unsigned char>(line[at])) != 0 || line[at] == '_'))
    {
        ++at;
    }
    if (at == name || at == line.size() || line[at] != '(')
    {
        return {}; // "--- SIGCHLD ...", "+++ exited with 0 +++"
    }
    const size_t unfinished = line.rfind(" <unfinished ...>");
    const size_t end = unfinished != std::string::npos ? unfinished : line.rfind(')');
    return {line.substr(name, at - name), line.substr(at + 1, end - at - 1)};
}

bool is_act(const SystemCall& call)
{
    if (call.name.empty() || harmless_calls().count(call.name) != 0)
    {
        return false;
    }
    if (call.name == "open" || call.name == "openat")
    {
        return opens_for_more_than_reading(call.arguments) &&
               !may_be_written(quoted(call.arguments));
    }
    if (call.name == "ftruncate" || call.name == "fallocate" || call.name == "fchown")
    {
        // The first argument is a descriptor with its path: 5</tmp/x/dbDat0.db3-shm>
        const size_t end = call.arguments.find('>');
        return !is_shared_memory_of_a_database(call.arguments.substr(0, end));
    }
    return true;
}

std::vector<std::string> find_acts(const std::string& record)
{
    std::vector<std::string> acts;
    std::istringstream lines(record);
    for (std::string line; std::getline(lines, line);)
    {
        if (is_act(parse_call(line)))
        {
            acts.push_back(line);
        }
    }
    return acts;
}

std::set<std::string> written_files(const std::string& record)
{
    static const std::set<std::string> kWriting = {"write",    "writev",    "pwrite64",
                                                   "pwritev",  "ftruncate", "fallocate",
                                                   "pwritev2", "sendfile",  "copy_file_range"};
    std::set<std::string> files;
    std::istringstream lines(record);
    for (std::string line; std::getline(lines, line);)
    {
        const SystemCall call = parse_call(line);
        const size_t path = call.arguments.find('<');
        const size_t end = call.arguments.find('>');
        if (kWriting.count(call.name) != 0 && path < end && end != std::string::npos)
        {
            files.insert(call.arguments.substr(path + 1, end - path - 1));
        }
    }
    return files;
}

TracedRun run_traced(const std::vector<std::string>& arguments)
{
    char record[] = "/tmp/strace-XXXXXX";
    const int file = mkstemp(record);
    if (file < 0)
    {
        throw std::runtime_error("no file for strace");
    }
    close(file);
    // A sanitizer looks for leaks by ptrace, of which there is one.
    std::vector<std::string> command = {
        "/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-f", "-y", "-s", "0", "-o",
        record};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const CommandResult result = run_command(command);

    const std::string text = read_file(record);
    std::filesystem::remove(record);
    TracedRun run{result.exit_status, result.out, result.err, 0, find_acts(text)};
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        run.calls += parse_call(line).name.empty() ? 0U : 1U;
    }
    return run;
}
