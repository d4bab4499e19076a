// Alarms: oldest first, posted to every alarm URL, marked as sent whatever came of it.
#include "app/AppPostTables.h"
#include "tests/support/PosterTest.h"

namespace
{

constexpr char kQuery[] = "sql select * from tbSMAlarm where AFld is null or AFld<1"
                          " order by DID limit 1";
constexpr char kColumns[] = "DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg";

class AlarmTest : public PosterTest
{
protected:
    void SetUp() override
    {
        app.m_strAlmUrl = "a";
        app.m_vAlmUrls = {"a"};
        app.m_mapSmName = {{7, "UPS-1"}};
        publish_names(app);
    }
    void Alarm(const Row& row) { db_alm.Rows(kColumns, {row}); }
    void NoMore() { db_alm.Rows(kColumns, {}); }

    // The body of one alarm.
    std::string Body(const Row& row)
    {
        Alarm(row);
        NoMore();
        app.OnAlmIns();
        return rec.posts.empty() ? "" : rec.posts.back().body;
    }
    std::string BodyOfType(int type, const std::string& title)
    {
        return Body({"1", "7", std::to_string(type), "0", "T", title, "0", ""});
    }
    // What stands behind "&name=" up to the next field.
    static std::string Field(const std::string& body, const std::string& name)
    {
        const size_t at = body.find("&" + name + "=") + name.size() + 2;
        return body.substr(at, body.find('&', at) - at);
    }
};

} // namespace

// --- The way of a call --------------------------------------------------------------------------

TEST_F(AlarmTest, PostsAndMarksAnAlarmInThisOrder)
{
    app.m_vAlmUrls = {"a", "b"};
    const std::string body = Body({"3", "7", "1024", "0", "T", "hot", "0", ""});
    EXPECT_EQ(body, "suid=xxx&sid=7&stype=1024&stag1=0&sname=UPS-1&subsys=4&dtupd=T&state=1"
                    "&level=重要&title=hot&suggestion=&location=&datainfo=&recovertime=&AlmImg=");
    EXPECT_THAT(rec.Events(),
                ElementsAre("open(NULL,0)", kQuery, "log CAppPost::OnAlmIns DID: 3\r\n", "free",
                            "post to a " + body, "log CAppPost::OnAlmIns post a ok\r\n",
                            "post to b " + body, "log CAppPost::OnAlmIns post b ok\r\n",
                            "exec update tbSMAlarm set AFld=1 where DID=3", kQuery, "free", "close",
                            "log CAppPost::OnAlmIns end\r\n"));
}

TEST_F(AlarmTest, WithoutAnAlarmUrlNothingHappens)
{
    app.m_strAlmUrl.clear();
    app.OnAlmIns();
    EXPECT_THAT(rec.Events(), IsEmpty());
}

TEST_F(AlarmTest, WithoutAnAlarmDatabaseNothingHappens)
{
    app.pDbAlm = nullptr;
    app.OnAlmIns();
    EXPECT_THAT(rec.Events(), IsEmpty());
}

TEST_F(AlarmTest, NoAlarmWaiting)
{
    NoMore();
    app.OnAlmIns();
    EXPECT_THAT(rec.Events(), ElementsAre("open(NULL,0)", kQuery, "free", "close",
                                          "log CAppPost::OnAlmIns end\r\n"));
}

TEST_F(AlarmTest, TakesOneAlarmAfterTheOtherUntilNoneIsLeft)
{
    Alarm({"3", "7", "0", "0", "", "", "0", ""});
    Alarm({"5", "7", "0", "0", "", "", "0", ""});
    Alarm({"7", "7", "0", "0", "", "", "0", ""});
    NoMore();
    app.OnAlmIns();
    EXPECT_EQ(rec.Count(kQuery), 4);
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=3"), 1);
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=5"), 1);
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=7"), 1);
}

TEST_F(AlarmTest, AlarmThatCouldNotBePostedIsMarkedAllTheSame)
{
    rec.post_results = {0};
    Body({"3", "7", "0", "0", "", "", "0", ""});
    EXPECT_EQ(rec.Count("log CAppPost::OnAlmIns post a fail\r\n"), 1);
    EXPECT_EQ(rec.CountStarting("post "), 1); // no second try
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=3"), 1);
}

