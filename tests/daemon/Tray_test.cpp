// The tray process's queue may be full, gone or not there yet: the daemon does not care.
#include "tests/daemon/support/DaemonTest.h"

using Tray = DaemonTest;

TEST_F(Tray, FullQueueLosesReportsAndHoldsNothingUp)
{
    // Nobody reads it: posts go on, and no report is squeezed in.
    tray.Fill();
    const size_t waiting = tray.Waiting();
    host.Post("Delay", "0");
    StartSimpleRoom();
    EXPECT_EQ(receiver.Body(5).substr(0, 15), "suid=xxx&sid=0&");
    EXPECT_EQ(tray.Waiting(), waiting);
}

TEST_F(Tray, RemovedQueueHoldsNothingUp)
{
    // Posts go on; the queue is not made again.
    host.Post("Delay", "0");
    StartSimpleRoom();
    tray.Remove();
    const size_t before = receiver.Bodies().size();
    EXPECT_GE(receiver.WaitBodies(before + 4).size(), before + 4);
    EXPECT_EQ(CTray().Waiting(), 0U);
}

TEST_F(Tray, MissingQueueIsMadeByTheDaemon)
{
    // The tray process starts later and finds the reports waiting.
    tray.Remove();
    StartSimpleRoom();
    CTray late;
    EXPECT_EQ(late.WaitReports(1).at(0), TrayReport(1, 1));
}

TEST_F(Tray, TicksGoOnFromSweepToSweep)
{
    // Read as they come, so the queue never fills.
    host.Post("Delay", "0");
    StartSimpleRoom();
    EXPECT_GE(tray.WaitReports(60).size(), 60U);
}
