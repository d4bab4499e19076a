#include "bench/Boxed.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr int kStartTries = 1000; // of 5 ms
constexpr auto kStartPause = std::chrono::milliseconds(5);

// The number behind "key:" in a file of such lines.
long number_of(const std::string& path, const std::string& key)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        if (line.compare(0, key.size() + 1, key + ":") == 0)
        {
            return std::strtol(line.c_str() + key.size() + 1, nullptr, 10);
        }
    }
    return 0;
}

std::string proc_path(pid_t pid, const char* file)
{
    return "/proc/" + std::to_string(pid) + "/" + file;
}

bool redirect(int target, const char* path)
{
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return fd >= 0 && dup2(fd, target) >= 0;
}

std::vector<std::string> environment_without(const std::vector<std::string>& names)
{
    std::vector<std::string> kept;
    for (char** setting = environ; *setting != nullptr; ++setting)
    {
        const std::string text = *setting;
        if (std::none_of(names.begin(), names.end(),
                         [&](const std::string& name)
                         { return text.compare(0, name.size(), name) == 0; }))
        {
            kept.push_back(text);
        }
    }
    return kept;
}

// As execve takes them; valid as long as the texts are.
std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    for (std::string& text : texts)
    {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

// The program of that name among a process and its children; -1 when it is not (yet) there.
pid_t find_below(pid_t pid, const std::string& program)
{
    std::error_code gone;
    const auto exe = std::filesystem::read_symlink(proc_path(pid, "exe"), gone);
    if (!gone && exe.filename() == program)
    {
        return pid;
    }
    const std::string task = "task/" + std::to_string(pid) + "/children";
    std::ifstream children(proc_path(pid, task.c_str()));
    for (pid_t child = 0; children >> child;)
    {
        const pid_t found = find_below(child, program);
        if (found > 0)
        {
            return found;
        }
    }
    return -1;
}

} // namespace

CBoxed::CBoxed(const std::vector<std::string>& command, const std::string& dir,
               const std::string& flash)
{
    Start(command, dir, flash);
    m_program = FindProgram(std::filesystem::path(command.front()).filename());
}

CBoxed::~CBoxed()
{
    if (m_box < 0)
    {
        return;
    }
    if (m_program > 0)
    {
        kill(m_program, SIGKILL);
    }
    kill(m_box, SIGKILL);
    waitpid(m_box, nullptr, 0);
}

void CBoxed::Start(const std::vector<std::string>& command, const std::string& dir,
                   const std::string& flash)
{
    // Everything is prepared before the fork: other threads run, so the child may only make system
    // calls before it becomes the program.
    std::vector<std::string> words{VK_BOX};
    words.insert(words.end(), command.begin(), command.end());
    std::vector<std::string> settings = environment_without({"VKLOG=", "VK_BOX_FLASH="});
    settings.push_back("VK_BOX_FLASH=" + flash);
    const std::vector<char*> argv = pointers(words);
    const std::vector<char*> envp = pointers(settings);
    const std::string out = dir + "/out.txt";
    const std::string err = dir + "/err.txt";

    m_box = fork();
    if (m_box == 0)
    {
        if (chdir(dir.c_str()) == 0 && redirect(STDOUT_FILENO, out.c_str()) &&
            redirect(STDERR_FILENO, err.c_str()))
        {
            execve(VK_BOX, argv.data(), envp.data());
        }
        _exit(127);
    }
}

pid_t CBoxed::FindProgram(const std::string& program) const
{
    for (int i = 0; i < kStartTries; ++i)
    {
        const pid_t found = find_below(m_box, program);
        if (found > 0)
        {
            return found;
        }
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(m_box), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid == m_box)
        {
            return -1; // it has come and gone; Wait has its exit status
        }
        std::this_thread::sleep_for(kStartPause);
    }
    kill(m_box, SIGKILL);
    waitpid(m_box, nullptr, 0);
    throw std::runtime_error(program + " does not start");
}

int CBoxed::Wait()
{
    int status = 0;
    waitpid(m_box, &status, 0);
    m_box = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool CBoxed::Runs() const
{
    return m_program > 0 && kill(m_program, 0) == 0;
}

int64_t CBoxed::CpuNs() const
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(m_program, &clock) != 0 || clock_gettime(clock, &time) != 0)
    {
        return 0;
    }
    return static_cast<int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

long CBoxed::StatusKib(const char* key) const
{
    return number_of(proc_path(m_program, "status"), key);
}

long CBoxed::MappedKib(const char* key) const
{
    return number_of(proc_path(m_program, "smaps_rollup"), key);
}

int CBoxed::Descriptors() const
{
    int count = 0;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator(proc_path(m_program, "fd"), gone))
    {
        static_cast<void>(entry);
        ++count;
    }
    return count;
}
