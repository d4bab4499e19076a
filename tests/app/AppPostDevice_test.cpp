// Device posting: one body per device, in SID order, with its retries, its exceptions and the
// requests that are served in between.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";

// The columns of a device's row: the four joined ones, the table's eight leading ones, then the
// device's own.
const std::string kFixed = "Name,Note,Tag1,ASubSys,SID,Type,State,DateUpd,c5,c6,c7,c8";

std::string query_of(const std::string& table, int sid)
{
    return "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from " + table +
           " x left join tbSM s on s.SID=x.SID where x.SID=" + std::to_string(sid);
}

class DeviceTest : public PosterTest
{
protected:
    // A device of type 5 in table tbUps that answers with these values of its own.
    void Device(int sid, const std::string& columns = "", const Row& values = {},
                const std::string& state = "0")
    {
        app.m_mapSidTbl[sid] = "tbUps";
        app.m_mapSidTry[sid] = 0;
        Row row{"UPS-" + std::to_string(sid),
                "",
                "0",
                "2",
                std::to_string(sid),
                "5",
                state,
                "2024-05-01 12:00:00",
                "5",
                "6",
                "7",
                "8"};
        row.insert(row.end(), values.begin(), values.end());
        db.On(query_of("tbUps", sid)).Rows(kFixed + (columns.empty() ? "" : "," + columns), {row});
    }

    // The head of such a device's body.
    static std::string Head(int sid)
    {
        const std::string number = std::to_string(sid);
        return "suid=xxx&sid=" + number + "&stype=5&stag1=0&sname=UPS-" + number +
               "&subsys=2&dtupd=2024-05-01 12:00:00&state=0";
    }
};

} // namespace

// --- The walk -----------------------------------------------------------------------------------

TEST_F(DeviceTest, PostsOneDeviceInThisOrder)
{
    Device(7, "Tem", {"25.5"});
    app.PostNormal();
    EXPECT_THAT(rec.Events(),
                ElementsAre("log PostNormal...\n", "open(NULL,-2)", "log    tbUps...\n", kTick,
                            "sql " + query_of("tbUps", 7), kTick, "free",
                            "post " + Head(7) + "&Tem=25.5", kTick, "pause 20", "close"));
}

TEST_F(DeviceTest, NoDeviceStillOpensAndCloses)
{
    app.PostNormal();
    EXPECT_THAT(rec.Events(), ElementsAre("log PostNormal...\n", "open(NULL,-2)", "close"));
}

TEST_F(DeviceTest, PostsTheSampleOfTheWireFormat)
{
    Ini("POST.xFld", {"5.Run=1", "5.Runx=unknown", "5.Run0=stopped", "5.Run1=running", "5.Alm=2",
                      "5.Alm00=normal", "5.Alm0=low voltage", "5.Alm1=over temperature"});
    Device(101, "Tem,Run,Alm", {"25.5", "1", "3"});
    app.m_mapSmName[101] = "UPS-1";
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=101&stype=5&stag1=0&sname=UPS-1&subsys=2"
                                          "&dtupd=2024-05-01 12:00:00&state=0&Tem=25.5&Run=running"
                                          "&Alm=low voltage over temperature"));
}

TEST_F(DeviceTest, PostsInAscendingSidOrderWhateverTheTables)
{
    Device(30);
    Device(-4);
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(-4), Head(7), Head(30)));
}

TEST_F(DeviceTest, EveryBodyIsTheWholeBufferAndRecordZero)
{
    Device(7);
    app.m_iPostRow = 5;
    app.PostNormal();
    ASSERT_THAT(rec.posts, SizeIs(1));
    EXPECT_TRUE(rec.posts[0].own);
    EXPECT_EQ(rec.posts[0].url, "");
    EXPECT_EQ(rec.posts[0].row, 0);
}

TEST_F(DeviceTest, FailedPostChangesNothing)
{
    Device(7);
    Device(8);
    rec.post_results = {0, 0};
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7), Head(8)));
    EXPECT_THAT(rec.Pauses(), ElementsAre(20, 20));
}

TEST_F(DeviceTest, GoesOnWhenTheDatabaseDoesNotOpen)
{
    db.open_result = 0;
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), SizeIs(1));
}

// --- Head and columns ---------------------------------------------------------------------------

