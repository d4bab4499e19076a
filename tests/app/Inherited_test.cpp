// What a parent may leave behind, each left by the test in a process of its own and then put in
// order.
#include "app/Inherited.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/Child.h"
#include "tests/support/TempDir.h"

namespace
{

bool has_null_device = true; // whether /dev/null can be opened

int open_file(const char* path, int flags, mode_t mode)
{
    if (!has_null_device && std::strcmp(path, "/dev/null") == 0)
    {
        errno = ENOENT;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

} // namespace

#define VK_DEFINE_OPEN(NAME)                                                                       \
    extern "C" int NAME(const char* path, int flags, ...)                                          \
    {                                                                                              \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;                     \
        va_end(rest);                                                                              \
        return open_file(path, flags, mode);                                                       \
    }

VK_DEFINE_OPEN(open)
VK_DEFINE_OPEN(open64)

namespace
{

struct stat status_of(int fd)
{
    struct stat status = {};
    EXPECT_EQ(fstat(fd, &status), 0) << fd;
    return status;
}

bool is_null_device(int fd)
{
    struct stat null = {};
    stat("/dev/null", &null);
    return status_of(fd).st_rdev == null.st_rdev;
}

void (*disposition(int sig))(int)
{
    struct sigaction action = {};
    sigaction(sig, nullptr, &action);
    return action.sa_handler;
}

// Whether the signal is ignored afterwards when it was before.
bool stays_ignored(int sig)
{
    std::signal(sig, SIG_IGN);
    put_inherited_in_order();
    return disposition(sig) == SIG_IGN;
}

// Writes into a file, which may grow to one byte, and returns the error of the write.
int error_beyond_the_limit()
{
    const rlimit one{1, 1};
    setrlimit(RLIMIT_FSIZE, &one);
    const int fd = open("file", O_WRONLY | O_CREAT | O_APPEND, 0600);
    EXPECT_EQ(write(fd, "x", 1), 1);
    return write(fd, "x", 1) < 0 ? errno : 0;
}

} // namespace

TEST(Inherited, MissingDescriptorsAreOpenedOnTheNullDevice)
{
    const auto work = []
    {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        put_inherited_in_order();
        EXPECT_TRUE(is_null_device(STDIN_FILENO));
        EXPECT_TRUE(is_null_device(STDOUT_FILENO));
        EXPECT_EQ(write(STDOUT_FILENO, "x", 1), 1);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, TheThirdIsOpenedToo)
{
    const auto work = []
    {
        close(STDERR_FILENO);
        put_inherited_in_order();
        EXPECT_TRUE(is_null_device(STDERR_FILENO));
        EXPECT_EQ(write(STDERR_FILENO, "x", 1), 1);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, DescriptorsThatAreThereStayWhatTheyAre)
{
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(pipe(pipe_ends.data()), 0);
    const auto work = [&]
    {
        dup2(pipe_ends[1], STDOUT_FILENO);
        const ino_t before = status_of(STDOUT_FILENO).st_ino;
        put_inherited_in_order();
        EXPECT_EQ(status_of(STDOUT_FILENO).st_ino, before);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, NothingIsOpenedWhereNoneIsMissing)
{
    const auto work = []
    {
        const int before = dup(STDIN_FILENO);
        close(before);
        put_inherited_in_order();
        EXPECT_EQ(dup(STDIN_FILENO), before);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, WithoutANullDeviceTheirPlacesAreTakenAllTheSame)
{
    const auto work = []
    {
        has_null_device = false;
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        put_inherited_in_order();
        EXPECT_GT(dup(STDERR_FILENO), STDERR_FILENO);
        EXPECT_EQ(write(STDOUT_FILENO, "x", 1), -1);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, NoSignalStaysBlocked)
{
    const auto work = []
    {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        put_inherited_in_order();
        sigset_t now;
        sigprocmask(SIG_SETMASK, nullptr, &now);
        EXPECT_TRUE(sigisemptyset(&now));
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, CommandsCanBeWaitedFor)
{
    const auto work = []
    {
        std::signal(SIGCHLD, SIG_IGN);
        put_inherited_in_order();
        EXPECT_EQ(std::system("exit 3"), 3 << 8);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, IgnoredTermEndsAgain)
{
    EXPECT_EQ(run_in_child([] { EXPECT_FALSE(stays_ignored(SIGTERM)); }), 0);
}

TEST(Inherited, WhatNohupAndAShellIgnoreStaysIgnored)
{
    const auto work = []
    {
        EXPECT_TRUE(stays_ignored(SIGHUP));
        EXPECT_TRUE(stays_ignored(SIGINT));
        EXPECT_TRUE(stays_ignored(SIGQUIT));
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, LimitOfFileSizeIsAnErrorOfTheWrite)
{
    const CTempDir dir;
    const auto work = []
    {
        put_inherited_in_order();
        EXPECT_EQ(error_beyond_the_limit(), EFBIG);
    };
    EXPECT_EQ(run_in_child(work), 0);
}

TEST(Inherited, AlarmClockIsStopped)
{
    const auto work = []
    {
        alarm(10000);
        put_inherited_in_order();
        EXPECT_EQ(alarm(0), 0U);
    };
    EXPECT_EQ(run_in_child(work), 0);
}
