// Host status, with the system's files, devices and commands replaced by the test.
#include <climits>
#include <map>

#include "app/AppHostSystem.h"
#include "app/HostFigures.h"
#include "tests/support/PosterTest.h"

namespace
{

// What the host answers.
struct Host
{
    std::map<std::string, std::vector<std::string>> files;
    int devices = 0;                      // /dev/mtd0 and on
    std::map<std::string, int> numbers;   // command to the number it prints
    std::vector<std::string> asked;       // devices and commands, in order
    std::map<std::string, size_t> wanted; // file to the number of lines asked for
};
Host host;

constexpr char kClock[] = "cat  /sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq";

std::string fdisk(int number)
{
    return "fdisk -l /dev/mtd" + std::to_string(number) + " | grep -w MB | awk '{print $5}'";
}

class HostTest : public PosterTest
{
protected:
    void SetUp() override { host = Host{}; }
    std::string Body()
    {
        app.PostOther();
        return rec.posts.at(0).body;
    }
    // What follows "&name=" up to the next field.
    std::string Field(const std::string& name)
    {
        const std::string body = Body() + "&";
        const size_t at = body.find("&" + name + "=") + name.size() + 2;
        return body.substr(at, body.find('&', at) - at);
    }
    std::string Load(const std::string& line)
    {
        host.files["/proc/loadavg"] = {line};
        const std::string body = Body();
        const size_t at = body.find("&cpu1=");
        return body.substr(at, body.find("&memtotal=") - at);
    }
};

constexpr char kHead[] = "suid=xxx&sid=0&stype=0&stag1=0&sname=动环监控主机&subsys=0"
                         "&dtupd=2024-05-01 12:00:00&state=0";

} // namespace

std::vector<std::string> first_lines(const char* path, size_t count)
{
    host.wanted[path] = count;
    std::vector<std::string> lines = host.files[path];
    lines.resize(std::min(count, lines.size()));
    return lines;
}

bool device_exists(const char* path)
{
    host.asked.emplace_back(path);
    return std::atoi(path + std::string("/dev/mtd").size()) < host.devices;
}

bool command_number(const char* command, int& value)
{
    host.asked.emplace_back(command);
    const auto found = host.numbers.find(command);
    if (found == host.numbers.end())
    {
        return false;
    }
    value = found->second;
    return true;
}

// --- The body -----------------------------------------------------------------------------------

TEST_F(HostTest, PostsTheHostAsDeviceZero)
{
    host.files["/proc/loadavg"] = {"1.57 0.33 0.08 2/345 6789"};
    host.files["/proc/meminfo"] = {"MemTotal:        2043208 kB", "MemFree:  1023400 kB",
                                   "Buffers:   12 kB", "Cached:\t345678 kB", "SwapCached: 9 kB"};
    host.devices = 2;
    host.numbers = {{kClock, 1800000}, {fdisk(0), 134217728}, {fdisk(1), 67108864}};
    EXPECT_EQ(Body(), std::string(kHead) +
                          "&cpu1=157&cpu5=33&cpu15=8&memtotal=2043208&memfree=1023400&membuf=12"
                          "&memcach=345678&cpufreq=1800000&flashsize=201326592");
}

TEST_F(HostTest, GathersEverythingThenPostsThenTicks)
{
    app.m_iPostRow = 9;
    const std::string body = Body();
    EXPECT_THAT(rec.Events(), ElementsAre("log PostOther...\n", "post " + body, "tray(0,1)"));
    EXPECT_TRUE(rec.posts[0].own);
    EXPECT_EQ(rec.posts[0].row, 0);
}

TEST_F(HostTest, FiguresThatAreMissingAreZero)
{
    EXPECT_EQ(Body(), std::string(kHead) + "&cpu1=0&cpu5=0&cpu15=0&memtotal=0&memfree=0&membuf=0"
                                           "&memcach=0&cpufreq=0&flashsize=0");
}

TEST_F(HostTest, UsesDepartmentStateTextAndHeadOfTheConfiguration)
{
    app.m_strDept = "north";
    app.m_strDeptName = "room & hall";
    app.m_strState0 = "fine";
    EXPECT_THAT(Body(), StartsWith("suid=north&sid=0&stype=0&stag1=0&sname=room & hall&subsys=0"
                                   "&dtupd=2024-05-01 12:00:00&state=fine&cpu1="));
}

TEST_F(HostTest, TouchesNoDatabase)
{
    app.pDb = nullptr;
    EXPECT_NO_THROW(Body());
}

TEST_F(HostTest, FailedPostChangesNothing)
{
    rec.post_results = {0};
    Body();
    EXPECT_EQ(rec.Events().back(), "tray(0,1)");
}

// --- Load ---------------------------------------------------------------------------------------

TEST_F(HostTest, LoadIsTimesOneHundred)
{
    EXPECT_EQ(Load("0.00 0.01 0.05 1/100 200"), "&cpu1=0&cpu5=1&cpu15=5");
}

TEST_F(HostTest, LoadIsTruncatedNotRounded)
{
    EXPECT_EQ(Load("1.579 2.999 0.019"), "&cpu1=157&cpu5=299&cpu15=1");
}

TEST_F(HostTest, ShortLoadLineLeavesTheRestAtZero)
{
    EXPECT_EQ(Load("1.5"), "&cpu1=150&cpu5=0&cpu15=0");
    rec.Clear();
    EXPECT_EQ(Load("1.5 0.5"), "&cpu1=150&cpu5=50&cpu15=0");
    rec.Clear();
    EXPECT_EQ(Load(""), "&cpu1=0&cpu5=0&cpu15=0");
}

