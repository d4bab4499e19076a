// The main cycle: pass by pass, with the steps replaced by recorders.
#include <cstdlib>

#include "tests/support/Child.h"
#include "tests/support/PosterTest.h"

namespace
{

std::function<void(const std::string& step)> on_step; // what else a step does

void record_step(const std::string& step)
{
    Recorder::Get().Add(step);
    if (on_step)
    {
        on_step(step);
    }
}

} // namespace

void CAppPost::GetTbls()
{
    record_step("GetTbls");
}

void CAppPost::PostNormal()
{
    record_step("PostNormal");
}

void CAppPost::PostGeneral()
{
    record_step("PostGeneral");
}

void CAppPost::PostDio()
{
    record_step("PostDio");
}

void CAppPost::PostCam()
{
    record_step("PostCam");
}

void CAppPost::PostOther()
{
    record_step("PostOther");
}

void CAppPost::PostMsgrecv()
{
    record_step("PostMsgrecv");
    m_devCtrlupdSta = 0;
}

namespace
{

const std::string kTick = "tray(0,1)";
constexpr char kException[] = "log [CAppPost::Run] db exception\r\n";

class RunTest : public PosterTest
{
protected:
    void SetUp() override
    {
        on_step = nullptr;
        app.m_iDelay = 5000;
    }

    // What one pass does.
    std::vector<std::string> Pass()
    {
        const size_t before = rec.Events().size();
        app.Run(state);
        const auto first = rec.Events().begin() + static_cast<ptrdiff_t>(before);
        return {first, rec.Events().end()};
    }
    void Passes(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            app.Run(state);
        }
    }
    // The steps of the next passes, "idle" for a pass that only pauses.
    std::string Walk(int passes)
    {
        std::string walk;
        for (int i = 0; i < passes; ++i)
        {
            const std::vector<std::string> pass = Pass();
            const bool idle = pass == std::vector<std::string>{"pause 20"};
            walk += (i > 0 ? " " : "") + (idle ? "idle" : pass.front());
        }
        return walk;
    }
    static void ThrowIn(const std::string& step)
    {
        on_step = [step](const std::string& now)
        {
            if (now == step)
            {
                throw ForeignError{};
            }
        };
    }

    CRunState state;
};

} // namespace

// --- The sweep ----------------------------------------------------------------------------------

TEST_F(RunTest, FirstPassIsDueAndPostsTheDevices)
{
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kTick, "pause 20"));
}

TEST_F(RunTest, SweepTakesNinePassesWithAnIdleOneBetweenTwoSteps)
{
    EXPECT_EQ(Walk(9), "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther");
}

TEST_F(RunTest, EveryStepIsFollowedByATickAndAPause)
{
    Passes(9);
    EXPECT_THAT(rec.Between("PostDio", "PostCam"),
                ElementsAre("PostDio", kTick, "pause 20", "pause 20"));
    EXPECT_THAT(rec.Between("PostOther", "none"), ElementsAre("PostOther", kTick, "pause 20"));
}

TEST_F(RunTest, NextSweepBeginsDelayAfterTheEndOfTheLast)
{
    Passes(8);
    rec.clock_ms += 3000; // the sweep takes its time
    Passes(1);
    rec.clock_ms += 4999;
    EXPECT_EQ(Walk(2), "idle idle");
    rec.clock_ms += 1;
    EXPECT_EQ(Walk(2), "PostNormal idle");
}

TEST_F(RunTest, StepsOfASweepDoNotWaitForTheDelay)
{
    app.m_iDelay = 2000000000;
    EXPECT_EQ(Walk(10),
              "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther idle");
}

TEST_F(RunTest, LongPauseBetweenStepsNeedsNoIdlePass)
{
    Passes(9);
    Passes(7); // not due; they count as passes
    rec.clock_ms += 5000;
    EXPECT_EQ(Walk(3), "PostNormal idle PostGeneral"); // devices begin the count anew
}

