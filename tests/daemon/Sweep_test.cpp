// What a sweep posts beside the devices: general tables, digital points, cameras, the host itself.
#include "tests/daemon/support/DaemonTest.h"

#include <cstdlib>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

namespace
{

const auto kHostStatus = MatchesRegex(kHostStatusPattern);
const std::string kNow = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}";

// The body's field of that name; the empty text when it has none.
std::string field(const std::string& body, const std::string& name)
{
    const size_t at = body.find("&" + name + "=");
    if (at == std::string::npos)
    {
        return {};
    }
    const size_t start = at + name.size() + 2;
    return body.substr(start, body.find('&', start) - start);
}

class Sweep : public DaemonTest
{
protected:
    // A general table of that type, made by the statements.
    void General(const std::string& table, int type, const std::string& sql)
    {
        host.Ini("POST.General", table, std::to_string(type));
        host.Data(sql);
    }

    // A digital input: SID, the device and the field it belongs to, its state.
    void Input(int sid, int device, int fld, int state) const
    {
        const std::string id = std::to_string(sid);
        host.Data("insert into tbSM(SID,Name,Tag1,ASubSys) values(" + id + ",'In" + id +
                  "',4,3); insert into tbSubSysDetail values(" + id + "," + std::to_string(device) +
                  "," + std::to_string(fld) + ",11," + std::to_string(state) +
                  ",'2024-05-01 11:00:00')");
    }

    // The host's outputs 9 to 11.
    void Outputs(const std::string& values) const
    {
        host.Data("insert into tbDio values(1,2,0,'2024-05-01 10:00:00'," + values + ")");
    }

    void Camera(int sid, const std::string& service) const
    {
        const std::string id = std::to_string(sid);
        host.Data("insert into tbSM(SID,Kind,Type,Name,Tag1,ASubSys,State,DataMode,SerDef)"
                  " values(" +
                  id + ",3072,30,'Cam" + id + "',6,4,0,1," + service + ")");
    }

    // Starts; the bodies of the sweep behind device 7's, without the host's, which ends it.
    std::vector<std::string> BodiesBetween(size_t count)
    {
        Start();
        std::vector<std::string> bodies = receiver.WaitBodies(count + 2);
        EXPECT_THAT(bodies, SizeIs(count + 2));
        EXPECT_EQ(bodies.front(), kDevice7Body);
        EXPECT_THAT(bodies.back(), kHostStatus);
        bodies.erase(bodies.begin());
        bodies.pop_back();
        return bodies;
    }
};

} // namespace

// --- Order ---------------------------------------------------------------------------------------

TEST_F(Sweep, StepsFollowEachOtherInTheirOrder)
{
    // Devices, general tables, inputs, outputs, cameras, the host.
    host.SimpleRoom();
    General("tbGen", 40, "create table tbGen(Id,A); insert into tbGen values(1,1)");
    Camera(31, "''");
    Outputs("0,0,0");
    Input(21, 7, 4, 0);
    EXPECT_THAT(BodiesBetween(6), ElementsAre(HasSubstr("sid=900&"), HasSubstr("sname=In21&"),
                                              HasSubstr("sname=DO0&"), HasSubstr("sname=DO1&"),
                                              HasSubstr("sname=DO2&"), HasSubstr("sname=Cam31&")));
}

TEST_F(Sweep, RecordNumbersAreLogged)
{
    // Rows, points and cameras are counted from 0 in each step; outputs bear the last number.
    host.SimpleRoom();
    General("tbGen", 40, "create table tbGen(Id,A); insert into tbGen values(1,1),(2,2)");
    Input(21, 7, 4, 0);
    Outputs("0,0,0");
    Start();
    receiver.Body(7);
    std::vector<std::string> lines;
    ASSERT_TRUE(wait_until([] { return count_logged(" rec-") >= 8; }));
    for (const std::string& message : log_messages())
    {
        if (message.rfind(" rec-", 0) == 0)
        {
            lines.push_back(message.substr(0, 6));
        }
    }
    EXPECT_THAT(lines, ElementsAre(" rec-0", " rec-0", " rec-1", " rec-0", " rec-3", " rec-3",
                                   " rec-3", " rec-0"));
}

