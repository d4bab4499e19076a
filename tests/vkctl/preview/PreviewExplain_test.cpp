// Where each pair comes from: table, column, stored value, rule and line of vkApp.ini. The lines
// are those that CHostDir writes: sections and keys by name, [POST] with its keys first.
#include "tests/vkctl/preview/PreviewTest.h"

#include "vkctl/preview/PreviewRecorder.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{

constexpr size_t kHeadGroups = 8;

struct DetailCase
{
    const char* mode;
    const char* columns;
    const char* values;
    const char* line;
};

constexpr DetailCase kDetailCases[] = {
    {"101", "Fld,State,V,T", "1,0,5,6",
     "State1=0&Vol1=5&Tem1=6 <- tbCell: Fld=1 State=0 T=6 V=5, mode 101 (vkApp.ini:6)"},
    {"102", "Fld,Vol,Tem,bSt", "1,5,6,2",
     "Vol1=5&Tem1=6&bSt1=2 <- tbCell: Fld=1 Tem=6 Vol=5 bSt=2, mode 102 (vkApp.ini:6)"},
    {"103", "Fld,dat0", "1,6", "Tem1=6 <- tbCell: Fld=1 dat0=6, mode 103 (vkApp.ini:6)"},
    {"200", "Fld,Val,ValStr", "1,6,'kW'",
     "Fld1=6kW <- tbCell: Fld=1 Val=6 ValStr=kW, mode 200 (vkApp.ini:6)"},
    {"201", "Fld,Val", "1,6", "Fld1=6 <- tbCell: Fld=1 Val=6, mode 201 (vkApp.ini:6)"},
    {"202", "Fld,Val", "'Ua',6", "Ua=6 <- tbCell: Fld=Ua Val=6, mode 202 (vkApp.ini:6)"},
};

class PreviewExplain : public PreviewTest
{
protected:
    PreviewExplain() { host.SimpleRoom(); }

    // One device with a column Run of that value, rendered by these settings of POST.xFld.
    Texts Run(const std::string& value, const Texts& settings)
    {
        host.Data("alter table tbDev rename column V to Run; update tbDev set Run=" + value);
        for (const std::string& setting : settings)
        {
            const size_t equals = setting.find('=');
            host.Ini("POST.xFld", setting.substr(0, equals), setting.substr(equals + 1));
        }
        return Explained(kHeadGroups);
    }

    // One device with a row of a detail table of that mode, with these columns.
    Texts Detail(const std::string& mode, const std::string& columns, const std::string& values)
    {
        host.Ini("POST.Detail", "tbCell", mode);
        host.Ini("POST.Master", "tbDev", "tbCell");
        host.Data("create table tbCell(SID," + columns + "); insert into tbCell values(7," +
                  values + ")");
        return Explained(kHeadGroups + 1);
    }
};

} // namespace

// --- Heads ---------------------------------------------------------------------------------------

TEST_F(PreviewExplain, HeadOfADevice)
{
    host.Post("Dept", "ROOM");
    host.Post("State0", "ok");
    EXPECT_THAT(Explained(0),
                ElementsAre("suid=ROOM <- Dept (vkApp.ini:3)", "sid=7 <- tbDev.SID = 7",
                            "stype=5 <- tbDev.Type = 5", "stag1=3 <- tbSM.Tag1 = 3",
                            "sname=Dev7 <- tbSM.Name = Dev7", "subsys=2 <- tbSM.ASubSys = 2",
                            "dtupd=2024-05-01 12:00:00 <- tbDev.DateUpd = 2024-05-01 12:00:00",
                            "state=ok <- tbDev.State = 0: State0 (vkApp.ini:4)",
                            "V=1 <- tbDev.V = 1, as stored"));
}

TEST_F(PreviewExplain, StateTextIsThatOfTheNumber)
{
    host.Data("update tbDev set State=2");
    EXPECT_THAT(Explained(7), Contains("state=2 <- tbDev.State = 2: State2 (default)"));
    host.Data("update tbDev set State=9");
    EXPECT_THAT(Explained(7), Contains("state=0 <- tbDev.State = 9: State0 (default)"));
}

