// Input that nobody meant: the daemon bears it, its log says what was refused, and the next
// device is still posted.
#include "tests/daemon/support/DaemonTest.h"

#include <random>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

namespace
{

constexpr size_t kHugeBytes = 200'000;
constexpr char kHead3[] = "suid=xxx&sid=3&stype=5&stag1=3&sname=Odd&subsys=2"
                          "&dtupd=2024-05-01 12:00:00&state=0";

class Hostile : public DaemonTest
{
protected:
    // A simple room with one more device before its own: SID 3, "Odd", in a table of its own.
    void OddRoom(const std::string& columns, const std::string& values,
                 const std::string& table = "tbOdd")
    {
        host.SimpleRoom();
        host.Table(table, columns);
        host.Device(3, "Odd", table, values);
    }

    // Starts; expects that device 3 is posted like this, and device 7 behind it as ever.
    void ExpectBodies(const std::string& odd)
    {
        Start();
        EXPECT_EQ(receiver.Body(0), odd);
        EXPECT_EQ(receiver.Body(1), kDevice7Body);
    }

    // Expects that Fmt0 is refused with these words and the default is used.
    void ExpectRefused(const std::string& format, const std::string& problem)
    {
        host.Post("Fmt0", format);
        StartSimpleRoom();
        EXPECT_TRUE(has_logged("Fmt0 refused, default used: " + problem + "\n"));
    }
};

std::string random_text(unsigned seed, size_t bytes)
{
    std::mt19937 random(seed);
    std::string text(bytes, '\0');
    for (char& byte : text)
    {
        byte = static_cast<char>(random());
    }
    return text;
}

} // namespace

// --- Configuration -------------------------------------------------------------------------------

TEST_F(Hostile, HeadFormatThatWritesMemoryIsRefused)
{
    // %n is the worst that a format can hold.
    ExpectRefused("%n%s%s%s", "conversion 1 is \"%n\", a text (%s) is expected");
}

TEST_F(Hostile, HeadFormatThatReadsTooMuchIsRefused)
{
    // There is no ninth value.
    ExpectRefused("%s%d%d%d%s%d%s%s%s",
                  "\"%s\" is one conversion too many, there are eight values");
}

TEST_F(Hostile, HeadFormatThatTakesNumbersForTextsIsRefused)
{
    // The second value is a number.
    ExpectRefused("%s%s", "conversion 2 is \"%s\", a number (%d) is expected");
}

TEST_F(Hostile, HeadFormatWithAnEndlessWidthIsRefused)
{
    // Nor is a width taken from a value.
    ExpectRefused("%999999999s",
                  "conversion 1 is \"%999999999s\", its width or precision is too large");
}

TEST_F(Hostile, HeadFormatWiderThanTheBufferLeavesTheFieldOut)
{
    // What does not fit is left out whole, what comes behind it is not.
    host.Post("Fmt0", "suid=%s&sid=%0d&wide=%99999d&name=%9999d");
    host.SimpleRoom();
    Start();
    EXPECT_EQ(receiver.Body(0), "suid=xxx&sid=7&wide=" + std::string(99998, ' ') + "5&V=1");
    EXPECT_TRUE(has_logged("   sid=7: body of 102400 bytes is full, left out 1: name\n"));
}

