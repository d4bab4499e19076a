// Device readings: which bodies leave the host, in which order, and what they say.
#include "tests/daemon/support/DaemonTest.h"

#include <algorithm>
#include <filesystem>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

constexpr char kUps1Head[] = "suid=xxx&sid=101&stype=5&stag1=3&sname=UPS-1&subsys=2"
                             "&dtupd=2024-05-01 12:00:00&state=0";
const auto kHostStatus = MatchesRegex(kHostStatusPattern);

class DevicePosting : public DaemonTest
{
protected:
    // A room with one device, SID 101, whose columns and values are given.
    void Ups(const std::string& columns, const std::string& values)
    {
        host.EmptyRoom();
        host.Table("tbUps", columns);
        host.Device(101, "UPS-1", "tbUps", values);
    }

    // What the device's body says behind the head.
    std::string Readings()
    {
        Start();
        const std::string body = receiver.Body(0);
        EXPECT_THAT(body, StartsWith(kUps1Head));
        return body.substr(std::min(body.size(), sizeof(kUps1Head) - 1));
    }

    // Waits for a body, whichever it is, that says this.
    bool WaitBodyWith(const std::string& text)
    {
        return wait_until(
            [&]
            {
                const std::vector<std::string> bodies = receiver.Bodies();
                return std::any_of(bodies.begin(), bodies.end(),
                                   [&](const std::string& body)
                                   { return body.find(text) != std::string::npos; });
            });
    }
};

} // namespace

// --- Bodies ------------------------------------------------------------------------------------

TEST_F(DevicePosting, ReadingsArriveAsHeadAndColumns)
{
    // One body per device: the head with its eight values, then each column of its own.
    Ups("Tem,Run", "25.5,'on'");
    EXPECT_EQ(Readings(), "&Tem=25.5&Run=on");
}

TEST_F(DevicePosting, MappedColumnsArriveAsTheirTexts)
{
    // A value table for Run, bit labels for Alm, no mapping for Tem.
    for (const auto& [key, value] : std::map<std::string, std::string>{{"5.Run", "1"},
                                                                       {"5.Runx", "unknown"},
                                                                       {"5.Run1", "running"},
                                                                       {"5.Alm", "2"},
                                                                       {"5.Alm0", "low voltage"},
                                                                       {"5.Alm1", "hot"}})
    {
        host.Ini("POST.xFld", key, value);
    }
    Ups("Tem,Run,Alm", "25.5,1,3");
    EXPECT_EQ(Readings(), "&Tem=25.5&Run=running&Alm=low voltage hot");
}

TEST_F(DevicePosting, EmptyValuesAreLeftOut)
{
    // Not even the name is posted.
    Ups("A,B,C", "'',null,0");
    EXPECT_EQ(Readings(), "&C=0");
}

TEST_F(DevicePosting, ConfiguredCountLimitsTheColumns)
{
    // Two of three.
    host.Ini("POST.Master", "tbUps.flds", "2");
    Ups("A,B,C", "1,2,3");
    EXPECT_EQ(Readings(), "&A=1&B=2");
}

TEST_F(DevicePosting, HeadFollowsTheConfiguredFormat)
{
    // Fewer values, another width, a percent sign.
    host.Post("Fmt0", "who=%s&id=%05d&load=100%%");
    host.Post("Dept", "room 9");
    Ups("A", "1");
    Start();
    EXPECT_EQ(receiver.Body(0), "who=room 9&id=00101&load=100%&A=1");
}

TEST_F(DevicePosting, StateNumbersArriveAsTheirTexts)
{
    // One device for each configured text, and one in a state that has none.
    host.Post("State0", "normal");
    host.Post("State1", "alarm");
    host.Post("State2", "silent");
    host.Post("State3", "recovered");
    host.EmptyRoom();
    host.Table("tbDev", "V");
    for (int state = 0; state < 5; ++state)
    {
        host.Device(state, "D", "tbDev", "1");
        host.Data("update tbDev set State=SID");
    }
    Start();
    EXPECT_THAT(receiver.WaitBodies(5),
                ElementsAre(HasSubstr("&state=normal&"), HasSubstr("&state=alarm&"),
                            HasSubstr("&state=silent&"), HasSubstr("&state=recovered&"),
                            HasSubstr("&state=normal&")));
}