TEST_F(AlarmTest, AnyOtherResultIsOk)
{
    rec.post_results = {-1};
    Body({"3", "7", "0", "0", "", "", "0", ""});
    EXPECT_EQ(rec.Count("log CAppPost::OnAlmIns post a ok\r\n"), 1);
}

TEST_F(AlarmTest, EmptyUrlListPostsNowhereAndStillMarks)
{
    app.m_vAlmUrls.clear();
    Body({"3", "7", "0", "0", "", "", "0", ""});
    EXPECT_THAT(rec.posts, IsEmpty());
    EXPECT_EQ(rec.Count("log CAppPost::OnAlmIns DID: 3\r\n"), 1);
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=3"), 1);
}

TEST_F(AlarmTest, UsesNeitherTrayNorDataDatabaseNorTheSweepsBuffer)
{
    std::copy_n("half built", 11, app.m_szPostBuf);
    app.pDb = nullptr;
    Body({"3", "7", "0", "0", "", "", "0", ""});
    EXPECT_EQ(rec.CountStarting("tray"), 0);
    EXPECT_STREQ(app.m_szPostBuf, "half built");
    EXPECT_FALSE(rec.posts.at(0).own);
}

TEST_F(AlarmTest, AlarmOfNumberZeroIsAnAlarmLikeAnyOther)
{
    Body({"0", "7", "0", "0", "", "", "0", ""});
    EXPECT_THAT(rec.posts, SizeIs(1));
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=0"), 1);
}

TEST_F(AlarmTest, AlarmThatCannotBeMarkedIsPostedOnceAndEndsTheCall)
{
    const Row alarm{"3", "7", "0", "0", "", "", "0", ""};
    db_alm.On("").Rows(kColumns, {alarm});
    app.OnAlmIns();
    EXPECT_THAT(rec.posts, SizeIs(1));
    EXPECT_EQ(rec.Count("log CAppPost::OnAlmIns DID: 3 cannot be marked as sent\r\n"), 1);
    EXPECT_EQ(rec.Logs().back(), "CAppPost::OnAlmIns end\r\n");
}

TEST_F(AlarmTest, NegativeIdsAreMarked)
{
    Body({"-3", "7", "0", "0", "", "", "0", ""});
    EXPECT_EQ(rec.Count("exec update tbSMAlarm set AFld=1 where DID=-3"), 1);
}

// --- The body -----------------------------------------------------------------------------------

TEST_F(AlarmTest, ClearedAlarmHasStateThreeAndARecoveryTime)
{
    app.m_strState1 = "active";
    app.m_strState3 = "cleared";
    const std::string body = Body({"3", "7", "0", "4", "T1", "x", "0", ""});
    EXPECT_EQ(Field(body, "state"), "cleared");
    EXPECT_EQ(Field(body, "dtupd"), "T1");
    EXPECT_EQ(Field(body, "recovertime"), "T1");
}

TEST_F(AlarmTest, OnlyTheClearedBitCounts)
{
    const std::string body = Body({"3", "7", "0", "4091", "T1", "x", "0", ""}); // all but 4
    EXPECT_EQ(Field(body, "state"), "1");
    EXPECT_EQ(Field(body, "recovertime"), "");
}

TEST_F(AlarmTest, UnknownDeviceHasAnEmptyName)
{
    EXPECT_EQ(Field(Body({"3", "8", "0", "0", "T", "x", "0", ""}), "sname"), "");
}

TEST_F(AlarmTest, BeforeTheFirstDiscoveryNamesAreEmpty)
{
    app.m_pAlmNames = nullptr;
    EXPECT_EQ(Field(Body({"3", "7", "0", "0", "T", "x", "0", ""}), "sname"), "");
}

TEST_F(AlarmTest, NamesAreThoseLastPublished)
{
    app.m_mapSmName[7] = "half read";
    EXPECT_EQ(Field(Body({"3", "7", "0", "0", "T", "x", "0", ""}), "sname"), "UPS-1");
}

