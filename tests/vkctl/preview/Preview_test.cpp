// Which bodies a preview shows, in which order, and where they would go.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/base/CliError.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

using Preview = PreviewTest;

constexpr char kAlarmHead[] = "suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4"
                              "&dtupd=2024-05-01 12:30:00&state=1&level=重要&title=";
constexpr char kAlarmTail[] = "&suggestion=&location=&datainfo=&recovertime=&AlmImg=";

} // namespace

// --- Sweep ---------------------------------------------------------------------------------------

TEST_F(Preview, SweepShowsEveryKindInItsOrder)
{
    AllKinds();
    EXPECT_THAT(Names(vkctl::PreviewSelection()),
                ElementsAre("device 7 tbDev", "general 900 tbGen", "general 900 tbGen",
                            "input 21 tbSubSysDetail", "output 1 tbDio", "output 1 tbDio",
                            "output 1 tbDio", "camera 31 tbSM", "host 0 "));
}

TEST_F(Preview, DevicesComeByTheirSids)
{
    host.SimpleRoom();
    host.Table("tbAir", "V");
    host.Device(3, "Dev3", "tbAir", "2");
    host.Device(12, "Dev12", "tbDev", "4");
    EXPECT_THAT(Names(), ElementsAre("device 3 tbAir", "device 7 tbDev", "device 12 tbDev"));
}

TEST_F(Preview, BodiesAreTheDaemonsOwn)
{
    AllKinds();
    const Texts bodies = Bodies();
    ASSERT_EQ(bodies.size(), 8U);
    EXPECT_EQ(bodies[0], kDevice7Body);
    EXPECT_THAT(bodies[1], StartsWith("suid=xxx&sid=900&stype=40&stag1=0&sname=energy&subsys=0"));
    EXPECT_THAT(bodies[2], HasSubstr("&state=0&Item=Air&Value=7"));
    EXPECT_EQ(bodies[3], "suid=xxx&sid=21&stype=11&stag1=4&sname=In21&subsys=3"
                         "&dtupd=2024-05-01 11:00:00&state=1&psid=7&pfld=5");
    EXPECT_EQ(bodies[5], "suid=xxx&sid=1&stype=2&stag1=1&sname=DO1&subsys=0"
                         "&dtupd=2024-05-01 10:00:00&state=1&DoState=1");
    EXPECT_THAT(bodies[7], HasSubstr("&state=0&info=10.0.0.1,80"));
}

TEST_F(Preview, HostBodyEndsInTheHostsFigures)
{
    host.SimpleRoom();
    const auto bodies = Show(Only(BodyKind::kHost));
    ASSERT_EQ(bodies.size(), 1U);
    EXPECT_THAT(bodies[0].text, HasSubstr("&cpu1="));
    EXPECT_THAT(bodies[0].text, HasSubstr("&flashsize="));
}

TEST_F(Preview, DeviceOutOfServiceIsNotShown)
{
    host.SimpleRoom();
    host.Data("update tbDev set State=-1");
    EXPECT_THAT(Bodies(), IsEmpty());
}

TEST_F(Preview, SidInTwoTablesIsShownFromTheLaterOne)
{
    host.SimpleRoom();
    host.Table("tbLater", "W");
    host.Data("insert into tbLater values(7,5,1,1,0,0,'2024-05-01 12:00:00','',9)");
    EXPECT_THAT(Names(), ElementsAre("device 7 tbLater"));
}

TEST_F(Preview, RoomThatIsLookedAtTwiceIsTheSame)
{
    AllKinds();
    const auto devices = Only(BodyKind::kDevice);
    EXPECT_EQ(Bodies(devices), Bodies(devices));
}

// --- Selection -----------------------------------------------------------------------------------

TEST_F(Preview, SidThatDiscoveryFindsTwiceIsPostedTwice)
{
    AllKinds();
    DropKeyOfNames();
    host.Data("insert into tbSubSysDetail select * from tbSubSysDetail where SID=21;"
              "insert into tbSM select * from tbSM where SID=31");
    vkctl::PreviewSelection selection;
    selection.sid = 21;
    EXPECT_THAT(Names(selection),
                ElementsAre("input 21 tbSubSysDetail", "input 21 tbSubSysDetail"));
    selection.sid = 31;
    EXPECT_THAT(Names(selection), ElementsAre("camera 31 tbSM", "camera 31 tbSM"));
}

