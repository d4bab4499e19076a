#include "tests/daemon/support/Command.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "tests/daemon/support/HostDir.h"
#include "tests/support/Emulator.h"

namespace
{

constexpr int kNoExec = 127;
constexpr int kEndedBySignal = 128;

void redirect(int fd, const std::string& path, int flags)
{
    const int file = open(path.c_str(), flags, 0600);
    dup2(file, fd);
    close(file);
}

[[noreturn]] void become(const std::vector<std::string>& arguments, const std::string& out,
                         const std::string& err)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL); // no program outlives its test
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
    {
        argv.push_back(const_cast<char*>(argument.c_str())); // exec does not write to them
    }
    argv.push_back(nullptr);
    redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
    redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, err, O_WRONLY | O_CREAT);
    exec_program(argv);
    _exit(kNoExec);
}

// The child becomes the program.
pid_t start(const std::vector<std::string>& arguments, const std::string& out,
            const std::string& err)
{
    const pid_t pid = fork();
    if (pid < 0)
    {
        throw std::runtime_error("no process for " + arguments.at(0));
    }
    if (pid == 0)
    {
        become(arguments, out, err);
    }
    return pid;
}

// The end of a terminal that a user sits at.
int open_terminal()
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
    {
        throw std::runtime_error("no terminal to be had");
    }
    return terminal;
}

// Until nobody has the other end open any more.
std::string read_terminal(int terminal)
{
    std::string text;
    char part[512];
    for (ssize_t n = read(terminal, part, sizeof part); n > 0;
         n = read(terminal, part, sizeof part))
    {
        text.append(part, static_cast<size_t>(n));
    }
    return text;
}

} // namespace

CommandResult run_command(const std::vector<std::string>& arguments)
{
    char dir[] = "/tmp/command-XXXXXX";
    if (mkdtemp(dir) == nullptr)
    {
        throw std::runtime_error("no directory for a command's output");
    }
    const std::string out = std::string(dir) + "/out";
    const std::string err = std::string(dir) + "/err";
    int status = 0;
    waitpid(start(arguments, out, err), &status, 0);
    const int code = WIFSIGNALED(status) ? kEndedBySignal + WTERMSIG(status) : WEXITSTATUS(status);
    CommandResult result{code, read_file(out), read_file(err)};
    std::error_code ignored; // the box takes what is left
    std::filesystem::remove_all(dir, ignored);
    return result;
}

std::string run_on_terminal(const std::vector<std::string>& arguments, std::string out,
                            std::string err)
{
    const int terminal = open_terminal();
    const std::string device = ptsname(terminal);
    const int held = open(device.c_str(), O_RDWR | O_NOCTTY); // by the program, too, to its end
    out = out == kTerminal ? device : out;
    err = err == kTerminal ? device : err;
    const pid_t pid = start(arguments, out, err);
    close(held);
    std::string shown = read_terminal(terminal);
    waitpid(pid, nullptr, 0);
    close(terminal);
    return shown;
}

CommandResult run_vkctl(std::vector<std::string> arguments)
{
    return run_command(vkctl_command(std::move(arguments)));
}

std::vector<std::string> vkctl_command(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), VK_VKCTL_PROGRAM);
    return arguments;
}

CBackground::CBackground(const std::vector<std::string>& arguments)
    : m_pid(start(arguments, "/dev/null", "/dev/null"))
{
}

CBackground::~CBackground()
{
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}