// --- General tables ------------------------------------------------------------------------------

TEST_F(Sweep, EachRowOfAGeneralTableIsABody)
{
    // Under the table's number and name, with the time of the call; the first column is left out.
    host.SimpleRoom();
    host.Ini("POST.General", "tbGen.Name", "energy");
    General("tbGen", 40,
            "create table tbGen(Id,Item,Value); insert into tbGen values"
            "(1,'UPS',3.5),(2,'Air',7)");
    const std::string head =
        "suid=xxx&sid=900&stype=40&stag1=0&sname=energy&subsys=0&dtupd=" + kNow;
    EXPECT_THAT(BodiesBetween(2), ElementsAre(MatchesRegex(head + "&state=0&Item=UPS&Value=3.5"),
                                              MatchesRegex(head + "&state=0&Item=Air&Value=7")));
}

TEST_F(Sweep, GeneralRowsShareOneTime)
{
    // Taken when the call begins, also for the rows of the next table.
    host.SimpleRoom();
    General("tbG1", 41, "create table tbG1(Id,A); insert into tbG1 values(1,1),(2,2)");
    General("tbG2", 42, "create table tbG2(Id,A); insert into tbG2 values(1,1)");
    const std::vector<std::string> bodies = BodiesBetween(3);
    EXPECT_EQ(field(bodies.at(1), "dtupd"), field(bodies.at(0), "dtupd"));
    EXPECT_EQ(field(bodies.at(2), "dtupd"), field(bodies.at(0), "dtupd"));
}

TEST_F(Sweep, GeneralTablesAreNumberedInTheirOrder)
{
    // 900, 901, 902; an empty one has a number, too.
    host.SimpleRoom();
    General("tbG1", 41, "create table tbG1(Id,A); insert into tbG1 values(1,1)");
    General("tbG2", 42, "create table tbG2(Id,A)");
    General("tbG3", 43, "create table tbG3(Id,A); insert into tbG3 values(1,1)");
    EXPECT_THAT(BodiesBetween(2),
                ElementsAre(HasSubstr("&sid=900&stype=41&"), HasSubstr("&sid=902&stype=43&")));
}

TEST_F(Sweep, FirstPostedColumnIsConfigured)
{
    // 0 posts all of them; a number beyond the columns posts the head alone.
    host.SimpleRoom();
    host.Ini("POST.General", "tbG1.0", "0");
    host.Ini("POST.General", "tbG2.0", "2");
    General("tbG1", 41, "create table tbG1(Id,A); insert into tbG1 values(5,6)");
    General("tbG2", 42, "create table tbG2(Id,A); insert into tbG2 values(5,6)");
    EXPECT_THAT(BodiesBetween(2),
                ElementsAre(testing::EndsWith("&state=0&Id=5&A=6"), testing::EndsWith("&state=0")));
}

TEST_F(Sweep, GeneralColumnsAreMappedByTheTablesType)
{
    // As device columns are by the device's.
    host.SimpleRoom();
    host.Ini("POST.xFld", "40.On", "1");
    host.Ini("POST.xFld", "40.On1", "online");
    General("tbGen", 40,
            "create table tbGen(Id,Dev,On_); insert into tbGen values(1,'x',1);"
            "alter table tbGen rename column On_ to \"On\"");
    EXPECT_THAT(BodiesBetween(1), ElementsAre(testing::EndsWith("&Dev=x&On=online")));
}

// --- Digital points ------------------------------------------------------------------------------

TEST_F(Sweep, InputIsABodyOfItsOwn)
{
    // Behind the head stand the device it is wired to and the field of it.
    host.SimpleRoom();
    Input(21, 7, 4, 1);
    EXPECT_THAT(BodiesBetween(1), ElementsAre("suid=xxx&sid=21&stype=11&stag1=4&sname=In21&subsys=3"
                                              "&dtupd=2024-05-01 11:00:00&state=1&psid=7&pfld=4"));
}

