// A program that runs in a box of its own, and what the system knows about it.
//
// Started by the constructor in the given directory, ended by the destructor. Its outputs go to
// "out.txt" and "err.txt" in that directory. Threads: the figures may be read from any thread.
// Throws std::runtime_error when the program does not start.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

class CBoxed
{
public:
    // flash: a directory to be seen as /NandFlash; empty: one in memory that goes with the box.
    CBoxed(const std::vector<std::string>& command, const std::string& dir,
           const std::string& flash = "");
    ~CBoxed();
    CBoxed(const CBoxed&) = delete;
    CBoxed& operator=(const CBoxed&) = delete;

    int Wait(); // until it ends by itself; its exit status

    bool Runs() const;
    int64_t CpuNs() const;                 // of all its threads since its start; 0 when it is gone
    long StatusKib(const char* key) const; // a line of /proc/PID/status; 0 when there is none
    long MappedKib(const char* key) const; // a line of /proc/PID/smaps_rollup, likewise
    int Descriptors() const;

private:
    void Start(const std::vector<std::string>& command, const std::string& dir,
               const std::string& flash);
    pid_t FindProgram(const std::string& program) const;

    pid_t m_box = -1;     // the process that holds the box
    pid_t m_program = -1; // the program inside
};
