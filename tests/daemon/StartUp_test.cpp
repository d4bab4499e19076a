// Start-up, good and failing: what the log says to the letter, what the tray hears, how it ends.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace
{

const auto kBuildStamp = MatchesRegex("vkAppPost compile time: [A-Z][a-z][a-z] [ 1-3][0-9] "
                                      "[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\n");
const auto kSettingsLine = MatchesRegex("msg=[0-9]+ POST url=.*\n");
const auto kRequestQueueLine = MatchesRegex("msgget: m_msgCtrlid=[0-9]+\r\n");
constexpr char kSignalLine[] = "vkAppPost signal 35\r\n";
constexpr char kStopLine[] = "AppPost endProcMsg line=2390 \r\n";
constexpr char kExitLine[] = "vkAppPost exit\r\n";

class StartUp : public DaemonTest
{
protected:
    // Expects the end of a daemon that found itself unusable.
    void ExpectUnusable()
    {
        ExpectExit(0);
        EXPECT_THAT(tray.Reports(), ElementsAre(Pair(1, 0)));
    }

    // The same with a library that cannot be used, and how often it was released.
    void ExpectUseless(const char* library, const char* released)
    {
        host.SimpleRoom();
        host.UseLibrary(library);
        Start();
        ExpectUnusable();
        EXPECT_EQ(read_file(host.File("released")), released);
    }

    // The whole log of a daemon whose manager is null.
    void ExpectLogOfNoManager()
    {
        EXPECT_THAT(log_messages(),
                    ElementsAre(kBuildStamp, kSignalLine, kSettingsLine, "libDb.mngr==NULL\r\n",
                                "pDb err\r\n", kRequestQueueLine, kStopLine, kExitLine, kStopLine));
    }

    // The whole log of a daemon whose data database is no use.
    void ExpectLogOfNoDatabase()
    {
        EXPECT_THAT(log_messages(),
                    ElementsAre(kBuildStamp, kSignalLine, kSettingsLine, "pDb err\r\n",
                                kRequestQueueLine, kStopLine, kExitLine, kStopLine));
    }
};

} // namespace

// --- Good --------------------------------------------------------------------------------------

TEST_F(StartUp, LogTellsTheStartToTheLetter)
{
    // From the build stamp to the first step of the sweep.
    host.Post("AlmUrl", "http://127.0.0.1:9/alarm");
    StartSimpleRoom();
    const std::vector<std::string> log = log_messages();
    ASSERT_GE(log.size(), 14U);
    EXPECT_THAT(std::vector<std::string>(log.begin(), log.begin() + 4),
                ElementsAre(kBuildStamp, kSignalLine,
                            MatchesRegex("msg=[0-9]+ POST url=" + receiver.Url() +
                                         " almurl=http://127.0.0.1:9/alarm dept=xxx timeout=15s"
                                         " delay=100000000ms encoding=UTF-8\n"),
                            kRequestQueueLine));
    EXPECT_THAT(std::vector<std::string>(log.begin() + 4, log.begin() + 14),
                ElementsAre("[CAppPost::GetTbls] Read Tables\n", "   tbSubSysDetail...is detail\n",
                            "   tbDio...is detail\n", "   sid,name=7,Dev7\n",
                            "[CAppPost::GetTbls] table size: 1\n",
                            "[CAppPost::GetTbls] Read SID with table name\n",
                            "   table: sid,name,table=7,Dev7,tbDev\n",
                            "[CAppPost::GetTbls] Read DI\n", "[CAppPost::GetTbls] Read Camera\n",
                            "PostNormal...\n"));
}

TEST_F(StartUp, LogTellsTheSweepToTheLetter)
{
    // The device's post, then the other steps in their order, then the host's own post.
    StartSimpleRoom();
    receiver.Body(1);
    ASSERT_TRUE(wait_until([] { return count_logged(" rec-0=1 (0)\n") == 2; }));
    const std::vector<std::string> log = log_messages();
    ASSERT_EQ(log.size(), 27U);
    const std::string body = kDevice7Body;
    EXPECT_THAT(std::vector<std::string>(log.begin() + 13, log.end()),
                ElementsAre("PostNormal...\n", "   tbDev...\n", "   DoPost...\n",
                            "   DoPost Msg: " + body + "\n", "OnPost... ok\n", " rec-0=1 (0)\n",
                            "PostGeneral...\n", "PostDio...\n", "PostCam...\n", "PostOther...\n",
                            "   DoPost...\n", StartsWith("   DoPost Msg: suid=xxx&sid=0&"),
                            "OnPost... ok\n", " rec-0=1 (0)\n"));
}

TEST_F(StartUp, LogLinesAreNumberedFromZero)
{
    // The key of an entry is its number since the start.
    StartSimpleRoom();
    const std::vector<LogEntry> entries = log_entries();
    for (size_t i = 0; i < entries.size(); ++i)
    {
        EXPECT_EQ(entries[i].key, i);
        EXPECT_EQ(entries[i].tag, "RtLog");
    }
}

