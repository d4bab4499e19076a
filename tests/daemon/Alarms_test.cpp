// Alarms: posted at once on the signal, to every alarm URL, oldest first, and marked as sent.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "tests/daemon/support/Certificates.h"
#include "tests/daemon/support/RawServer.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

namespace
{

constexpr char kAlarms[] = "/alarm";
constexpr char kEnd[] = "CAppPost::OnAlmIns end\r\n";

// The body of host.Alarm(did, 7, title).
std::string alarm_body(const std::string& title)
{
    return "suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4&dtupd=2024-05-01 12:30:00"
           "&state=1&level=重要&title=" +
           title + "&suggestion=&location=&datainfo=&recovertime=&AlmImg=";
}

class Alarms : public DaemonTest
{
protected:
    Alarms()
    {
        host.Post("maxURLs", "2");
        host.Post("AlmUrl", receiver.Url(kAlarms));
    }

    // Starts a simple room and waits until its first sweep is over.
    void StartQuiet()
    {
        StartSimpleRoom();
        receiver.Body(1);
        ASSERT_TRUE(wait_until([] { return count_logged(" rec-0=1 (0)\n") == 2; }));
    }

    // Tells the daemon, and waits until it has looked through the alarms.
    void Signal()
    {
        const size_t before = count_logged(kEnd);
        daemon.Signal(SIGRTMIN + 1);
        EXPECT_TRUE(wait_until([&] { return count_logged(kEnd) > before; }));
    }

    // The numbers of the alarms that are marked as sent.
    std::string Marked() const
    {
        return host.AlarmValue("select group_concat(DID) from (select DID from tbSMAlarm"
                               " where AFld=1 order by DID)");
    }
};

} // namespace

// --- Bodies ------------------------------------------------------------------------------------

TEST_F(Alarms, AlarmIsPostedAndMarked)
{
    // Head, then the alarm's own fields.
    StartQuiet();
    host.Alarm(1, 7, "too hot");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(alarm_body("too hot")));
    EXPECT_EQ(Marked(), "1");
}

TEST_F(Alarms, HostWithoutADeviceTableKnowsItsNamesAfterTheFirstTry)
{
    // Discovery goes on trying for 100 seconds.
    host.EmptyRoom();
    host.Data("insert into tbSM(SID,Name) values(7,'Dev7')");
    host.Alarm(1, 7, "too hot");
    Start();
    ASSERT_TRUE(wait_logged("Read Tables Error! Try Count: 1\n"));
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(alarm_body("too hot")));
}

TEST_F(Alarms, RequestIsTakenBetweenTwoAlarmsOfASlowServer)
{
    // It comes while the server keeps the first alarm waiting, and does not wait for the last one.
    StartQuiet();
    host.Alarm(1, 7, "too hot");
    host.Alarm(2, 7, "too cold");
    receiver.Hold(kAlarms);
    daemon.Signal(SIGRTMIN + 1);
    receiver.Body(0, kAlarms);
    send_request(7);
    receiver.Release(kAlarms);
    ASSERT_TRUE(wait_logged(kEnd));
    const std::string log = read_file(kLogPath);
    EXPECT_LT(log.find("ProcMsg line=2735"), log.find("title=too cold"));
    EXPECT_EQ(Marked(), "1,2");
}

TEST_F(Alarms, LogTellsTheRunToTheLetter)
{
    // From the signal to the end.
    StartQuiet();
    host.Alarm(1, 7, "too hot");
    const size_t before = log_messages().size();
    Signal();
    std::vector<std::string> log = log_messages();
    log.erase(log.begin(), log.begin() + static_cast<ptrdiff_t>(before));
    EXPECT_THAT(log,
                ElementsAre("_OnAlmIns: 35\r\n", "CAppPost::OnAlmIns DID: 1\r\n", "   DoPost...\n",
                            "   DoPost Msg: " + alarm_body("too hot") + "\n", "OnPost... ok\n",
                            " rec-0=1 (0)\n",
                            "CAppPost::OnAlmIns post " + receiver.Url(kAlarms) + " ok\r\n", kEnd));
}

