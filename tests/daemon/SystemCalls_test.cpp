// How a record of system calls is read, and which calls count as acts.
#include "tests/daemon/support/SystemCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

constexpr char kRead[] =
    R"(12  openat(AT_FDCWD</h>, "tmp/dbDat0.db3", O_RDONLY|O_CLOEXEC) = 3</h>)";

bool acts(const std::string& call)
{
    return is_act(parse_call("12  " + call));
}

} // namespace

TEST(SystemCalls, LineTellsNameAndArguments)
{
    const SystemCall call = parse_call(kRead);
    EXPECT_EQ(call.name, "openat");
    EXPECT_EQ(call.arguments, R"(AT_FDCWD</h>, "tmp/dbDat0.db3", O_RDONLY|O_CLOEXEC)");
}

TEST(SystemCalls, InterruptedCallIsJudgedWhereItBegins)
{
    const SystemCall call =
        parse_call(R"(9 openat(AT_FDCWD</>, "/x", O_WRONLY|O_CREAT, 0666 <unfinished ...>)");
    EXPECT_EQ(call.name, "openat");
    EXPECT_TRUE(is_act(call));
    EXPECT_EQ(parse_call("9 <... openat resumed>) = 3</x>").name, "");
}

TEST(SystemCalls, SignalsAndEndsAreNoCalls)
{
    EXPECT_EQ(parse_call("9 --- SIGCHLD {si_signo=SIGCHLD, si_code=CLD_EXITED} ---").name, "");
    EXPECT_EQ(parse_call("9 +++ exited with 0 +++").name, "");
    EXPECT_EQ(parse_call("").name, "");
}

TEST(SystemCalls, ReadingIsHarmless)
{
    EXPECT_FALSE(is_act(parse_call(kRead)));
    EXPECT_FALSE(acts(R"(openat(AT_FDCWD</>, "/sys", O_RDONLY|O_NONBLOCK|O_DIRECTORY) = 3</sys>)"));
    EXPECT_FALSE(acts("read(3</h/tmp/dbDat0.db3>, \"\"..., 100) = 100"));
    EXPECT_FALSE(acts("fcntl(3</h>, F_SETLK, {l_type=F_RDLCK, l_whence=SEEK_SET}) = 0"));
}

TEST(SystemCalls, OpeningForMoreThanReadingIsAnAct)
{
    EXPECT_TRUE(acts(R"(openat(AT_FDCWD</h>, "tmp/dbDat0.db3", O_RDWR|O_CLOEXEC) = 3</h>)"));
    EXPECT_TRUE(acts(R"(openat(AT_FDCWD</h>, "log", O_WRONLY|O_APPEND) = 3</h/log>)"));
    EXPECT_TRUE(acts(R"(openat(AT_FDCWD</h>, "x", O_RDONLY|O_CREAT, 0666) = 3</h/x>)"));
    EXPECT_TRUE(acts(R"(open("/h/x", O_RDONLY|O_TRUNC) = 3</h/x>)"));
    EXPECT_TRUE(acts(R"(openat(AT_FDCWD</h>, "/dev/null/..", O_RDWR) = -1 ENOTDIR (Not))"));
}

TEST(SystemCalls, AttemptThatFailsIsAnActToo)
{
    EXPECT_TRUE(acts(R"(unlink("tmp/dbDat0.db3-journal") = -1 ENOENT (No such file))"));
}

TEST(SystemCalls, FlagInAPathIsNoFlag)
{
    EXPECT_FALSE(acts(R"(openat(AT_FDCWD</h>, "O_RDWR", O_RDONLY) = 3</h/O_RDWR>)"));
}

TEST(SystemCalls, SinksAndSharedMemoryOfADatabaseMayBeWritten)
{
    EXPECT_FALSE(acts(R"(openat(AT_FDCWD</h>, "/dev/null", O_WRONLY|O_CLOEXEC) = 4</dev/null>)"));
    EXPECT_FALSE(acts(R"(openat(AT_FDCWD</h>, "/dev/tty", O_RDWR) = 4</dev/tty>)"));
    EXPECT_FALSE(
        acts(R"(openat(AT_FDCWD</h>, "/h/tmp/dbDat0.db3-shm", O_RDWR|O_CREAT, 0644) = 4)"));
    EXPECT_FALSE(acts("ftruncate(4</h/tmp/dbDat0.db3-shm>, 3) = 0"));
    EXPECT_FALSE(acts("fchown(4</h/tmp/dbDat0.db3-shm>, 0, 0) = 0"));
    EXPECT_TRUE(acts("ftruncate(4</h/tmp/dbDat0.db3>, 3) = 0"));
    EXPECT_TRUE(acts("fchown(4</h/tmp/dbDat0.db3-wal>, 0, 0) = 0"));
    EXPECT_TRUE(acts(R"(unlink("/h/tmp/dbDat0.db3-shm") = 0)"));
}

TEST(SystemCalls, WhatReachesOthersIsAnAct)
{
    for (const char* const call :
         {"rename(\"a\", \"b\") = 0", "mkdir(\"a\", 0777) = 0", "truncate(\"a\", 0) = 0",
          "chmod(\"a\", 0777) = 0", "fchmod(3</h>, 0777) = 0", "msgget(0x9000, 0666) = 0",
          "msgsnd(0, {mtype=1}, 88, 0) = 0", "msgrcv(0, {mtype=1}, 88, 0, 0) = 88",
          "semop(0, [], 1) = 0", "kill(7, SIGRT_1) = 0", "tgkill(7, 7, SIGABRT) = 0",
          "rt_sigqueueinfo(7, SIGRT_1, {}) = 0", "socket(AF_INET, SOCK_STREAM, 0) = 3",
          "connect(3<socket:[1]>, {sa_family=AF_INET}, 16) = 0", "sendto(3, \"\"..., 1) = 1"})
    {
        EXPECT_TRUE(acts(call)) << call;
    }
}

TEST(SystemCalls, UnknownCallIsAnAct)
{
    EXPECT_TRUE(acts("io_uring_setup(8, {}) = 3"));
}

TEST(SystemCalls, WrittenFilesAreFoundInARecord)
{
    const std::string record = std::string(kRead) +
                               "\n12  pwrite64(5</h/a.db3-wal>, \"\"..., 24, 0) = 24"
                               "\n12  pread64(6</h/a.db3>, \"\"..., 24, 0) = 24"
                               "\n12  ftruncate(7</h/b>, 0 <unfinished ...>\n";
    EXPECT_THAT(written_files(record), ElementsAre("/h/a.db3-wal", "/h/b"));
}

TEST(SystemCalls, ActsAreFoundInARecord)
{
    const std::string record = std::string(kRead) + "\n12  unlink(\"a\") = 0\n12  +++ exited +++\n";
    EXPECT_THAT(find_acts(record), ElementsAre("12  unlink(\"a\") = 0"));
    EXPECT_THAT(find_acts(kRead), IsEmpty());
}
