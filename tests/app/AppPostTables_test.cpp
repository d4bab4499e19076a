// Discovery: what is asked, what becomes of the answers, and how each phase fails.
#include "app/AppPostTables.h"
#include "tests/support/PosterTest.h"

namespace
{

constexpr char kTables[] = "select * from sqlite_master where type='table'"
                           " and not name like 'tbSM%'";
constexpr char kNames[] = "select SID,Name from tbSM";
constexpr char kInputs[] = "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbSubSysDetail x"
                           " left join tbSM s on s.SID=x.SID where x.SID<>x.SIDD";
constexpr char kCameras[] = "select * from tbSM where Kind=3072 and State=0 and DataMode=1";
constexpr int kShort = 5000;
constexpr int kLong = 10000;

class TablesTest : public PosterTest
{
protected:
    void Tables(const std::vector<std::string>& names)
    {
        std::vector<Row> rows;
        for (const std::string& name : names)
        {
            rows.push_back({"table", name});
        }
        db.On(kTables).Rows("type,name", rows);
    }
    void Names(std::vector<Row> rows) { db.On(kNames).Rows("SID,Name", std::move(rows)); }
    void Sids(const std::string& table, std::vector<Row> rows)
    {
        db.On("select SID from " + table).Rows("SID", std::move(rows));
    }
    void Inputs(std::vector<Row> rows) { db.On(kInputs).Rows("Name,SID", std::move(rows)); }
    void Cameras(std::vector<Row> rows) { db.On(kCameras).Rows("SID,Name", std::move(rows)); }

    // A room of one device, one input and one camera; each line once, so that a test may script
    // a failure of its own before it.
    void SmallRoom()
    {
        Tables({"tbUps"});
        Names({{"7", "UPS-1"}});
        Sids("tbUps", {{"7"}});
        Inputs({{"Door", "31"}});
        Cameras({{"40", "Cam-1"}});
    }
    // The names that alarms go out with.
    std::map<int, std::string> Published() const
    {
        return app.m_pAlmNames != nullptr ? *app.m_pAlmNames : std::map<int, std::string>();
    }
    void Publish(std::map<int, std::string> names) // by an earlier discovery
    {
        app.m_mapSmName = std::move(names);
        publish_names(app);
    }
    std::string NoQuery(const std::string& what, int try_number)
    {
        return "[CAppPost::GetTbls] Read " + what +
               ": qryExec Error! iqry=-1, Try Count: " + std::to_string(try_number) + "\n";
    }
};

const std::string kTick = "tray(0,1)";

} // namespace

// --- The whole --------------------------------------------------------------------------------

TEST_F(TablesTest, LibraryThatThrowsAtOpenAndCloseEndsNothing)
{
    SmallRoom();
    db.ThrowIn("Open", 1, 14, "unable to open");
    db.ThrowForeignIn("Close", 1);
    app.GetTbls();
    EXPECT_EQ(app.m_mapSidTbl.at(7), "tbUps");
    EXPECT_THAT(rec.Logs(), Contains("   database not opened: 14 unable to open\n"));
    EXPECT_THAT(rec.Logs(), Contains("   database not closed\n"));
}

TEST_F(TablesTest, AsksEachPhaseOnceInOrderWithATickBefore)
{
    SmallRoom();
    app.GetTbls();
    const std::string sql = "sql ";
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", kTick, sql + kTables, "free", sql + kNames, "free",
                            kTick, "sql select SID from tbUps", "free", kTick, sql + kInputs,
                            "free", kTick, sql + kCameras, "free", "close"));
}

TEST_F(TablesTest, LogsWhatItReadsAndWhatItFinds)
{
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Logs(),
                ElementsAre("[CAppPost::GetTbls] Read Tables\n", "   sid,name=7,UPS-1\n",
                            "[CAppPost::GetTbls] table size: 1\n",
                            "[CAppPost::GetTbls] Read SID with table name\n",
                            "   table: sid,name,table=7,UPS-1,tbUps\n",
                            "[CAppPost::GetTbls] Read DI\n", "   DI: sid,name=31,Door\n",
                            "[CAppPost::GetTbls] Read Camera\n", "   Cam: sid,name=40,Cam-1\n"));
}