TEST_F(StartUp, TrayHearsTheStartThenTicks)
{
    // (1,1) once, then one tick for each query, body and step of the sweep: 13 in this room.
    StartSimpleRoom();
    std::vector<TrayReport> reports = tray.WaitReports(14);
    ASSERT_THAT(reports, SizeIs(14));
    EXPECT_EQ(reports.front(), TrayReport(1, 1));
    reports.erase(reports.begin());
    EXPECT_THAT(reports, Each(Pair(0, 1)));
}

TEST_F(StartUp, PidFileHoldsTheNumberAndNothingElse)
{
    // No newline, no terminator.
    StartSimpleRoom();
    EXPECT_EQ(read_file("/run/vkAppPost.pid"), std::to_string(daemon.Pid()));
}

TEST_F(StartUp, LastLogGoesAndItsBackupStays)
{
    // Every start begins a new log; what was rotated away before is kept.
    write_file(kLogPath, "lines of the last run\n");
    write_file(std::string(kLogPath) + ".bak", "lines before\n");
    StartSimpleRoom();
    EXPECT_THAT(read_file(kLogPath), StartsWith("0=[RtLog]["));
    EXPECT_EQ(read_file(std::string(kLogPath) + ".bak"), "lines before\n");
}

TEST_F(StartUp, UrlListsAreReadUpToMaxUrls)
{
    // Each numbered key is logged, also without a value.
    host.Post("maxURLs", "3");
    host.Post("Url2", receiver.Url("/second"));
    StartSimpleRoom();
    EXPECT_EQ(receiver.Body(0, "/second"), kDevice7Body);
    const std::vector<std::string> log = log_messages();
    EXPECT_THAT(std::vector<std::string>(log.begin() + 3, log.begin() + 7),
                ElementsAre("Url1= \n", "AlmUrl1= \n", "Url2=" + receiver.Url("/second") + " \n",
                            "AlmUrl2= \n"));
}

TEST_F(StartUp, NumberedUrlsAreIgnoredWithoutMaxUrls)
{
    // One is the default: only Url counts then.
    host.Post("Url1", receiver.Url("/second"));
    StartSimpleRoom();
    receiver.Body(1);
    EXPECT_THAT(receiver.Bodies("/second"), IsEmpty());
}

TEST_F(StartUp, AlarmUrlAloneIsEnough)
{
    // Nothing can be posted but alarms, and the daemon runs.
    host.SimpleRoom();
    host.Post("Url", "");
    host.Post("AlmUrl", receiver.Url("/alarm"));
    Start();
    ASSERT_TRUE(wait_logged("PostOther...\n"));
    EXPECT_EQ(tray.WaitReports(1).at(0), TrayReport(1, 1));
    EXPECT_FALSE(has_logged("DoPost Msg"));
}

TEST_F(StartUp, MissingAlarmDatabaseIsNoReasonToStop)
{
    // It is not looked at; readings are posted.
    host.SimpleRoom();
    std::filesystem::remove(host.File("tmp/dbData.db3"));
    Start();
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
    EXPECT_FALSE(has_logged("pDb err"));
}

TEST_F(StartUp, AlarmSignalDuringStartUpIsHarmless)
{
    // The configuration is a pipe that nobody has written yet, so the signal finds the daemon in
    // the middle of its start.
    host.SimpleRoom();
    host.WriteIni();
    const std::string ini = read_file(host.File("vkApp.ini"));
    std::filesystem::remove(host.File("vkApp.ini"));
    ASSERT_EQ(mkfifo(host.File("vkApp.ini").c_str(), 0600), 0);
    daemon.Start(host.Path());
    ASSERT_TRUE(wait_logged(kSignalLine));
    for (int i = 0; i < 5; ++i)
    {
        daemon.Signal(SIGRTMIN + 1);
    }
    std::ofstream(host.File("vkApp.ini")) << ini;
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
}

// --- Failing -----------------------------------------------------------------------------------

TEST_F(StartUp, MissingConfigurationEndsIt)
{
    // All settings at their defaults: there is no URL to post to.
    host.SimpleRoom();
    daemon.Start(host.Path());
    ExpectUnusable();
    EXPECT_THAT(
        log_messages(),
        ElementsAre(kBuildStamp, kSignalLine,
                    MatchesRegex("msg=[0-9]+ POST url= almurl= dept=xxx timeout=15s delay=5000ms"
                                 " encoding=UTF-8\n"),
                    kRequestQueueLine, kStopLine, kExitLine, kStopLine));
}

TEST_F(StartUp, MissingLibraryEndsIt)
{
    // The loader's own words are in the log.
    host.SimpleRoom();
    std::filesystem::remove(host.File("libvkdb.so"));
    Start();
    ExpectUnusable();
    EXPECT_THAT(log_messages(),
                ElementsAre(kBuildStamp, kSignalLine, kSettingsLine,
                            "dlopen ./libvkdb.so error:./libvkdb.so: cannot open shared object"
                            " file: No such file or directory\r\n",
                            kRequestQueueLine, kStopLine, kExitLine, kStopLine));
}

