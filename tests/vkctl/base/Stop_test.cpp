#include <gtest/gtest.h>

#include <csignal>

#include "vkctl/base/CliError.h"
#include "vkctl/base/Stop.h"

using namespace vkctl;
using std::chrono::milliseconds;

TEST(StopTest, NothingStopsUntilTheLimit)
{
    CStop stop;
    EXPECT_FALSE(stop.WaitFor(milliseconds(0)));
}

TEST(StopTest, ARequestStopsForGood)
{
    CStop stop;
    stop.Request();
    EXPECT_TRUE(stop.WaitFor(milliseconds(-1)));
    EXPECT_TRUE(stop.WaitFor(milliseconds(0)));
}

TEST(StopTest, EachOfTheTwoSignalsStops)
{
    for (const int number : {SIGINT, SIGTERM})
    {
        CStop stop;
        ASSERT_EQ(raise(number), 0);
        EXPECT_TRUE(stop.WaitFor(milliseconds(-1)));
        sigset_t pending;
        sigemptyset(&pending);
        sigaddset(&pending, number);
        int taken = 0;
        sigwait(&pending, &taken); // it is only looked at above: take it away for the next test
    }
}

TEST(DurationTest, UnitsAreSecondsOrMilliseconds)
{
    EXPECT_EQ(parse_duration("2s"), milliseconds(2000));
    EXPECT_EQ(parse_duration("3"), milliseconds(3000));
    EXPECT_EQ(parse_duration("1.5s"), milliseconds(1500));
    EXPECT_EQ(parse_duration("500ms"), milliseconds(500));
    EXPECT_EQ(parse_duration("0"), milliseconds(0));
}

TEST(DurationTest, AnythingElseIsRefused)
{
    for (const char* text : {"", "s", "2 s", "2h", "-1s", "nan", "inf", "1e30", "2s3"})
    {
        EXPECT_THROW(parse_duration(text), CCliError) << text;
    }
}