TEST_F(DeviceTest, NameComesFromTheCatalogueAlsoWhenItIsEmpty)
{
    Device(7);
    app.m_mapSmName[7] = "";
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("&sname=&subsys=2")));
}

TEST_F(DeviceTest, IdentityIsThatOfTheRowNotOfTheCatalogue)
{
    app.m_mapSidTbl[7] = "tbUps";
    app.m_mapSmName[8] = "eight";
    db.Rows(kFixed, {{"row", "", "3", "4", "8", "6", "2", "D", "", "", "", ""}});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=8&stype=6&stag1=3&sname=eight&subsys=4"
                                          "&dtupd=D&state=2"));
}

TEST_F(DeviceTest, StateIsTheConfiguredTextOfItsNumber)
{
    app.m_strState1 = "on";
    app.m_strState3 = "gone";
    app.m_strState0 = "other";
    Device(1, "", {}, "1");
    Device(3, "", {}, "3");
    Device(9, "", {}, "9");
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("&state=on"), HasSubstr("&state=gone"),
                                          HasSubstr("&state=other")));
}

TEST_F(DeviceTest, NullsOfTheJoinAreEmptyAndZero)
{
    app.m_mapSidTbl[7] = "tbUps";
    db.Rows(kFixed, {{kNull, kNull, kNull, kNull, "7", "5", kNull, kNull, kNull, "", "", ""}});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=0&sname=&subsys=0"
                                          "&dtupd=&state=0"));
}

TEST_F(DeviceTest, UsesTheConfiguredHeadAndDepartment)
{
    app.m_strFmt0 = "d=%s;n=%04d";
    app.m_strDept = "north & south";
    Device(7, "Tem", {"1"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("d=north & south;n=0007&Tem=1"));
}

TEST_F(DeviceTest, EmptyColumnsAreLeftOut)
{
    Device(7, "A,B,C", {"", kNull, "3"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7) + "&C=3"));
}

TEST_F(DeviceTest, ConfiguredCountPostsThatManyColumns)
{
    Ini("POST.Master", {"tbUps.flds=3"});
    Device(7, "A,B,C,D", {"1", "2", "3", "4"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7) + "&A=1&B=2&C=3"));
}

TEST_F(DeviceTest, ConfiguredCountBeyondTheResultPostsWhatThereIs)
{
    Ini("POST.Master", {"tbUps.flds=2147483647"});
    Device(7, "A,B", {"1", "2"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7) + "&A=1&B=2"));
}

TEST_F(DeviceTest, NegativeCountPostsTheHeadAlone)
{
    Ini("POST.Master", {"tbUps.flds=-2147483648"});
    Device(7, "A,B", {"1", "2"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7)));
}

TEST_F(DeviceTest, OnlyTheFirstRowIsUsed)
{
    app.m_mapSidTbl[7] = "tbUps";
    const Row first{"one", "", "0", "2", "7", "5", "0", "D", "", "", "", ""};
    const Row second{"two", "", "0", "2", "7", "5", "0", "D", "", "", "", ""};
    db.Rows(kFixed, {first, second});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("sname=one")));
}

// --- Nothing to post ----------------------------------------------------------------------------

TEST_F(DeviceTest, NegativeStateIsReadButNotPosted)
{
    Device(7, "Tem", {"1"}, "-1");
    app.m_mapSidTry[7] = 2;
    std::copy_n("before", 7, app.m_szPostBuf);
    app.PostNormal();
    EXPECT_THAT(rec.Steps(), ElementsAre("open(NULL,-2)", kTick, "sql " + query_of("tbUps", 7),
                                         "free", kTick, "pause 20", "close"));
    EXPECT_EQ(app.m_mapSidTry[7], 0);
    EXPECT_STREQ(app.m_szPostBuf, "before");
}

TEST_F(DeviceTest, DeviceWithoutARowIsNotPosted)
{
    app.m_mapSidTbl[7] = "tbUps";
    app.m_mapSidTry[7] = 1;
    db.Rows(kFixed, {});
    app.PostNormal();
    EXPECT_THAT(rec.Steps(), ElementsAre("open(NULL,-2)", kTick, "sql " + query_of("tbUps", 7),
                                         "free", kTick, "pause 20", "close"));
    EXPECT_EQ(app.m_mapSidTry[7], 0);
}

// --- Queries that cannot start -------------------------------------------------------------------