TEST_F(TablesTest, FillsTheCatalogue)
{
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps"));
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(7, "UPS-1")));
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(7, "tbUps")));
    EXPECT_THAT(app.m_mapSidTry, ElementsAre(Pair(7, 0)));
    EXPECT_THAT(app.m_vDiSid, ElementsAre(31));
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0));
    EXPECT_THAT(app.m_vCamSid, ElementsAre(40));
    EXPECT_THAT(app.m_vCamTry, ElementsAre(0));
}

TEST_F(TablesTest, CallsAfterASuccessWaitForNothing)
{
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(TablesTest, SecondCallRebuildsTheCatalogueFromScratch)
{
    app.m_vTbls = {"tbOld"};
    app.m_vGenTbls = {"tbOldGen"};
    app.m_mapSmName = {{1, "old"}};
    app.m_mapSidTbl = {{1, "tbOld"}};
    app.m_mapSidTry = {{1, 2}};
    app.m_vDiSid = app.m_vDiTry = app.m_vCamSid = app.m_vCamTry = {1, 1};
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps"));
    EXPECT_THAT(app.m_vGenTbls, IsEmpty());
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(7, "UPS-1")));
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(7, "tbUps")));
    EXPECT_THAT(app.m_mapSidTry, ElementsAre(Pair(7, 0)));
    EXPECT_THAT(app.m_vDiSid, ElementsAre(31));
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0));
    EXPECT_THAT(app.m_vCamSid, ElementsAre(40));
    EXPECT_THAT(app.m_vCamTry, ElementsAre(0));
}

TEST_F(TablesTest, GoesOnWhenTheDatabaseDoesNotOpen)
{
    db.open_result = 0;
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(app.m_mapSidTbl, SizeIs(1));
}

TEST_F(TablesTest, PublishesTheNamesToTheAlarmRoutine)
{
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(*app.m_pAlmNames, ElementsAre(Pair(7, "UPS-1")));
}

TEST_F(TablesTest, AlarmDuringTheTriesOfAHostWithoutADeviceTableHasItsName)
{
    Tables({});
    Names({{"7", "UPS-1"}});
    Inputs({});
    Cameras({});
    app.m_strAlmUrl = "a";
    app.m_vAlmUrls = {"a"};
    db_alm.Rows("DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg",
                {{"3", "7", "1024", "0", "T", "hot", "0", ""}});
    db_alm.On("tbSMAlarm").Rows("DID", {});
    rec.on_pause = [&](int)
    {
        app.OnAlmIns();
    };
    rec.on_post = [&]
    {
        EXPECT_EQ(rec.PauseSum(), kLong); // it waited for one try
    };
    app.GetTbls();
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("&sname=UPS-1&")));
}

TEST_F(TablesTest, NamesArePublishedBeforeTheLineThatEndsAFailedTry)
{
    Tables({});
    Names({{"7", "UPS-1"}});
    Inputs({});
    Cameras({});
    rec.on_tray = [&](int, int) // the second tick comes right behind the line
    {
        if (rec.Count("log Read Tables Error! Try Count: 1\n") == 1)
        {
            EXPECT_THAT(Published(), ElementsAre(Pair(7, "UPS-1")));
        }
    };
    app.GetTbls();
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 10\n"), 1);
}

TEST_F(TablesTest, DiscoveryThatCannotReadTheNamesLeavesTheLastOnes)
{
    Publish({{7, "UPS-1"}});
    db.On(kNames).Throw(11, "malformed", 9);
    db.On(kNames).Fail(1);
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 10\n"), 1);
    EXPECT_THAT(app.m_mapSmName, Not(Contains(Pair(7, "UPS-1"))));
    EXPECT_THAT(Published(), ElementsAre(Pair(7, "UPS-1")));
}

