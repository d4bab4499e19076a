// A program that is run to its end: what it wrote and how it ended.
#pragma once

#include <string>
#include <vector>

struct CommandResult
{
    int exitStatus = -1; // 128 + n when signal n ended it
    std::string out;
    std::string err;
};

// Runs the program with its standard input at its end and its output in files of a temporary
// directory. Programs built for another machine run under the emulator. Throws
// std::runtime_error when there is no process to be had.
CommandResult run_command(const std::vector<std::string>& arguments);

// The companion command with these arguments.
CommandResult run_vkctl(std::vector<std::string> arguments);
