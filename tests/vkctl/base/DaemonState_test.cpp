// How the signs of a daemon are judged.
#include "vkctl/base/DaemonState.h"

#include <gtest/gtest.h>

#include "vkctl/base/CliError.h"

using namespace vkctl;

namespace
{

constexpr char kFile[] = "/run/x.pid";

DaemonSigns signs_of(long long last_report, long long limit)
{
    DaemonSigns signs;
    signs.pid = 7;
    signs.last_report = last_report;
    signs.limit = limit;
    return signs;
}

} // namespace

TEST(JudgeDaemon, NobodyWithTheLockIsNone)
{
    const DaemonVerdict verdict = judge_daemon({}, kFile);
    EXPECT_EQ(verdict.health, DaemonHealth::kNone);
    EXPECT_EQ(verdict.text, "no daemon runs: no process holds the lock on /run/x.pid");
}

TEST(JudgeDaemon, SilenceBeyondTheLimitIsHanging)
{
    EXPECT_EQ(judge_daemon(signs_of(30, 30), kFile).health, DaemonHealth::kAlive);
    const DaemonVerdict verdict = judge_daemon(signs_of(31, 30), kFile);
    EXPECT_EQ(verdict.health, DaemonHealth::kHanging);
    EXPECT_EQ(verdict.text, "the daemon, process 7, hangs: its last report came 31 s ago, where "
                            "Delay and Timeout allow a silence of 30 s");
}

TEST(JudgeDaemon, SilenceWithoutALimitIsNotHanging)
{
    DaemonSigns signs = signs_of(3000, 30);
    signs.limit.reset();
    EXPECT_EQ(judge_daemon(signs, kFile).health, DaemonHealth::kAlive);
}

TEST(JudgeDaemon, AFullQueueTellsNothing)
{
    DaemonSigns signs = signs_of(31, 30);
    signs.is_queue_full = true;
    const DaemonVerdict verdict = judge_daemon(signs, kFile);
    EXPECT_EQ(verdict.health, DaemonHealth::kAlive);
    EXPECT_EQ(verdict.text, "the daemon, process 7, runs; whether it moves is not known, as nobody "
                            "takes its reports: the tray queue is full");
}

TEST(JudgeDaemon, AStoppedProcessHangsWhateverElseIsSeen)
{
    for (const char state : {'T', 't'})
    {
        DaemonSigns signs = signs_of(0, 30);
        signs.process = state;
        signs.is_queue_full = true;
        EXPECT_EQ(judge_daemon(signs, kFile).health, DaemonHealth::kHanging);
    }
}

TEST(JudgeDaemon, EachHealthHasItsStatus)
{
    EXPECT_EQ(exit_status(DaemonHealth::kAlive), 0);
    EXPECT_EQ(exit_status(DaemonHealth::kNone), kExitNoDaemon);
    EXPECT_EQ(exit_status(DaemonHealth::kHanging), kExitHanging);
}