TEST_F(TablesTest, PartOfTheNamesIsBetterThanNone)
{
    Tables({});
    Names({{"7", "new"}, {"8", "new"}});
    Inputs({});
    Cameras({});
    for (int nth = 1; nth <= 10; ++nth)
    {
        db.ThrowIn("QryNext", nth, 10, "disk I/O error"); // behind the first name of each try
    }
    app.GetTbls();
    EXPECT_THAT(Published(), ElementsAre(Pair(7, "new")));
}

TEST_F(TablesTest, PartOfTheNamesDoesNotReplaceTheLastOnes)
{
    Publish({{7, "old"}, {8, "old"}});
    Tables({});
    Names({{"7", "new"}, {"8", "new"}});
    Inputs({});
    Cameras({});
    for (int nth = 1; nth <= 10; ++nth)
    {
        db.ThrowIn("QryNext", nth, 10, "disk I/O error"); // behind the first name of each try
    }
    app.GetTbls();
    EXPECT_THAT(Published(), ElementsAre(Pair(7, "old"), Pair(8, "old")));
}

TEST_F(TablesTest, AllNamesOfAFailedTryReplaceTheLastOnesAndPartOfThemInTheNextTryDoesNot)
{
    Publish({{7, "old"}, {9, "old"}});
    Tables({});
    Names({{"7", "new"}, {"8", "new"}});
    Inputs({});
    Cameras({});
    for (int nth = 3; nth <= 11; ++nth)
    {
        db.ThrowIn("QryNext", nth, 10, "disk I/O error"); // from the second try on
    }
    app.GetTbls();
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(7, "new")));
    EXPECT_THAT(Published(), ElementsAre(Pair(7, "new"), Pair(8, "new")));
}

TEST_F(TablesTest, NamesThatAreGoneAreForgottenWhenTheTriesAreOver)
{
    Publish({{7, "old"}});
    Tables({"tbUps"});
    Names({});
    Sids("tbUps", {{"7"}});
    Inputs({});
    Cameras({});
    rec.on_pause = [&](int)
    {
        EXPECT_THAT(Published(), ElementsAre(Pair(7, "old")));
    };
    app.GetTbls();
    EXPECT_THAT(Published(), IsEmpty());
}

TEST_F(TablesTest, DiscoveryPublishesChangedNames)
{
    Publish({{7, "old"}, {8, "old"}});
    SmallRoom();
    db.ThrowIn("QryFree", 2, 10, "disk I/O error"); // of the names' query: a success all the same
    app.GetTbls();
    EXPECT_THAT(Published(), ElementsAre(Pair(7, "UPS-1")));
}

// --- Tables and names -------------------------------------------------------------------------

TEST_F(TablesTest, SortsTablesIntoDeviceAndGeneralOnesInSchemaOrder)
{
    Ini("POST.General", {"tbLog=30", "tbRoom=1"});
    Tables({"tbZ", "tbRoom", "tbA", "tbLog"});
    Names({{"1", "a"}});
    Sids("tb", {});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbZ", "tbA"));
    EXPECT_THAT(app.m_vGenTbls, ElementsAre("tbRoom", "tbLog"));
}

TEST_F(TablesTest, DetailTableIsNeitherAndIsLogged)
{
    Ini("POST.Detail", {"tbBatt=103", "tbUps=0", "tbNeg=-1"});
    Ini("POST.General", {"tbBatt=5", "tbNeg=-1"}); // detail is tested first
    Tables({"tbBatt", "tbUps", "tbNeg"});
    Names({{"1", "a"}});
    Sids("tb", {});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps", "tbNeg"));
    EXPECT_THAT(app.m_vGenTbls, IsEmpty());
    EXPECT_EQ(rec.Count("log    tbBatt...is detail\n"), 1);
    EXPECT_EQ(rec.CountStarting("log    tbUps"), 0);
}

