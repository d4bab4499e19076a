// Requests of other processes: post this device now.
#include "tests/daemon/support/DaemonTest.h"

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

namespace
{

const auto kHostStatus = MatchesRegex(kHostStatusPattern);

class Requests : public DaemonTest
{
protected:
    // A room with devices 3, 5 and 7.
    void ThreeDevices()
    {
        host.SimpleRoom();
        host.Device(3, "Dev3", "tbDev", "1");
        host.Device(5, "Dev5", "tbDev", "1");
    }

    // Sends requests and waits until the request thread has recorded them all.
    static void Request(const std::vector<long>& wparams)
    {
        const size_t before = count_logged("ProcMsg");
        for (const long wparam : wparams)
        {
            send_request(wparam);
        }
        EXPECT_TRUE(wait_until([&] { return count_logged("ProcMsg") == before + wparams.size(); }));
    }

    // The names of the posted devices, "host" for the host itself; waits for that many.
    std::vector<std::string> Names(size_t count)
    {
        std::vector<std::string> names;
        for (const std::string& body : receiver.WaitBodies(count))
        {
            const size_t at = body.find("sname=") + 6;
            const std::string name = body.substr(at, body.find('&', at) - at);
            names.push_back(name == "动环监控主机" ? "host" : name);
        }
        return names;
    }
};

} // namespace

