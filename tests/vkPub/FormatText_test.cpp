// A text as a printf format without arguments.
#include "vkPub/FormatText.h"

#include <gmock/gmock.h>

namespace
{

constexpr size_t kLimit = 1000;

std::string formatted(const std::string& format)
{
    std::string text = ">";
    EXPECT_TRUE(append_formatted(text, format, kLimit));
    return text.substr(1);
}

bool fits(const std::string& format)
{
    std::string text;
    return append_formatted(text, format, kLimit);
}

TEST(FormatText, TextWithoutPercentStays)
{
    EXPECT_EQ(formatted(""), "");
    EXPECT_EQ(formatted("a=1\\n\n$s {} \xE5\x8A\xA8"), "a=1\\n\n$s {} \xE5\x8A\xA8");
}

TEST(FormatText, TwoPercentsBecomeOne)
{
    EXPECT_EQ(formatted("100%%"), "100%");
    EXPECT_EQ(formatted("%%%%d"), "%%d");
    EXPECT_EQ(formatted("%5%"), "%");
}

TEST(FormatText, IntegersReadZero)
{
    EXPECT_EQ(formatted("%d %i %o %u %x %X"), "0 0 0 0 0 0");
}

TEST(FormatText, FloatsReadZero)
{
    EXPECT_EQ(formatted("%e %f %g %a"), "0.000000e+00 0.000000 0 0x0p+0");
    EXPECT_EQ(formatted("%E %F %G %A"), "0.000000E+00 0.000000 0 0X0P+0");
}

TEST(FormatText, SizesSayNothingAboutZero)
{
    EXPECT_EQ(formatted("%hd %hhu %ld %lld %Lf %jd %zu %td %qd %Zu"), "0 0 0 0 0.000000 0 0 0 0 0");
}

TEST(FormatText, TextsReadEmpty)
{
    EXPECT_EQ(formatted("<%s|%ls|%S>"), "<||>");
    EXPECT_EQ(formatted("<%.3s|%-2s|%3s|%1s>"), "<|  |   | >");
}

TEST(FormatText, PointerIsNull)
{
    EXPECT_EQ(formatted("%p"), "(nil)");
}

TEST(FormatText, SingleCharactersAndErrorsAreNothing)
{
    EXPECT_EQ(formatted("<%c%lc%C%m>"), "<>");
}

TEST(FormatText, PercentNWritesNothing)
{
    EXPECT_EQ(formatted("<%n%hn%hhn%ln%lln%jn%zn%tn%5n%1$n>"), "<>");
}

TEST(FormatText, FlagsWidthAndPrecisionCount)
{
    EXPECT_EQ(formatted("<%5d|%-5d|%05d|%+d|% d|%#x|%#o>"), "<    0|0    |00000|+0| 0|0|0>");
    EXPECT_EQ(formatted("<%.3d|%6.3d|%.0d|%.d>"), "<000|   000||>");
    EXPECT_EQ(formatted("<%.2f|%8.1f|%-8.1e|>"), "<0.00|     0.0|0.0e+00 |>");
    EXPECT_EQ(formatted("<%.3g|%#.3g>"), "<0|0.00>");
    EXPECT_EQ(formatted("<%'3d|%I3d>"), "<  0|  0>");
    EXPECT_EQ(formatted("<%'d|%'5d>"), "<0|    0>");
}

TEST(FormatText, WidthFromAnArgumentIsZero)
{
    EXPECT_EQ(formatted("<%*d|%-*d|%.*f|%*.*f>"), "<0|0|0|0>");
}

TEST(FormatText, ArgumentsMayHavePositions)
{
    EXPECT_EQ(formatted("<%1$d|%2$-3d|%1$03d|%3$s|%1$*2$d|%1$.*2$f>"), "<0|0  |000||0|0>");
}

TEST(FormatText, WhatIsNoConversionStays)
{
    EXPECT_EQ(formatted("50%y %-3! %k"), "50%y %-3! %k");
    EXPECT_EQ(formatted("%\xE5\x8A\xA8"), "%\xE5\x8A\xA8");
    EXPECT_EQ(formatted("10%\n20%\n"), "10%\n20%\n");
}

TEST(FormatText, ConversionThatTheTextCutsIsNothing)
{
    EXPECT_EQ(formatted("50%"), "50");
    EXPECT_EQ(formatted("50%-5.3l"), "50");
    EXPECT_EQ(formatted("50%1$"), "50");
    EXPECT_EQ(formatted("50%*"), "50");
}

TEST(FormatText, IsAppended)
{
    std::string text = "k=v\n";
    EXPECT_TRUE(append_formatted(text, "p=%d%%\n", kLimit));
    EXPECT_EQ(text, "k=v\np=0%\n");
}

TEST(FormatText, LimitIsOnTheWholeText)
{
    EXPECT_TRUE(fits(std::string(999, 'x')));
    EXPECT_FALSE(fits(std::string(1000, 'x')));
    EXPECT_TRUE(fits("%999d"));
    EXPECT_FALSE(fits("%1000d"));
    EXPECT_FALSE(fits("%500d%500d"));
    EXPECT_FALSE(fits("%998d%%%%"));
}

// Neither the time nor the memory that printf would take for them.
TEST(FormatText, HugeWidthsAndPrecisionsAreTooLong)
{
    for (const char* format : {"%2147483647d", "%99999999999999999999d", "%18446744073709551621d",
                               "%.2147483647d", "%.2147483647f", "%#.2147483647g", "%2147483647s"})
    {
        EXPECT_FALSE(fits(format)) << format;
    }
}

TEST(FormatText, PrecisionThatShowsNothingIsNotTooLong)
{
    EXPECT_EQ(formatted("<%.2147483647s|%.2147483647g|%.99999999999999999999G>"), "<|0|0>");
}

} // namespace