TEST_F(DeviceTest, QueryIsTriedTenMoreTimesThenTheDeviceIsSkipped)
{
    db.On("x.SID=7").FailAlways();
    app.m_mapSidTbl[7] = "tbUps";
    Device(8);
    app.PostNormal();
    EXPECT_EQ(rec.PauseSum(), 10 * 3000 + 20); // no pause of its own for the skipped device
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=0\n"), 1);
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=9\n"), 1);
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSID=7\n"), 1);
    EXPECT_EQ(rec.Count(kTick), 11 + 3);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(8)));
}

TEST_F(DeviceTest, SkippedDeviceIsFollowedByTheNextAtOnceWithoutService)
{
    app.m_mapSidTbl = {{7, "tbUps"}, {8, "tbUps"}};
    db.On("x.SID=7").FailAlways();
    db.On("x.SID=8").FailAlways();
    app.m_devCtrlupdSta = 1;
    app.PostNormal();
    EXPECT_THAT(rec.Between("log    iqryX=-1 iSID=7", "sql"),
                ElementsAre("log    iqryX=-1 iSID=7\n", "log    tbUps...\n", kTick));
    EXPECT_EQ(rec.CountStarting("log AppPost"), 0);
}

TEST_F(DeviceTest, QueryThatStartsOnTheLastRetryIsPosted)
{
    db.On("x.SID=7").Fail(10);
    Device(7);
    app.PostNormal();
    EXPECT_EQ(rec.Count("log    iqryX=0 iSmTry=9\n"), 1);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7)));
}

// --- Exceptions ---------------------------------------------------------------------------------

TEST_F(DeviceTest, DeviceThatThrowsIsTriedThreeTimesTwoSecondsApart)
{
    db.On("x.SID=7").Throw(11, "malformed", 3);
    app.m_mapSidTbl[7] = "tbUps";
    Device(8);
    app.PostNormal();
    EXPECT_THAT(rec.Pauses(), ElementsAre(2000, 20, 2000, 20, 20, 20));
    EXPECT_EQ(rec.Count("sql " + query_of("tbUps", 7)), 3);
    EXPECT_EQ(rec.Count("log [CAppPost::PostNormal] db exception: 11 malformed\r\n"), 3);
    EXPECT_EQ(app.m_mapSidTry[7], 0);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(8)));
}

TEST_F(DeviceTest, ExceptionIsLoggedBeforeThePauseAndFollowedByNoTick)
{
    db.On("x.SID=7").Throw(11, "malformed");
    Device(7);
    app.PostNormal();
    EXPECT_THAT(
        rec.Between("log [CAppPost", "sql"),
        ElementsAre("log [CAppPost::PostNormal] db exception: SID:7, Table:tbUps, TryCnt=0\n",
                    "log [CAppPost::PostNormal] db exception: 11 malformed\r\n", "pause 2000",
                    "pause 20", "log    tbUps...\n", kTick));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7)));
}

TEST_F(DeviceTest, LastDeviceIsTriedAgainToo)
{
    Device(7);
    db.On("x.SID=8").Throw(11, "malformed", 2);
    Device(8);
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7), Head(8)));
}

TEST_F(DeviceTest, PrintedTryCountIsThatOfTheInputAtThisPosition)
{
    app.m_vDiTry = {10, 11, 12};
    app.m_mapSidTbl = {{-1, "tbUps"}, {2, "tbUps"}, {3, "tbUps"}};
    db.On("").Throw(1, "e", -1);
    app.PostNormal();
    EXPECT_EQ(rec.Count("log [CAppPost::PostNormal] db exception: SID:2, Table:tbUps, "
                        "TryCnt=12\n"),
              3);
    EXPECT_EQ(rec.Count("log [CAppPost::PostNormal] db exception: SID:3, Table:tbUps, "
                        "TryCnt=0\n"),
              3);
    EXPECT_EQ(rec.Count("log [CAppPost::PostNormal] db exception: SID:-1, Table:tbUps, "
                        "TryCnt=0\n"),
              3);
}

TEST_F(DeviceTest, ThirdFailureInARowDropsTheDeviceAtOnce)
{
    app.m_mapSidTry[7] = 2;
    db.On("x.SID=7").Throw(1, "e"); // the third failure in a row: dropped at once
    Device(7);
    app.m_mapSidTry[7] = 2;
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), IsEmpty());
    EXPECT_EQ(app.m_mapSidTry[7], 0);
}

