// The diagnostic log: where a message goes, what its line looks like, and what becomes of a full
// file. Each test logs in a process of its own, whose counter starts at 0, at a clock that stands
// still at 2024-05-01 12:00:00.
#include "vkPub/vkLog.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/Child.h"
#include "tests/support/TempDir.h"

namespace
{

// 12:00:00 in the time zone of the tests.
constexpr time_t kNow = 1714536000;
time_t now = kNow;

// How the system writes lines.
struct Flash
{
    bool isReal = true;
    ssize_t answer = 0;     // where it is not: what a write returns, with errno ENOSPC
    size_t most = SIZE_MAX; // bytes taken at a time
    std::atomic<int> writes{0};
};
Flash flash;

} // namespace

// The log writer's clock.
extern "C" time_t time(time_t* where) noexcept
{
    if (where != nullptr)
    {
        *where = now;
    }
    return now;
}

extern "C" ssize_t writev(int fd, const iovec* pieces, int count)
{
    ++flash.writes;
    if (!flash.isReal)
    {
        errno = ENOSPC;
        return flash.answer;
    }
    if (flash.most == SIZE_MAX)
    {
        return syscall(SYS_writev, fd, pieces, count);
    }
    while (count > 1 && pieces->iov_len == 0)
    {
        ++pieces;
        --count;
    }
    return write(fd, pieces->iov_base, std::min(pieces->iov_len, flash.most));
}

namespace
{

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

namespace fs = std::filesystem;

constexpr char kDir[] = "/NandFlash/tmp";
constexpr char kLog[] = "/NandFlash/tmp/vkapppost.log.ini";
constexpr char kBackup[] = "/NandFlash/tmp/vkapppost.log.ini.bak";
constexpr char kConsole[] = "/tmp/console";
constexpr char kPrefix[] = "=[RtLog][2024-05-01 12:00:00] ";

// One message for each key of the range.
void log_keys(int first, int end)
{
    for (int key = first; key < end; ++key)
    {
        VKLOG_TRACE("message %d\n", key);
    }
}

std::string line(int key, const std::string& message)
{
    return std::to_string(key) + kPrefix + message;
}

// What log_keys leaves in the file.
std::string lines(int first, int end)
{
    std::string all;
    for (int key = first; key < end; ++key)
    {
        all += line(key, "message " + std::to_string(key) + "\n");
    }
    return all;
}

class VkLogTest : public ::testing::Test
{
protected:
    VkLogTest()
    {
        fs::remove_all(kDir);
        fs::remove(kConsole);
        fs::create_directory(kDir);
        setenv("TZ", "XXX-8", 1);
        unsetenv("VKLOG");
        tzset(); // what a child finds: the zone as it was when the process began
    }

    // Logs in a new process.
    void Run(const std::function<void()>& work) { EXPECT_EQ(run_in_child(work), 0); }

    // The same under a value of VKLOG, with standard output in a file.
    void RunWith(const std::string& sink, const std::function<void()>& work)
    {
        Run(
            [&]
            {
                setenv("VKLOG", sink.c_str(), 1);
                const int console = open(kConsole, O_WRONLY | O_CREAT | O_TRUNC, 0600);
                dup2(console, STDOUT_FILENO);
                work();
            });
    }