TEST_F(RunTest, DelayOfZeroOrLessNeverWaits)
{
    app.m_iDelay = 0;
    EXPECT_EQ(Walk(11), "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther "
                        "PostNormal idle");
    app.m_iDelay = -1;
    EXPECT_EQ(Walk(3), "PostGeneral idle PostDio");
}

TEST_F(RunTest, ClockThatFailsKeepsTheLastTime)
{
    Passes(9);
    rec.clock_works = false;
    rec.clock_ms += 100000;
    EXPECT_EQ(Walk(1), "idle");
    rec.clock_works = true;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockThatGoesBackEndsTheWait)
{
    Passes(9);
    rec.clock_ms -= 60000;
    EXPECT_EQ(Walk(9), "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther");
    EXPECT_EQ(Walk(1), "idle"); // the next wait counts from the new time
    rec.clock_ms += 5000;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockThatGoesBackLessThanTheWaitHasLastedLengthensIt)
{
    Passes(9);
    rec.clock_ms += 3000;
    EXPECT_EQ(Walk(1), "idle");
    rec.clock_ms -= 3000; // the very moment at which the sweep ended
    EXPECT_EQ(Walk(1), "idle");
    rec.clock_ms -= 1;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockThatGoesBackInTheMiddleOfASweepDoesNotHoldIt)
{
    Passes(9);
    rec.clock_ms += 5000;
    EXPECT_EQ(Walk(2), "PostNormal idle");
    rec.clock_ms -= 3600000;
    EXPECT_EQ(Walk(7), "PostGeneral idle PostDio idle PostCam idle PostOther");
    EXPECT_EQ(state.lastSweepMs, rec.clock_ms);
}

TEST_F(RunTest, BoardThatStartsIn1970SweepsAtOnceAndThenKeepsTheDelay)
{
    rec.clock_ms = 40; // less than Delay
    EXPECT_EQ(Walk(10),
              "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther idle");
    rec.clock_ms += 4999;
    EXPECT_EQ(Walk(1), "idle");
    rec.clock_ms += 1;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockThatIsSetRightAfterAStartIn1970EndsTheWait)
{
    rec.clock_ms = 40;
    Passes(10);
    rec.clock_ms = 1714536000000;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockBefore1970IsAClockLikeAnyOther)
{
    rec.clock_ms = -7200000;
    EXPECT_EQ(Walk(10),
              "PostNormal idle PostGeneral idle PostDio idle PostCam idle PostOther idle");
    rec.clock_ms += 5000;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, SweepThatEndsAtTheVeryFirstMomentOf1970IsFollowedByAWait)
{
    rec.clock_ms = 0;
    Passes(9);
    EXPECT_EQ(Walk(3), "idle idle idle");
    rec.clock_ms = 5000;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, ClockThatNeverWorksLeavesOneSweepAndNotAnEndlessOne)
{
    rec.clock_works = false;
    Passes(9);
    EXPECT_EQ(Walk(3), "idle idle idle");
}

TEST_F(RunTest, RequestIsServedOnABoardThatStartedIn1970)
{
    rec.clock_ms = 40;
    Passes(9 + 3);
    app.m_devCtrlupdSta = 1;
    EXPECT_THAT(Pass(), Contains("PostMsgrecv"));
}

// --- Rediscovery --------------------------------------------------------------------------------

TEST_F(RunTest, TablesAreNeverDiscoveredAgainByDefault)
{
    app.m_iDelay = 0;
    Passes(100);
    EXPECT_EQ(rec.Count("GetTbls"), 0);
}

TEST_F(RunTest, TablesAreDiscoveredAgainOnEverySecondDuePassWithOne)
{
    app.m_iReTbls = 1;
    Passes(8);
    EXPECT_EQ(rec.Count("GetTbls"), 4);
}

TEST_F(RunTest, RediscoveryTicksReadsAndPausesForTheDelayBeforeThePassGoesOn)
{
    app.m_iReTbls = 2;
    Passes(2);
    EXPECT_THAT(Pass(),
                ElementsAre(kTick, "GetTbls", "pause 5000", "PostGeneral", kTick, "pause 20"));
    EXPECT_EQ(Walk(2), "idle PostDio");
}

