#include "tests/daemon/support/Daemon.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/HostDir.h"
#include "tests/support/Emulator.h"

namespace
{

constexpr int kEndedBySignal = 1000;
constexpr int kNoExec = 127;

void redirect(int fd, const std::string& path)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    dup2(file, fd);
}

// Returns only when that fails.
void become(std::vector<std::string> command)
{
    std::vector<char*> argv;
    for (std::string& argument : command)
    {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    exec_program(argv);
}

int as_status(int waited)
{
    return WIFSIGNALED(waited) ? kEndedBySignal + WTERMSIG(waited) : WEXITSTATUS(waited);
}

} // namespace

void CDaemon::Trace(const std::string& record)
{
    // -D: strace is a grandchild, so that the daemon has this process's number.
    Command({"/usr/bin/strace", "-D", "-f", "-y", "-s", "0", "-e", "trace=%desc", "-o", record,
             VK_DAEMON});
}

void CDaemon::Start(const std::string& dir)
{
    m_strDir = dir;
    m_pid = fork();
    if (m_pid < 0)
    {
        throw std::runtime_error("no process for the daemon");
    }
    if (m_pid > 0)
    {
        return;
    }

    prctl(PR_SET_PDEATHSIG, SIGKILL); // no daemon outlives its test
    unsetenv("VKLOG");                // whatever the developer's shell has
    for (const auto& [name, value] : m_env)
    {
        setenv(name.c_str(), value.c_str(), 1);
    }
    redirect(STDOUT_FILENO, dir + "/stdout");
    redirect(STDERR_FILENO, dir + "/stderr");
    if (chdir(dir.c_str()) == 0)
    {
        if (m_before)
        {
            m_before();
        }
        become(m_command.empty() ? std::vector<std::string>{VK_DAEMON} : m_command);
    }
    _exit(kNoExec);
}

void CDaemon::Signal(int sig) const
{
    if (m_pid > 0 && kill(m_pid, sig) != 0)
    {
        throw std::runtime_error("the daemon cannot be signalled");
    }
}

bool CDaemon::IsRunning()
{
    if (m_pid <= 0 || m_status != -1)
    {
        return false;
    }
    int waited = 0;
    if (waitpid(m_pid, &waited, WNOHANG) == m_pid)
    {
        m_status = as_status(waited);
    }
    return m_status == -1;
}

int CDaemon::WaitExit()
{
    wait_until([this] { return !IsRunning(); });
    return m_status;
}

void CDaemon::Kill()
{
    if (IsRunning())
    {
        kill(m_pid, SIGKILL);
        int waited = 0;
        waitpid(m_pid, &waited, 0);
        m_status = as_status(waited);
    }
}

std::string CDaemon::Stdout() const
{
    return read_file(m_strDir + "/stdout");
}

std::string CDaemon::Stderr() const
{
    return read_file(m_strDir + "/stderr");
}