    static std::string Log() { return read_file(kLog); }
    static std::string Backup() { return read_file(kBackup); }
    static std::string Console() { return read_file(kConsole); }
};

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
            ++now;
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
            now -= 60;
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

// --- The file -----------------------------------------------------------------------------------

TEST_F(VkLogTest, LinesAreAppendedToTheFileOfTheRunBefore)
{
    Run([] { VKLOG_TRACE("old\n"); });
    Run([] { VKLOG_TRACE("new\n"); });
    EXPECT_EQ(Log(), line(0, "old\n") + line(0, "new\n"));
}

TEST_F(VkLogTest, AFileThatSomebodyRemovesIsMadeAgain)
{
    Run(
        []
        {
            log_keys(0, 2);
            fs::remove(kLog);
            log_keys(2, 4);
        });
    EXPECT_EQ(Log(), lines(2, 4));
}

TEST_F(VkLogTest, NoDescriptorStaysOpen)
{
    const auto next_descriptor = []
    {
        const int fd = dup(STDIN_FILENO);
        close(fd);
        return fd;
    };
    Run(
        [&]
        {
            const int before = next_descriptor();
            VKLOG_TRACE("line\n");
            EXPECT_EQ(next_descriptor(), before);
        });
}

TEST_F(VkLogTest, WithoutItsDirectoryTheLogIsSilentAndTheCounterStays)
{
    Run(
        []
        {
            fs::remove(kDir);
            EXPECT_EQ(trace_log_vkapppost("RtLog", "lost\n"), 1);
            EXPECT_FALSE(fs::exists(kDir));
            fs::create_directory(kDir);
            VKLOG_TRACE("kept\n");
        });
    EXPECT_EQ(Log(), line(0, "kept\n"));
}

TEST_F(VkLogTest, WhereTheFileCannotBeOpenedTheCounterStays)
{
    Run(
        []
        {
            log_keys(0, 3);
            fs::remove(kLog);
            fs::create_directory(kLog);
            EXPECT_EQ(trace_log_vkapppost("RtLog", "lost\n"), 1);
            fs::remove(kLog);
            log_keys(3, 4);
        });
    EXPECT_EQ(Log(), lines(3, 4));
}

// --- A flash that is full -----------------------------------------------------------------------

TEST_F(VkLogTest, ALineThatTheFlashRefusesIsTriedOnceAndItsKeyIsUsedUp)
{
    for (const ssize_t refusal : {-1, 0})
    {
        fs::remove(kLog);
        Run(
            [&]
            {
                flash.isReal = false;
                flash.answer = refusal;
                EXPECT_EQ(trace_log_vkapppost("RtLog", "lost\n"), 1);
                EXPECT_EQ(flash.writes, 1);
                flash.isReal = true;
                VKLOG_TRACE("kept\n");
            });
        EXPECT_EQ(Log(), line(1, "kept\n"));
    }
}

TEST_F(VkLogTest, AFullDeviceEndsNothing)
{
    fs::create_symlink("/dev/full", kLog);
    Run(
        []
        {
            EXPECT_EQ(trace_log_vkapppost("RtLog", "lost\n"), 1);
            fs::remove(kLog);
            VKLOG_TRACE("kept\n");
        });
    EXPECT_EQ(Log(), line(1, "kept\n"));
}

TEST_F(VkLogTest, ALineOfWhichTheFlashTakesPartIsFinished)
{
    for (const size_t most : {1U, 3U, 1000U})
    {
        fs::remove(kLog);
        Run(
            [&]
            {
                flash.most = most;
                trace_log_vkapppost("My Tag", "some %s text\n", "longer");
            });
        EXPECT_EQ(Log(), "0=[My Tag][2024-05-01 12:00:00] some longer text\n");
    }
}

TEST_F(VkLogTest, ALineIsOneWrite)
{
    Run(
        []
        {
            VKLOG_TRACE("line\n");
            EXPECT_EQ(flash.writes, 1);
        });
}

TEST_F(VkLogTest, NoDescriptorStaysOpenOnAFullFlash)
{
    Run(
        []
        {
            flash.isReal = false;
            flash.answer = -1;
            const int before = dup(STDIN_FILENO);
            close(before);
            VKLOG_TRACE("lost\n");
            const int after = dup(STDIN_FILENO);
            EXPECT_EQ(after, before);
        });
}

// --- Rotation -----------------------------------------------------------------------------------

TEST_F(VkLogTest, TheLastLineOfAFullFileHasKey19999)
{
    Run([] { log_keys(0, 20000); });
    EXPECT_EQ(Log(), lines(0, 20000));
    EXPECT_FALSE(fs::exists(kBackup));
}

TEST_F(VkLogTest, Line20001MovesTheFullFileAsideAndHasKey0)
{
    write_file(kBackup, "an older backup\n");
    Run(
        []
        {
            log_keys(0, 20000);
            log_keys(0, 2);
        });
    EXPECT_EQ(Backup(), lines(0, 20000));
    EXPECT_EQ(Log(), lines(0, 2));
}

TEST_F(VkLogTest, TheSecondRotationDropsTheOldestLines)
{
    Run(
        []
        {
            log_keys(0, 20000);
            log_keys(100000, 120000);
            VKLOG_TRACE("third\n");
        });
    EXPECT_THAT(Backup(), StartsWith(line(0, "message 100000\n")));
    EXPECT_THAT(Backup(), EndsWith(line(19999, "message 119999\n")));
    EXPECT_EQ(Log(), line(0, "third\n"));
}

TEST_F(VkLogTest, AFileThatCannotBeMovedAsideIsContinuedWithKey0)
{
    fs::create_directories(std::string(kBackup) + "/full");
    Run(
        []
        {
            log_keys(0, 20000);
            log_keys(0, 1);
        });
    EXPECT_EQ(Log(), lines(0, 20000) + lines(0, 1));
}

TEST_F(VkLogTest, AFullFileThatIsGoneIsNoObstacle)
{
    Run(
        []
        {
            log_keys(0, 20000);
            fs::remove(kLog);
            log_keys(0, 1);
        });
    EXPECT_EQ(Log(), lines(0, 1));
    EXPECT_FALSE(fs::exists(kBackup));
}

// --- Threads ------------------------------------------------------------------------------------

namespace
{

constexpr int kThreads = 4;

// Each thread writes so many lines of its own letter.
void log_from_threads(int count, size_t length)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back(
            [=]
            {
                const std::string text(length, static_cast<char>('a' + i));
                for (int n = 0; n < count; ++n)
                {
                    VKLOG_TRACE("%s\n", text.c_str());
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

// How often each key stands in the text; a torn line fails.
std::map<int, int> keys_of(const std::string& text, size_t length)
{
    std::map<int, int> keys;
    std::istringstream in(text);
    for (std::string one; std::getline(in, one);)
    {
        const int key = std::atoi(one.c_str());
        const std::string message(length, one.back());
        EXPECT_EQ(one, std::to_string(key) + kPrefix + message);
        ++keys[key];
    }
    return keys;
}

std::map<int, int> each_key_once(int end)
{
    std::map<int, int> keys;
    for (int key = 0; key < end; ++key)
    {
        keys[key] = 1;
    }
    return keys;
}

} // namespace

TEST_F(VkLogTest, LinesOfSeveralThreadsAreWholeAndEachHasAKeyOfItsOwn)
{
    constexpr size_t kLength = 1000;
    Run([] { log_from_threads(1000, kLength); });
    EXPECT_EQ(keys_of(Log(), kLength), each_key_once(4000));
}

TEST_F(VkLogTest, SeveralThreadsLoseNoLineAndNoKeyInARotation)
{
    constexpr size_t kLength = 10;
    Run([] { log_from_threads(6000, kLength); });
    std::map<int, int> expected = each_key_once(20000);
    for (int key = 0; key < 4000; ++key)
    {
        ++expected[key];
    }
    EXPECT_EQ(keys_of(Backup() + Log(), kLength), expected);
}
