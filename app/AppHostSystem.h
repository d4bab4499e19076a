// The host's files and commands that figures are read from. Main thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The first lines of a file, at most count, without their line ends; fewer when it has fewer or
// cannot be read.
std::vector<std::string> first_lines(const char* path, size_t count);

bool device_exists(const char* path);

// Runs a shell command and reads one decimal number from its output. False when there is none:
// value is left as it was.
bool command_number(const char* command, int& value);