TEST_F(AlarmTest, LevelFollowsTheClass)
{
    const std::string severe = "严重", major = "重要", minor = "次要", warning = "警告";
    const std::vector<std::string> levels{warning, severe,  severe,  severe, major,
                                          severe,  severe,  severe,  severe, minor,
                                          warning, warning, warning, minor,  warning};
    for (size_t type = 0; type < levels.size(); ++type)
    {
        const std::string body = BodyOfType(static_cast<int>(type << 8 | 0x55), "x");
        EXPECT_EQ(Field(body, "level"), levels[type]) << type;
        EXPECT_EQ(Field(body, "subsys"), std::to_string(type));
    }
    EXPECT_EQ(Field(BodyOfType(0xFF00, "x"), "level"), warning);
}

TEST_F(AlarmTest, ClassIsTheSecondByteAlone)
{
    EXPECT_EQ(Field(BodyOfType(0x120400, "x"), "subsys"), "4");
    EXPECT_EQ(Field(BodyOfType(-1, "x"), "subsys"), "255");
}

TEST_F(AlarmTest, TitleOfClassNineGivesTheClassButNotTheLevel)
{
    const std::vector<std::pair<std::string, std::string>> titles{
        {"漏水", "6"}, {"红外", "10"}, {"门", "11"}, {"放电", "12"}, {"smoke", "9"}};
    for (const auto& [title, type] : titles)
    {
        const std::string body = BodyOfType(0x0900, title);
        EXPECT_EQ(Field(body, "subsys"), type) << title;
        EXPECT_EQ(Field(body, "level"), "次要");
        EXPECT_EQ(Field(body, "stype"), "2304");
    }
}

TEST_F(AlarmTest, LastWordOfATitleWins)
{
    EXPECT_EQ(Field(BodyOfType(0x0900, "放 门 红 漏"), "subsys"), "12");
    EXPECT_EQ(Field(BodyOfType(0x0900, "门 漏"), "subsys"), "11");
    EXPECT_EQ(Field(BodyOfType(0x0900, "红漏"), "subsys"), "10");
}

TEST_F(AlarmTest, TitlesOfOtherClassesChangeNothing)
{
    EXPECT_EQ(Field(BodyOfType(0x0400, "门"), "subsys"), "4");
}

TEST_F(AlarmTest, SuggestionNamesTheWaysOfTheMask)
{
    const auto suggestion = [&](const char* mask)
    {
        return Field(Body({"3", "7", "0", "0", "T", "x", mask, ""}), "suggestion");
    };
    EXPECT_EQ(suggestion("65"), " 声光 POST");
    EXPECT_EQ(suggestion("127"), " 声光 语音 短信 彩信 电话 邮件 POST");
    EXPECT_EQ(suggestion("0"), "");
    EXPECT_EQ(suggestion("128"), "");
    EXPECT_EQ(suggestion("42"), " 语音 彩信 邮件");
    EXPECT_EQ(suggestion("20"), " 短信 电话");
}

TEST_F(AlarmTest, NullsAreEmpty)
{
    EXPECT_EQ(Body({"3", "7", kNull, kNull, kNull, kNull, kNull, kNull}),
              "suid=xxx&sid=7&stype=0&stag1=0&sname=UPS-1&subsys=0&dtupd=&state=1&level=警告"
              "&title=&suggestion=&location=&datainfo=&recovertime=&AlmImg=");
}

TEST_F(AlarmTest, TextsAreNotEscaped)
{
    const std::string body = Body({"3", "7", "0", "0", "T", "a&b=c %n", "0", "x y.jpg"});
    EXPECT_THAT(body, HasSubstr("&title=a&b=c %n&suggestion="));
    EXPECT_THAT(body, ::testing::EndsWith("&AlmImg=x y.jpg"));
}