TEST_F(TablesTest, ReadTablesThatCannotStartIsTriedAgainAfterFiveSeconds)
{
    db.On(kTables).Fail(2);
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAre(kShort, kShort));
    EXPECT_EQ(rec.Count("log " + NoQuery("Tables", 1)), 1);
    EXPECT_EQ(rec.Count("log " + NoQuery("Tables", 2)), 1);
    EXPECT_EQ(rec.CountStarting("log Read Tables Error!"), 0);
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps"));
}

TEST_F(TablesTest, ReadTablesThatNeverStartsTicksOncePerTryAndGivesUpAfterTen)
{
    db.On(kTables).FailAlways();
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kShort)));
    EXPECT_EQ(rec.Count("log " + NoQuery("Tables", 10)), 1);
    EXPECT_EQ(rec.Count(kTick), 10 + 2); // and one for inputs, one for cameras
    EXPECT_EQ(rec.Count("log [CAppPost::GetTbls] table size: 0\n"), 1);
}

TEST_F(TablesTest, PrintsTheIndexThatTheLibraryAnswered)
{
    db.fail_index = -5;
    db.On(kTables).Fail(1);
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.Count("log [CAppPost::GetTbls] Read Tables: qryExec Error! iqry=-5, "
                        "Try Count: 1\n"),
              1);
}

TEST_F(TablesTest, NoDeviceNameAtAllFailsEveryTryButKeepsTheTables)
{
    Tables({"tbUps"});
    Names({});
    Sids("tbUps", {{"7"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kLong)));
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 1\n"), 1);
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 10\n"), 1);
    EXPECT_EQ(rec.Count(kTick), 10 * 2 + 3); // before each try and before each pause
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(7, "tbUps")));
}

TEST_F(TablesTest, NoDeviceTableFailsTheTryAlsoWhenThereAreGeneralOnes)
{
    Ini("POST.General", {"tbLog=30"});
    db.On(kTables).Once().Rows("name", {{"tbLog"}});
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAre(kLong));
    EXPECT_THAT(app.m_vGenTbls, IsEmpty()); // each try begins afresh
}

TEST_F(TablesTest, FailedTryTicksPausesAndIsLoggedInThisOrder)
{
    db.On(kNames).Once().Rows("SID,Name", {});
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Between("log Read Tables Error!", "sql"),
                ElementsAre("log Read Tables Error! Try Count: 1\n", kTick, "pause 10000", kTick));
}

TEST_F(TablesTest, NamesQueryThatCannotStartCountsAsEmpty)
{
    db.On(kNames).Fail(1);
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAre(kLong));
    EXPECT_EQ(rec.Count("free of no query"), 1);
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(7, "UPS-1")));
}

TEST_F(TablesTest, ExceptionWhileReadingTablesIsLoggedFreedAndTriedAgain)
{
    db.ThrowIn("QryGetStr", 1, 11, "malformed");
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Between("log [CAppPost::GetTbls] read tables", "sql"),
                ElementsAre("log [CAppPost::GetTbls] read tables exception: 11 malformed\r\n",
                            "free", "log Read Tables Error! Try Count: 1\n", kTick, "pause 10000",
                            kTick));
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps"));
}

TEST_F(TablesTest, ExceptionAfterAFullReadingIsASuccess)
{
    SmallRoom();
    db.ThrowIn("QryFree", 2, 10, "disk I/O error"); // of the names' query
    app.GetTbls();
    EXPECT_EQ(rec.Count("log [CAppPost::GetTbls] read tables exception: 10 disk I/O error\r\n"), 1);
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(TablesTest, ForeignExceptionWhileReadingTablesIsSwallowedWithoutAMessage)
{
    db.On(kTables).ThrowForeign();
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.CountStarting("log [CAppPost::GetTbls] read tables"), 0);
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 1\n"), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAre(kLong));
}

TEST_F(TablesTest, NullTextIsAnEmptyName)
{
    Names({{"7", kNull}});
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(7, "")));
}

// --- SIDs of a table ----------------------------------------------------------------------------

