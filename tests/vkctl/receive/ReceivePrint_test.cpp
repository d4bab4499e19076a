#include <gmock/gmock.h>

#include <sstream>

#include "vkctl/receive/ReceivePrint.h"

using namespace vkctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char kDevice[] = "suid=xxx&sid=1001&stype=257&stag1=2&sname=UPS主机1#&subsys=1&dtupd="
                           "2024-05-01 08:00:00&state=正常&Uin=221.0&Run=市电逆变";

ReceivedBody received(const std::string& bytes)
{
    return {"/data", bytes, "2024-05-01 08:00:03"};
}

std::string shown(const PrintOptions& options, const std::string& bytes)
{
    std::ostringstream out;
    CReceivePrinter printer(out, options);
    printer.Show(received(bytes));
    return out.str();
}

PrintOptions style(PrintStyle value)
{
    PrintOptions options;
    options.style = value;
    return options;
}

PrintOptions terminal(size_t width, bool color = false)
{
    PrintOptions options;
    options.width = width;
    options.color = color;
    return options;
}

} // namespace

TEST(ReceivePrintTest, WithoutATerminalABodyIsOneLine)
{
    EXPECT_EQ(shown({}, kDevice),
              "2024-05-01 08:00:03 device suid=xxx sid=1001 stype=257 stag1=2 sname=UPS主机1# "
              "subsys=1 dtupd=2024-05-01 08:00:00 state=正常 Uin=221.0 Run=市电逆变\n");
}

TEST(ReceivePrintTest, OnATerminalAHeadingComesFirst)
{
    EXPECT_EQ(shown(terminal(58), kDevice), "08:00:03 device  1001  UPS主机1#  正常\n"
                                            "         suid=xxx  stype=257  stag1=2  subsys=1\n"
                                            "         dtupd=2024-05-01 08:00:00  Uin=221.0\n"
                                            "         Run=市电逆变\n");
}

TEST(ReceivePrintTest, OnlyATerminalWithColorGetsColor)
{
    EXPECT_THAT(shown(terminal(60, true), kDevice), HasSubstr("\033[1;32mdevice\033[0m"));
    EXPECT_THAT(shown(terminal(60), kDevice), Not(HasSubstr("\033")));
}

TEST(ReceivePrintTest, AnAlarmShowsItsTitleInTheHeading)
{
    EXPECT_THAT(
        shown(terminal(80), "sid=3&sname=门磁1#&state=告警&level=次要&title=门打开&recovertime="),
        HasSubstr("alarm   3  门磁1#  告警  门打开\n"));
}

TEST(ReceivePrintTest, ABodyWithoutHeadIsShownToo)
{
    EXPECT_EQ(shown(terminal(60), "hello"), "08:00:03 other   \n         hello=\n");
    EXPECT_EQ(shown(terminal(60), ""), "08:00:03 other   \n");
}

TEST(ReceivePrintTest, ControlCharactersDoNotReachTheTerminal)
{
    EXPECT_THAT(shown({}, "sid=1&a=\033[2Jx\r\n\x7F"), HasSubstr("a=\\x1B[2Jx\\x0D\\x0A\\x7F\n"));
}

TEST(ReceivePrintTest, RawIsTheBytesAndALineEnd)
{
    EXPECT_EQ(shown(style(PrintStyle::kRaw), "a=\xB8\xE6\033&b"), "a=\xB8\xE6\033&b\n");
}

TEST(ReceivePrintTest, JsonIsOneObjectALine)
{
    EXPECT_EQ(shown(style(PrintStyle::kJson), "sid=1001&a=\"x\"\n&a=2"),
              "{\"kind\":\"device\",\"time\":\"2024-05-01 08:00:03\",\"path\":\"/data\","
              "\"bytes\":19,\"fields\":{\"sid\":\"1001\",\"a\":[\"\\\"x\\\"\\n\",\"2\"]}}\n");
}

TEST(ReceivePrintTest, JsonTakesAnyBytes)
{
    EXPECT_THAT(shown(style(PrintStyle::kJson), "sid=1&a=\xFF"), HasSubstr("\"a\":\"\uFFFD\""));
}

TEST(ReceivePrintTest, BodiesAreDecodedFromTheirEncoding)
{
    PrintOptions options;
    options.encoding = "GBK";
    EXPECT_THAT(shown(options, "sid=1&state=\xB8\xE6\xBE\xAF"), HasSubstr("state=告警\n"));
}

TEST(ReceivePrintTest, AStreamThatFailsIsTold)
{
    std::ostringstream out;
    CReceivePrinter printer(out, {});
    EXPECT_TRUE(printer.Show(received(kDevice)));
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(printer.Show(received(kDevice)));
}

TEST(DisplayWidthTest, ChineseCharactersTakeTwoColumns)
{
    EXPECT_EQ(display_width("UPS主机1#"), 9U);
    EXPECT_EQ(display_width(""), 0U);
}

TEST(TallyTest, TheTableNamesEveryKind)
{
    CTally tally;
    tally.Add(BodyKind::kDevice, 100);
    tally.Add(BodyKind::kDevice, 23);
    tally.Add(BodyKind::kAlarm, 7);
    EXPECT_EQ(tally.Table(), "kind          bodies       bytes\n"
                             "device             2         123\n"
                             "general            0           0\n"
                             "input              0           0\n"
                             "output             0           0\n"
                             "camera             0           0\n"
                             "host               0           0\n"
                             "alarm              1           7\n"
                             "total              3         130\n");
}

TEST(TallyTest, OtherBodiesShowOnlyWhenThereAreSome)
{
    CTally tally;
    tally.Add(BodyKind::kOther, 5);
    EXPECT_THAT(tally.Table(), HasSubstr("other              1           5\n"));
    EXPECT_EQ(tally.Bodies(BodyKind::kOther), 1U);
    EXPECT_EQ(tally.Total(), 1U);
}
