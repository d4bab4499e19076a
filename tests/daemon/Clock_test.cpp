// A wall clock that is wrong: a board without a battery, and a clock that is set while the daemon
// runs. Delay is longer than a day in all of them.
#include "tests/daemon/support/DaemonTest.h"

#include <cstdio>
#include <ctime>

#include "tests/support/TempDir.h"

using ::testing::MatchesRegex;

namespace
{

class Clock : public DaemonTest
{
protected:
    Clock()
    {
        MoveBy(0);
        daemon.Env("VK_CLOCK_FILE", m_strFile);
        daemon.Env("LD_PRELOAD", VK_MOVED_CLOCK);
        daemon.Env("ASAN_OPTIONS", "verify_asan_link_order=0");
    }

    // The daemon's clock is that much ahead of the machine's. A rename: no half a number is read.
    void MoveBy(long seconds)
    {
        write_file(m_strFile + ".new", std::to_string(seconds));
        ASSERT_EQ(std::rename((m_strFile + ".new").c_str(), m_strFile.c_str()), 0);
    }

private:
    std::string m_strFile = host.File("clock");
};

} // namespace

TEST_F(Clock, BoardThatStartsIn1970SweepsAtOnce)
{
    MoveBy(-std::time(nullptr) + 5);
    StartSimpleRoom();
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
    EXPECT_THAT(receiver.Body(1), MatchesRegex(kHostStatusPattern));
}

TEST_F(Clock, ClockThatIsSetBackBringsTheNextSweepAtOnce)
{
    StartSimpleRoom();
    receiver.Body(1);
    MoveBy(-3600);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_THAT(receiver.Body(3), MatchesRegex(kHostStatusPattern));
}

TEST_F(Clock, ClockThatIsSetForwardBeyondTheDelayBringsTheNextSweepAtOnce)
{
    StartSimpleRoom();
    receiver.Body(1);
    MoveBy(200000);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}