TEST_F(TablesTest, SidInTwoTablesBelongsToTheLaterOne)
{
    Tables({"tbA", "tbB"});
    Names({{"1", "one"}});
    Sids("tbA", {{"1"}, {"2"}});
    Sids("tbB", {{"2"}, {"3"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(1, "tbA"), Pair(2, "tbB"), Pair(3, "tbB")));
    EXPECT_THAT(app.m_mapSidTry, ElementsAre(Pair(1, 0), Pair(2, 0), Pair(3, 0)));
}

TEST_F(TablesTest, SidWithoutANameGetsAnEmptyOne)
{
    Tables({"tbA"});
    Names({{"1", "one"}});
    Sids("tbA", {{"9"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_EQ(rec.Count("log    table: sid,name,table=9,,tbA\n"), 1);
    EXPECT_THAT(app.m_mapSmName, ElementsAre(Pair(1, "one"), Pair(9, "")));
}

TEST_F(TablesTest, WithoutDeviceTablesTheOldSidsStay)
{
    app.m_mapSidTbl = {{1, "tbOld"}};
    app.m_mapSidTry = {{1, 2}};
    Tables({});
    Names({{"1", "one"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(1, "tbOld")));
    EXPECT_THAT(app.m_mapSidTry, ElementsAre(Pair(1, 2)));
    EXPECT_EQ(rec.Count("log [CAppPost::GetTbls] Read SID with table name\n"), 1);
}

TEST_F(TablesTest, EveryTableHasTenTriesOfItsOwn)
{
    Tables({"tbA", "tbB"});
    Names({{"1", "one"}});
    db.On("select SID from tbA").FailAlways();
    db.On("select SID from tbB").Fail(9);
    Sids("tbB", {{"2"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10 + 9, kShort)));
    EXPECT_EQ(rec.Count("log " + NoQuery("SID", 10)), 1); // of tbA
    EXPECT_EQ(rec.Count("log " + NoQuery("SID", 9)), 2);  // of both
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(2, "tbB")));
}

TEST_F(TablesTest, ExceptionWhileReadingSidsIsLoggedFreedAndTriedAgain)
{
    db.On("select SID from").Throw(1, "no such column: SID");
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Between("log [CAppPost::GetTbls] read sid", "sql"),
                ElementsAre("log [CAppPost::GetTbls] read sid exception: 1 no such column: SID\r\n",
                            "log Read Tables Error! Try Count: 1\n", kTick, "pause 10000", kTick));
}

TEST_F(TablesTest, ForeignExceptionWhileReadingSidsLogsOnlyTheFailedTry)
{
    db.On("select SID from").ThrowForeign();
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Between("log Read Tables Error!", "sql"),
                ElementsAre("log Read Tables Error! Try Count: 1\n", kTick, "pause 10000", kTick));
    EXPECT_EQ(rec.CountStarting("log [CAppPost::GetTbls] read sid"), 0);
}

TEST_F(TablesTest, TableThatThrowsTenTimesIsSkippedAndWhatWasReadStays)
{
    Tables({"tbA", "tbB"});
    Names({{"1", "one"}});
    Sids("tbA", {{"1"}, {"2"}});
    Sids("tbB", {{"3"}});
    Inputs({});
    Cameras({});
    for (int n = 1; n <= 10; ++n)
    {
        db.ThrowIn("QryGetInt", 1 + 2 * n, 10, "disk I/O error"); // one name, then each second SID
    }
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kLong)));
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(1, "tbA"), Pair(3, "tbB")));
}

// --- Inputs and cameras -------------------------------------------------------------------------

TEST_F(TablesTest, InputsKeepTheOrderOfTheRowsAndDuplicates)
{
    Inputs({{"Door", "31"}, {kNull, "12"}, {"Door", "31"}});
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(app.m_vDiSid, ElementsAre(31, 12, 31));
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0, 0, 0));
    EXPECT_EQ(rec.Count("log    DI: sid,name=12,\n"), 1);
}

TEST_F(TablesTest, NoInputsAndNoCamerasIsSuccess)
{
    Inputs({});
    Cameras({});
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), IsEmpty());
    EXPECT_THAT(app.m_vDiSid, IsEmpty());
    EXPECT_THAT(app.m_vCamSid, IsEmpty());
}