TEST_F(PreviewExplain, TextWhereANumberIsWantedIsTold)
{
    host.Data("update tbDev set State='alarm',Type='UPS'; update tbSM set Tag1='x1'");
    const Texts lines = Explained(0);
    EXPECT_EQ(lines.at(2), "stype=0 <- tbDev.Type = UPS, read as 0");
    EXPECT_EQ(lines.at(3), "stag1=0 <- tbSM.Tag1 = x1, read as 0");
    EXPECT_EQ(lines.at(7), "state=0 <- tbDev.State = alarm, read as 0: State0 (default)");
}

TEST_F(PreviewExplain, NameIsTheOneThatDiscoveryHasRead)
{
    DropKeyOfNames();
    host.Data("insert into tbSM(SID,Name,Tag1,ASubSys) values(7,'Second',4,5)");
    EXPECT_EQ(Explained(0).at(4), "sname=Second <- tbSM.Name = Second");
}

TEST_F(PreviewExplain, MissingNameIsTold)
{
    host.Data("insert into tbSubSysDetail values(21,7,5,11,1,'2024-05-01 11:00:00');"
              "update tbSM set SID=8");
    EXPECT_EQ(Explained(0, Only(BodyKind::kDevice)).at(4), "sname= <- tbSM has no name for SID 7");
    EXPECT_EQ(Explained(0, Only(BodyKind::kInput)).at(4), "sname= <- tbSM has no name for SID 21");
}

TEST_F(PreviewExplain, ColumnsAreFoundWhateverTheirCase)
{
    host.Data("alter table tbDev rename column SID to sid;"
              "alter table tbDev rename column Type to TYPE;"
              "alter table tbDev rename column V to Run");
    host.Ini("POST.xFld", "5.Run", "1");
    host.Ini("POST.xFld", "5.Run1", "on");
    vkctl::PreviewSelection selection;
    selection.sid = 7;
    const Texts lines = Explained(0, selection);
    ASSERT_EQ(lines.size(), kHeadGroups + 1);
    EXPECT_EQ(lines[1], "sid=7 <- tbDev.sid = 7");
    EXPECT_EQ(lines[2], "stype=5 <- tbDev.TYPE = 5");
    EXPECT_EQ(lines[8], "Run=on <- tbDev.Run = 1, kind 1 (vkApp.ini:9), 5.Run1 (vkApp.ini:10)");
}

TEST_F(PreviewExplain, GroupsOfFmt0ShareTheirSources)
{
    host.Post("Fmt0", "id=%s/%d&share=100%%&t=%04d");
    EXPECT_THAT(Explained(0),
                ElementsAre("id=xxx/7 <- Dept (default); tbDev.SID = 7",
                            "share=100% <- Fmt0 (vkApp.ini:3)", "t=0005 <- tbDev.Type = 5",
                            "V=1 <- tbDev.V = 1, as stored"));
}

TEST_F(PreviewExplain, GroupOfTheHeadThatDidNotFitIsTold)
{
    host.Alarm(1, 7, "t");
    host.Data("update tbSM set Name=printf('%.2040c','n')");
    const Texts lines = Explained(0, Only(BodyKind::kAlarm));
    EXPECT_EQ(lines.at(4), " <- tbSM.Name = " + std::string(200, 'n') +
                               "... (2040 bytes), no room left in the body");
    EXPECT_THAT(lines.at(5), HasSubstr("subsys=4 <- class of the alarm"));
}

TEST_F(PreviewExplain, HeadOfAGeneralTable)
{
    host.Ini("POST.General", "tbGen", "40");
    host.Data("create table tbGen(Id,Item); insert into tbGen values(1,'UPS')");
    const Texts lines = Explained(0);
    EXPECT_EQ(lines.at(1), "sid=900 <- 900 and the table's place among the general ones");
    EXPECT_EQ(lines.at(2), "stype=40 <- tbGen (vkApp.ini:9)");
    EXPECT_EQ(lines.at(4), "sname= <- tbGen.Name (default)");
    EXPECT_THAT(lines.at(6), HasSubstr(" <- time of reading"));
    EXPECT_EQ(lines.at(8), "Item=UPS <- tbGen.Item = UPS, as stored");
}

// --- Columns -------------------------------------------------------------------------------------

TEST_F(PreviewExplain, KindOneTakesTheTextOfTheNumber)
{
    EXPECT_THAT(
        Run("2", {"5.Run=1", "5.Run2=on", "5.Runx=other"}),
        ElementsAre("Run=on <- tbDev.Run = 2, kind 1 (vkApp.ini:9), 5.Run2 (vkApp.ini:10)"));
}