TEST_F(Preview, SidSelectsItsBodies)
{
    AllKinds();
    vkctl::PreviewSelection selection;
    selection.sid = 7;
    EXPECT_THAT(Names(selection), ElementsAre("device 7 tbDev"));
    selection.sid = 21;
    EXPECT_THAT(Names(selection), ElementsAre("input 21 tbSubSysDetail"));
    selection.sid = 31;
    EXPECT_THAT(Names(selection), ElementsAre("camera 31 tbSM"));
    selection.sid = 900;
    EXPECT_THAT(Names(selection), ElementsAre("general 900 tbGen", "general 900 tbGen"));
    selection.sid = 0;
    EXPECT_THAT(Names(selection), ElementsAre("host 0 "));
    selection.sid = 5;
    EXPECT_THAT(Names(selection), IsEmpty());
}

TEST_F(Preview, TableSelectsItsBodies)
{
    AllKinds();
    vkctl::PreviewSelection selection;
    selection.table = "tbDio";
    EXPECT_THAT(Names(selection),
                ElementsAre("output 1 tbDio", "output 1 tbDio", "output 1 tbDio"));
    selection.table = "tbDev";
    EXPECT_THAT(Names(selection), ElementsAre("device 7 tbDev"));
    selection.table = "tbNone";
    EXPECT_THAT(Names(selection), IsEmpty());
}

TEST_F(Preview, DetailTableSelectsTheBodiesThatItIsPartOf)
{
    host.SimpleRoom();
    host.Device(8, "Dev8", "tbDev", "2");
    host.Ini("POST.Master", "tbDev", "tbCell");
    host.Ini("POST.Detail", "tbCell", "103");
    host.Data("create table tbCell(SID,Fld,dat0); insert into tbCell values(8,1,25)");
    vkctl::PreviewSelection selection;
    selection.table = "tbCell";
    EXPECT_THAT(Names(selection), ElementsAre("device 8 tbDev"));
}

TEST_F(Preview, KindsSelectTheirBodies)
{
    AllKinds();
    EXPECT_THAT(Names(Only(BodyKind::kInput)), ElementsAre("input 21 tbSubSysDetail"));
    EXPECT_THAT(Names(Only(BodyKind::kOutput)), Contains("output 1 tbDio").Times(3));
    EXPECT_THAT(Names(Only(BodyKind::kCamera)), ElementsAre("camera 31 tbSM"));
    EXPECT_THAT(Names(Only(BodyKind::kGeneral)), Contains("general 900 tbGen").Times(2));
    EXPECT_THAT(Names(Only(BodyKind::kDevice)), ElementsAre("device 7 tbDev"));
}

TEST_F(Preview, SelectionsAreCombined)
{
    AllKinds();
    vkctl::PreviewSelection selection = Only(BodyKind::kDevice);
    selection.sid = 21;
    EXPECT_THAT(Names(selection), IsEmpty());
    selection.sid = 7;
    selection.table = "tbDev";
    EXPECT_THAT(Names(selection), ElementsAre("device 7 tbDev"));
    selection.table = "tbGen";
    EXPECT_THAT(Names(selection), IsEmpty());
}

// --- Alarms --------------------------------------------------------------------------------------

TEST_F(Preview, AlarmsThatWaitAreShownOldestFirst)
{
    host.SimpleRoom();
    host.Alarm(5, 7, "later");
    host.Alarm(2, 7, "first");
    host.Alarm(3, 7, "sent");
    host.Alarms("update tbSMAlarm set AFld=1 where DID=3");
    const std::string head = kAlarmHead;
    EXPECT_THAT(Bodies(Only(BodyKind::kAlarm)),
                ElementsAre(head + "first" + kAlarmTail, head + "later" + kAlarmTail));
    EXPECT_EQ(host.AlarmValue("select count(*) from tbSMAlarm where AFld=1"), "1");
}

