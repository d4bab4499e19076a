// The one place where the daemon waits and reads the clock, so that a test that replaces this
// file needs no real time at all.
#include "app/AppInternal.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/time.h>

namespace
{

// Read by the alarm signal's handler on the same thread.
thread_local volatile std::sig_atomic_t is_resting = 0;

// Marks the thread as resting. A pause inside the alarm routine, which itself runs inside a
// pause, leaves the mark as it found it.
class CRestMark
{
public:
    CRestMark() : m_before(is_resting) { is_resting = 1; }
    ~CRestMark() { is_resting = m_before; }
    CRestMark(const CRestMark&) = delete;
    CRestMark& operator=(const CRestMark&) = delete;

private:
    std::sig_atomic_t m_before;
};

} // namespace

bool at_rest()
{
    return is_resting != 0;
}

void pause_ms(int ms)
{
    if (ms <= 0)
    {
        return;
    }
    const CRestMark mark;
    timespec left{};
    left.tv_sec = ms / 1000;
    left.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
    // An alarm signal interrupts the pause; the rest of it is still due afterwards.
    while (nanosleep(&left, &left) != 0 && errno == EINTR)
    {
    }
}

bool wall_clock_ms(int64_t& ms)
{
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
    {
        return false;
    }
    ms = static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
    return true;
}

std::string local_time_stamp()
{
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return format_text("%d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}
