// One daemon per host: the lock on the pid file, and what happens when it cannot be had.
#include "tests/daemon/support/DaemonTest.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>

using ::testing::ElementsAre;
using ::testing::EndsWith;

namespace
{

constexpr char kPidFile[] = "/run/vkAppPost.pid";
constexpr char kStopLine[] = "AppPost endProcMsg line=2390 \r\n";

} // namespace

using SingleInstance = DaemonTest;

TEST_F(SingleInstance, SecondOneSaysSoAndLeaves)
{
    // Status -3, two lines; it has deleted the log of the first, which goes on.
    StartSimpleRoom();
    tray.WaitReports(14); // the sweep is over, the first one is silent now
    CDaemon second;
    second.Start(host.Path());
    EXPECT_EQ(second.WaitExit(), 253);
    EXPECT_THAT(log_messages(), ElementsAre("/var/run/vkAppPost.pid already locked, error: Resource"
                                            " temporarily unavailable\n",
                                            "exit -3 !is already running\n", kStopLine));
}

TEST_F(SingleInstance, FirstOneIsNotHarmedByASecond)
{
    // Its pid file, its queue and its service stay; its log begins anew with the next line.
    StartSimpleRoom();
    receiver.Body(1);
    CDaemon second;
    second.Start(host.Path());
    ASSERT_EQ(second.WaitExit(), 253);
    EXPECT_EQ(read_file(kPidFile), std::to_string(daemon.Pid()));
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_TRUE(wait_logged("iSid=7,PostNormal...\n"));
}

TEST_F(SingleInstance, SecondOneStartsWhenTheFirstIsGone)
{
    // Killed, so the pid file is still there: the lock decides, not the file.
    StartSimpleRoom();
    receiver.Body(1);
    daemon.Kill();
    CDaemon second;
    second.Start(host.Path());
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_EQ(read_file(kPidFile), std::to_string(second.Pid()));
    second.Kill();
    ExpectExit(1000 + 9);
}

TEST_F(SingleInstance, StalePidFileIsTruncated)
{
    // No digit of a longer number stays behind.
    write_file(kPidFile, "99999999999999\n");
    StartSimpleRoom();
    EXPECT_EQ(read_file(kPidFile), std::to_string(daemon.Pid()));
}

TEST_F(SingleInstance, PidFileThatCannotBeOpenedEndsIt)
{
    // A directory stands in its place.
    host.SimpleRoom();
    ASSERT_EQ(std::system("mkdir /run/vkAppPost.pid"), 0);
    Start();
    ExpectExit(1);
    EXPECT_THAT(log_messages(), ElementsAre("Open file failed, error : Is a directory", kStopLine));
}

TEST_F(SingleInstance, LockThatCannotBeAskedForCountsAsHeld)
{
    // A file system without record locks must not keep the daemon from starting. This test holds
    // the lock, so it starts only because the request fails in another way.
    const int fd = open(kPidFile, O_RDWR | O_CREAT, 0600);
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(fd, F_SETLK, &whole), 0);
    daemon.Env("LD_PRELOAD", VK_NO_RECORD_LOCKS);
    daemon.Env("ASAN_OPTIONS", "verify_asan_link_order=0");
    StartSimpleRoom();
    EXPECT_EQ(read_file(kPidFile), std::to_string(daemon.Pid()));
    EXPECT_FALSE(has_logged("locked"));
}

// In a box whose /run is read-only.
using ReadOnlyRun = DaemonTest;

TEST_F(ReadOnlyRun, EndsIt)
{
    // The message has no line end of its own.
    host.SimpleRoom();
    Start();
    ExpectExit(1);
    EXPECT_THAT(log_messages(),
                ElementsAre("Open file failed, error : Read-only file system", kStopLine));
}

// In a box whose /run has room for one page.
using FullRun = DaemonTest;

TEST_F(FullRun, EndsIt)
{
    // The file can be made and not written.
    host.SimpleRoom();
    std::ofstream("/run/filler") << std::string(4096, 'x');
    Start();
    ExpectExit(1);
    EXPECT_THAT(log_messages(), ElementsAre("Write file failed, file: /var/run/vkAppPost.pid,"
                                            " error: No space left on device\n",
                                            kStopLine));
}