TEST_F(Sweep, InputsThatAreNotWiredAreNotPosted)
{
    // A negative state, and a row that stands for its own device.
    host.SimpleRoom();
    Input(21, 7, 1, -1);
    Input(22, 22, 2, 0);
    Input(23, 7, 3, 0);
    EXPECT_THAT(BodiesBetween(1), ElementsAre(HasSubstr("sname=In23&")));
}

TEST_F(Sweep, OutputIsABodyOfItsOwn)
{
    // Three of them by default, from column D09 on; the state's text is the output's.
    host.SimpleRoom();
    host.Post("State1", "on");
    Outputs("1,0,5");
    const std::string head = "suid=xxx&sid=1&stype=2&stag1=";
    const std::string tail = "&subsys=0&dtupd=2024-05-01 10:00:00&state=";
    EXPECT_THAT(BodiesBetween(3), ElementsAre(head + "0&sname=DO0" + tail + "on&DoState=1",
                                              head + "1&sname=DO1" + tail + "0&DoState=0",
                                              head + "2&sname=DO2" + tail + "0&DoState=5"));
}

TEST_F(Sweep, NumberAndStartOfOutputsAreConfigured)
{
    // One output, in column D11.
    host.SimpleRoom();
    host.Ini("POST.DO", "Count", "1");
    host.Ini("POST.DO", "Start", "11");
    Outputs("1,0,5");
    EXPECT_THAT(BodiesBetween(1), ElementsAre(testing::EndsWith("&state=0&DoState=5")));
}

TEST_F(Sweep, NegativeNumberOfOutputsIsNone)
{
    // The sweep goes on.
    host.SimpleRoom();
    host.Ini("POST.DO", "Count", "-5");
    Outputs("1,0,5");
    EXPECT_THAT(BodiesBetween(0), ElementsAre());
}

TEST_F(Sweep, OutputColumnsThatAreMissingDropAllOutputs)
{
    // All bodies are built before the first is posted.
    host.SimpleRoom();
    host.Ini("POST.DO", "Count", "2147483647");
    Outputs("1,0,5");
    EXPECT_THAT(BodiesBetween(0), ElementsAre());
    EXPECT_EQ(count_logged("[CAppPost::PostDio] Post DO exception\n"), 1U);
}

TEST_F(Sweep, NegativeStartOfOutputsNamesNoColumn)
{
    // Nor does it read beyond the row.
    host.SimpleRoom();
    host.Ini("POST.DO", "Start", "-2147483648");
    Outputs("1,0,5");
    EXPECT_THAT(BodiesBetween(0), ElementsAre());
    EXPECT_EQ(count_logged("[CAppPost::PostDio] Post DO exception\n"), 1U);
}

// --- Cameras -------------------------------------------------------------------------------------

TEST_F(Sweep, CameraIsABodyOfItsOwn)
{
    // With the time of its post and the text that tells how to reach it, as it is.
    host.SimpleRoom();
    Camera(31, "'rtsp://10.0.0.9/1?a=b&c'");
    EXPECT_THAT(BodiesBetween(1),
                ElementsAre(MatchesRegex("suid=xxx&sid=31&stype=30&stag1=6&sname=Cam31&subsys=4"
                                         "&dtupd=" +
                                         kNow + "&state=0&info=rtsp://10.0.0.9/1\\?a=b&c")));
}

TEST_F(Sweep, CameraWithoutServiceHasAnEmptyInfo)
{
    // The name stays.
    host.SimpleRoom();
    Camera(31, "null");
    EXPECT_THAT(BodiesBetween(1), ElementsAre(testing::EndsWith("&state=0&info=")));
}

TEST_F(Sweep, CamerasOutOfServiceAreNotFound)
{
    // State and data mode decide at discovery.
    host.SimpleRoom();
    Camera(31, "'a'");
    Camera(32, "'b'");
    Camera(33, "'c'");
    host.Data("update tbSM set State=1 where SID=31; update tbSM set DataMode=0 where SID=32");
    EXPECT_THAT(BodiesBetween(1), ElementsAre(HasSubstr("sname=Cam33&")));
}

// --- The host itself -----------------------------------------------------------------------------