TEST_F(Requests, RequestDuringTheWaitIsServedAtOnce)
{
    // A body like the sweep's.
    StartSimpleRoom();
    receiver.Body(1);
    Request({7});
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

TEST_F(Requests, LogTellsTheServiceToTheLetter)
{
    // From the message to the post; the cycle names its source file without the path of the build.
    StartSimpleRoom();
    tray.WaitReports(14); // the sweep is over
    const size_t before = log_messages().size();
    send_request(7);
    receiver.Body(2);
    ASSERT_TRUE(wait_until([&] { return log_messages().size() >= before + 11; }));
    std::vector<std::string> log = log_messages();
    log.erase(log.begin(), log.begin() + static_cast<ptrdiff_t>(before));
    EXPECT_THAT(log,
                ElementsAre("AppPost ProcMsg line=2735 msg.type=38154,msg.wParam=7,"
                            "msg.lParam=0,iSid=7\r\n",
                            MatchesRegex("app/AppPostRun.cpp Run line=[0-9]+ nPostType=5 \r\n"),
                            "AppPost PostMsgrecv line=2760 m_devCtrlupdSta=1 \r\n",
                            "AppPost PostMsgrecv line=2776 iSID=7 ctrl sta=1\r\n",
                            "AppPost PostMsgrecv line=2784 iSid=7 doPost\r\n",
                            "iSid=7,PostNormal...\n", "iSid=7   tbDev...\n", "   DoPost...\n",
                            "   DoPost Msg: " + std::string(kDevice7Body) + "\n", "OnPost... ok\n",
                            " rec-0=1 (0)\n"));
}

TEST_F(Requests, RequestInTheMiddleOfTheDevicesIsServedBetweenTwo)
{
    // It comes while device 3 is being posted; 5 and 7 follow as ever.
    ThreeDevices();
    receiver.Hold();
    Start();
    receiver.Body(0);
    Request({7});
    receiver.Release();
    EXPECT_THAT(Names(5), ElementsAre("Dev3", "Dev7", "Dev5", "Dev7", "host"));
    EXPECT_TRUE(has_logged("AppPost PostNormal line=1229 m_devCtrlupdSta=1 \r\n"));
}

TEST_F(Requests, RequestInTheMiddleOfAGeneralTableIsServedAfterIt)
{
    // Between two tables, never between two rows.
    host.SimpleRoom();
    host.Data("create table tbG1(Id,A); insert into tbG1 values(1,1),(2,2);"
              "create table tbG2(Id,A); insert into tbG2 values(1,1)");
    host.Ini("POST.General", "tbG1", "41");
    host.Ini("POST.General", "tbG1.Name", "G1");
    host.Ini("POST.General", "tbG2", "42");
    host.Ini("POST.General", "tbG2.Name", "G2");
    receiver.Hold("/post", 1);
    Start();
    receiver.Body(1);
    Request({7});
    receiver.Release();
    EXPECT_THAT(Names(6), ElementsAre("Dev7", "G1", "G1", "Dev7", "G2", "host"));
    EXPECT_TRUE(has_logged("AppPost PostGeneral line=1336 m_devCtrlupdSta=1 \r\n"));
}

TEST_F(Requests, UpperBitsOfTheNumberAreIgnored)
{
    // 0x10007 is device 7.
    StartSimpleRoom();
    receiver.Body(1);
    Request({0x10007});
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_TRUE(has_logged("msg.wParam=10007,msg.lParam=0,iSid=7\r\n"));
}

TEST_F(Requests, MessageOfAnotherTypeIsDropped)
{
    // The next one is read.
    StartSimpleRoom();
    receiver.Body(1);
    send_request(7, kRequestType + 1);
    Request({7});
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_EQ(count_logged("ProcMsg"), 1U);
    EXPECT_EQ(waiting_requests(), 0U);
}

TEST_F(Requests, ShortMessageCounts)
{
    // The number alone, nothing behind it.
    StartSimpleRoom();
    receiver.Body(1);
    send_request(7, kRequestType, sizeof(long));
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

TEST_F(Requests, UnknownDeviceIsAnErrorEachTime)
{
    // It stays recorded, so every later service names it again.
    StartSimpleRoom();
    receiver.Body(1);
    Request({99});
    ASSERT_TRUE(wait_logged("AppPost PostMsgrecv line=2790 iSid=99 Err!!!\r\n"));
    Request({7});
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_TRUE(wait_until([] { return count_logged("line=2790 iSid=99 Err!!!\r\n") == 2; }));
}

TEST_F(Requests, EarlierRequestsAreRepeated)
{
    // A request for 3, later one for 5: the second service posts both.
    ThreeDevices();
    Start();
    receiver.Body(3);
    Request({3});
    receiver.Body(4);
    Request({5});
    EXPECT_THAT(Names(7), ElementsAre("Dev3", "Dev5", "Dev7", "host", "Dev3", "Dev3", "Dev5"));
}

TEST_F(Requests, RequestsForOneDeviceCollapse)
{
    // Three of them before the daemon looks are one post.
    ThreeDevices();
    receiver.Hold();
    Start();
    receiver.Body(0);
    Request({7, 7, 7});
    receiver.Release();
    EXPECT_THAT(Names(5), ElementsAre("Dev3", "Dev7", "Dev5", "Dev7", "host"));
}

TEST_F(Requests, DeviceOutOfServiceIsNotPosted)
{
    // Its service is logged, and the next device's body is the next one.
    ThreeDevices();
    host.Data("update tbDev set State=-1 where SID=5");
    Start();
    receiver.Body(2);
    Request({5});
    ASSERT_TRUE(wait_logged("iSid=5   tbDev...\n"));
    Request({7});
    EXPECT_THAT(Names(4), ElementsAre("Dev3", "Dev7", "host", "Dev7"));
}

TEST_F(Requests, FiftyDevicesAtOnceAreServedInOrder)
{
    // All recorded while device 1 is being posted; then all of them, then the rest of the sweep.
    host.EmptyRoom();
    host.Table("tbDev", "V");
    std::vector<long> sids;
    std::vector<std::string> names;
    for (int sid = 1; sid <= 50; ++sid)
    {
        host.Device(sid, "D" + std::to_string(sid), "tbDev", "1");
        sids.insert(sids.begin(), sid);
        names.push_back("D" + std::to_string(sid));
    }
    std::vector<std::string> expected{"D1"};
    expected.insert(expected.end(), names.begin(), names.end());
    expected.insert(expected.end(), names.begin() + 1, names.end());
    expected.emplace_back("host");
    receiver.Hold();
    Start();
    receiver.Body(0);
    Request(sids);
    receiver.Release();
    EXPECT_EQ(Names(expected.size()), expected);
}

TEST_F(Requests, MessageThatIsTooLongBlocksTheQueue)
{
    // 89 bytes: it stays at the head, whatever waits behind it, until somebody takes it away.
    host.Post("Delay", "0");
    StartSimpleRoom();
    send_request(7, kRequestType, 89);
    send_request(7);
    const size_t before = receiver.Bodies().size();
    receiver.WaitBodies(before + 6); // three sweeps, many looks at the queue
    EXPECT_EQ(waiting_requests(), 2U);
    EXPECT_FALSE(has_logged("ProcMsg"));
    take_request();
    EXPECT_TRUE(wait_logged("AppPost ProcMsg line=2735 "));
    EXPECT_EQ(waiting_requests(), 0U);
}

TEST_F(Requests, LostTableIsLoggedAndTheNextDeviceServed)
{
    // No three tries here: the next service comes soon enough.
    ThreeDevices();
    host.Table("tbGone", "V");
    host.Device(4, "Gone", "tbGone", "1");
    Start();
    receiver.Body(4);
    host.Data("drop table tbGone");
    Request({4});
    ASSERT_TRUE(wait_logged("[CAppPost::PostNormal] db exception: 1 no such table: tbGone\r\n"));
    Request({7});
    EXPECT_EQ(Names(6).back(), "Dev7");
    EXPECT_FALSE(has_logged("db exception: SID:4"));
}
