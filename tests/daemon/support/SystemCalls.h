// What a program did to the world, told from its system calls as strace writes them down.
//
// A program is harmless that opens files to be read, writes to what it was given, to a pipe or to
// /dev/null, and otherwise keeps to itself. SQLite's shared-memory file beside a database with a
// write-ahead log is the one file that its readers write, too. Everything else is an act: whatever
// creates, changes, renames or removes a file, speaks to a queue, a semaphore, a process or a
// socket, and every call that is not known to be harmless, so that an unknown one is looked at.
#pragma once

#include <set>
#include <string>
#include <vector>

// One line of strace -f -y about a call; the name is empty when the line tells of something else.
struct SystemCall
{
    std::string name;
    std::string arguments; // as they stand between the parentheses; of a call that is interrupted
                           // by another process's, those up to there
};
SystemCall parse_call(const std::string& line);

// Whether the call may have changed anything outside of its process.
bool is_act(const SystemCall& call);

// The lines of a record that tell of acts.
std::vector<std::string> find_acts(const std::string& record);

// The paths of the files that were written or cut through a descriptor, by a record of strace -y.
std::set<std::string> written_files(const std::string& record);

// Runs the program under strace, with the processes that it starts.
struct TracedRun
{
    int exit_status = -1;
    std::string out;
    std::string err;
    size_t calls = 0; // on record
    std::vector<std::string> acts;
};
TracedRun run_traced(const std::vector<std::string>& arguments);