TEST_F(Hostile, NumbersThatAreNoneCountAsZero)
{
    // Timeout 0 means none, Delay 0 no wait; below zero is no number of URLs.
    host.Post("Timeout", "soon");
    host.Post("Delay", "");
    host.Post("maxURLs", "-2147483649");
    StartSimpleRoom();
    EXPECT_TRUE(has_logged(" timeout=0s delay=0ms "));
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

TEST_F(Hostile, NumbersBeyondTheirRangeAreCutToIt)
{
    // A negative timeout is libcurl's to refuse; the list of URLs has an end.
    host.Post("Timeout", "-99999999999");
    host.Post("maxURLs", "99999999999");
    StartSimpleRoom();
    EXPECT_TRUE(has_logged("maxURLs=2147483647 is too large, 1000 are read\n"));
}

TEST_F(Hostile, HugeSettingsAreBorne)
{
    // The department does not fit into a body; a log line has an end, too.
    host.Post("Dept", std::string(kHugeBytes, 'd'));
    host.SimpleRoom();
    Start();
    EXPECT_EQ(receiver.Body(0), "sid=7&stype=5&stag1=3&sname=Dev7&subsys=2"
                                "&dtupd=2024-05-01 12:00:00&state=0&V=1");
    EXPECT_TRUE(has_logged("   sid=7: body of 102400 bytes is full, left out 1: suid\n"));
}

namespace
{

class RandomConfiguration : public Hostile, public ::testing::WithParamInterface<unsigned>
{
};

} // namespace

TEST_P(RandomConfiguration, AloneEndsTheDaemonProperly)
{
    // There is no URL in it.
    host.SimpleRoom();
    write_file(host.File("vkApp.ini"), random_text(GetParam(), kHugeBytes));
    daemon.Start(host.Path());
    ExpectExit(0);
    EXPECT_THAT(tray.Reports(), ElementsAre(TrayReport(1, 0)));
}

TEST_P(RandomConfiguration, BeforeTheSettingsDoesNotHideThem)
{
    // The readings leave as ever.
    host.SimpleRoom();
    host.WriteIni();
    write_file(host.File("vkApp.ini"),
               random_text(GetParam(), kHugeBytes) + "\n" + read_file(host.File("vkApp.ini")));
    daemon.Start(host.Path());
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
}

INSTANTIATE_TEST_SUITE_P(Seed, RandomConfiguration, ::testing::Range(1U, 6U));

// --- Values and names ----------------------------------------------------------------------------

TEST_F(Hostile, HugeValueIsLeftOutAlone)
{
    // The pairs around it are posted.
    OddRoom("A,B,C", "1," + sql_text(std::string(kHugeBytes, 'v')) + ",3");
    ExpectBodies(std::string(kHead3) + "&A=1&C=3");
    EXPECT_TRUE(has_logged("   sid=3: body of 102400 bytes is full, left out 1: B\n"));
}

TEST_F(Hostile, HugeColumnNameIsLeftOutAlone)
{
    // The log shows its first bytes only.
    OddRoom("A," + std::string(kHugeBytes, 'n') + ",C", "1,2,3");
    ExpectBodies(std::string(kHead3) + "&A=1&C=3");
    EXPECT_TRUE(has_logged("left out 1: " + std::string(48, 'n') + "\n"));
}

TEST_F(Hostile, HugeDeviceNameIsLeftOutAlone)
{
    // The rest of the head stands.
    OddRoom("A", "1");
    host.Data("update tbSM set Name=" + sql_text(std::string(kHugeBytes, 'n')) + " where SID=3");
    ExpectBodies("suid=xxx&sid=3&stype=5&stag1=3&subsys=2&dtupd=2024-05-01 12:00:00&state=0&A=1");
    EXPECT_TRUE(has_logged("   sid=3: body of 102400 bytes is full, left out 1: sname\n"));
}

TEST_F(Hostile, HugeTimeOfUpdateIsLeftOutAlone)
{
    // As any other part of the head.
    OddRoom("A", "1");
    host.Data("update tbOdd set DateUpd=" + sql_text(std::string(kHugeBytes, '1')));
    ExpectBodies("suid=xxx&sid=3&stype=5&stag1=3&sname=Odd&subsys=2&state=0&A=1");
}

TEST_F(Hostile, ThousandColumnsAreCutAtTheEndOfTheBuffer)
{
    // 60 bytes each and more; the body ends with a whole pair.
    std::string columns = "c0";
    std::string values = sql_text(std::string(300, 'v'));
    const std::string value = values;
    for (int i = 1; i < 1000; ++i)
    {
        columns += ",c" + std::to_string(i);
        values += "," + value;
    }
    OddRoom(columns, values);
    Start();
    EXPECT_THAT(receiver.Body(0), testing::EndsWith("=" + std::string(300, 'v')));
    EXPECT_LT(receiver.Body(0).size(), 102400U);
    EXPECT_EQ(receiver.Body(1), kDevice7Body);
}

TEST_F(Hostile, PercentAmpersandAndLineEndsPassAsTheyAre)
{
    // Nothing is escaped, nothing is taken for a format.
    OddRoom("A,B", "'100%s%n&x=1', 'l1'||char(13,10)||'l2'");
    ExpectBodies(std::string(kHead3) + "&A=100%s%n&x=1&B=l1\r\nl2");
    EXPECT_TRUE(has_logged("&A=100%s%n&x=1&B=l1\r\nl2\n"));
}

TEST_F(Hostile, FormatInADeviceNameStaysText)
{
    // It passes through the head and the log.
    OddRoom("A", "1");
    host.Data("update tbSM set Name='%n%s%1000000d' where SID=3");
    ExpectBodies("suid=xxx&sid=3&stype=5&stag1=3&sname=%n%s%1000000d&subsys=2"
                 "&dtupd=2024-05-01 12:00:00&state=0&A=1");
    EXPECT_TRUE(has_logged("   sid,name=3,%n%s%1000000d\n"));
}

TEST_F(Hostile, NullEverywhereReadsAsNothing)
{
    // Numbers are 0, texts are empty.
    OddRoom("A,B", "null,null");
    host.Data("update tbOdd set Type=null,State=null,DateUpd=null,DateOk=null;"
              "update tbSM set Kind=null,Type=null,Name=null,Tag1=null,ASubSys=null,State=null"
              " where SID=3");
    ExpectBodies("suid=xxx&sid=3&stype=0&stag1=0&sname=&subsys=0&dtupd=&state=0");
}

TEST_F(Hostile, RowWithoutSidIsDeviceZero)
{
    // No row has that SID, so there is nothing to post for it.
    host.SimpleRoom();
    host.Data("insert into tbDev(SID,V) values(null,5)");
    Start();
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
}

TEST_F(Hostile, BlobsAndNumbersBeyondTheirRangeAreBorne)
{
    // 64-bit numbers lose their upper half where an int is read.
    OddRoom("A,B,C", "x'00ff', 9223372036854775807, 1e300");
    host.Data("update tbOdd set Type=4294967301");
    ExpectBodies(std::string(kHead3) + "&B=9223372036854775807&C=1.0e+300");
}

TEST_F(Hostile, TablesWithLongNamesAreTables)
{
    // 300 characters.
    OddRoom("A", "1", std::string(300, 't'));
    ExpectBodies(std::string(kHead3) + "&A=1");
}

TEST_F(Hostile, DeviceTableWithoutItsColumnsIsPassedOver)
{
    // It has a SID and nothing else; its three tries are logged.
    host.SimpleRoom();
    host.Data("create table tbBare(SID); insert into tbBare values(3)");
    Start();
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
    EXPECT_EQ(count_logged("db exception: SID:3, Table:tbBare, TryCnt=0\n"), 3U);
    EXPECT_EQ(count_logged("db exception: 1 no such column: State\r\n"), 3U);
}
