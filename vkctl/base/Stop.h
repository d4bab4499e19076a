// Ends a subcommand that runs until it is told to: SIGINT, SIGTERM, a time limit or a call.
//
// Made on the main thread before any other thread starts: it blocks the two signals for the
// whole process and takes them from a descriptor, so that no code runs in signal context.
#pragma once

#include <chrono>
#include <string>

namespace vkctl
{

class CStop
{
public:
    CStop();
    ~CStop();
    CStop(const CStop&) = delete;
    CStop& operator=(const CStop&) = delete;

    void Request(); // any thread, any number of times

    // Waits for a stop, at most `limit`; true when there was one. A negative limit waits for ever.
    bool WaitFor(std::chrono::milliseconds limit);

private:
    int m_iSignals; // signalfd
    int m_iRequest; // eventfd
    bool m_bStopped = false;
};

// "2s", "500ms", "1.5s", "3" (seconds). Throws CCliError for anything else.
std::chrono::milliseconds parse_duration(const std::string& text);

} // namespace vkctl
