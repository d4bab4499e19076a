// Start-up under odd conditions: what a parent left behind, signals that come early, a
// configuration that cannot be read, a library that throws, memory that runs out.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sys/resource.h>
#include <unistd.h>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::Pair;

namespace
{

constexpr char kPidFile[] = "/run/vkAppPost.pid";
constexpr char kStopLine[] = "AppPost endProcMsg line=2390 \r\n";
constexpr char kExitLine[] = "vkAppPost exit\r\n";
constexpr char kSignalLine[] = "vkAppPost signal 35\r\n";
const auto kBuildStamp = MatchesRegex("vkAppPost compile time: .*\n");
const auto kSettingsLine = MatchesRegex("msg=[0-9]+ POST url=.*\n");
const auto kRequestQueueLine = MatchesRegex("msgget: m_msgCtrlid=[0-9]+\r\n");

class StartUpTrouble : public DaemonTest
{
protected:
    void Preload(const char* library)
    {
        daemon.Env("LD_PRELOAD", library);
        daemon.Env("ASAN_OPTIONS", "verify_asan_link_order=0");
    }

    // Expects the end of a daemon that found itself unusable.
    void ExpectUnusable()
    {
        ExpectExit(0);
        EXPECT_THAT(tray.Reports(), ElementsAre(Pair(1, 0)));
    }

    // A configuration of some 68 kB, read in several pieces, with the URL in the last one.
    void StartWithALongConfiguration()
    {
        host.SimpleRoom();
        for (int i = 0; i < 2000; ++i)
        {
            host.Ini("A" + std::to_string(i), "a key that means", "nothing");
        }
        Start();
    }
};

void block(int sig)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, sig);
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

} // namespace

// --- What a parent left behind -------------------------------------------------------------------

TEST_F(StartUpTrouble, BlockedAlarmSignalIsHeard)
{
    // A parent that handles it itself may have blocked it for the programs that it starts.
    daemon.Before([] { block(SIGRTMIN + 1); });
    StartSimpleRoom();
    receiver.Body(1);
    daemon.Signal(SIGRTMIN + 1);
    EXPECT_TRUE(wait_logged("_OnAlmIns: 35\r\n"));
}

TEST_F(StartUpTrouble, BlockedTermEndsItAllTheSame)
{
    // Or a service could not be stopped.
    daemon.Before([] { block(SIGTERM); });
    StartSimpleRoom();
    daemon.Signal(SIGTERM);
    ExpectExit(1000 + SIGTERM);
}

TEST_F(StartUpTrouble, PidFileIsNeverStandardOutput)
{
    // With the log on a standard output that was closed.
    daemon.Env("VKLOG", "Printf");
    daemon.Before([] { close(STDOUT_FILENO); });
    daemon.Start(host.Path());
    ExpectExit(0);
    EXPECT_EQ(read_file(kPidFile), std::to_string(daemon.Pid()));
}

TEST_F(StartUpTrouble, LimitOfFileSizeCostsLogLinesOnly)
{
    // The signal of that limit would end it at its second line.
    daemon.Before(
        []
        {
            const rlimit small{200, 200};
            setrlimit(RLIMIT_FSIZE, &small);
        });
    StartSimpleRoom();
    EXPECT_EQ(receiver.WaitBodies(2).size(), 2U);
    EXPECT_LE(read_file(kLogPath).size(), 200U);
}

TEST_F(StartUpTrouble, HangUpEndsIt)
{
    // As every signal does that it has no use for.
    StartSimpleRoom();
    daemon.Signal(SIGHUP);
    ExpectExit(1000 + SIGHUP);
}

TEST_F(StartUpTrouble, HangUpIsIgnoredUnderNohup)
{
    // Whoever ignores it for the daemon knows why.
    daemon.Before([] { std::signal(SIGHUP, SIG_IGN); });
    StartSimpleRoom();
    receiver.Body(1);
    daemon.Signal(SIGHUP);
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

TEST_F(StartUpTrouble, BrokenPipeEndsNothing)
{
    // Whoever reads its standard output may go away. This test's own server ignores the signal.
    daemon.Before([] { std::signal(SIGPIPE, SIG_DFL); });
    StartSimpleRoom();
    receiver.Body(1);
    daemon.Signal(SIGPIPE);
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

// --- The alarm signal ----------------------------------------------------------------------------

TEST_F(StartUpTrouble, AlarmSignalRightBehindThePidIsBorne)
{
    // Before its handler stands; the alarm goes with the next signal.
    Preload(VK_ALARM_TROUBLE);
    daemon.Env("VK_ALARM_BEHIND_PID", "1");
    StartSimpleRoom();
    EXPECT_TRUE(has_logged(kSignalLine));
}

TEST_F(StartUpTrouble, WithoutAHandlerAlarmSignalsAreIgnored)
{
    // It says so and goes on; the signal does not end it.
    Preload(VK_ALARM_TROUBLE);
    daemon.Env("VK_NO_ALARM_HANDLER", "1");
    StartSimpleRoom();
    receiver.Body(1);
    EXPECT_TRUE(has_logged("vkAppPost signal err\r\n"));
    EXPECT_FALSE(has_logged(kSignalLine));
    daemon.Signal(SIGRTMIN + 1);
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
    EXPECT_FALSE(has_logged("_OnAlmIns"));
}

// --- The configuration ---------------------------------------------------------------------------

TEST_F(StartUpTrouble, FailedReadOfTheConfigurationIsMadeUpFor)
{
    // An I/O error that passes; the settings behind it are read.
    Preload(VK_READ_TROUBLE);
    daemon.Env("VK_FAILING_READS", "2");
    StartWithALongConfiguration();
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
    EXPECT_FALSE(has_logged("cannot be read"));
}

TEST_F(StartUpTrouble, ConfigurationThatStaysUnreadableEndsIt)
{
    // Half of it is not taken for the whole.
    Preload(VK_READ_TROUBLE);
    daemon.Env("VK_FAILING_READS", "1000");
    StartWithALongConfiguration();
    ExpectUnusable();
    EXPECT_THAT(log_messages(),
                ElementsAre(kBuildStamp, kSignalLine,
                            "vkApp.ini cannot be read: Input/output error\r\n", kSettingsLine,
                            kRequestQueueLine, kStopLine, kExitLine, kStopLine));
}

// --- The database library ------------------------------------------------------------------------

TEST_F(StartUpTrouble, LibraryThatThrowsEverywhereEndsIt)
{
    // Its manager's function and its release function.
    host.SimpleRoom();
    host.UseLibrary(VK_STUB_THROWS);
    Start();
    ExpectUnusable();
    EXPECT_EQ(read_file(host.File("released")), "r");
    EXPECT_THAT(log_messages(),
                ElementsAre(kBuildStamp, kSignalLine, kSettingsLine, "libDb.mngr==NULL\r\n",
                            "pDb err\r\n", kRequestQueueLine, kStopLine, kExitLine, kStopLine));
}

TEST_F(StartUpTrouble, DatabaseWhoseTestThrowsEndsIt)
{
    // The release function throws as well, both times.
    host.SimpleRoom();
    host.UseLibrary(VK_STUB_OPEN_THROWS);
    Start();
    ExpectUnusable();
    EXPECT_EQ(read_file(host.File("released")), "rr");
    EXPECT_THAT(log_messages(), Contains("pDb err\r\n"));
}
