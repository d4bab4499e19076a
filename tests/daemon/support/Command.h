// A program that is run to its end: what it wrote and how it ended.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct CommandResult
{
    int exit_status = -1; // 128 + n when signal n ended it
    std::string out;
    std::string err;
};

// Runs the program with its standard input at its end and its output in files of a temporary
// directory. Programs built for another machine run under the emulator. Throws
// std::runtime_error when there is no process to be had.
CommandResult run_command(const std::vector<std::string>& arguments);

// Runs the program with its output on a terminal, but for what is to go to a file; returns what the
// terminal was sent.
constexpr char kTerminal[] = "";
std::string run_on_terminal(const std::vector<std::string>& arguments, std::string out,
                            std::string err);

// The companion command with these arguments.
CommandResult run_vkctl(std::vector<std::string> arguments);
std::vector<std::string> vkctl_command(std::vector<std::string> arguments);

// A program that runs beside the test, its output thrown away. Killed when the object goes.
class CBackground
{
public:
    explicit CBackground(const std::vector<std::string>& arguments);
    ~CBackground();
    CBackground(const CBackground&) = delete;
    CBackground& operator=(const CBackground&) = delete;

private:
    pid_t m_pid;
};