TEST_F(Preview, ClearedAlarmTellsWhen)
{
    host.SimpleRoom();
    host.Alarm(1, 7, "gone", 5);
    EXPECT_THAT(Bodies(Only(BodyKind::kAlarm)),
                ElementsAre("suid=xxx&sid=7&stype=1024&stag1=0&sname=Dev7&subsys=4"
                            "&dtupd=2024-05-01 12:30:00&state=3&level=重要&title=gone&suggestion="
                            "&location=&datainfo=&recovertime=2024-05-01 12:30:00&AlmImg="));
}

TEST_F(Preview, AlarmsOfManyPagesKeepTheirOrder)
{
    // More than a library reads at once, and longer than a page of the file.
    host.SimpleRoom();
    const std::string long_title(900, 't');
    host.Alarms("with recursive n(i) as (select 300 union all select i-1 from n where i>1)"
                " insert into tbSMAlarm select i,i,1024,1,'2024-05-01 12:30:00','" +
                long_title + "',0,null,null from n");
    const auto bodies = Show(Only(BodyKind::kAlarm));
    ASSERT_EQ(bodies.size(), 300U);
    for (int i = 0; i < 300; ++i)
    {
        ASSERT_EQ(bodies[static_cast<size_t>(i)].sid, i + 1);
    }
}

TEST_F(Preview, AlarmsOfOneNumberAreMarkedTogether)
{
    // The daemon posts the first of them and marks all.
    host.SimpleRoom();
    host.Alarms("create table tbNew as select * from tbSMAlarm; drop table tbSMAlarm;"
                "alter table tbNew rename to tbSMAlarm");
    host.Alarm(4, 7, "one");
    host.Alarm(4, 7, "two");
    host.Alarm(6, 7, "six");
    const std::string head = kAlarmHead;
    EXPECT_THAT(Bodies(Only(BodyKind::kAlarm)),
                ElementsAre(head + "one" + kAlarmTail, head + "six" + kAlarmTail));
}

TEST_F(Preview, AlarmsOfOneDeviceCanBeSelected)
{
    host.SimpleRoom();
    host.Alarm(1, 7, "a");
    host.Alarm(2, 8, "b");
    vkctl::PreviewSelection selection = Only(BodyKind::kAlarm);
    selection.sid = 8;
    EXPECT_THAT(Names(selection), ElementsAre("alarm 8 tbSMAlarm"));
}

TEST_F(Preview, WithoutAlmUrlAlarmsAreNotEvenRead)
{
    host.SimpleRoom();
    host.Post("AlmUrl", "");
    host.Alarm(1, 7, "a");
    EXPECT_THAT(Bodies(Only(BodyKind::kAlarm)), IsEmpty());
}

// --- URLs ----------------------------------------------------------------------------------------

TEST_F(Preview, BodyGoesToAllUrls)
{
    host.SimpleRoom();
    host.Post("maxURLs", "3");
    host.Post("Url2", "http://c/");
    host.Post("AlmUrl1", "http://d/");
    host.Alarm(1, 7, "a");
    EXPECT_THAT(Show()[0].urls, ElementsAre("http://a/data", "http://c/"));
    EXPECT_THAT(Show(Only(BodyKind::kAlarm))[0].urls, ElementsAre("http://a/alarm", "http://d/"));
}

TEST_F(Preview, OneUrlIsUrlAlone)
{
    host.SimpleRoom();
    host.Post("maxURLs", "1");
    host.Post("Url1", "http://b/");
    EXPECT_THAT(Show()[0].urls, ElementsAre("http://a/data"));
}

TEST_F(Preview, AlarmsGoNowhereWhileMaxUrlsIsOne)
{
    host.SimpleRoom();
    host.Post("maxURLs", "1");
    host.Alarm(1, 7, "a");
    const auto alarms = Show(Only(BodyKind::kAlarm));
    ASSERT_EQ(alarms.size(), 1U);
    EXPECT_THAT(alarms[0].urls, IsEmpty());
}

TEST_F(Preview, NothingGoesAnywhereWithoutUrl)
{
    host.SimpleRoom();
    host.Post("Url", "");
    host.Post("maxURLs", "1");
    EXPECT_THAT(Show()[0].urls, IsEmpty());
}

// --- Hosts that are not well ---------------------------------------------------------------------