TEST_F(HostTest, SpacesOfTheLoadLineAreCountedOneByOne)
{
    EXPECT_EQ(Load("1.0  2.0 3.0"), "&cpu1=100&cpu5=200&cpu15=200");
}

TEST_F(HostTest, OddLoadLinesStayInRange)
{
    EXPECT_EQ(Load("1e300 -1e300 nan"), "&cpu1=2147483647&cpu5=-2147483648&cpu15=0");
    rec.Clear();
    EXPECT_EQ(Load("text more text"), "&cpu1=0&cpu5=0&cpu15=0");
    rec.Clear();
    EXPECT_EQ(Load("inf -inf " + Long(100000, '9')),
              "&cpu1=2147483647&cpu5=-2147483648&cpu15=2147483647");
}

TEST_F(HostTest, OneLineOfLoadAndFourOfMemoryAreRead)
{
    Body();
    EXPECT_EQ(host.wanted["/proc/loadavg"], 1U);
    EXPECT_EQ(host.wanted["/proc/meminfo"], 4U);
}

// --- Memory -------------------------------------------------------------------------------------

TEST_F(HostTest, MemoryGoesByPositionWhateverTheNames)
{
    host.files["/proc/meminfo"] = {"A: 1 kB", "B: 2 kB", "MemAvailable: 3 kB", "Buffers: 4 kB"};
    EXPECT_THAT(Body(), HasSubstr("&memtotal=1&memfree=2&membuf=3&memcach=4&"));
}

TEST_F(HostTest, LineWithoutAColonIsZeroAndStillCounts)
{
    host.files["/proc/meminfo"] = {"A: 1 kB", "no colon 2 kB", "C: 3 kB"};
    EXPECT_THAT(Body(), HasSubstr("&memtotal=1&memfree=0&membuf=3&memcach=0&"));
}

TEST(HostFigures, MemoryIsTheNumberBehindTheFirstColon)
{
    EXPECT_EQ(parse_memory("MemTotal:        2043208 kB"), 2043208);
    EXPECT_EQ(parse_memory("a:b:7"), 0);
    EXPECT_EQ(parse_memory("a:12abc"), 12);
    EXPECT_EQ(parse_memory(":"), 0);
    EXPECT_EQ(parse_memory(""), 0);
    EXPECT_EQ(parse_memory("a: -5"), -5);
    EXPECT_EQ(parse_memory("a: 010"), 10);
}

TEST(HostFigures, MemoryBeyondTheRangeIsTheNearestLimit)
{
    EXPECT_EQ(parse_memory("a: 99999999999999999999999"), INT_MAX);
    EXPECT_EQ(parse_memory("a: 4294967296"), INT_MAX);
    EXPECT_EQ(parse_memory("a: -4294967296"), INT_MIN);
}

// --- Clock and flash -----------------------------------------------------------------------------

TEST_F(HostTest, ClockCommandHasTwoBlanks)
{
    host.numbers[kClock] = 1416000;
    EXPECT_EQ(getcpufreq(), 1416000);
    EXPECT_THAT(host.asked, ElementsAre("cat  /sys/devices/system/cpu/cpu0/cpufreq/"
                                        "cpuinfo_max_freq"));
}

TEST_F(HostTest, FlashDevicesAreAddedUpToTheFirstMissingOne)
{
    host.devices = 4;
    host.numbers = {{fdisk(0), 1}, {fdisk(1), 2}, {fdisk(2), 4}, {fdisk(3), 8}, {fdisk(5), 32}};
    EXPECT_EQ(getflashsize(), 15);
    EXPECT_THAT(host.asked, ElementsAre("/dev/mtd0", fdisk(0), "/dev/mtd1", fdisk(1), "/dev/mtd2",
                                        fdisk(2), "/dev/mtd3", fdisk(3), "/dev/mtd4"));
    EXPECT_EQ(fdisk(3), "fdisk -l /dev/mtd3 | grep -w MB | awk '{print $5}'");
}

TEST_F(HostTest, SilentFlashDeviceCountsLikeTheOneBefore)
{
    host.devices = 4;
    host.numbers = {{fdisk(1), 100}, {fdisk(3), 7}};
    EXPECT_EQ(getflashsize(), 0 + 100 + 100 + 7);
}

TEST_F(HostTest, SixteenFlashDevicesAtMost)
{
    host.devices = 20;
    host.numbers[fdisk(0)] = 1;
    EXPECT_EQ(getflashsize(), 16);
    EXPECT_EQ(host.asked.back(), fdisk(15));
}

TEST_F(HostTest, HugeFlashSizesWrapAndDoNotTrap)
{
    host.devices = 2;
    host.numbers[fdisk(0)] = INT_MAX;
    EXPECT_EQ(getflashsize(), -2);
}

// --- Hostile configuration -----------------------------------------------------------------------

TEST_F(HostTest, DepartmentNameLargerThanTheBufferIsLeftOutAndLogged)
{
    app.m_strDeptName = Long(200000);
    EXPECT_THAT(Body(), StartsWith("suid=xxx&sid=0&stype=0&stag1=0&subsys=0&dtupd="));
    EXPECT_EQ(rec.Count("log    sid=0: body of 102400 bytes is full, left out 1: sname\n"), 1);
}
