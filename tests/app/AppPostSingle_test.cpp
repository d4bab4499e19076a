// On-demand posting of one device: the body of a sweep in a buffer of its own, and its own ways
// to fail.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";
constexpr char kQuery[] = "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbUps x"
                          " left join tbSM s on s.SID=x.SID where x.SID=7";
constexpr char kHead[] = "suid=xxx&sid=7&stype=5&stag1=0&sname=UPS-1&subsys=2"
                         "&dtupd=2024-05-01 12:00:00&state=0";

class SingleTest : public PosterTest
{
protected:
    void Device(const std::string& state = "0", const Cell& value = "25.5")
    {
        db.On(kQuery).Rows("Name,Note,Tag1,ASubSys,SID,Type,State,DateUpd,c5,c6,c7,c8,Tem",
                           {{"UPS-1", "", "0", "2", "7", "5", state, "2024-05-01 12:00:00", "5",
                             "6", "7", "8", value}});
    }
    int Post() { return app.PostNormal(7, "tbUps"); }
};

} // namespace

TEST_F(SingleTest, PostsTheDeviceInThisOrder)
{
    Device();
    EXPECT_EQ(Post(), 0);
    EXPECT_THAT(rec.Events(),
                ElementsAre("log iSid=7,PostNormal...\n", "open(NULL,-2)",
                            "log iSid=7   tbUps...\n", kTick, std::string("sql ") + kQuery, kTick,
                            "free", std::string("post ") + kHead + "&Tem=25.5", kTick, "close"));
}

TEST_F(SingleTest, NoTableIsRefused)
{
    EXPECT_EQ(app.PostNormal(7, nullptr), -1);
    EXPECT_THAT(rec.Events(), ElementsAre("log NULL = stbl,iSid=7\n"));
}

TEST_F(SingleTest, LeavesTheBodyOfTheSweepAlone)
{
    Device();
    std::copy_n("half built", 11, app.m_szPostBuf);
    Post();
    EXPECT_STREQ(app.m_szPostBuf, "half built");
    EXPECT_FALSE(rec.posts.at(0).own);
    EXPECT_EQ(rec.posts.at(0).url, "");
}

TEST_F(SingleTest, BodyOfTheLastRequestLeavesNoTrace)
{
    Ini("POST.Master", {"tbUps=tbBatt"});
    Ini("POST.Detail", {"tbBatt=202"});
    Device();
    db.On("from tbBatt").Once().Rows("Fld,Val", {{"long", Long(5000)}});
    db.On("from tbBatt").Rows("Fld,Val", {});
    Post();
    Post();
    EXPECT_EQ(rec.Bodies().at(1), std::string(kHead) + "&Tem=25.5");
}

TEST_F(SingleTest, TakesExtensionAndDetailRowsIntoItsOwnBuffer)
{
    Ini("POST.Ext.5", {"tbE=1", "tbE.flds=1"});
    Ini("POST.Master", {"tbUps=tbBatt"});
    Ini("POST.Detail", {"tbBatt=103"});
    Device();
    db.On("from tbE where Type=5").Rows("Maker", {{"Volt"}});
    db.On("from tbBatt where SID=7").Rows("Fld,dat0", {{"1", "215"}});
    Post();
    EXPECT_THAT(rec.Bodies(), ElementsAre(std::string(kHead) + "&Tem=25.5&Maker=Volt&Tem1=215"));
}

TEST_F(SingleTest, NameAndColumnCountComeFromWhereTheSweepTakesThem)
{
    Ini("POST.Master", {"tbUps.flds=-1"});
    app.m_mapSmName[7] = "renamed";
    Device();
    Post();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=7&stype=5&stag1=0&sname=renamed&subsys=2"
                                          "&dtupd=2024-05-01 12:00:00&state=0"));
}

TEST_F(SingleTest, NegativeStateOpensAndClosesAndPostsNothing)
{
    Device("-1");
    EXPECT_EQ(Post(), 0);
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", kTick, std::string("sql ") + kQuery, "free", "close"));
}

TEST_F(SingleTest, DeviceWithoutARowPostsNothing)
{
    db.On(kQuery).Rows("Name", {});
    EXPECT_EQ(Post(), 0);
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", kTick, std::string("sql ") + kQuery, "free", "close"));
}

TEST_F(SingleTest, QueryIsTriedTenMoreTimesThenGivenUp)
{
    db.On(kQuery).FailAlways();
    EXPECT_EQ(Post(), 0);
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, 3000)));
    EXPECT_EQ(rec.Count(kTick), 1 + 10);
    EXPECT_EQ(rec.Logs().back(), "   iqryX=-1 iSid=7\n"); // not iSID
    EXPECT_EQ(rec.Events().back(), "close");
}

TEST_F(SingleTest, ExceptionIsLoggedFreesTheQueryAndIsNotTriedAgain)
{
    db.ThrowIn("QryGetStrAt", 1, 10, "disk I/O error");
    Device();
    app.m_mapSidTry[7] = 1;
    EXPECT_EQ(Post(), 0);
    EXPECT_THAT(rec.Between("log [CAppPost", "none"),
                ElementsAre("log [CAppPost::PostNormal] db exception: 10 disk I/O error\r\n",
                            "free", "close"));
    EXPECT_THAT(rec.Pauses(), IsEmpty());
    EXPECT_EQ(app.m_mapSidTry[7], 1);
    EXPECT_THAT(rec.posts, IsEmpty());
}

TEST_F(SingleTest, ForeignExceptionClosesTheDatabaseAndEndsHere)
{
    db.ThrowForeignIn("QryGetStrAt", 1);
    Device();
    EXPECT_NO_THROW(Post());
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", kTick, std::string("sql ") + kQuery, "free", "close"));
}

TEST_F(SingleTest, SuccessDoesNotTouchTheFailureCount)
{
    Device();
    app.m_mapSidTry[7] = 2;
    Post();
    EXPECT_EQ(app.m_mapSidTry[7], 2);
}

TEST_F(SingleTest, NeitherPausesNorServesOtherRequests)
{
    Device();
    app.m_devCtrlupdSta = 1;
    Post();
    EXPECT_THAT(rec.Pauses(), IsEmpty());
    EXPECT_EQ(rec.CountStarting("log AppPost"), 0);
}

TEST_F(SingleTest, ValueLargerThanTheBufferIsLeftOutWhole)
{
    Device("0", Long(200000));
    Post();
    EXPECT_THAT(rec.Bodies(), ElementsAre(kHead));
    EXPECT_EQ(rec.Count("log    sid=7: body of 102400 bytes is full, left out 1: Tem\n"), 1);
}