TEST_F(Preview, HostDirectoryThatIsNoneIsAFileError)
{
    try
    {
        const vkctl::CPreview preview(host.File("none"));
        FAIL() << "no error";
    }
    catch (const vkctl::CCliError& e)
    {
        EXPECT_EQ(e.ExitStatus(), 74);
        EXPECT_THAT(e.what(), HasSubstr("none: No such file or directory"));
    }
}

TEST_F(Preview, FolderWithoutConfigurationIsAFileError)
{
    EXPECT_THROW(vkctl::CPreview(host.Path()), vkctl::CCliError);
}

TEST_F(Preview, MissingTablesAreLogged)
{
    host.Data("create table tbSM(SID,Name); insert into tbSM values(1,'x');"
              "create table tbDev(SID,Type,State,DateUpd); insert into tbDev values(7,5,0,'d')");
    EXPECT_THAT(Bodies(), IsEmpty());
    EXPECT_THAT(log, Contains(HasSubstr("no such table: tbSubSysDetail")));
}

TEST_F(Preview, TableWithoutSidHidesNoOther)
{
    host.SimpleRoom();
    host.Data("create table tbLost(Name)");
    EXPECT_THAT(Bodies(), ElementsAre(kDevice7Body));
    EXPECT_THAT(log, Contains(HasSubstr("no such column: SID")));
}

TEST_F(Preview, DeviceWhoseRowCannotBeReadIsPassedOver)
{
    host.SimpleRoom();
    host.Data("create table tbOdd(SID,A); insert into tbOdd values(3,1)");
    EXPECT_THAT(Bodies(), ElementsAre(kDevice7Body));
    EXPECT_THAT(log, Contains(HasSubstr("no such column: State")));
}

TEST_F(Preview, RowThatBreaksBehindItsHeadIsNoPartOfAnother)
{
    // The input's head is written before its missing column is read.
    AllKinds();
    host.Data("drop table tbSubSysDetail;"
              "create table tbSubSysDetail(SID,SIDD,Type,State,LastUpd);"
              "insert into tbSubSysDetail values(21,7,11,1,'2024-05-01 11:00:00')");
    EXPECT_THAT(Names(), Contains(StartsWith("output 1")).Times(3));
    EXPECT_THAT(Names(), Not(Contains(StartsWith("input"))));
}

TEST_F(Preview, RefusedHeadFormatIsReplaced)
{
    host.SimpleRoom();
    host.Post("Fmt0", "suid=%s&sid=%n");
    EXPECT_THAT(Bodies(), ElementsAre(kDevice7Body));
}

TEST_F(Preview, EmptyHeadLeavesThePairs)
{
    AllKinds();
    host.Post("Fmt0", "");
    EXPECT_THAT(Bodies(),
                ElementsAre("&V=1", "&Item=UPS&Value=3.5", "&Item=Air&Value=7", "&psid=7&pfld=5",
                            "&DoState=0", "&DoState=1", "&DoState=2", "&info=10.0.0.1,80"));
}

TEST_F(Preview, BodyThatIsFullSaysLess)
{
    host.SimpleRoom();
    host.Data("alter table tbDev add W; alter table tbDev add X;"
              "update tbDev set V=printf('%.102000c','v'),W=printf('%.1000c','w'),X='x'");
    const Texts bodies = Bodies();
    ASSERT_EQ(bodies.size(), 1U);
    EXPECT_THAT(bodies[0], HasSubstr("vvv&X=x"));
    EXPECT_THAT(log, Contains("   sid=7: body of 102400 bytes is full, left out 1: W"));
}

TEST_F(Preview, ValuesStandAsTheyAre)
{
    host.SimpleRoom();
    host.Data("alter table tbDev add W; update tbDev set V='a&b=c+%41',W='x'||char(13)||char(10)");
    EXPECT_THAT(Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=3&sname=Dev7&subsys=2"
                                      "&dtupd=2024-05-01 12:00:00&state=0&V=a&b=c+%41&W=x\r\n"));
}

TEST_F(Preview, NullsAreEmpty)
{
    host.SimpleRoom();
    host.Data("update tbDev set V=null,DateUpd=null,State=null; update tbSM set Name=null");
    EXPECT_THAT(Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=3&sname=&subsys=2&dtupd="
                                      "&state=0"));
}