TEST_F(Alarms, ClearedAlarmSaysWhen)
{
    // Bit 4: the text of state 3, and the time of recovery.
    host.Post("State3", "over");
    StartQuiet();
    host.Alarm(1, 7, "too hot", 5);
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms),
              "suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4&dtupd=2024-05-01 12:30:00"
              "&state=over&level=重要&title=too hot&suggestion=&location=&datainfo="
              "&recovertime=2024-05-01 12:30:00&AlmImg=");
}

TEST_F(Alarms, ChannelsAndPictureAreNamed)
{
    // Each word behind a blank.
    StartQuiet();
    host.Alarm(1, 7, "too hot");
    host.Alarms("update tbSMAlarm set AlmMask=65,AlmImg='a.jpg'");
    Signal();
    EXPECT_THAT(receiver.Body(0, kAlarms),
                HasSubstr("&title=too hot&suggestion= 声光 POST&location="
                          "&datainfo=&recovertime=&AlmImg=a.jpg"));
}

TEST_F(Alarms, TitleTellsTheClassAndNotTheLevel)
{
    // An alarm of class 9 about a door counts as class 11, and keeps its level.
    StartQuiet();
    host.Alarm(1, 7, "前门打开", 1, 0x0900);
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms),
              "suid=xxx&sid=7&stype=2304&stag1=0&sname=Dev7&subsys=11&dtupd=2024-05-01 12:30:00"
              "&state=1&level=次要&title=前门打开&suggestion=&location=&datainfo="
              "&recovertime=&AlmImg=");
}

TEST_F(Alarms, UnknownDeviceHasNoName)
{
    // Posted all the same.
    StartQuiet();
    host.Alarm(1, 4711, "too hot");
    Signal();
    EXPECT_THAT(receiver.Body(0, kAlarms),
                HasSubstr("&sid=4711&stype=1024&stag1=0&sname=&subsys=4"));
}

// --- Order and marks -----------------------------------------------------------------------------

TEST_F(Alarms, OldestComesFirst)
{
    // By number, whatever the order in the table.
    StartQuiet();
    host.Alarm(7, 7, "seven");
    host.Alarm(3, 7, "three");
    host.Alarm(5, 7, "five");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms),
                ElementsAre(alarm_body("three"), alarm_body("five"), alarm_body("seven")));
    EXPECT_EQ(Marked(), "3,5,7");
}

TEST_F(Alarms, EveryAlarmUrlGetsEveryAlarm)
{
    // One after the other.
    host.Post("AlmUrl1", receiver.Url("/second"));
    StartQuiet();
    host.Alarm(1, 7, "one");
    host.Alarm(2, 7, "two");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(alarm_body("one"), alarm_body("two")));
    EXPECT_THAT(receiver.Bodies("/second"), ElementsAre(alarm_body("one"), alarm_body("two")));
}

TEST_F(Alarms, AlarmIsOfferedOnce)
{
    // The next signal finds nothing new.
    StartQuiet();
    host.Alarm(1, 7, "one");
    Signal();
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), SizeIs(1));
}

TEST_F(Alarms, MarkedAlarmsAreLeftAlone)
{
    // Marks below 1 count as none.
    StartQuiet();
    host.Alarm(1, 7, "sent");
    host.Alarms("update tbSMAlarm set AFld=1");
    host.Alarm(2, 7, "zero");
    host.Alarms("update tbSMAlarm set AFld=0 where DID=2");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(alarm_body("zero")));
}

TEST_F(Alarms, WithoutUrlListTheyAreMarkedAndNotPosted)
{
    // maxURLs 1: AlmUrl only decides whether the routine runs at all.
    host.Post("maxURLs", "1");
    StartQuiet();
    host.Alarm(1, 7, "one");
    host.Alarm(2, 7, "two");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), IsEmpty());
    EXPECT_EQ(Marked(), "1,2");
    EXPECT_TRUE(has_logged("CAppPost::OnAlmIns DID: 2\r\n"));
}

