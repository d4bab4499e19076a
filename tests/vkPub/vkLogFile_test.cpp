// The diagnostic log's file: how it is opened, what a full flash does, what becomes of a full file,
// and several threads.
#include <fcntl.h>
#include <map>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/vkPub/VkLogTest.h"

using ::testing::EndsWith;
using ::testing::StartsWith;

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

TEST_F(VkLogTest, NoChildProcessInheritsTheFile)
{
    Run(
        []
        {
            VKLOG_TRACE("line\n");
            EXPECT_EQ(flash.writes, 1);
            EXPECT_FALSE(flash.is_inherited);
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
                flash.is_real = false;
                flash.answer = refusal;
                EXPECT_EQ(trace_log_vkapppost("RtLog", "lost\n"), 1);
                EXPECT_EQ(flash.writes, 1);
                flash.is_real = true;
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
            flash.is_real = false;
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

TEST_F(VkLogTest, AnEmptyDirectoryInPlaceOfTheBackupIsNoObstacle)
{
    fs::create_directory(kBackup);
    Run(
        []
        {
            log_keys(0, 20000);
            log_keys(0, 1);
        });
    EXPECT_EQ(Backup(), lines(0, 20000));
    EXPECT_EQ(Log(), lines(0, 1));
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

TEST_F(VkLogTest, LinesOfSeveralThreadsAreWholeOnStandardOutput)
{
    RunWith("Printf", [] { log_from_threads(5000, 50); });
    std::istringstream in(Console());
    int count = 0;
    for (std::string one; std::getline(in, one); ++count)
    {
        ASSERT_EQ(one, "[vkapppost] " + std::string(50, one.back()));
    }
    EXPECT_EQ(count, kThreads * 5000);
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