TEST_F(PreviewExplain, KindOneFallsBack)
{
    EXPECT_THAT(
        Run("3", {"5.Run=1", "5.Runx=other"}),
        ElementsAre("Run=other <- tbDev.Run = 3, kind 1 (vkApp.ini:9), 5.Runx (vkApp.ini:10)"));
}

TEST_F(PreviewExplain, KindOneWithoutATextLeavesThePairOut)
{
    EXPECT_THAT(Run("3", {"5.Run=1", "5.Run1=on"}),
                ElementsAre(" <- tbDev.Run = 3, kind 1 (vkApp.ini:9), no text 5.Runx"));
}

TEST_F(PreviewExplain, KindTwoTakesTheTextOfAWholeByte)
{
    EXPECT_THAT(
        Run("0", {"5.Run=2", "5.Run00=calm"}),
        ElementsAre("Run=calm <- tbDev.Run = 0, kind 2 (vkApp.ini:9), 5.Run00 (vkApp.ini:10)"));
}

TEST_F(PreviewExplain, KindTwoJoinsTheLabelsOfItsBits)
{
    EXPECT_THAT(Run("130", {"5.Run=2", "5.Run1=fan", "5.Run7=door"}),
                ElementsAre("Run=fan door <- tbDev.Run = 130, kind 2 (vkApp.ini:9), "
                            "5.Run1 (vkApp.ini:10), 5.Run7 (vkApp.ini:11)"));
}

TEST_F(PreviewExplain, KindThreeSaysWhichLabelIsMissing)
{
    EXPECT_THAT(Run("32770", {"5.Run=3", "5.Run1=fan"}),
                ElementsAre("Run=fan  <- tbDev.Run = 32770, kind 3 (vkApp.ini:9), "
                            "5.Run1 (vkApp.ini:10), no text 5.Run15"));
}

TEST_F(PreviewExplain, KindFourHasTwentyFourBits)
{
    EXPECT_THAT(Run("25165824", {"5.Run=4", "5.Run23=last", "5.Run24=beyond"}),
                ElementsAre("Run=last <- tbDev.Run = 25165824, kind 4 (vkApp.ini:9), "
                            "5.Run23 (vkApp.ini:10)"));
}

TEST_F(PreviewExplain, NoBitSetIsSaid)
{
    EXPECT_THAT(Run("0", {"5.Run=3", "5.Run00=calm"}),
                ElementsAre(" <- tbDev.Run = 0, kind 3 (vkApp.ini:9), no bit is set"));
}

TEST_F(PreviewExplain, NumberIsTheOneThatTheDaemonReads)
{
    EXPECT_THAT(Run("'2 of 3'", {"5.Run=1", "5.Run2=on"}),
                ElementsAre("Run=on <- tbDev.Run = 2 of 3, read as 2, kind 1 (vkApp.ini:9), "
                            "5.Run2 (vkApp.ini:10)"));
}

TEST_F(PreviewExplain, OtherKindsAreAsStored)
{
    EXPECT_THAT(Run("2", {"5.Run=5", "5.Run2=on"}),
                ElementsAre("Run=2 <- tbDev.Run = 2, as stored"));
}

TEST_F(PreviewExplain, EmptyValueIsLeftOut)
{
    EXPECT_THAT(Run("null", {}), ElementsAre(" <- tbDev.Run = (empty), as stored"));
}

TEST_F(PreviewExplain, PairWithoutRoomIsLeftOut)
{
    host.Data("alter table tbDev add W; update tbDev set V=printf('%.102000c','v'),"
              "W=printf('%.1000c','w')");
    const Texts lines = Explained(kHeadGroups + 1);
    EXPECT_THAT(lines, ElementsAre(" <- tbDev.W = " + std::string(200, 'w') +
                                   "... (1000 bytes), as stored, no room left in the body"));
}

// --- Details and extensions ----------------------------------------------------------------------

TEST_F(PreviewExplain, DetailRowsTellTheirCells)
{
    EXPECT_THAT(Detail("100", "Addr,State,Vol,Reg,Tem", "1,0,2256,399,260"),
                ElementsAre("State1=0&Vol1=2256&Reg1=399&Tem1=260 <- tbCell: Addr=1 Reg=399 State=0"
                            " Tem=260 Vol=2256, mode 100 (vkApp.ini:6)"));
}