TEST_F(Sweep, HostSaysWhoItIs)
{
    // Department and its name from the configuration.
    host.Post("Dept", "D-12");
    host.Post("DeptName", "north room");
    host.Post("State0", "well");
    host.SimpleRoom();
    Start();
    EXPECT_THAT(receiver.Body(1),
                MatchesRegex("suid=D-12&sid=0&stype=0&stag1=0&sname=north room&subsys=0&dtupd=" +
                             kNow + "&state=well&cpu1=.*"));
}

TEST_F(Sweep, HostsMemoryIsThatOfTheSystem)
{
    // The first line of /proc/meminfo does not change.
    StartSimpleRoom();
    const std::string first = read_file("/proc/meminfo");
    const int total = std::atoi(first.c_str() + first.find(':') + 1);
    EXPECT_EQ(field(receiver.Body(1), "memtotal"), std::to_string(total));
}

// --- Hostile input -------------------------------------------------------------------------------

namespace
{

const std::string kHuge = sql_text(std::string(200'000, 'h'));

} // namespace

TEST_F(Sweep, HugeGeneralValueIsLeftOutAlone)
{
    // The next row is posted.
    host.SimpleRoom();
    General("tbGen", 40,
            "create table tbGen(Id,A,B); insert into tbGen values(1," + kHuge + ",2),(2,3,4)");
    EXPECT_THAT(BodiesBetween(2), ElementsAre(testing::EndsWith("&state=0&B=2"),
                                              testing::EndsWith("&state=0&A=3&B=4")));
    EXPECT_TRUE(has_logged("   sid=900: body of 102400 bytes is full, left out 1: A\n"));
}

TEST_F(Sweep, LostGeneralTableIsPassedOver)
{
    // It goes after discovery, while the device's post waits.
    host.SimpleRoom();
    General("tbG1", 41, "create table tbG1(Id,A); insert into tbG1 values(1,1)");
    General("tbG2", 42, "create table tbG2(Id,A); insert into tbG2 values(1,1)");
    receiver.Hold();
    Start();
    receiver.Body(0);
    host.Data("drop table tbG1");
    receiver.Release();
    EXPECT_THAT(receiver.WaitBodies(3),
                ElementsAre(kDevice7Body, HasSubstr("&sid=901&stype=42&"), kHostStatus));
}

TEST_F(Sweep, HugeNamesOfPointsAndCamerasAreLeftOutAlone)
{
    // Head and own fields stand.
    host.SimpleRoom();
    Input(21, 7, 4, 1);
    Camera(31, kHuge);
    host.Data("update tbSM set Name=" + kHuge + " where SID=21");
    EXPECT_THAT(BodiesBetween(2),
                ElementsAre("suid=xxx&sid=21&stype=11&stag1=4&subsys=3"
                            "&dtupd=2024-05-01 11:00:00&state=1&psid=7&pfld=4",
                            AllOf(HasSubstr("sname=Cam31&"), testing::EndsWith("&state=0"))));
    EXPECT_TRUE(has_logged("   sid=31: body of 102400 bytes is full, left out 1: info\n"));
}

TEST_F(Sweep, NullPointsReadAsNothing)
{
    // Numbers are 0, texts are empty.
    host.SimpleRoom();
    host.Data("insert into tbSubSysDetail(SID,SIDD) values(21,7);"
              "insert into tbDio(SID) values(1)");
    EXPECT_THAT(BodiesBetween(4), Contains("suid=xxx&sid=21&stype=0&stag1=0&sname=&subsys=0&dtupd="
                                           "&state=0&psid=7&pfld=0"));
}

TEST_F(Sweep, HeadThatFillsTheBufferLeavesNoRoomForFigures)
{
    // The host's body keeps what fits; the log names the rest.
    host.Post("DeptName", std::string(102'310, 'n'));
    host.SimpleRoom();
    Start();
    EXPECT_THAT(receiver.Body(1), testing::EndsWith("&state=0"));
    EXPECT_TRUE(has_logged("   sid=0: body of 102400 bytes is full, left out 2: cpu1, memtotal\n"));
}