TEST_F(Alarms, WithoutAlarmUrlTheyStayUnsent)
{
    // Nothing but the signal itself is logged.
    host.Post("AlmUrl", "");
    StartQuiet();
    host.Alarm(1, 7, "one");
    daemon.Signal(SIGRTMIN + 1);
    EXPECT_TRUE(wait_logged("_OnAlmIns: 35\r\n"));
    send_request(7); // served after the signal was
    receiver.Body(2);
    EXPECT_EQ(Marked(), "");
    EXPECT_FALSE(has_logged("CAppPost::OnAlmIns"));
}

TEST_F(Alarms, FailedPostsAreMarkedAllTheSame)
{
    // Each alarm is offered exactly once, whatever becomes of it.
    const CNobody nobody;
    host.Post("AlmUrl", nobody.Url());
    StartQuiet();
    host.Alarm(1, 7, "one");
    host.Alarm(2, 7, "two");
    Signal();
    EXPECT_EQ(Marked(), "1,2");
    EXPECT_EQ(count_logged(" rec-0=1 (7)\n"), 2U);
    EXPECT_EQ(count_logged("CAppPost::OnAlmIns post " + nobody.Url() + " ok\r\n"), 2U);
}

TEST_F(Alarms, AlarmThatCannotBeMarkedEndsTheRun)
{
    // The database refuses the mark; the next signal offers the alarm again.
    StartQuiet();
    host.Alarm(1, 7, "one");
    host.Alarms("create trigger refuse before update on tbSMAlarm begin select"
                " raise(abort,'no marks today'); end");
    Signal();
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), ElementsAre(alarm_body("one"), alarm_body("one")));
    EXPECT_EQ(count_logged("[CAppPost::OnAlmIns] db exception: 19 no marks today\r\n"), 2U);
}

TEST_F(Alarms, TheyLeaveThroughHttps)
{
    // With the certificate of the right authority.
    CAuthority ours(host.Path(), "ours");
    CReceiver secure(ours.Issue("IP:127.0.0.1"));
    host.Post("CA", ours.CertificateFile());
    host.Post("AlmUrl", secure.Url(kAlarms));
    StartQuiet();
    host.Alarm(1, 7, "one");
    Signal();
    EXPECT_THAT(secure.Bodies(kAlarms), ElementsAre(alarm_body("one")));
}

TEST_F(Alarms, TheyLeaveInTheConfiguredEncoding)
{
    // As readings do.
    host.Post("Encoding", "GBK");
    StartQuiet();
    host.Alarm(1, 7, "温度");
    Signal();
    EXPECT_THAT(receiver.Body(0, kAlarms),
                HasSubstr("&level=\xD6\xD8\xD2\xAA&title=\xCE\xC2\xB6\xC8&"));
}

// --- At an odd moment ----------------------------------------------------------------------------

TEST_F(Alarms, SweepUnderWayDoesNotHoldThemUp)
{
    // The device's post waits for its server; the alarm arrives meanwhile.
    receiver.Hold("/post");
    StartSimpleRoom();
    host.Alarm(1, 7, "one");
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms), alarm_body("one"));
    receiver.Release("/post");
    EXPECT_THAT(receiver.WaitBodies(2),
                ElementsAre(kDevice7Body, MatchesRegex(kHostStatusPattern)));
}

TEST_F(Alarms, AlarmDuringStartUpIsPostedOnceStarted)
{
    // The configuration is a pipe that nobody has written yet when the signal comes. Names may
    // not be known yet when the alarm leaves.
    host.SimpleRoom();
    host.Alarm(1, 7, "early");
    host.WriteIni();
    const std::string ini = read_file(host.File("vkApp.ini"));
    std::filesystem::remove(host.File("vkApp.ini"));
    ASSERT_EQ(mkfifo(host.File("vkApp.ini").c_str(), 0600), 0);
    daemon.Start(host.Path());
    ASSERT_TRUE(wait_logged("vkAppPost signal 35\r\n"));
    daemon.Signal(SIGRTMIN + 1);
    std::ofstream(host.File("vkApp.ini")) << ini;
    EXPECT_THAT(receiver.Body(0, kAlarms),
                MatchesRegex("suid=xxx&sid=7&stype=1024&stag1=0&sname=(Dev7)?&subsys=4&.*"
                             "&title=early&.*"));
    EXPECT_TRUE(wait_until([&] { return Marked() == "1"; }));
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms), SizeIs(1));
}

