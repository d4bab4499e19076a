// Starting programs that were built for another machine than this one: they run under the emulator
// that VK_EMULATOR names. It is empty where none is needed.
#pragma once

#include <unistd.h>
#include <vector>

// Becomes the program argv[0] with these arguments, the last one null. Returns only when that
// fails, with errno set. Called between fork and exec.
inline void exec_program(std::vector<char*> argv)
{
    static char emulator[] = VK_EMULATOR;
    if (emulator[0] != '\0')
    {
        argv.insert(argv.begin(), emulator);
    }
    execv(argv[0], argv.data());
}
