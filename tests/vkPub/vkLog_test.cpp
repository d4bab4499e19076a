// The diagnostic log: where a message goes, and what its line looks like.
#include <utility>

#include "tests/vkPub/VkLogTest.h"

using ::testing::EndsWith;

namespace
{

// A value of VKLOG and the tag it gives.
using Sink = std::pair<std::string, std::string>;

class VkLogFileSink : public VkLogTest, public ::testing::WithParamInterface<Sink>
{
};

class VkLogConsoleSink : public VkLogTest, public ::testing::WithParamInterface<std::string>
{
};

} // namespace

// --- Where a message goes -----------------------------------------------------------------------

TEST_F(VkLogTest, UnsetGoesToTheFileAsRtLog)
{
    Run([] { VKLOG_TRACE("up %d\n", 7); });
    EXPECT_EQ(Log(), "0=[RtLog][2024-05-01 12:00:00] up 7\n");
}

TEST_P(VkLogFileSink, GoesToTheFileOnly)
{
    RunWith(GetParam().first, [] { VKLOG_TRACE("up %s\r\n", "now"); });
    EXPECT_EQ(Log(), "0=[" + GetParam().second + "][2024-05-01 12:00:00] up now\r\n");
    EXPECT_EQ(Console(), "");
}

INSTANTIATE_TEST_SUITE_P(Values, VkLogFileSink,
                         ::testing::Values(Sink{"RtLog", "RtLog"}, Sink{"ExpLog", "ExpLog"},
                                           Sink{"rtlog", "RtLog"}, Sink{"explog", "RtLog"},
                                           Sink{"ExpLog ", "RtLog"}, Sink{"printf", "RtLog"},
                                           Sink{"Printf2", "RtLog"}, Sink{"vkAppPost", "RtLog"},
                                           Sink{"", "RtLog"}));

TEST_P(VkLogConsoleSink, GoesToStandardOutputOnly)
{
    RunWith(GetParam(), [] { VKLOG_TRACE("up %d%%\n", 7); });
    EXPECT_EQ(Console(), "[vkapppost] up 7%\n");
    EXPECT_FALSE(fs::exists(kLog));
}

TEST_P(VkLogConsoleSink, IsNotFlushed)
{
    RunWith(GetParam(),
            []
            {
                VKLOG_TRACE("up\n");
                EXPECT_EQ(Console(), "");
            });
    EXPECT_EQ(Console(), "[vkapppost] up\n");
}

TEST_P(VkLogConsoleSink, IsNotCut)
{
    const std::string body(100000, 'x');
    RunWith(GetParam(), [&] { VKLOG_TRACE("<%s>\n", body.c_str()); });
    EXPECT_EQ(Console(), "[vkapppost] <" + body + ">\n");
}

INSTANTIATE_TEST_SUITE_P(Values, VkLogConsoleSink, ::testing::Values("Printf", "vkapppost"));

TEST_F(VkLogTest, TheVariableIsReadAtEveryMessage)
{
    RunWith("ExpLog",
            []
            {
                VKLOG_TRACE("a\n");
                setenv("VKLOG", "Printf", 1);
                VKLOG_TRACE("b\n");
                unsetenv("VKLOG");
                VKLOG_TRACE("c\n");
            });
    EXPECT_EQ(Console(), "[vkapppost] b\n");
    EXPECT_EQ(Log(), "0=[ExpLog][2024-05-01 12:00:00] a\n1=[RtLog][2024-05-01 12:00:00] c\n");
}

TEST_F(VkLogTest, ArgumentsAreTakenOnce)
{
    RunWith("Printf",
            []
            {
                int count = 0;
                VKLOG_TRACE("%d\n", ++count);
                unsetenv("VKLOG");
                VKLOG_TRACE("%d\n", ++count);
                EXPECT_EQ(count, 2);
            });
}

// --- The line -----------------------------------------------------------------------------------

TEST_F(VkLogTest, KeysCountTheLines)
{
    Run([] { log_keys(0, 13); });
    EXPECT_EQ(Log(), lines(0, 13));
    EXPECT_THAT(Log(), EndsWith("12=[RtLog][2024-05-01 12:00:00] message 12\n"));
}

