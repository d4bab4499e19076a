// Device readings: which bodies leave the host, in which order, and what they say.
#include "tests/daemon/support/DaemonTest.h"

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

using DevicePosting = DaemonTest;

TEST_F(DevicePosting, ReadingsArriveAsHeadAndColumns)
{
    // One body per device: the head with its eight values, then each column of its own.
    host.EmptyRoom();
    host.Table("tbUps", "Tem,Run");
    host.Device(101, "UPS-1", "tbUps", "25.5,'on'");
    Start();
    EXPECT_EQ(receiver.Body(0), "suid=xxx&sid=101&stype=5&stag1=3&sname=UPS-1&subsys=2"
                                "&dtupd=2024-05-01 12:00:00&state=0&Tem=25.5&Run=on");
}

TEST_F(DevicePosting, HostStatusEndsTheSweep)
{
    // After the devices comes the host itself, as device 0.
    StartSimpleRoom();
    EXPECT_THAT(receiver.WaitBodies(2),
                ElementsAre(kDevice7Body, MatchesRegex(kHostStatusPattern)));
}