TEST_F(AlarmTest, UsesTheConfiguredHead)
{
    app.m_strFmt0 = "dept=%s/%03d";
    EXPECT_THAT(Body({"3", "7", "0", "0", "T", "x", "0", ""}),
                StartsWith("dept=xxx/007&level=警告&title=x"));
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(AlarmTest, FiveFailedQueriesEndTheCall)
{
    db_alm.On("").FailAlways();
    app.OnAlmIns();
    const std::string line = "log [CAppPost::OnAlmIns] : qryExec Error! iqry=-1, Try Count: ";
    EXPECT_THAT(rec.Events(), ElementsAre("open(NULL,0)", kQuery, line + "4\n", "pause 200", kQuery,
                                          line + "3\n", "pause 200", kQuery, line + "2\n",
                                          "pause 200", kQuery, line + "1\n", "pause 200", kQuery,
                                          line + "0\n", "close", "log CAppPost::OnAlmIns end\r\n"));
}

TEST_F(AlarmTest, FailuresAreCountedOverTheWholeCall)
{
    db_alm.On("").Fail(3);
    Alarm({"3", "7", "0", "0", "", "", "0", ""});
    db_alm.On("").FailAlways();
    app.OnAlmIns();
    EXPECT_THAT(rec.posts, SizeIs(1));
    EXPECT_EQ(rec.Count(kQuery), 3 + 1 + 2);
    EXPECT_EQ(rec.PauseSum(), 4 * 200);
}

TEST_F(AlarmTest, ExceptionEndsTheCallAndLeavesTheQueryToClose)
{
    db_alm.ExpectLeftOpen(1);
    db_alm.ThrowIn("QryGetStr", 1, 10, "disk I/O error");
    Alarm({"3", "7", "0", "0", "", "", "0", ""});
    app.OnAlmIns();
    EXPECT_THAT(rec.Events(),
                ElementsAre("open(NULL,0)", kQuery, "log CAppPost::OnAlmIns DID: 3\r\n",
                            "log [CAppPost::OnAlmIns] db exception: 10 disk I/O error\r\n", "close",
                            "log CAppPost::OnAlmIns end\r\n"));
}

TEST_F(AlarmTest, UpdateThatThrowsEndsTheCallAfterThePost)
{
    db_alm.ThrowIn("Exec", 1, 5, "database is locked");
    Alarm({"3", "7", "0", "0", "", "", "0", ""});
    app.OnAlmIns();
    EXPECT_THAT(rec.posts, SizeIs(1));
    EXPECT_EQ(rec.Count("log [CAppPost::OnAlmIns] db exception: 5 database is locked\r\n"), 1);
    EXPECT_EQ(rec.Count(kQuery), 1);
}

TEST_F(AlarmTest, ForeignExceptionPassesToTheCaller)
{
    db_alm.On("").ThrowForeign();
    EXPECT_THROW(app.OnAlmIns(), ForeignError);
}

// --- Hostile alarms -----------------------------------------------------------------------------

TEST_F(AlarmTest, TitleThatDoesNotFitIsLeftOutAndLogged)
{
    const std::string body = Body({"3", "7", "1024", "0", "T", Long(100000), "0", "a.jpg"});
    EXPECT_EQ(body, "suid=xxx&sid=7&stype=1024&stag1=0&sname=UPS-1&subsys=4&dtupd=T&state=1"
                    "&level=重要&suggestion=&location=&datainfo=&recovertime=&AlmImg=a.jpg");
    EXPECT_EQ(rec.Count("log    sid=7: body of 2048 bytes is full, left out 1: title\n"), 1);
}

TEST_F(AlarmTest, TitleMayFillTheBodyToItsLastByte)
{
    const size_t rest = Body({"1", "7", "0", "0", "T", "", "0", ""}).size();
    const std::string longest = Long(2047 - rest);
    EXPECT_EQ(Body({"2", "7", "0", "0", "T", longest, "0", ""}).size(), 2047U);
    // One byte more: the last field gives way.
    const std::string body = Body({"3", "7", "0", "0", "T", longest + "x", "0", ""});
    EXPECT_THAT(body, ::testing::EndsWith("&recovertime="));
    EXPECT_LT(body.size(), 2048U);
}

TEST_F(AlarmTest, EveryTextMayBeEndless)
{
    app.m_mapSmName[7] = Long(100000);
    publish_names(app);
    app.m_strDept = Long(100000);
    const std::string endless = Long(100000);
    EXPECT_EQ(Body({"3", "7", "1024", "4", endless, endless, "1", endless}),
              "sid=7&stype=1024&stag1=0&subsys=4&state=3&level=重要&suggestion= 声光&location="
              "&datainfo=");
    EXPECT_EQ(rec.Count("log    sid=7: body of 2048 bytes is full, left out 6: suid, sname, dtupd, "
                        "title, recovertime, ...\n"),
              1);
}
