#include "vkctl/check/CheckStart.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "app/AppPostConfig.h"
#include "vkctl/base/HostFiles.h"

namespace vkctl
{

namespace
{

constexpr int kSafeVersion = 3051003;
constexpr size_t kWriteVersion = 18; // where a database's head says 2 for a write-ahead log

// A library's own start-up code may do anything, also nothing for ever.
constexpr unsigned kLoadLimitS = 10;

// --- The library ---------------------------------------------------------------------------------

// Runs in a process of its own.
std::string load_problem(const std::string& path)
{
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
    {
        return std::string("cannot be loaded (") + dlerror() + ")";
    }
    for (const char* entry : {kDbManagerEntry, kDbReleaseEntry})
    {
        if (dlsym(library, entry) == nullptr)
        {
            return std::string("has no function ") + entry;
        }
    }
    return "";
}

[[noreturn]] void tell_load_problem(const std::string& path, int pipe)
{
    alarm(kLoadLimitS);
    const std::string problem = load_problem(path);
    const bool told =
        write(pipe, problem.data(), problem.size()) == static_cast<ssize_t>(problem.size());
    _exit(told ? 0 : 1);
}

std::string read_all(int pipe)
{
    std::string text;
    char piece[1024];
    for (ssize_t n = 0; (n = read(pipe, piece, sizeof piece)) > 0;)
    {
        text.append(piece, static_cast<size_t>(n));
    }
    return text;
}

// --- Write-ahead logs ----------------------------------------------------------------------------

bool has_write_ahead_log(const std::string& path)
{
    std::array<char, kWriteVersion + 1> head{};
    if (!is_readable_file(path))
    {
        return false;
    }
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    return head[kWriteVersion] == 2;
}

// 3051003 as "3.51.3".
std::string version_text(int version)
{
    return std::to_string(version / 1000000) + "." + std::to_string(version / 1000 % 1000) + "." +
           std::to_string(version % 1000);
}

} // namespace

std::string library_problem(const std::string& path)
{
    if (!is_readable_file(path))
    {
        return "is not there or cannot be read";
    }
    int ends[2];
    if (pipe(ends) != 0)
    {
        return "";
    }
    const pid_t child = fork();
    if (child == 0)
    {
        tell_load_problem(path, ends[1]);
    }
    close(ends[1]);
    std::string problem = read_all(ends[0]);
    close(ends[0]);
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && status != 0)
    {
        return "ends or hangs the program that loads it";
    }
    return problem;
}

namespace
{

void check_library(bool on_board, CFindings& findings)
{
    const std::string problem = library_problem(kDbLibrary);
    const bool is_there = access(kDbLibrary, F_OK) == 0;
    if (!problem.empty() && (on_board || is_there))
    {
        // What does not load here may load on the board, which has another processor.
        findings.Add(on_board ? Severity::kError : Severity::kNote, {kDbLibrary, 0},
                     FindingId::kLibraryUnusable,
                     problem + (on_board
                                    ? ": the daemon ends at start; put the database library of "
                                      "this board beside vkApp.ini"
                                    : " on this machine; see on the board"));
    }
}

void check_log_folder(const std::string& folder, CFindings& findings)
{
    if (access(folder.c_str(), W_OK | X_OK) != 0)
    {
        findings.Warning({folder, 0}, FindingId::kLogFolder,
                         std::string("cannot be written by this user: ") + std::strerror(errno) +
                             "; the daemon's log goes there, and without it nobody learns what "
                             "went wrong");
    }
}

} // namespace

void check_start(const std::string& flash, CFindings& findings)
{
    const bool on_board = access(flash.c_str(), F_OK) == 0;
    check_library(on_board, findings);
    if (on_board)
    {
        check_log_folder(flash + "/tmp", findings);
        return;
    }
    findings.Note({flash, 0}, FindingId::kBoardAbsent,
                  "is not there, so this is not the board: whether the daemon can start on it is "
                  "for a check there; --away leaves that out");
}

bool has_unsafe_checkpoints(int sqlite_version)
{
    return sqlite_version < kSafeVersion;
}

void check_write_ahead_log(const std::string& path, int sqlite_version, CFindings& findings)
{
    if (has_unsafe_checkpoints(sqlite_version) && has_write_ahead_log(path))
    {
        findings.Note({path, 0}, FindingId::kDatabaseWalReset,
                      "has a write-ahead log, and SQLite " + version_text(sqlite_version) +
                          " can damage it when two connections checkpoint at the same instant; the "
                          "daemon never does, so leave it to one process of the host, or install "
                          "SQLite " +
                          version_text(kSafeVersion) + " or later");
    }
}

} // namespace vkctl
