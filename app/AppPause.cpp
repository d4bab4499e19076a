// The one place where the daemon waits, so that a test that replaces this file needs no time.
#include "app/AppPause.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace
{

// Read by the alarm signal's handler on the same thread.
thread_local volatile std::sig_atomic_t g_is_resting = 0;

// Marks the thread as resting. A pause inside the alarm routine, which itself runs inside a
// pause, leaves the mark as it found it.
class CRestMark
{
public:
    CRestMark() : m_before(g_is_resting) { g_is_resting = 1; }
    ~CRestMark() { g_is_resting = m_before; }
    CRestMark(const CRestMark&) = delete;
    CRestMark& operator=(const CRestMark&) = delete;

private:
    std::sig_atomic_t m_before;
};

} // namespace

bool at_rest()
{
    return g_is_resting != 0;
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
