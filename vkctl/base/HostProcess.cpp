#include "vkctl/base/HostProcess.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "vkctl/base/CliError.h"

namespace vkctl
{

namespace
{

constexpr char kDaemonName[] = "vkAppPost";

// As ipcs and the documents write it.
std::string key_text(int key)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", static_cast<unsigned>(key));
    return text;
}

} // namespace

pid_t daemon_pid(const std::string& pid_file)
{
    const int fd = open(pid_file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        return 0;
    }
    // The lock, not the file's text, tells whether a daemon runs, and which.
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    const bool is_known = fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(fd);
    return is_known ? lock.l_pid : 0;
}

std::string program_name(pid_t pid)
{
    const std::string process = "/proc/" + std::to_string(pid);
    std::error_code error;
    std::string name = std::filesystem::read_symlink(process + "/exe", error).filename().string();
    const std::string deleted = " (deleted)"; // replaced on disk since it was started
    if (name.size() > deleted.size() &&
        name.compare(name.size() - deleted.size(), deleted.size(), deleted) == 0)
    {
        name.resize(name.size() - deleted.size());
    }
    if (name.compare(0, 5, "qemu-") == 0)
    {
        std::ifstream in(process + "/cmdline");
        std::string emulated;
        std::getline(in, emulated, '\0'); // the emulator's own name
        std::getline(in, emulated, '\0');
        name = std::filesystem::path(emulated).filename().string();
    }
    return name;
}

void expect_daemon(pid_t pid, const std::string& pid_file)
{
    const std::string name = program_name(pid);
    const bool is_renamed =
        daemon_pid(pid_file) == pid && std::filesystem::path(pid_file).filename() == name + ".pid";
    if (name == kDaemonName || (!name.empty() && is_renamed))
    {
        return;
    }
    throw CCliError(
        "process " + std::to_string(pid) +
        (name.empty() ? " is none that can be looked at" : " is no daemon: it runs " + name) +
        "; it was not signalled");
}

void signal_alarm(pid_t pid, const std::string& pid_file)
{
    expect_daemon(pid, pid_file);
    if (kill(pid, SIGRTMIN + 1) != 0)
    {
        throw CCliError("process " + std::to_string(pid) +
                        " cannot be signalled: " + std::strerror(errno));
    }
}

int open_queue(int key, const std::string& owner)
{
    const int queue = msgget(key, 0);
    if (queue < 0)
    {
        throw CCliError("there is no message queue " + key_text(key) + ": " + std::strerror(errno) +
                        "; " + owner +
                        " makes it when it starts. Queues of a box are seen only inside that box");
    }
    return queue;
}

} // namespace vkctl