TEST_F(Alarms, ManySignalsLoseAndDoubleNothing)
{
    // Twenty alarms with ten signals each, into sweeps that follow each other.
    host.Post("Delay", "0");
    StartSimpleRoom();
    std::vector<std::string> expected;
    for (int did = 1; did <= 20; ++did)
    {
        host.Alarm(did, 7, "alarm " + std::to_string(did));
        expected.push_back(alarm_body("alarm " + std::to_string(did)));
        for (int i = 0; i < 10; ++i)
        {
            daemon.Signal(SIGRTMIN + 1);
        }
    }
    EXPECT_EQ(receiver.WaitBodies(20, kAlarms), expected);
}

// --- Trouble -------------------------------------------------------------------------------------

TEST_F(Alarms, MissingDatabaseIsBorne)
{
    // Readings leave before and after.
    host.SimpleRoom();
    std::filesystem::remove(host.File("tmp/dbData.db3"));
    Start();
    receiver.Body(1);
    daemon.Signal(SIGRTMIN + 1);
    EXPECT_TRUE(wait_logged("_OnAlmIns: 35\r\n"));
    send_request(7);
    EXPECT_EQ(receiver.Body(2), kDevice7Body);
}

TEST_F(Alarms, MissingTableIsLogged)
{
    // With SQLite's own words.
    StartQuiet();
    host.Alarms("drop table tbSMAlarm");
    Signal();
    EXPECT_THAT(
        log_messages(),
        Contains("[CAppPost::OnAlmIns] db exception: 1 no such table: tbSMAlarm\r\n").Times(1));
}

TEST_F(Alarms, HugeTextsAreLeftOutAlone)
{
    // The body holds 2048 bytes; the next alarm follows.
    StartQuiet();
    host.Alarm(1, 7, std::string(100'000, 't'));
    host.Alarms("update tbSMAlarm set AlmImg=" + sql_text(std::string(100'000, 'i')));
    host.Alarm(2, 7, "next");
    Signal();
    EXPECT_THAT(receiver.Bodies(kAlarms),
                ElementsAre("suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4"
                            "&dtupd=2024-05-01 12:30:00&state=1&level=重要&suggestion=&location="
                            "&datainfo=&recovertime=",
                            alarm_body("next")));
    EXPECT_TRUE(has_logged("   sid=7: body of 2048 bytes is full, left out 2: title, AlmImg\n"));
}

TEST_F(Alarms, HugeTimeIsLeftOutTwice)
{
    // Once in the head, once as the time of recovery.
    StartQuiet();
    host.Alarm(1, 7, "one", 4);
    host.Alarms("update tbSMAlarm set LastUpd=" + sql_text(std::string(100'000, '2')));
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms),
              "suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4&state=3&level=重要&title=one"
              "&suggestion=&location=&datainfo=&AlmImg=");
}

TEST_F(Alarms, FormatsInTextsStayText)
{
    // Nor is an ampersand escaped.
    StartQuiet();
    host.Alarm(1, 7, "%n%s&a=b");
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms), alarm_body("%n%s&a=b"));
}

TEST_F(Alarms, NullEverywhereReadsAsNothing)
{
    // And the row is marked by its number.
    StartQuiet();
    host.Alarms("insert into tbSMAlarm(DID) values(9)");
    Signal();
    EXPECT_EQ(receiver.Body(0, kAlarms),
              "suid=xxx&sid=0&stype=0&stag1=0&sname=&subsys=0&dtupd=&state=1&level=警告&title="
              "&suggestion=&location=&datainfo=&recovertime=&AlmImg=");
    EXPECT_EQ(Marked(), "9");
}
