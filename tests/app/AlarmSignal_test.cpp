// Who runs the alarm routine: the thread that takes the signal, the request thread, or whoever is
// at rest a moment later. Each test decides in a process of its own, which knows no request
// thread yet. Timer and thread signals are the test's own.
#include "app/AlarmSignal.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

#include "app/AppPause.h"
#include "tests/support/Child.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kSignal = 35;
const timer_t kTimer = reinterpret_cast<timer_t>(7);

struct SystemScript
{
    bool is_at_rest = false;
    bool timer_fails = false;
    int kill_result = 0;
    std::vector<std::string> calls; // what was asked of the system
};
SystemScript script;

} // namespace

bool at_rest()
{
    return script.is_at_rest;
}

extern "C"
{
    int timer_create(clockid_t clock, sigevent* event, timer_t* timer) noexcept
    {
        EXPECT_EQ(clock, CLOCK_MONOTONIC); // a wall clock that is set must not delay an alarm
        EXPECT_EQ(event->sigev_notify, SIGEV_SIGNAL);
        script.calls.push_back("timer for signal " + std::to_string(event->sigev_signo));
        *timer = kTimer;
        return script.timer_fails ? -1 : 0;
    }

    int timer_settime(timer_t timer, int flags, const itimerspec* when, itimerspec* before) noexcept
    {
        EXPECT_EQ(timer, kTimer);
        EXPECT_EQ(flags, 0);
        EXPECT_EQ(before, nullptr);
        EXPECT_EQ(when->it_interval.tv_sec + when->it_interval.tv_nsec, 0); // once
        EXPECT_EQ(when->it_value.tv_sec, 0);
        script.calls.push_back("again in " + std::to_string(when->it_value.tv_nsec) + " ns");
        return 0;
    }

    int pthread_kill(pthread_t thread, int sig) noexcept
    {
        EXPECT_EQ(pthread_equal(thread, pthread_self()), 0);
        script.calls.push_back("pass on signal " + std::to_string(sig));
        return script.kill_result;
    }
}

namespace
{

class AlarmSignalTest : public ::testing::Test
{
protected:
    AlarmSignalTest() { script = {}; }

    // The work in a process of its own.
    template <class Work> static void Run(Work&& work) { EXPECT_EQ(run_in_child(work), 0); }

    static void Prepare()
    {
        prepare_alarm_signal(kSignal);
        script.calls.clear();
    }

    // Another thread of this process becomes the request thread.
    static void OtherTakes()
    {
        std::thread([] { pass_alarm_signals_to(pthread_self()); }).join();
    }

    static void ExpectRunsHere()
    {
        EXPECT_FALSE(pass_alarm_signal_on(kSignal));
        EXPECT_THAT(script.calls, IsEmpty());
    }

    static void ExpectPassedOn(const std::vector<std::string>& calls)
    {
        EXPECT_TRUE(pass_alarm_signal_on(kSignal));
        EXPECT_EQ(script.calls, calls);
    }
};

const std::vector<std::string> kAgain{"again in 5000000 ns"};
const std::vector<std::string> kToOther{"pass on signal 35"};
const std::vector<std::string> kToOtherAndAgain{"pass on signal 35", "again in 5000000 ns"};

} // namespace

TEST_F(AlarmSignalTest, PreparingMakesATimerThatSendsTheSignal)
{
    Run(
        []
        {
            prepare_alarm_signal(kSignal);
            EXPECT_THAT(script.calls, ElementsAre("timer for signal 35"));
        });
}

TEST_F(AlarmSignalTest, WithoutARequestThreadTheRoutineRunsHereAtRest)
{
    script.is_at_rest = true;
    Run(
        []
        {
            Prepare();
            ExpectRunsHere();
        });
}

TEST_F(AlarmSignalTest, WithoutARequestThreadAWorkingThreadGetsTheSignalAgain)
{
    Run(
        []
        {
            Prepare();
            ExpectPassedOn(kAgain);
        });
}

TEST_F(AlarmSignalTest, TheRequestThreadRunsTheRoutineAtRest)
{
    script.is_at_rest = true;
    Run(
        []
        {
            Prepare();
            pass_alarm_signals_to(pthread_self());
            ExpectRunsHere();
        });
}

TEST_F(AlarmSignalTest, TheRequestThreadAtWorkGetsTheSignalAgain)
{
    Run(
        []
        {
            Prepare();
            pass_alarm_signals_to(pthread_self());
            ExpectPassedOn(kAgain);
        });
}

TEST_F(AlarmSignalTest, AnotherThreadAtWorkPassesTheSignalOn)
{
    Run(
        []
        {
            Prepare();
            OtherTakes();
            ExpectPassedOn(kToOther);
        });
}

TEST_F(AlarmSignalTest, AnotherThreadPassesTheSignalOnAlsoAtRest)
{
    script.is_at_rest = true; // or two runs of the routine could meet
    Run(
        []
        {
            Prepare();
            OtherTakes();
            ExpectPassedOn(kToOther);
        });
}

TEST_F(AlarmSignalTest, ASignalThatCannotBePassedOnComesAgain)
{
    script.kill_result = ESRCH;
    Run(
        []
        {
            Prepare();
            OtherTakes();
            ExpectPassedOn(kToOtherAndAgain);
        });
}

TEST_F(AlarmSignalTest, WithoutATimerNothingIsSet)
{
    script.timer_fails = true;
    Run(
        []
        {
            Prepare();
            ExpectPassedOn({});
        });
}

TEST_F(AlarmSignalTest, ASignalBeforeTheTimerIsMadeIsHarmless)
{
    Run([] { ExpectPassedOn({}); });
}
