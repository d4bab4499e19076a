#include "app/AlarmSignal.h"

#include <atomic>
#include <csignal>
#include <ctime>

#include "app/AppPause.h"

namespace
{

constexpr long kAgainNs = 5000000; // 5 ms until the signal is sent again

std::atomic<bool> g_has_request_thread{false};
pthread_t g_request_thread; // set before g_has_request_thread
std::atomic<bool> g_has_timer{false};
timer_t g_timer; // set before g_has_timer

// Two signals that wait for the timer become one, which loses nothing: one run of the routine
// takes all alarms that are waiting.
void send_again_soon()
{
    if (g_has_timer)
    {
        itimerspec once{};
        once.it_value.tv_nsec = kAgainNs;
        timer_settime(g_timer, 0, &once, nullptr);
    }
}

} // namespace

bool prepare_alarm_signal(int sig)
{
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = sig;
    g_has_timer = timer_create(CLOCK_MONOTONIC, &event, &g_timer) == 0;
    return g_has_timer;
}

void pass_alarm_signals_to(pthread_t thread)
{
    g_request_thread = thread;
    g_has_request_thread = true;
}

bool on_request_thread()
{
    return g_has_request_thread && pthread_equal(pthread_self(), g_request_thread) != 0;
}

bool pass_alarm_signal_on(int sig)
{
    const bool mine = !g_has_request_thread || on_request_thread();
    if (mine && at_rest())
    {
        return false;
    }
    if (mine || pthread_kill(g_request_thread, sig) != 0)
    {
        send_again_soon();
    }
    return true;
}