TEST_F(RunTest, IdlePassesCountWhenTheyAreDue)
{
    app.m_iReTbls = 1;
    Passes(1);
    EXPECT_THAT(Pass(), ElementsAre(kTick, "GetTbls", "pause 5000", "pause 20"));
}

TEST_F(RunTest, PassesThatAreNotDueDoNotCount)
{
    app.m_iReTbls = 9;
    Passes(9 + 50);
    EXPECT_EQ(rec.Count("GetTbls"), 0);
    rec.clock_ms += 5000;
    Passes(1);
    EXPECT_EQ(rec.Count("GetTbls"), 1);
}

TEST_F(RunTest, NegativeCountDiscoversOnEveryDuePass)
{
    app.m_iReTbls = -1;
    Passes(3);
    EXPECT_EQ(rec.Count("GetTbls"), 3);
}

// --- Requests -----------------------------------------------------------------------------------

TEST_F(RunTest, RequestDuringTheWaitIsServedAtOnce)
{
    Passes(9 + 3);
    app.m_devCtrlupdSta = 1;
    const std::vector<std::string> pass = Pass();
    ASSERT_THAT(pass, SizeIs(4));
    EXPECT_THAT(pass[0],
                ::testing::MatchesRegex("log app/AppPostRun.cpp Run line=[0-9]+ nPostType=5 \r\n"));
    EXPECT_THAT(std::vector<std::string>(pass.begin() + 1, pass.end()),
                ElementsAre("PostMsgrecv", kTick, "pause 20"));
}

TEST_F(RunTest, SweepAfterARequestBeginsAnewAfterTheDelay)
{
    Passes(9 + 3);
    app.m_devCtrlupdSta = 1;
    Passes(1);
    EXPECT_EQ(state.nPostType, 0);
    rec.clock_ms += 4999;
    EXPECT_EQ(Walk(1), "idle");
    rec.clock_ms += 1;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, RequestInTheMiddleOfASweepIdlesOnceThenEndsTheSweep)
{
    Passes(3); // devices, idle, general tables
    app.m_devCtrlupdSta = 1;
    EXPECT_EQ(Walk(1), "idle");
    EXPECT_THAT(Pass(), Contains("PostMsgrecv"));
    EXPECT_EQ(Walk(5), "idle idle idle idle idle");
    rec.clock_ms += 5000;
    EXPECT_EQ(Walk(3), "PostNormal idle PostGeneral");
    EXPECT_EQ(rec.Count("PostDio"), 0);
}

TEST_F(RunTest, RequestRightAfterTheDevicesIdlesOnce)
{
    Passes(1);
    app.m_devCtrlupdSta = 1;
    EXPECT_EQ(Walk(1), "idle");
    EXPECT_THAT(Pass(), Contains("PostMsgrecv"));
}

TEST_F(RunTest, RequestBeforeTheFirstPassComesFirst)
{
    app.m_devCtrlupdSta = 1;
    EXPECT_EQ(Walk(1), "idle");
    EXPECT_THAT(Pass(), Contains("PostMsgrecv"));
}

TEST_F(RunTest, OnlyTheFlagOneIsARequest)
{
    app.m_devCtrlupdSta = 2;
    EXPECT_EQ(Walk(1), "PostNormal");
}

TEST_F(RunTest, RequestsCountAsDuePassesForRediscovery)
{
    app.m_iReTbls = 9;
    Passes(9);
    app.m_devCtrlupdSta = 1;
    EXPECT_THAT(Pass(), Contains("GetTbls"));
}

// --- Exceptions ---------------------------------------------------------------------------------

TEST_F(RunTest, StepThatThrowsIsTriedAgainOnTheNextPassAtOnce)
{
    ThrowIn("PostNormal");
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kException));
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kException));
    on_step = nullptr;
    EXPECT_EQ(Walk(3), "PostNormal idle PostGeneral");
}

