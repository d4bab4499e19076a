// What vkctl says of a daemon that lives, hangs or is gone, and whom it does not signal.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/daemon/support/Command.h"

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

using Companion = DaemonTest;

TEST_F(Companion, TrayTellsThatTheDaemonLives)
{
    StartSimpleRoom();
    const CommandResult result = run_vkctl({"tray"});
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_THAT(result.err, ContainsRegex("the daemon, process " + std::to_string(daemon.Pid()) +
                                          ", runs; its last report came [0-9]+ s ago\n"));
}

TEST_F(Companion, StoppedDaemonIsToldWithItsOwnStatus)
{
    // Requests wait in the queue, and whoever asked knows that they do.
    StartSimpleRoom();
    daemon.Signal(SIGSTOP);
    const std::string who = "the daemon, process " + std::to_string(daemon.Pid());
    const CommandResult tray_result = run_vkctl({"tray"});
    EXPECT_EQ(tray_result.exit_status, 75);
    EXPECT_THAT(tray_result.err, HasSubstr(who + ", is stopped (kill -CONT lets it go on)\n"));
    const CommandResult post = run_vkctl({"post", "7"});
    EXPECT_EQ(post.exit_status, 75);
    EXPECT_THAT(post.err, HasSubstr("; the requests wait in its queue\n"));
    EXPECT_EQ(waiting_requests(), 1U);
    daemon.Signal(SIGCONT);
}

TEST_F(Companion, DaemonThatIsGoneIsToldAndAskedNothing)
{
    // Its pid file and its queues are still there.
    StartSimpleRoom();
    daemon.Kill();
    const CommandResult post = run_vkctl({"post", "7"});
    EXPECT_EQ(post.exit_status, 69);
    EXPECT_EQ(post.err, "vkctl: no daemon runs: no process holds the lock on "
                        "/var/run/vkAppPost.pid; nothing was requested\n");
    EXPECT_EQ(waiting_requests(), 0U);
    EXPECT_EQ(run_vkctl({"tray"}).exit_status, 69);
    ExpectExit(1000 + 9);
}

TEST_F(Companion, AlarmDoesNotSignalAStranger)
{
    // The signal would end it, and no alarm is written either.
    StartSimpleRoom();
    const pid_t stranger = fork();
    if (stranger == 0)
    {
        _exit(pause());
    }
    const CommandResult result =
        run_vkctl({"alarm", host.Path(), "--pid", std::to_string(stranger)});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.err, HasSubstr("process " + std::to_string(stranger) +
                                      " is no daemon: it runs vk_preview_tests; it was not "
                                      "signalled\n"));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(waitpid(stranger, nullptr, WNOHANG), 0);
    kill(stranger, SIGKILL);
    waitpid(stranger, nullptr, 0);
}