TEST_F(DeviceTest, ExceptionHalfWayFreesTheQuery)
{
    db.ThrowIn("QryFldCount", 1, 10, "disk I/O error");
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Between("pause 2000", "log"), ElementsAre("pause 2000", "free", "pause 20"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7)));
}

TEST_F(DeviceTest, ExceptionWhileFreeingDoesNotPostTheBody)
{
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Pauses(), ElementsAre(2000, 20, 20));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7)));
}

TEST_F(DeviceTest, ForeignExceptionIsSwallowedAndTheNextDeviceFollows)
{
    db.On("x.SID=7").ThrowForeign();
    app.m_mapSidTbl[7] = "tbUps";
    Device(8);
    app.m_mapSidTry[7] = 1;
    EXPECT_NO_THROW(app.PostNormal());
    EXPECT_THAT(rec.Pauses(), ElementsAre(20, 20));
    EXPECT_EQ(rec.CountStarting("log [CAppPost"), 0);
    EXPECT_EQ(app.m_mapSidTry[7], 1);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(8)));
}

TEST_F(DeviceTest, ForeignExceptionHalfWayFreesTheQuery)
{
    db.ThrowForeignIn("QryGetStr", 1);
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Steps(), ElementsAre("open(NULL,-2)", kTick, "sql " + query_of("tbUps", 7),
                                         "free", "pause 20", "close"));
}

TEST_F(DeviceTest, ColumnThatATableLacksIsAnExceptionAndNotTheEnd)
{
    app.m_mapSidTbl[7] = "tbUps";
    db.On("x.SID=7").Rows("Name,SID", {{"UPS", "7"}});
    Device(8);
    app.PostNormal();
    EXPECT_EQ(rec.Count("log [CAppPost::PostNormal] db exception: 1 no such column: State\r\n"), 3);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(8)));
}

// --- Extras -------------------------------------------------------------------------------------

TEST_F(DeviceTest, ExtensionsComeByKeyThenTheDetailRowsThenThePost)
{
    Ini("POST.Ext.5", {"tbB=1", "tbA=1", "tbA.flds=1", "tbB.flds=1", "x.flds.y=9"});
    Ini("POST.Master", {"tbUps=tbBatt"});
    Ini("POST.Detail", {"tbBatt=103"});
    Device(7, "Tem", {"25"});
    db.On("from tbA where Type=5").Rows("a", {{"1"}});
    db.On("from tbB where Type=5").Rows("b", {{"2"}});
    db.On("from tbBatt where SID=7").Rows("Fld,dat0", {{"1", "215"}, {"2", "-3"}});
    app.PostNormal();
    EXPECT_THAT(rec.Sql(),
                ElementsAre(query_of("tbUps", 7), "select * from tbA where Type=5",
                            "select * from tbB where Type=5", "select * from tbBatt where SID=7"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7) + "&Tem=25&a=1&b=2&Tem1=215&Tem2=-3"));
    EXPECT_EQ(rec.Count("log    detail=tbBatt\n"), 1);
}

TEST_F(DeviceTest, ExtensionsAreThoseOfTheTypeOnly)
{
    Ini("POST.Ext.50", {"tbA=1"});
    Device(7);
    app.PostNormal();
    EXPECT_THAT(rec.Sql(), SizeIs(1));
}

TEST_F(DeviceTest, DeviceQueryIsClosedBeforeTheExtrasAndThePost)
{
    Ini("POST.Master", {"tbUps=tbBatt"});
    Ini("POST.Detail", {"tbBatt=103"});
    Device(7);
    db.On("from tbBatt").Rows("Fld,dat0", {});
    rec.on_post = [&]
    {
        EXPECT_EQ(db.OpenQueries(), 0);
    };
    app.PostNormal();
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", kTick, "sql " + query_of("tbUps", 7), kTick, "free",
                            kTick, "sql select * from tbBatt where SID=7", "free",
                            "post " + Head(7), kTick, "pause 20", "close"));
}

TEST_F(DeviceTest, DeviceThatIsNotPostedHasNoExtras)
{
    Ini("POST.Ext.5", {"tbA=1"});
    Ini("POST.Master", {"tbUps=tbBatt"});
    Device(7, "", {}, "-1");
    app.PostNormal();
    EXPECT_THAT(rec.Sql(), SizeIs(1));
}

