// Start-up with one piece of memory that is not to be had: the daemon gets to work all the same, or
// says what is wrong and ends with a status that the documents know. Never an abort, never a hang.
#include "tests/daemon/support/DaemonTest.h"

#include <algorithm>
#include <filesystem>

using ::testing::AnyOf;

namespace
{

constexpr int kEachUpTo = 40; // the process's own, before libcurl asks for thousands
constexpr int kStep = 61;     // behind them one in so many

// What became of a start: "up", or the exit status and the last line but those of every end.
struct Outcome
{
    bool fired = false; // whether the daemon came to that piece of memory
    bool up = false;    // whether it began its first sweep
    int status = -1;    // else
    std::string reason; // else: what it said last
};

std::string reason_of_end()
{
    std::vector<std::string> log = log_messages();
    log.erase(std::remove(log.begin(), log.end(), "AppPost endProcMsg line=2390 \r\n"), log.end());
    return log.empty() ? "" : log.back();
}

class StartUpMemory : public DaemonTest
{
protected:
    Outcome StartWithout(int allocation)
    {
        const std::string mark = host.File("allocation-failed");
        std::filesystem::remove(mark);
        CDaemon one;
        one.Env("LD_PRELOAD", VK_FAIL_ALLOCATION);
        one.Env("VK_FAILING_ALLOCATION", std::to_string(allocation));
        one.Start(host.Path());
        Outcome outcome;
        wait_until([&]
                   { return (outcome.up = has_logged("PostNormal...\n")) || !one.IsRunning(); });
        outcome.fired = std::filesystem::exists(mark);
        outcome.status = outcome.up ? -1 : one.WaitExit();
        one.Kill();
        outcome.reason = reason_of_end();
        std::filesystem::remove(kLogPath);
        return outcome;
    }
};

} // namespace

TEST_F(StartUpMemory, OneMissingPieceEndsNothingWithoutAWord)
{
    // 0: start-up failed. 1: before there was a pid file.
    host.SimpleRoom();
    host.Post("maxURLs", "2");
    host.Post("Dept", "a department with a name of some length");
    host.WriteIni();
    int allocation = 1;
    for (Outcome outcome; (outcome = StartWithout(allocation)).fired;)
    {
        if (!outcome.up)
        {
            EXPECT_THAT(outcome.status, AnyOf(0, 1)) << allocation;
            EXPECT_EQ(outcome.reason,
                      outcome.status == 0 ? "vkAppPost exit\r\n" : "vkAppPost exception\r\n")
                << allocation;
        }
        allocation += allocation < kEachUpTo ? 1 : kStep;
    }
    EXPECT_GT(allocation, 1000); // it came to the end of the start, not of the counting
}
