// The single-instance lock, in the box, where /var/run is the test's own. Each call is made in a
// process of its own, as the lock lives as long as its process. The log is the real one.
#include "app/SingleInstance.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/Child.h"
#include "tests/support/TempDir.h"

namespace
{

using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

constexpr char kPidFile[] = "/var/run/app_single_instance_test.pid";
constexpr char kLogDir[] = "/NandFlash/tmp";
constexpr char kLog[] = "/NandFlash/tmp/vkapppost.log.ini";

// What the system answers to a request for a lock, and to the question who is running.
struct SystemScript
{
    int lock_error = 0;        // 0: the system's own answer
    const char* exe = nullptr; // where /proc/self/exe points to; null: the system's own answer
    bool exe_fails = false;
    struct flock asked = {}; // the lock asked for
    size_t pid_room = 100;   // bytes that the pid file takes before the disk is full
};
SystemScript script;

int control_lock(int fd, int command, void* argument)
{
    if (command == F_SETLK)
    {
        std::memcpy(&script.asked, argument, sizeof(script.asked));
        if (script.lock_error != 0)
        {
            errno = script.lock_error;
            return -1;
        }
    }
    return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}

} // namespace

#define VK_DEFINE_FCNTL(NAME)                                                                      \
    extern "C" int NAME(int fd, int command, ...)                                                  \
    {                                                                                              \
        va_list rest;                                                                              \
        va_start(rest, command);                                                                   \
        void* argument = va_arg(rest, void*);                                                      \
        va_end(rest);                                                                              \
        return control_lock(fd, command, argument);                                                \
    }

VK_DEFINE_FCNTL(fcntl)
VK_DEFINE_FCNTL(fcntl64)

extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) noexcept
{
    if (std::strcmp(path, "/proc/self/exe") == 0 && script.exe_fails)
    {
        errno = EACCES;
        return -1;
    }
    if (std::strcmp(path, "/proc/self/exe") == 0 && script.exe != nullptr)
    {
        const size_t length = std::min(std::strlen(script.exe), size);
        std::memcpy(buffer, script.exe, length);
        return static_cast<ssize_t>(length);
    }
    return syscall(SYS_readlinkat, AT_FDCWD, path, buffer, size);
}

extern "C" ssize_t write(int fd, const void* bytes, size_t size)
{
    struct stat status = {};
    struct stat pid_file = {};
    if (fstat(fd, &status) == 0 && stat(kPidFile, &pid_file) == 0 &&
        status.st_ino == pid_file.st_ino && status.st_dev == pid_file.st_dev)
    {
        size = std::min(size, script.pid_room);
        script.pid_room -= size;
        if (size == 0)
        {
            errno = EFBIG;
            return -1;
        }
    }
    return syscall(SYS_write, fd, bytes, size);
}

namespace
{

class SingleInstanceTest : public ::testing::Test
{
protected:
    SingleInstanceTest()
    {
        script = {};
        fs::remove_all(kPidFile);
        fs::remove_all(kLogDir);
        fs::create_directory(kLogDir);
        unsetenv("VKLOG");
    }

    // The work in another process; its exit status.
    template <class Work> static int InProcess(Work&& work) { return run_in_child(work); }

    // Takes the lock in another process and does the work while it is held.
    template <class Work> static void WhileHeld(Work&& work)
    {
        const auto hold = [&]
        {
            ASSERT_EQ(runSingleInstance(), 1);
            work();
        };
        EXPECT_EQ(run_in_child(hold), 0);
    }

    static int RunStatus()
    {
        return InProcess([] { runSingleInstance(); });
    }

    static std::string PidFile() { return read_file(kPidFile); }
    static std::string Log() { return read_file(kLog); }
};

std::string own_pid()
{
    return std::to_string(getpid());
}

} // namespace

// --- The name -----------------------------------------------------------------------------------

TEST_F(SingleInstanceTest, TheNameIsTheExecutables)
{
    EXPECT_EQ(currentExeName(), "app_single_instance_test");
}

TEST_F(SingleInstanceTest, TheNameIsWhatStandsBehindTheLastSlash)
{
    script.exe = "/opt/a b/vkAppPost (deleted)";
    EXPECT_EQ(currentExeName(), "vkAppPost (deleted)");
    script.exe = "/opt/";
    EXPECT_EQ(currentExeName(), "");
}

TEST_F(SingleInstanceTest, WithoutASlashThereIsNoName)
{
    script.exe = "vkAppPost";
    EXPECT_EQ(currentExeName(), "");
}

TEST_F(SingleInstanceTest, AnUnreadableLinkGivesNoName)
{
    script.exe_fails = true;
    EXPECT_EQ(currentExeName(), "");
}

TEST_F(SingleInstanceTest, APathOf4096BytesGivesNoName)
{
    const std::string longest = "/" + std::string(4094, 'x');
    script.exe = longest.c_str();
    EXPECT_EQ(currentExeName(), longest.substr(1));
    const std::string too_long = longest + "x";
    script.exe = too_long.c_str();
    EXPECT_EQ(currentExeName(), "");
}