TEST_F(RunTest, DatabaseExceptionIsLoggedWithoutItsText)
{
    on_step = [](const std::string&)
    {
        throw CppSQLite3Exception(11, "malformed");
    };
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kException));
}

TEST_F(RunTest, ExceptionLeavesTheStateAsItWas)
{
    Passes(4);
    ThrowIn("PostDio");
    const CRunState before = state;
    EXPECT_THAT(Pass(), ElementsAre("PostDio", kException));
    EXPECT_EQ(state.nPostType, 2);
    EXPECT_EQ(state.lastSweepMs, before.lastSweepMs);
    EXPECT_EQ(state.passCount, before.passCount + 1); // counted at the start of the pass
    on_step = nullptr;
    EXPECT_EQ(Walk(2), "PostDio idle");
}

TEST_F(RunTest, LastStepThatThrowsDoesNotEndTheSweep)
{
    Passes(8);
    ThrowIn("PostOther");
    rec.clock_ms += 1000;
    Passes(1);
    EXPECT_EQ(state.lastSweepMs, 0);
    on_step = nullptr;
    EXPECT_EQ(Walk(1), "PostOther");
    EXPECT_EQ(state.lastSweepMs, rec.clock_ms);
}

TEST_F(RunTest, TrayAndPausesAreGuardedToo)
{
    rec.on_tray = [](int, int)
    {
        throw ForeignError{};
    };
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kTick, kException));
    EXPECT_EQ(state.nPostType, 0);
    rec.on_tray = nullptr;
    rec.on_pause = [](int)
    {
        throw ForeignError{};
    };
    EXPECT_THAT(Pass(), ElementsAre("PostNormal", kTick, "pause 20", kException));
    EXPECT_EQ(state.nPostType, 1); // the pause comes last
}

TEST_F(RunTest, RediscoveryThatThrowsCountsAnewAndTheStepIsNotRun)
{
    app.m_iReTbls = 1;
    Passes(1);
    ThrowIn("GetTbls");
    EXPECT_THAT(Pass(), ElementsAre(kTick, "GetTbls", kException));
    on_step = nullptr;
    EXPECT_EQ(Walk(1), "PostGeneral");
}

TEST_F(RunTest, RequestServiceThatThrowsIsTriedAgain)
{
    Passes(9 + 3);
    app.m_devCtrlupdSta = 1;
    ThrowIn("PostMsgrecv");
    EXPECT_EQ(Pass().back(), kException);
    on_step = nullptr;
    EXPECT_THAT(Pass(), Contains("PostMsgrecv"));
}

// --- The endless cycle --------------------------------------------------------------------------

TEST_F(RunTest, CycleAnnouncesItselfThenDiscovers)
{
    ThrowIn("GetTbls");
    rec.on_pause = [](int)
    {
        throw EndOfTest{}; // the only way out: a pass lets no exception through
    };
    EXPECT_THROW(app.Run(), EndOfTest);
    EXPECT_THAT(rec.Events(),
                ElementsAre("tray(1,1)", "GetTbls", kException, kTick, "pause 10000"));
}

// The cycle is never left; the tests end its process at a step, with a status that they expect.
TEST_F(RunTest, FirstDiscoveryThatThrowsBeginsAnew)
{
    on_step = [this, tries = 0](const std::string& step) mutable
    {
        if (step != "GetTbls")
        {
            std::exit(step == "PostNormal" ? rec.Count(kException) : 100);
        }
        if (++tries < 4)
        {
            throw ForeignError{};
        }
    };
    EXPECT_EQ(run_in_child([this] { app.Run(); }), 3);
}

TEST_F(RunTest, FirstDiscoveryIsGivenUpAfterTenTries)
{
    on_step = [this](const std::string& step)
    {
        if (step == "PostNormal")
        {
            EXPECT_EQ(rec.PauseSum(), 9 * 10000);
            std::exit(HasFailure() ? 100 : rec.Count("GetTbls"));
        }
        throw ForeignError{};
    };
    EXPECT_EQ(run_in_child([this] { app.Run(); }), 10);
}
