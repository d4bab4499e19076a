// Pauses and clock. The system's are the test's own, so nothing waits: what is looked at is how
// long a pause asks for, all in all.
#include "app/AppClock.h"
#include "app/AppPause.h"

#include <cerrno>
#include <ctime>
#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/time.h>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Length = std::pair<long, long>; // seconds, nanoseconds

struct SystemScript
{
    std::vector<Length> asked;      // of each nanosleep
    std::deque<Length> interrupted; // what is left of the next ones when a signal comes
    int error = 0;                  // of nanosleep, where no signal comes
    std::function<void()> on_pause; // during the first one
    bool clock_fails = false;
    time_t now = 1714536000;
};
SystemScript script;

int interrupt(timespec* left)
{
    left->tv_sec = script.interrupted.front().first;
    left->tv_nsec = script.interrupted.front().second;
    script.interrupted.pop_front();
    errno = EINTR;
    return -1;
}

} // namespace

extern "C"
{
    int nanosleep(const timespec* length, timespec* left)
    {
        script.asked.emplace_back(length->tv_sec, length->tv_nsec);
        const std::function<void()> hook = std::exchange(script.on_pause, nullptr);
        if (hook)
        {
            hook();
        }
        if (!script.interrupted.empty())
        {
            return interrupt(left);
        }
        errno = script.error;
        return script.error == 0 ? 0 : -1;
    }

    int gettimeofday(timeval* now, void* /*zone*/) noexcept
    {
        now->tv_sec = 1714536000;
        now->tv_usec = 789999;
        return script.clock_fails ? -1 : 0;
    }

    time_t time(time_t* where) noexcept
    {
        if (where != nullptr)
        {
            *where = script.now;
        }
        return script.now;
    }
}

namespace
{

class AppPauseTest : public ::testing::Test
{
protected:
    AppPauseTest() { script = {}; }
};

} // namespace

// --- Pauses -------------------------------------------------------------------------------------

TEST_F(AppPauseTest, APauseIsGivenInMilliseconds)
{
    pause_ms(20);
    pause_ms(3000);
    pause_ms(1999);
    EXPECT_THAT(script.asked, ElementsAre(Length(0, 20000000), Length(3, 0), Length(1, 999000000)));
}

TEST_F(AppPauseTest, APauseOfNothingAndLessIsNone)
{
    pause_ms(0);
    pause_ms(-5);
    EXPECT_THAT(script.asked, IsEmpty());
}

TEST_F(AppPauseTest, APauseThatSignalsInterruptStillLasts)
{
    script.interrupted = {{2, 500}, {0, 7}};
    pause_ms(3000);
    EXPECT_THAT(script.asked, ElementsAre(Length(3, 0), Length(2, 500), Length(0, 7)));
}

TEST_F(AppPauseTest, AnotherFailureEndsThePause)
{
    script.error = EINVAL;
    pause_ms(20);
    EXPECT_THAT(script.asked, ElementsAre(Length(0, 20000000)));
}

// --- At rest ------------------------------------------------------------------------------------

TEST_F(AppPauseTest, AThreadIsAtRestInsideItsPauseOnly)
{
    bool inside = false;
    script.on_pause = [&]
    {
        inside = at_rest();
    };
    EXPECT_FALSE(at_rest());
    pause_ms(20);
    EXPECT_TRUE(inside);
    EXPECT_FALSE(at_rest());
}

TEST_F(AppPauseTest, AThreadStaysAtRestBetweenTwoPartsOfAnInterruptedPause)
{
    bool inside = false;
    script.interrupted = {{1, 0}};
    script.on_pause = [&]
    {
        script.on_pause = [&]
        {
            inside = at_rest();
        };
    }; // in the second part
    pause_ms(3000);
    EXPECT_TRUE(inside);
}

TEST_F(AppPauseTest, APauseInsideAPauseLeavesTheThreadAtRest)
{
    bool after = false;
    script.on_pause = [&]
    {
        pause_ms(200);
        after = at_rest();
    };
    pause_ms(3000);
    EXPECT_TRUE(after);
    EXPECT_FALSE(at_rest());
}

TEST_F(AppPauseTest, OneThreadsRestIsNotAnothers)
{
    bool other = true;
    script.on_pause = [&]
    {
        std::thread([&] { other = at_rest(); }).join();
    };
    pause_ms(20);
    EXPECT_FALSE(other);
}

// --- Clock --------------------------------------------------------------------------------------

TEST_F(AppPauseTest, TheWallClockIsInMillisecondsSince1970)
{
    int64_t ms = 0;
    EXPECT_TRUE(wall_clock_ms(ms));
    EXPECT_EQ(ms, 1714536000789);
}

TEST_F(AppPauseTest, AClockThatFailsLeavesTheTimeAlone)
{
    script.clock_fails = true;
    int64_t ms = 42;
    EXPECT_FALSE(wall_clock_ms(ms));
    EXPECT_EQ(ms, 42);
}

TEST_F(AppPauseTest, TheTimeStampIsLocalTime)
{
    setenv("TZ", "XXX-8", 1);
    tzset();
    EXPECT_EQ(local_time_stamp(), "2024-05-01 12:00:00");
    setenv("TZ", "XXX+9:05", 1);
    tzset();
    EXPECT_EQ(local_time_stamp(), "2024-04-30 18:55:00");
}

TEST_F(AppPauseTest, TheTimeStampFollowsAChangedZone)
{
    setenv("TZ", "XXX-8", 1);
    local_time_stamp();
    setenv("TZ", "XXX-9", 1);
    script.now += 1;
    EXPECT_EQ(local_time_stamp(), "2024-05-01 13:00:01");
}