TEST_F(PreviewExplain, DetailsOfTheOtherModes)
{
    for (const DetailCase& detail : kDetailCases)
    {
        EXPECT_THAT(Detail(detail.mode, detail.columns, detail.values), ElementsAre(detail.line));
        host.Data("drop table tbCell");
    }
}

TEST_F(PreviewExplain, DetailRowsAreLeftOutOneByOne)
{
    Detail("200", "Fld,Val,ValStr", "1,6,''");
    host.Data("insert into tbCell values(7,2,8,'A'),(7,3,9,null)");
    EXPECT_THAT(
        Explained(kHeadGroups + 1),
        ElementsAre(" <- tbCell, row 1 of SID 7: ValStr=, mode 200 (vkApp.ini:6), no ValStr",
                    "Fld2=8A <- tbCell: Fld=2 Val=8 ValStr=A, mode 200 (vkApp.ini:6)",
                    " <- tbCell, row 3 of SID 7: ValStr=, mode 200 (vkApp.ini:6), no ValStr"));
}

TEST_F(PreviewExplain, UnknownModeAddsNothing)
{
    EXPECT_THAT(Detail("999", "Fld,Val", "1,6"),
                ElementsAre(" <- tbCell, row 1 of SID 7: mode 999 (vkApp.ini:6), which is none"));
}

TEST_F(PreviewExplain, ExtensionFromTheDetailTableIsNoDetailRow)
{
    host.Ini("POST.Detail", "tbCell", "103");
    host.Ini("POST.Master", "tbDev", "tbCell");
    host.Ini("POST.Ext.5", "tbCell", "3");
    host.Ini("POST.Ext.5", "tbCell.flds", "2");
    host.Ini("POST.xFld", "5.Fld", "1");
    host.Ini("POST.xFld", "5.dat0", "1");
    host.Data("create table tbCell(SID,Type,Fld,dat0); insert into tbCell values(8,5,1,6)");
    EXPECT_THAT(Explained(kHeadGroups + 1),
                ElementsAre(" <- tbCell.Fld = 1, kind 1 (vkApp.ini:15), no text 5.Fldx",
                            " <- tbCell.dat0 = 6, kind 1 (vkApp.ini:16), no text 5.dat0x"));
}

TEST_F(PreviewExplain, DetailTableWithoutAColumnOfItsModeIsAFailureAndNoRow)
{
    EXPECT_THAT(Detail("101", "Fld,State,V", "1,0,5"), IsEmpty());
    const auto& failures = vkctl::CPreviewRecorder::Get().Failures();
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].table + ": " + failures[0].message, "tbCell: no such column: T");
}

TEST_F(PreviewExplain, ExtensionColumnsAreColumnsOfTheirTable)
{
    host.Ini("POST.Detail", "tbExt", "1");
    host.Ini("POST.Ext.5", "tbExt", "2");
    host.Ini("POST.Ext.5", "tbExt.flds", "1");
    host.Ini("POST.xFld", "5.Mode", "1");
    host.Ini("POST.xFld", "5.Mode3", "winter");
    host.Data("create table tbExt(Type,Mode,Rest); insert into tbExt values(5,3,4)");
    EXPECT_THAT(
        Explained(kHeadGroups + 1),
        ElementsAre(
            "Mode=winter <- tbExt.Mode = 3, kind 1 (vkApp.ini:13), 5.Mode3 (vkApp.ini:14)"));
}

// --- The other kinds -----------------------------------------------------------------------------

TEST_F(PreviewExplain, InputTellsItsWiring)
{
    host.Data("insert into tbSubSysDetail values(21,7,5,11,1,'2024-05-01 11:00:00')");
    EXPECT_THAT(Explained(kHeadGroups), ElementsAre("psid=7 <- tbSubSysDetail.SIDD = 7",
                                                    "pfld=5 <- tbSubSysDetail.Fld = 5"));
}