// --- Requests in between ------------------------------------------------------------------------

TEST_F(DeviceTest, RequestIsServedBetweenTwoDevices)
{
    Device(7);
    Device(8);
    app.m_mapCtrlReq[8] = 1;
    rec.on_post = [&]
    {
        app.m_devCtrlupdSta = rec.posts.size() == 1 ? 1 : 0;
    };
    app.PostNormal();
    EXPECT_EQ(rec.Count("log AppPost PostNormal line=1229 m_devCtrlupdSta=1 \r\n"), 1);
    EXPECT_EQ(rec.Count("log AppPost PostMsgrecv line=2760 m_devCtrlupdSta=1 \r\n"), 1);
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7), Head(8), Head(8)));
    EXPECT_TRUE(rec.posts[0].own);
    EXPECT_FALSE(rec.posts[1].own); // the request's, in its own buffer
    EXPECT_TRUE(rec.posts[2].own);
}

TEST_F(DeviceTest, RequestsAreServedAfterThePause)
{
    Device(7);
    app.m_devCtrlupdSta = 1;
    app.PostNormal();
    EXPECT_THAT(rec.Between("pause 20", "close"),
                ElementsAre("pause 20", "log AppPost PostNormal line=1229 m_devCtrlupdSta=1 \r\n",
                            "log AppPost PostMsgrecv line=2760 m_devCtrlupdSta=1 \r\n"));
}

TEST_F(DeviceTest, RequestsAreServedAfterDevicesThatFailedOrAreNotPosted)
{
    Device(6, "", {}, "-1");
    db.On("x.SID=7").ThrowForeign();
    Device(7);
    rec.on_pause = [&](int)
    {
        app.m_devCtrlupdSta = 1;
    };
    app.PostNormal();
    EXPECT_EQ(rec.Count("log AppPost PostNormal line=1229 m_devCtrlupdSta=1 \r\n"), 2);
}

TEST_F(DeviceTest, OnlyTheFlagOneAsksForService)
{
    Device(7);
    app.m_devCtrlupdSta = 2;
    app.PostNormal();
    EXPECT_EQ(rec.CountStarting("log AppPost"), 0);
}

// --- Hostile rows -------------------------------------------------------------------------------

TEST_F(DeviceTest, ValueLargerThanTheBufferIsLeftOutWholeAndLogged)
{
    Device(7, "A,B,C", {"1", Long(200000), "3"});
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(7) + "&A=1&C=3"));
    EXPECT_EQ(rec.Count("log    sid=7: body of 102400 bytes is full, left out 1: B\n"), 1);
}

TEST_F(DeviceTest, NameLargerThanTheBufferIsLeftOutOfTheHead)
{
    Device(7, "A", {"1"});
    app.m_mapSmName[7] = Long(200000);
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=0&subsys=2"
                                          "&dtupd=2024-05-01 12:00:00&state=0&A=1"));
    EXPECT_EQ(rec.Count("log    sid=7: body of 102400 bytes is full, left out 1: sname\n"), 1);
}

TEST_F(DeviceTest, ManyColumnsFillTheBufferAndNothingBehindIt)
{
    std::string columns = "c";
    Row values{Long(1000)};
    for (int i = 0; i < 300; ++i)
    {
        columns += ",c" + std::to_string(i);
        values.push_back(Long(1000));
    }
    Device(7, columns, values);
    app.m_iTimeout = 15; // the member behind the buffer
    app.PostNormal();
    ASSERT_THAT(rec.posts, SizeIs(1));
    EXPECT_LT(rec.posts[0].body.size(), CAppPost::kPostBufBytes);
    EXPECT_GT(rec.posts[0].body.size(), CAppPost::kPostBufBytes - 1100);
    EXPECT_EQ(app.m_iTimeout, 15);
}

TEST_F(DeviceTest, PercentSignsOfTheDatabaseAreNotAFormat)
{
    Device(7, "%s%n,B", {"%s%n%n", "%d"});
    app.m_mapSmName[7] = "%s%n";
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=0&sname=%s%n&subsys=2"
                                          "&dtupd=2024-05-01 12:00:00&state=0&%s%n=%s%n%n&B=%d"));
}