TEST_F(SingleInstanceTest, WithoutANameTheProcessEndsWithStatus1AndWithoutAWord)
{
    script.exe_fails = true;
    EXPECT_EQ(RunStatus(), 1);
    EXPECT_EQ(Log(), "");
}

// --- The lock -----------------------------------------------------------------------------------

TEST_F(SingleInstanceTest, TheFileHoldsThePidAndNothingElse)
{
    WhileHeld([] { EXPECT_EQ(PidFile(), own_pid()); });
    EXPECT_EQ(Log(), "");
}

TEST_F(SingleInstanceTest, TheLockCoversTheWholeFile)
{
    WhileHeld(
        []
        {
            EXPECT_EQ(script.asked.l_type, F_WRLCK);
            EXPECT_EQ(script.asked.l_whence, SEEK_SET);
            EXPECT_EQ(script.asked.l_start, 0);
            EXPECT_EQ(script.asked.l_len, 0);
        });
}

TEST_F(SingleInstanceTest, TheFileIsMadeForEverybodyButTheUmask)
{
    const auto mode_under = [](mode_t mask)
    {
        EXPECT_EQ(InProcess(
                      [=]
                      {
                          umask(mask);
                          runSingleInstance();
                      }),
                  0);
        struct stat status = {};
        stat(kPidFile, &status);
        fs::remove(kPidFile);
        return status.st_mode & 07777;
    };
    EXPECT_EQ(mode_under(0), 0666U);
    EXPECT_EQ(mode_under(022), 0644U);
}

TEST_F(SingleInstanceTest, AStaleFileIsTakenOverAndNoDigitOfItStays)
{
    write_file(kPidFile, "12345678901234567890\nmore\n");
    WhileHeld([] { EXPECT_EQ(PidFile(), own_pid()); });
}

TEST_F(SingleInstanceTest, TheFileStaysBehind)
{
    WhileHeld([] {});
    EXPECT_TRUE(fs::exists(kPidFile));
}

TEST_F(SingleInstanceTest, ASecondProcessIsRefusedAndSaysSo)
{
    WhileHeld(
        []
        {
            EXPECT_EQ(InProcess([] { EXPECT_EQ(runSingleInstance(), 0); }), 0);
            EXPECT_EQ(PidFile(), own_pid());
        });
    EXPECT_THAT(Log(), EndsWith("] /var/run/app_single_instance_test.pid already locked, error: "
                                "Resource temporarily unavailable\n"));
}

TEST_F(SingleInstanceTest, ARefusalByEaccesIsARefusalToo)
{
    script.lock_error = EACCES;
    EXPECT_EQ(InProcess([] { EXPECT_EQ(runSingleInstance(), 0); }), 0);
    EXPECT_THAT(Log(), EndsWith(".pid already locked, error: Permission denied\n"));
    EXPECT_EQ(PidFile(), "");
}

TEST_F(SingleInstanceTest, ARefusedProcessKeepsNoDescriptor)
{
    script.lock_error = EAGAIN;
    const int before = dup(STDIN_FILENO);
    close(before);
    EXPECT_EQ(runSingleInstance(), 0);
    const int after = dup(STDIN_FILENO);
    close(after);
    EXPECT_EQ(after, before);
}

TEST_F(SingleInstanceTest, CommandsDoNotGetTheDescriptor)
{
    const auto look = []
    {
        EXPECT_NE(std::system("ls -l /proc/self/fd | grep -q single_instance_test.pid"), 0);
    };
    WhileHeld(look);
}

TEST_F(SingleInstanceTest, TheLockEndsWithItsProcess)
{
    WhileHeld([] {});
    WhileHeld([] { EXPECT_EQ(PidFile(), own_pid()); });
}

TEST_F(SingleInstanceTest, AFileSystemWithoutRecordLocksIsNoObstacle)
{
    script.lock_error = ENOLCK;
    WhileHeld([] { EXPECT_EQ(PidFile(), own_pid()); });
    EXPECT_EQ(Log(), "");
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(SingleInstanceTest, AFileThatCannotBeOpenedEndsTheProcessWithStatus1)
{
    fs::create_directory(kPidFile);
    EXPECT_EQ(RunStatus(), 1);
    EXPECT_THAT(Log(), EndsWith("] Open file failed, error : Is a directory"));
}

TEST_F(SingleInstanceTest, AFullFileSystemEndsTheProcessWithStatus1)
{
    fs::create_symlink("/dev/full", kPidFile);
    EXPECT_EQ(RunStatus(), 1);
    EXPECT_THAT(Log(), EndsWith("] Write file failed, file: /var/run/app_single_instance_test.pid, "
                                "error: No space left on device\n"));
}

TEST_F(SingleInstanceTest, APidThatIsWrittenInPartIsNotWritten)
{
    // The reason is the one that the rest of it meets; no part of a number stays.
    script.pid_room = 1;
    EXPECT_EQ(RunStatus(), 1);
    EXPECT_THAT(Log(), EndsWith("] Write file failed, file: /var/run/app_single_instance_test.pid, "
                                "error: File too large\n"));
    EXPECT_EQ(PidFile(), "");
}