TEST_F(DevicePosting, UnknownDeviceHasNoName)
{
    // A row whose SID the device list does not know.
    host.SimpleRoom();
    host.Data("delete from tbSM where SID=7; insert into tbSM(SID,Name) values(1,'other')");
    Start();
    EXPECT_EQ(receiver.Body(0), "suid=xxx&sid=7&stype=5&stag1=0&sname=&subsys=0"
                                "&dtupd=2024-05-01 12:00:00&state=0&V=1");
}

TEST_F(DevicePosting, BodyIsAForm)
{
    // As every server expects of a POST.
    StartSimpleRoom();
    EXPECT_EQ(receiver.ContentType(), "application/x-www-form-urlencoded");
}

TEST_F(DevicePosting, BodyMayFillTheWholeBuffer)
{
    // Several columns of 12 KB arrive complete.
    const std::string text(12000, 'v');
    const std::string value = sql_text(text);
    Ups("A,B,C,D,E,F,G,H", value + "," + value + "," + value + "," + value + "," + value + "," +
                               value + "," + value + "," + value);
    EXPECT_EQ(Readings(), "&A=" + text + "&B=" + text + "&C=" + text + "&D=" + text + "&E=" + text +
                              "&F=" + text + "&G=" + text + "&H=" + text);
}

// --- Encoding ----------------------------------------------------------------------------------

TEST_F(DevicePosting, BodyLeavesInTheConfiguredEncoding)
{
    // The database is UTF-8, this server wants GBK.
    host.Post("Encoding", "GBK");
    Ups("V", "'温度'");
    EXPECT_EQ(Readings(), "&V=\xCE\xC2\xB6\xC8");
}

TEST_F(DevicePosting, UnknownEncodingLeavesTheBodyAsItIs)
{
    // Better unconverted than not at all.
    host.Post("Encoding", "no-such-code");
    Ups("V", "'温度'");
    EXPECT_EQ(Readings(), "&V=温度");
}

TEST_F(DevicePosting, BodyEndsWhereItCannotBeConverted)
{
    // A byte that is no UTF-8 ends the converted body.
    host.Post("Encoding", "GBK");
    Ups("A,B", "cast(x'30ff31' as text),2");
    EXPECT_EQ(Readings(), "&A=0");
}

// --- Order -------------------------------------------------------------------------------------

TEST_F(DevicePosting, DevicesArriveInSidOrder)
{
    // Over all tables, and the host itself comes last.
    host.EmptyRoom();
    host.Table("tbB", "V");
    host.Table("tbA", "V");
    host.Device(9, "b9", "tbB", "1");
    host.Device(5, "a5", "tbA", "1");
    host.Device(3, "b3", "tbB", "1");
    Start();
    EXPECT_THAT(receiver.WaitBodies(4), ElementsAre(HasSubstr("sname=b3&"), HasSubstr("sname=a5&"),
                                                    HasSubstr("sname=b9&"), kHostStatus));
}

TEST_F(DevicePosting, DeviceOutOfServiceIsPassedOver)
{
    // A negative state is not posted; the next device is.
    host.SimpleRoom();
    host.Device(3, "Out", "tbDev", "1");
    host.Data("update tbDev set State=-1 where SID=3");
    Start();
    EXPECT_THAT(receiver.WaitBodies(2), ElementsAre(kDevice7Body, kHostStatus));
}

TEST_F(DevicePosting, DetailTablesAndDeviceListAreNoDeviceTables)
{
    // One table is marked as detail table, the name of the other begins like the device list's.
    host.SimpleRoom();
    host.Ini("POST.Detail", "tbCell", "100");
    host.Table("tbCell", "V");
    host.Table("tbSMore", "V");
    host.Data("insert into tbCell(SID,State) values(8,0); insert into tbSMore(SID,State)"
              " values(9,0)");
    Start();
    EXPECT_THAT(receiver.WaitBodies(2), ElementsAre(kDevice7Body, kHostStatus));
}

// --- Cycle -------------------------------------------------------------------------------------

TEST_F(DevicePosting, SweepsFollowEachOtherWithoutDelay)
{
    // Device, host, device, host.
    host.Post("Delay", "0");
    StartSimpleRoom();
    std::vector<std::string> bodies = receiver.WaitBodies(4);
    bodies.resize(4);
    EXPECT_THAT(bodies, ElementsAre(kDevice7Body, kHostStatus, kDevice7Body, kHostStatus));
}

