// Alarms that go while they are being posted: what the host's alarm process must know.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{

constexpr char kAlarms[] = "/alarm";
constexpr char kEnd[] = "CAppPost::OnAlmIns end\r\n";

const auto kHasCome = AllOf(HasSubstr("&state=1&"), HasSubstr("&recovertime=&"));
const auto kHasGone = AllOf(HasSubstr("&state=3&"), HasSubstr("&recovertime=2024-05-01 12:31:00&"));

class Clearings : public DaemonTest
{
protected:
    Clearings()
    {
        host.Post("maxURLs", "2");
        host.Post("AlmUrl", receiver.Url(kAlarms));
    }

    // Starts a simple room with an alarm whose post waits for its server.
    void PostingAnAlarm()
    {
        receiver.Hold(kAlarms);
        StartSimpleRoom();
        host.Alarm(1, 7, "too hot");
        daemon.Signal(SIGRTMIN + 1);
        EXPECT_THAT(receiver.Body(0, kAlarms), kHasCome);
    }

    // Writes the clearing into the row if it is so; tells whether it was.
    bool Clear(const std::string& condition) const
    {
        host.Alarms("update tbSMAlarm set Alm=Alm|4,LastUpd='2024-05-01 12:31:00',AFld=0"
                    " where DID=1 and " +
                    condition);
        return host.AlarmValue("select AFld from tbSMAlarm where Alm=5") == "0";
    }

    void SignalAfter(size_t runs)
    {
        EXPECT_TRUE(wait_until([&] { return count_logged(kEnd) == runs; }));
        daemon.Signal(SIGRTMIN + 1);
        EXPECT_TRUE(wait_until([&] { return count_logged(kEnd) == runs + 1; }));
    }
};

} // namespace

TEST_F(Clearings, OneWrittenWhileTheAlarmIsPostedIsMarkedWithItAndNeverSent)
{
    // The mark goes by the alarm's number alone.
    PostingAnAlarm();
    EXPECT_TRUE(Clear("AFld is null"));
    receiver.Release(kAlarms);
    SignalAfter(1);
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(kHasCome));
    EXPECT_EQ(host.AlarmValue("select Alm||','||AFld from tbSMAlarm"), "5,1");
}

TEST_F(Clearings, OneThatWaitsForTheMarkIsSent)
{
    // As the alarm process should do it: no row is changed before the mark is there.
    PostingAnAlarm();
    EXPECT_FALSE(Clear("AFld=1"));
    receiver.Release(kAlarms);
    EXPECT_TRUE(wait_until([&] { return Clear("AFld=1"); }));
    SignalAfter(1);
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(kHasCome, kHasGone));
}

TEST_F(Clearings, OneThatIsARowOfItsOwnIsSent)
{
    // Also when it comes while the alarm is being posted; no further signal is needed.
    PostingAnAlarm();
    host.Alarm(2, 7, "too hot", 5);
    host.Alarms("update tbSMAlarm set LastUpd='2024-05-01 12:31:00' where DID=2");
    receiver.Release(kAlarms);
    EXPECT_THAT(receiver.WaitBodies(2, kAlarms), ElementsAre(kHasCome, kHasGone));
}