TEST_F(StartUp, LibraryThatIsNoLibraryEndsIt)
{
    // A file of another kind stands in its place.
    host.SimpleRoom();
    host.UseLibrary(host.File("other"));
    write_file(host.File("other"), std::string(5000, 'x'));
    Start();
    ExpectUnusable();
    EXPECT_TRUE(has_logged("dlopen ./libvkdb.so error:./libvkdb.so: invalid ELF header\r\n"));
}

TEST_F(StartUp, LibraryWithoutItsFunctionsEndsIt)
{
    // There is no release function to call either.
    ExpectUseless(VK_STUB_EMPTY, "");
    ExpectLogOfNoManager();
}

TEST_F(StartUp, LibraryWithoutReleaseFunctionEndsIt)
{
    // The manager is not even asked for.
    ExpectUseless(VK_STUB_NO_RELEASE, "");
    ExpectLogOfNoManager();
}

TEST_F(StartUp, NoManagerEndsIt)
{
    // The library is released once although it gave nothing.
    ExpectUseless(VK_STUB_NO_MANAGER, "r");
    ExpectLogOfNoManager();
}

TEST_F(StartUp, NoDatabaseObjectEndsIt)
{
    // Released twice, the second time after the library was unloaded.
    ExpectUseless(VK_STUB_NO_DATABASE, "rr");
    ExpectLogOfNoDatabase();
}

TEST_F(StartUp, DatabaseThatCannotBeOpenedEndsIt)
{
    // The object is there, its test fails; released twice as well.
    ExpectUseless(VK_STUB_NOT_OPEN, "rr");
    ExpectLogOfNoDatabase();
}

TEST_F(StartUp, MissingDataDatabaseEndsIt)
{
    // And it is not made.
    host.SimpleRoom();
    std::filesystem::remove(host.File("tmp/dbDat0.db3"));
    Start();
    ExpectUnusable();
    ExpectLogOfNoDatabase();
    EXPECT_FALSE(std::filesystem::exists(host.File("tmp/dbDat0.db3")));
}

TEST_F(StartUp, DataDatabaseThatIsNoneEndsIt)
{
    // Another file under its name.
    host.SimpleRoom();
    write_file(host.File("tmp/dbDat0.db3"), std::string(5000, 'x'));
    Start();
    ExpectUnusable();
    ExpectLogOfNoDatabase();
}

TEST_F(StartUp, FailedStartTakesItsRequestQueueAway)
{
    // A request sent while nobody listens is lost; the tray's queue stays.
    host.SimpleRoom();
    send_request(7);
    daemon.Start(host.Path());
    ExpectUnusable();
    EXPECT_EQ(waiting_requests(), 0U);
}

// --- Where the log goes --------------------------------------------------------------------------

namespace
{

using LogTarget = StartUp;

class LogFile : public StartUp, public ::testing::WithParamInterface<const char*>
{
};

class LogConsole : public StartUp, public ::testing::WithParamInterface<const char*>
{
};

} // namespace

TEST_P(LogFile, TakesTheLinesUnderRtLog)
{
    // Whatever VKLOG says that has no meaning of its own, the empty text included.
    daemon.Env("VKLOG", GetParam());
    daemon.Start(host.Path());
    ExpectExit(0);
    const std::vector<LogEntry> entries = log_entries();
    ASSERT_THAT(entries, Not(IsEmpty()));
    EXPECT_EQ(entries.front().tag, "RtLog");
    EXPECT_THAT(daemon.Stdout(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Value, LogFile, ::testing::Values("", "RtLog", "rtlog", "printf"));

TEST_P(LogConsole, TakesTheLinesAndLeavesTheFileAlone)
{
    // Each line behind the prefix.
    daemon.Env("VKLOG", GetParam());
    daemon.Start(host.Path());
    ExpectExit(0);
    EXPECT_FALSE(std::filesystem::exists(kLogPath));
    EXPECT_THAT(daemon.Stdout(), StartsWith("[vkapppost] vkAppPost compile time: "));
    EXPECT_THAT(daemon.Stdout(), HasSubstr("\n[vkapppost] vkAppPost exit\r\n[vkapppost] AppPost "));
}

INSTANTIATE_TEST_SUITE_P(Value, LogConsole, ::testing::Values("Printf", "vkapppost"));

TEST_F(LogTarget, ExpLogChangesTheTagOnly)
{
    // The lines go to the same file.
    daemon.Env("VKLOG", "ExpLog");
    StartSimpleRoom();
    for (const LogEntry& entry : log_entries())
    {
        EXPECT_EQ(entry.tag, "ExpLog");
    }
}

TEST_F(LogTarget, MissingDirectoryIsBorneInSilence)
{
    // There is nowhere to say so; the readings leave all the same.
    std::filesystem::remove_all("/NandFlash/tmp");
    StartSimpleRoom();
    EXPECT_FALSE(std::filesystem::exists("/NandFlash/tmp"));
}
