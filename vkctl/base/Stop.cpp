#include "vkctl/base/Stop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "vkctl/base/CliError.h"

namespace vkctl
{

CStop::CStop()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_iSignals = signalfd(-1, &signals, SFD_CLOEXEC);
    m_iRequest = eventfd(0, EFD_CLOEXEC);
    if (m_iSignals < 0 || m_iRequest < 0)
    {
        throw CCliError(std::string("cannot watch for signals: ") + std::strerror(errno));
    }
}

CStop::~CStop()
{
    close(m_iSignals);
    close(m_iRequest);
}

void CStop::Request()
{
    const uint64_t one = 1;
    // Cannot fail before 2^64 - 1 requests, and a stop already asked for is enough.
    [[maybe_unused]] const ssize_t written = write(m_iRequest, &one, sizeof one);
}

bool CStop::WaitFor(std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    while (!m_bStopped)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const bool is_for_ever = limit.count() < 0;
        pollfd fds[2] = {{m_iSignals, POLLIN, 0}, {m_iRequest, POLLIN, 0}};
        const long long wait_ms = is_for_ever || left.count() > 60000 ? 60000 : left.count();
        if (poll(fds, 2, static_cast<int>(wait_ms < 0 ? 0 : wait_ms)) > 0)
        {
            m_bStopped = true;
        }
        else if (!is_for_ever && Clock::now() >= end)
        {
            return false;
        }
    }
    return true;
}

std::chrono::milliseconds parse_duration(const std::string& text)
{
    constexpr double kLongestS = 1e9;
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const std::string unit = end;
    const double seconds = unit == "ms" ? number / 1000 : number;
    const bool is_unit = unit.empty() || unit == "s" || unit == "ms";
    if (end == text.c_str() || !is_unit || !(seconds >= 0 && seconds <= kLongestS))
    {
        throw CCliError("not a time: '" + text + "'; write 2s, 1.5s or 500ms", kExitUsage);
    }
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace vkctl