TEST_F(VkLogTest, TheWriterTakesAnyTagAndReturnsOne)
{
    Run([] { EXPECT_EQ(trace_log_vkapppost("My Tag", "%s%c", "text", '\n'), 1); });
    EXPECT_EQ(Log(), "0=[My Tag][2024-05-01 12:00:00] text\n");
}

TEST_F(VkLogTest, ANullTagWritesNothingAndReturnsMinusOne)
{
    Run(
        []
        {
            EXPECT_EQ(trace_log_vkapppost(nullptr, "lost\n"), -1);
            EXPECT_FALSE(fs::exists(kLog));
            VKLOG_TRACE("kept\n");
        });
    EXPECT_EQ(Log(), line(0, "kept\n"));
}

TEST_F(VkLogTest, TheTimeIsLocal)
{
    setenv("TZ", "XXX+11:30", 1);
    Run([] { VKLOG_TRACE("\n"); });
    EXPECT_EQ(Log(), "0=[RtLog][2024-04-30 16:30:00] \n");
}

TEST_F(VkLogTest, AZoneThatIsChangedIsFollowedWithTheNextSecond)
{
    Run(
        []
        {
            VKLOG_TRACE("before\n");
            setenv("TZ", "YYY-9", 1);
            ++log_now;
            VKLOG_TRACE("after\n");
        });
    EXPECT_EQ(Log(), line(0, "before\n") + "1=[RtLog][2024-05-01 13:00:01] after\n");
}

TEST_F(VkLogTest, AZoneThatIsChangedWhileTheClockIsSetBackIsFollowedToo)
{
    Run(
        []
        {
            VKLOG_TRACE("before\n");
            setenv("TZ", "YYY-9", 1);
            log_now -= 60;
            VKLOG_TRACE("after\n");
        });
    EXPECT_EQ(Log(), line(0, "before\n") + "1=[RtLog][2024-05-01 12:59:00] after\n");
}

TEST_F(VkLogTest, ALongTagIsWhole)
{
    for (const size_t length : {300U, 5000U, 100000U})
    {
        fs::remove(kLog);
        const std::string tag(length, 't');
        Run([&] { trace_log_vkapppost(tag.c_str(), "text\n"); });
        EXPECT_EQ(Log(), "0=[" + tag + "][2024-05-01 12:00:00] text\n");
    }
}

TEST_F(VkLogTest, ALongTagTakesNothingFromALongMessage)
{
    const std::string tag(5000, 't');
    const std::string text(30000, 'x');
    Run([&] { trace_log_vkapppost(tag.c_str(), "%s\n", text.c_str()); });
    EXPECT_EQ(Log(), "0=[" + tag + "][2024-05-01 12:00:00] " + text.substr(0, 20479));
}

TEST_F(VkLogTest, AnEmptyTagAndAnEmptyMessageLeaveThePrefix)
{
    Run([] { trace_log_vkapppost("", "%s", ""); });
    EXPECT_EQ(Log(), "0=[][2024-05-01 12:00:00] ");
}

TEST_F(VkLogTest, AMessageWithoutLineEndRunsOnIntoTheNext)
{
    Run(
        []
        {
            VKLOG_TRACE("no end");
            VKLOG_TRACE("next\n");
        });
    EXPECT_EQ(Log(), line(0, "no end") + line(1, "next\n"));
}

TEST_F(VkLogTest, ALongMessageIsCutAt20479Characters)
{
    const std::string text(30000, 'x');
    Run([&] { VKLOG_TRACE("%s\n", text.c_str()); });
    EXPECT_EQ(Log(), line(0, text.substr(0, 20479)));
}

TEST_F(VkLogTest, AMessageOf20479CharactersIsWhole)
{
    const std::string text(20478, 'x');
    Run([&] { VKLOG_TRACE("%s\n", text.c_str()); });
    EXPECT_EQ(Log(), line(0, text + "\n"));
}
