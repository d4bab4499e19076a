// What the comparison of shown and posted bodies reads, and what it lets differ: no more than time
// and the host's figures.
#include "tests/daemon/support/PreviewOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

constexpr char kShown[] =
    "device 7 of tbDev, 18 bytes -> http://a -> http://b\n"
    "  18 bytes in GBK\n"
    "  000000  61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 00  abcdefghijklmno.\n"
    "  000010  d5 fd                                            ..\n"
    "  cut before: value of\n"
    "two lines\n"
    "\n"
    "host 0, 0 bytes -> nowhere\n"
    "  0 bytes in GBK\n"
    "\n";

} // namespace

TEST(PreviewOutput, HeadingTellsKindAndUrls)
{
    const std::vector<ShownBody> bodies = parse_encoding_output(kShown);
    ASSERT_THAT(bodies, SizeIs(2));
    EXPECT_EQ(bodies[0].kind, "device");
    EXPECT_THAT(bodies[0].urls, ElementsAre("http://a", "http://b"));
    EXPECT_EQ(bodies[1].kind, "host");
    EXPECT_THAT(bodies[1].urls, IsEmpty());
}

TEST(PreviewOutput, DumpGivesTheBytes)
{
    using namespace std::string_literals;
    const std::vector<ShownBody> bodies = parse_encoding_output(kShown);
    EXPECT_EQ(bodies.at(0).bytes, "abcdefghijklmno\0\xd5\xfd"s);
    EXPECT_EQ(bodies.at(1).bytes, "");
}

TEST(PreviewOutput, MissingLineOfADumpIsNoticed)
{
    EXPECT_THROW(parse_encoding_output("host 0\n  000010  61  a\n"), std::runtime_error);
}

TEST(PreviewOutput, NullEndsABody)
{
    using namespace std::string_literals;
    EXPECT_THAT(parse_null_output("a=1\n&b=2\0c=3\0"s), ElementsAre("a=1\n&b=2", "c=3"));
}

TEST(PreviewOutput, OnlyTimesSinceTheBeginningAreTakenOut)
{
    const std::time_t now = std::time(nullptr);
    const std::string before = "at=" + time_stamp(now - 10);
    EXPECT_EQ(CNow(now - 5).Without("at=" + time_stamp(now - 4) + "&b=1"), "at=<now>&b=1");
    EXPECT_EQ(CNow(now - 5).Without(before), before);
}

TEST(PreviewOutput, OnlyLoadAndMemoryInUseAreTakenOut)
{
    EXPECT_EQ(without_host_figures("cpu1=1&cpu1=7&cpu5=8&cpu15=9&memtotal=5&memfree=1&membuf=2"
                                   "&memcach=3&cpufreq=4&flashsize=6"),
              "cpu1=1&<load>&memtotal=5&<memory>&cpufreq=4&flashsize=6");
}