TEST_F(PreviewExplain, OutputTellsItsColumn)
{
    host.Ini("POST.DO", "Start", "10");
    host.Ini("POST.DO", "Count", "2");
    host.Data("insert into tbDio values(1,2,0,'2024-05-01 10:00:00',0,1,3)");
    EXPECT_THAT(Explained(3),
                ElementsAre("stag1=1 <- number of the output",
                            "sname=DO1 <- DO and the number of the output", "subsys=0 <- always 0",
                            "dtupd=2024-05-01 10:00:00 <- tbDio.DateUpd = "
                            "2024-05-01 10:00:00",
                            "state=3 <- tbDio.D11 = 3: State3 (default)",
                            "DoState=3 <- tbDio.D11 = 3"));
}

TEST_F(PreviewExplain, CameraTellsItsService)
{
    host.Data("insert into tbSM values(31,3072,30,'Cam31',null,6,4,0,1,'10.0.0.1,80',null)");
    EXPECT_THAT(Explained(kHeadGroups),
                ElementsAre("info=10.0.0.1,80 <- tbSM.SerDef = 10.0.0.1,80"));
}

TEST_F(PreviewExplain, HostTellsWhereItsFiguresComeFrom)
{
    const Texts lines = Explained(kHeadGroups, Only(BodyKind::kHost));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], HasSubstr(" <- /proc/loadavg, times 100"));
    EXPECT_THAT(lines[1], HasSubstr(" <- /proc/meminfo"));
}

TEST_F(PreviewExplain, AlarmTellsItsRules)
{
    host.Alarms(
        "insert into tbSMAlarm values(1,7,2309,4,'2024-05-01 12:30:00','门开',65,'a.jpg',0)");
    EXPECT_THAT(
        Explained(5, Only(BodyKind::kAlarm)),
        ElementsAre(
            "subsys=11 <- class of the alarm, bits 8 to 15 of tbSMAlarm.Type = 2309; class 9"
            " by tbSMAlarm.AlmBrief = 门开",
            "dtupd=2024-05-01 12:30:00 <- tbSMAlarm.LastUpd = 2024-05-01 12:30:00",
            "state=3 <- tbSMAlarm.Alm = 4, bit 4: cleared: State3 (default)",
            "level=次要 <- class of the alarm, from tbSMAlarm.Type = 2309",
            "title=门开 <- tbSMAlarm.AlmBrief = 门开",
            "suggestion= 声光 POST <- tbSMAlarm.AlmMask = 65", "location= <- always empty",
            "datainfo= <- always empty",
            "recovertime=2024-05-01 12:30:00 <- tbSMAlarm.LastUpd = 2024-05-01 12:30:00",
            "AlmImg=a.jpg <- tbSMAlarm.AlmImg = a.jpg"));
}

TEST_F(PreviewExplain, ActiveAlarmOfAPlainClassTellsNoOtherRules)
{
    host.Alarms("insert into tbSMAlarm values(1,7,1025,0,'2024-05-01 12:30:00','门开',0,'',null)");
    const Texts lines = Explained(5, Only(BodyKind::kAlarm));
    EXPECT_THAT(lines, Contains("subsys=4 <- class of the alarm, bits 8 to 15 of tbSMAlarm.Type = "
                                "1025"));
    EXPECT_THAT(lines, Contains("recovertime= <- not cleared"));
}

TEST_F(PreviewExplain, BitBeyondTheKindIsNotCalledUnset)
{
    EXPECT_THAT(Run("256", {"5.Run=2"}).front(),
                HasSubstr(" <- tbDev.Run = 256, kind 2 (vkApp.ini:9), no bit is set that the kind "
                          "looks at"));
}

TEST_F(PreviewExplain, PairThatDidNotFitIsToldBesideAHeadOfItsName)
{
    host.Post("Fmt0", "suid=%s&title=none");
    host.Alarm(1, 7, std::string(2040, 't'));
    EXPECT_THAT(Explained(0, Only(BodyKind::kAlarm)),
                Contains(" <- tbSMAlarm.AlmBrief = " + std::string(200, 't') +
                         "... (2040 bytes), no room left in the body"));
}

TEST_F(PreviewExplain, PairOfAnAlarmThatDidNotFitIsTold)
{
    host.Alarm(1, 7, std::string(2000, 't'));
    const Texts lines = Explained(kHeadGroups, Only(BodyKind::kAlarm));
    EXPECT_EQ(lines.at(1), " <- tbSMAlarm.AlmBrief = " + std::string(200, 't') +
                               "... (2000 bytes), no room left in the body");
}
