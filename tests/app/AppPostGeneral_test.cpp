// General tables: one body per row, under a made-up SID and one time stamp.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";

class GeneralTest : public PosterTest
{
protected:
    void SetUp() override { app.m_vGenTbls = {"tbLog"}; }
    void Table(const std::string& name, const std::string& columns, std::vector<Row> rows)
    {
        db.On("select * from " + name).Rows(columns, std::move(rows));
    }
    static std::string Head(int sid, int type = 0, const std::string& name = "")
    {
        return "suid=xxx&sid=" + std::to_string(sid) + "&stype=" + std::to_string(type) +
               "&stag1=0&sname=" + name + "&subsys=0&dtupd=2024-05-01 12:00:00&state=0";
    }
};

} // namespace

TEST_F(GeneralTest, PostsEachRowInThisOrder)
{
    db.RecordSteps();
    Table("tbLog", "Id,What", {{"1", "open"}, {"2", "shut"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Events(),
                ElementsAre("log PostGeneral...\n", "log    tbLog...\n", "open(NULL,-2)",
                            "sql select * from tbLog", "post " + Head(900) + "&What=open", "next",
                            kTick, "post " + Head(900) + "&What=shut", "next", kTick, "free",
                            "close", "pause 20"));
}

TEST_F(GeneralTest, NoTableDoesNothing)
{
    app.m_vGenTbls.clear();
    app.PostGeneral();
    EXPECT_THAT(rec.Events(), ElementsAre("log PostGeneral...\n"));
}

TEST_F(GeneralTest, TypeAndNameComeFromTheConfiguration)
{
    Ini("POST.General", {"tbLog=30", "tbLog.Name=door log"});
    Ini("POST.xFld", {"30.What=1", "30.What1=open"});
    Table("tbLog", "Id,What", {{"1", "1"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900, 30, "door log") + "&What=open"));
}

TEST_F(GeneralTest, SidCountsFromNineHundredByPosition)
{
    app.m_vGenTbls = {"tbA", "tbB", "tbC"};
    Table("tbA", "a", {});
    Table("tbB", "a", {{"1"}});
    Table("tbC", "a", {{"1"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(901), Head(902)));
}

TEST_F(GeneralTest, FirstColumnIsConfigured)
{
    Ini("POST.General", {"tbLog.0=0"});
    Table("tbLog", "Id,What", {{"1", "open"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900) + "&Id=1&What=open"));
}

TEST_F(GeneralTest, FirstColumnBeyondTheResultLeavesTheHead)
{
    Ini("POST.General", {"tbLog.0=2"});
    Table("tbLog", "Id,What", {{"1", "open"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900)));
}

TEST_F(GeneralTest, NegativeFirstColumnAddsNothingOfItsOwn)
{
    Ini("POST.General", {"tbLog.0=-2"});
    Table("tbLog", "Id,What", {{"1", "open"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900) + "&Id=1&What=open"));
}

TEST_F(GeneralTest, RecordNumberCountsTheRowsOfATable)
{
    app.m_vGenTbls = {"tbA", "tbB"};
    Table("tbA", "a", {{"1"}, {"2"}});
    Table("tbB", "a", {{"1"}});
    app.PostGeneral();
    EXPECT_EQ(rec.posts.at(0).row, 0);
    EXPECT_EQ(rec.posts.at(1).row, 1);
    EXPECT_EQ(rec.posts.at(2).row, 0);
}

TEST_F(GeneralTest, EveryBodyCarriesTheTimeOfTheCall)
{
    rec.stamps = {"2024-05-01 12:00:00", "later"};
    app.m_vGenTbls = {"tbA", "tbB"};
    Table("tbA", "a", {{"1"}, {"2"}});
    Table("tbB", "a", {{"1"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), Each(HasSubstr("&dtupd=2024-05-01 12:00:00&")));
}

TEST_F(GeneralTest, TableWithoutRowsStillPausesAndServes)
{
    Table("tbLog", "a", {});
    app.m_devCtrlupdSta = 1;
    app.PostGeneral();
    EXPECT_THAT(rec.Events(),
                ElementsAre("log PostGeneral...\n", "log    tbLog...\n", "open(NULL,-2)",
                            "sql select * from tbLog", "free", "close", "pause 20",
                            "log AppPost PostGeneral line=1336 m_devCtrlupdSta=1 \r\n",
                            "log AppPost PostMsgrecv line=2760 m_devCtrlupdSta=1 \r\n"));
}

TEST_F(GeneralTest, RequestsAreServedBetweenTablesNotRows)
{
    app.m_vGenTbls = {"tbA", "tbB"};
    Table("tbA", "a", {{"1"}, {"2"}});
    Table("tbB", "a", {{"1"}});
    rec.on_post = [&]
    {
        app.m_devCtrlupdSta = 1;
    };
    app.PostGeneral();
    EXPECT_EQ(rec.CountStarting("log AppPost PostGeneral line=1336"), 2);
}

TEST_F(GeneralTest, FailedPostDoesNotStopTheRows)
{
    rec.post_results = {0, 0};
    Table("tbLog", "a", {{"1"}, {"2"}});
    app.PostGeneral();
    EXPECT_THAT(rec.posts, SizeIs(2));
}

TEST_F(GeneralTest, QueryIsTriedTenMoreTimesThenTheTableIsSkippedWithoutClose)
{
    app.m_vGenTbls = {"tbA", "tbB"};
    db.On("tbA").FailAlways();
    Table("tbB", "a", {{"1"}});
    app.m_devCtrlupdSta = 1;
    app.PostGeneral();
    EXPECT_EQ(rec.PauseSum(), 10 * 3000 + 20);
    EXPECT_EQ(rec.Count(kTick), 10 + 1);
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=9\n"), 1);
    EXPECT_THAT(rec.Between("log    iqryX=-1 iflds", "sql"),
                ElementsAre("log    iqryX=-1 iflds=0\n", "log    tbB...\n", "open(NULL,-2)"));
    EXPECT_EQ(rec.Count("close"), 1);
    EXPECT_EQ(rec.CountStarting("log AppPost PostGeneral line=1336"), 1);
}

TEST_F(GeneralTest, GivenUpTablePrintsTheColumnsOfTheLastOneRead)
{
    app.m_vGenTbls = {"tbA", "tbEmpty", "tbB"};
    Table("tbA", "a,b,c", {{"1", "2", "3"}});
    Table("tbEmpty", "a", {});
    db.On("tbB").FailAlways();
    app.PostGeneral();
    EXPECT_EQ(rec.Logs().back(), "   iqryX=-1 iflds=3\n");
}

TEST_F(GeneralTest, ExceptionIsSilentFreesClosesAndGoesOnWithTheNextTable)
{
    app.m_vGenTbls = {"tbA", "tbB"};
    db.ThrowIn("QryNext", 1, 10, "disk I/O error");
    Table("tbA", "a", {{"1"}, {"2"}});
    Table("tbB", "a", {{"3"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900), Head(901)));
    EXPECT_THAT(rec.Between("free", "log"), ElementsAre("free", "close", "pause 20"));
    EXPECT_THAT(rec.Logs(), ElementsAre("PostGeneral...\n", "   tbA...\n", "   tbB...\n"));
}

TEST_F(GeneralTest, ForeignExceptionOfOpenIsSilentToo)
{
    db.ThrowForeignIn("Open", 1);
    app.PostGeneral();
    EXPECT_THAT(rec.Steps(), ElementsAre("open(NULL,-2)", "close", "pause 20"));
}

TEST_F(GeneralTest, QueryWhoseFreeingThrowsIsFreedOnceMore)
{
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    Table("tbLog", "a", {{"1"}});
    app.PostGeneral();
    EXPECT_EQ(db.OpenQueries(), 0);
    EXPECT_THAT(rec.Between("free", "none"), ElementsAre("free", "free", "close", "pause 20"));
}

TEST_F(GeneralTest, ValueLargerThanTheBufferIsLeftOutWholeAndLoggedPerRow)
{
    Table("tbLog", "Id,What,More", {{"1", Long(200000), "x"}, {"2", "ok", "y"}});
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), ElementsAre(Head(900) + "&More=x", Head(900) + "&What=ok&More=y"));
    EXPECT_EQ(rec.Count("log    sid=900: body of 102400 bytes is full, left out 1: What\n"), 1);
}