TEST_F(TablesTest, InputsThatCannotBeAskedForAreGivenUpAfterTenTries)
{
    app.m_vDiSid = app.m_vDiTry = {1};
    db.On(kInputs).FailAlways();
    SmallRoom();
    app.GetTbls();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kShort)));
    EXPECT_EQ(rec.Count("log " + NoQuery("DI", 10)), 1);
    EXPECT_THAT(app.m_vDiSid, IsEmpty());
    EXPECT_THAT(app.m_vDiTry, IsEmpty());
    EXPECT_THAT(app.m_vCamSid, ElementsAre(40));
}

TEST_F(TablesTest, InputTryThatThrowsBeginsAfreshAfterTenSeconds)
{
    Inputs({{"Door", "31"}, {"Smoke", "32"}});
    SmallRoom();
    db.ThrowIn("QryGetInt", 4, 10, "disk I/O error"); // the second input: 7, 7, 31, 32
    app.GetTbls();
    EXPECT_THAT(rec.Between("log [CAppPost::GetTbls] read sid", "sql"),
                ElementsAre("log [CAppPost::GetTbls] read sid exception: 10 disk I/O error\r\n",
                            "log Read Tables Error! Try Count: 1\n", "free", kTick, "pause 10000",
                            kTick));
    EXPECT_THAT(app.m_vDiSid, ElementsAre(31, 32));
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0, 0));
}

TEST_F(TablesTest, ForeignExceptionWhileReadingInputsLogsOnlyTheFailedTry)
{
    db.On(kInputs).ThrowForeign(10);
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.CountStarting("log Read Tables Error!"), 10);
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 10\n"), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kLong)));
}

TEST_F(TablesTest, CameraQueryThatCannotStartIsLoggedUnderTheNameOfInputs)
{
    db.On(kCameras).FailAlways();
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.Count("log " + NoQuery("DI", 1)), 1);
    EXPECT_EQ(rec.Count("log " + NoQuery("DI", 10)), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kShort)));
}

TEST_F(TablesTest, CameraTryThatThrowsLogsNoFailedTry)
{
    Cameras({{"40", "Cam-1"}, {"41", "Cam-2"}});
    SmallRoom();
    db.ThrowIn("QryGetInt", 5, 10, "disk I/O error"); // 7, 7, 31, 40, 41
    app.GetTbls();
    EXPECT_THAT(rec.Between("log [CAppPost::GetTbls] read sid", "sql"),
                ElementsAre("log [CAppPost::GetTbls] read sid exception: 10 disk I/O error\r\n",
                            "free", kTick, "pause 10000", kTick));
    EXPECT_THAT(app.m_vCamSid, ElementsAre(40, 41));
}

TEST_F(TablesTest, ForeignExceptionWhileReadingCamerasIsSilent)
{
    db.On(kCameras).ThrowForeign(10);
    SmallRoom();
    app.GetTbls();
    EXPECT_EQ(rec.Events().back(), "close");
    EXPECT_EQ(rec.Logs().back(), "[CAppPost::GetTbls] Read Camera\n");
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, kLong)));
}

// --- All at once --------------------------------------------------------------------------------

TEST_F(TablesTest, DeadDatabaseTakesThreeHundredSecondsAndThrowsNothing)
{
    db.On("").Throw(26, "file is not a database", -1);
    EXPECT_NO_THROW(app.GetTbls());
    EXPECT_EQ(rec.PauseSum(), 3 * 10 * kLong);
    EXPECT_EQ(rec.Count(kTick), 3 * 10 * 2);
    EXPECT_EQ(rec.Events().back(), "close");
}

TEST_F(TablesTest, LongTableNamesAreKeptWhole)
{
    const std::string table = Long(5000);
    Tables({table});
    Names({{"1", "one"}});
    Sids(table, {{"4"}});
    Inputs({});
    Cameras({});
    app.GetTbls();
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(4, table)));
    EXPECT_THAT(rec.Sql(), Contains("select SID from " + table));
}
