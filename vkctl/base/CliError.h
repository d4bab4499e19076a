// An error that ends a subcommand: one message for the user, one exit status.
//
// Thrown where the fault is found, caught once in main. The message says what failed, where, and
// what to do about it; it has no line end and no leading capital, as "vkctl: " goes before it.
#pragma once

#include <stdexcept>
#include <string>

namespace vkctl
{

constexpr int kExitFailure = 1;   // the work could not be done
constexpr int kExitUsage = 64;    // the command line makes no sense (EX_USAGE)
constexpr int kExitNoDaemon = 69; // no daemon runs (EX_UNAVAILABLE)
constexpr int kExitFile = 74;     // a file or database cannot be read (EX_IOERR)
constexpr int kExitHanging = 75;  // the daemon runs and does not move (EX_TEMPFAIL)
constexpr int kExitConfig = 78;   // the host's configuration is wrong (EX_CONFIG)

class CCliError : public std::runtime_error
{
public:
    explicit CCliError(const std::string& message, int exit_status = kExitFailure)
        : std::runtime_error(message), m_iExitStatus(exit_status)
    {
    }
    int ExitStatus() const { return m_iExitStatus; }

private:
    int m_iExitStatus;
};

} // namespace vkctl