TEST_F(DevicePosting, DelayHoldsTheNextSweepBack)
{
    // A request after the sweep is served, so the cycle runs; no second sweep has begun by then.
    StartSimpleRoom();
    receiver.Body(1);
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_THAT(log_messages(), Contains("PostNormal...\n").Times(1));
}

TEST_F(DevicePosting, DelayEndsAndTheNextSweepBegins)
{
    // Within a sweep the steps follow each other: there is one host status between two devices.
    host.Post("Delay", "300");
    StartSimpleRoom();
    std::vector<std::string> bodies = receiver.WaitBodies(4);
    bodies.resize(4);
    EXPECT_THAT(bodies, ElementsAre(kDevice7Body, kHostStatus, kDevice7Body, kHostStatus));
}

TEST_F(DevicePosting, NewReadingsArriveWithTheNextSweep)
{
    // Another process writes the same file.
    host.Post("Delay", "0");
    StartSimpleRoom();
    host.Data("update tbDev set V='changed'");
    EXPECT_TRUE(WaitBodyWith("&V=changed"));
}

TEST_F(DevicePosting, ReplacedDatabaseIsNoticed)
{
    // Another file under the same name.
    host.Post("Delay", "0");
    StartSimpleRoom();
    const CHostDir other;
    std::filesystem::copy(host.File("tmp/dbDat0.db3"), other.File("tmp/dbDat0.db3"));
    other.Data("update tbDev set V='of the other file'");
    std::filesystem::rename(other.File("tmp/dbDat0.db3"), host.File("tmp/dbDat0.db3"));
    EXPECT_TRUE(WaitBodyWith("&V=of the other file"));
}

TEST_F(DevicePosting, RediscoveryFindsANewDevice)
{
    // ReTbls counts due passes; the table may be new, too.
    host.Post("Delay", "1");
    host.Post("ReTbls", "3");
    StartSimpleRoom();
    host.Table("tbNew", "W");
    host.Device(8, "Dev8", "tbNew", "2");
    EXPECT_TRUE(WaitBodyWith("sname=Dev8&subsys=2&dtupd=2024-05-01 12:00:00&state=0&W=2"));
}

TEST_F(DevicePosting, NewDeviceIsNotSeenWithoutRediscovery)
{
    // ReTbls is 0 by default: what was found at the start is all there is.
    host.Post("Delay", "0");
    StartSimpleRoom();
    host.Device(8, "Dev8", "tbDev", "2");
    const size_t before = receiver.Bodies().size();
    EXPECT_THAT(receiver.WaitBodies(before + 6), Each(Not(HasSubstr("sname=Dev8"))));
}

// --- Trouble with the database -------------------------------------------------------------------

TEST_F(DevicePosting, LockedDatabaseIsTriedAgain)
{
    // Somebody holds the file longer than the library waits; the device is posted all the same.
    host.Post("Delay", "0");
    StartSimpleRoom();
    CDbLock lock(host.File("tmp/dbDat0.db3"));
    ASSERT_TRUE(wait_logged("   iqryX=-1 iSmTry=0\n"));
    lock.Release();
    ASSERT_TRUE(wait_logged("   iqryX=0 iSmTry="));
    const size_t before = receiver.Bodies().size();
    EXPECT_THAT(receiver.WaitBodies(before + 2), Contains(kDevice7Body));
}

TEST_F(DevicePosting, LostTableIsGivenUpAfterThreeTries)
{
    // It goes after discovery, while the first post waits; the device behind it is still posted.
    host.SimpleRoom();
    host.Device(1, "First", "tbDev", "1");
    host.Table("tbGone", "V");
    host.Device(3, "Gone", "tbGone", "1");
    receiver.Hold();
    Start();
    receiver.Body(0);
    host.Data("drop table tbGone");
    receiver.Release();
    EXPECT_THAT(receiver.WaitBodies(3),
                ElementsAre(HasSubstr("sname=First&"), kDevice7Body, kHostStatus));
    EXPECT_EQ(count_logged("db exception: SID:3, Table:tbGone, TryCnt=0\n"), 3U);
    EXPECT_EQ(count_logged("db exception: 1 no such table: tbGone\r\n"), 3U);
}
