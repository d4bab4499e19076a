// Digital inputs and outputs: their bodies, their numbers, and how each part fails.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";
constexpr char kOutputQuery[] = "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbDio x"
                                " left join tbSM s on s.SID=x.SID where x.SID=1";

std::string input_query(int sid)
{
    return "select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbSubSysDetail x"
           " left join tbSM s on s.SID=x.SID where x.SID=" +
           std::to_string(sid) + " and x.SID<>x.SIDD";
}

class DioTest : public PosterTest
{
protected:
    void Input(int sid, const std::string& state = "1")
    {
        db.On(input_query(sid))
            .Rows("Name,Note,Tag1,ASubSys,SID,SIDD,Fld,Type,State,LastUpd",
                  {{"Door", "", "3", "4", std::to_string(sid), "9", "2", "8", state, "T"}});
        app.m_vDiSid.push_back(sid);
        app.m_vDiTry.push_back(0);
    }
    static std::string InputBody(int sid)
    {
        return "suid=xxx&sid=" + std::to_string(sid) +
               "&stype=8&stag1=3&sname=Door&subsys=4&dtupd=T&state=1&psid=9&pfld=2";
    }
    void NoOutputs() { db.On(kOutputQuery).Rows("SID", {}); }
    void Outputs(const std::string& columns, const Row& values)
    {
        Row row{"1", "20", "U"};
        row.insert(row.end(), values.begin(), values.end());
        db.On(kOutputQuery).Rows("SID,Type,DateUpd," + columns, {row});
    }
    static std::string OutputBody(int number, const std::string& value)
    {
        const std::string n = std::to_string(number);
        return "suid=xxx&sid=1&stype=20&stag1=" + n + "&sname=DO" + n +
               "&subsys=0&dtupd=U&state=" + value + "&DoState=" + value;
    }
};

} // namespace

// --- Inputs -------------------------------------------------------------------------------------

TEST_F(DioTest, PostsAnInputInThisOrder)
{
    Input(31);
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Events(),
                ElementsAre("log PostDio...\n", "open(NULL,-2)", "sql " + input_query(31), kTick,
                            "free", "post " + InputBody(31), std::string("sql ") + kOutputQuery,
                            "free", "close"));
}

TEST_F(DioTest, PostsInputsInTheOrderOfDiscoveryWithRunningNumbers)
{
    Input(31);
    Input(12, "-1");
    Input(5);
    Outputs("D09,D10,D11", {"0", "0", "0"});
    app.PostDio();
    ASSERT_THAT(rec.posts, SizeIs(5));
    EXPECT_EQ(rec.posts[0].body, InputBody(31));
    EXPECT_EQ(rec.posts[1].body, InputBody(5));
    EXPECT_EQ(rec.posts[0].row, 0);
    EXPECT_EQ(rec.posts[1].row, 1);
    EXPECT_EQ(rec.posts[2].row, 4); // outputs are numbered while they are composed
    EXPECT_EQ(rec.posts[4].row, 4);
}

TEST_F(DioTest, SuccessClearsTheFailureCount)
{
    Input(31);
    NoOutputs();
    app.m_vDiTry[0] = 2;
    app.PostDio();
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0));
}

TEST_F(DioTest, NegativeStateIsNotPosted)
{
    Input(31, "-1");
    NoOutputs();
    app.m_vDiTry[0] = 2;
    app.PostDio();
    EXPECT_THAT(rec.Between("sql " + input_query(31), std::string("sql ") + kOutputQuery),
                ElementsAre("sql " + input_query(31), "free", kTick));
    EXPECT_THAT(app.m_vDiTry, ElementsAre(2));
}

TEST_F(DioTest, StateZeroIsPosted)
{
    Input(31, "0");
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=31&stype=8&stag1=3&sname=Door&subsys=4"
                                          "&dtupd=T&state=0&psid=9&pfld=2"));
}

TEST_F(DioTest, InputWithoutARowIsNotPosted)
{
    app.m_vDiSid = {31};
    app.m_vDiTry = {0};
    db.On(input_query(31)).Rows("SID", {});
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Between("sql " + input_query(31), std::string("sql ") + kOutputQuery),
                ElementsAre("sql " + input_query(31), "free", kTick));
}

TEST_F(DioTest, InputWhoseQueryCannotStartIsSkippedAfterTenRetries)
{
    db.On(input_query(31)).FailAlways();
    Input(31);
    Input(32);
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, 3000)));
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=0\n"), 1);
    EXPECT_EQ(rec.Count("log    iqryX=-1 iSmTry=9\n"), 1);
    EXPECT_THAT(rec.Between("log    iqryX=-1 iSID=31", kTick),
                ElementsAre("log    iqryX=-1 iSID=31\n", "sql " + input_query(32)));
    EXPECT_THAT(rec.Bodies(), ElementsAre(InputBody(32)));
}

TEST_F(DioTest, InputThatThrowsIsTriedThreeTimesTwoSecondsApart)
{
    db.On(input_query(31)).Throw(11, "malformed", 3);
    Input(31);
    Input(32);
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Pauses(), ElementsAre(2000, 2000));
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post DI exception, SID=31, TryCnt=1\n"), 1);
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post DI exception, SID=31, TryCnt=2\n"), 1);
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post DI exception, SID=31, TryCnt=3\n"), 1);
    EXPECT_THAT(app.m_vDiTry, ElementsAre(0, 0));
    EXPECT_THAT(rec.Bodies(), ElementsAre(InputBody(32)));
}

TEST_F(DioTest, ForeignExceptionOfAnInputCountsAndFreesBeforeThePause)
{
    db.ThrowForeignIn("QryGetStr", 1);
    Input(31);
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Between("log [CAppPost", "sql"),
                ElementsAre("log [CAppPost::PostDio] Post DI exception, SID=31, TryCnt=1\n", "free",
                            "pause 2000"));
    EXPECT_THAT(rec.Bodies(), ElementsAre(InputBody(31)));
}

// --- Outputs ------------------------------------------------------------------------------------

TEST_F(DioTest, PostsThreeOutputsFromTheNinthColumnByDefault)
{
    Outputs("D08,D09,D10,D11,D12", {"9", "1", "0", "3", "9"});
    app.PostDio();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre(OutputBody(0, "1"), OutputBody(1, "0"), OutputBody(2, "3")));
}

TEST_F(DioTest, ComposesAllOutputsAndClosesTheQueryBeforeTheFirstPost)
{
    Outputs("D09,D10,D11", {"1", "0", "1"});
    app.PostDio();
    EXPECT_THAT(rec.Steps(), ElementsAre("open(NULL,-2)", std::string("sql ") + kOutputQuery, kTick,
                                         kTick, kTick, "free", "post " + OutputBody(0, "1"), kTick,
                                         "post " + OutputBody(1, "0"), kTick,
                                         "post " + OutputBody(2, "1"), kTick, "close"));
    EXPECT_TRUE(rec.posts.at(2).own);
}

TEST_F(DioTest, CountAndStartAreConfigured)
{
    Ini("POST.DO", {"Count=2", "Start=100"});
    Outputs("D100,D101", {"1", "2"});
    app.PostDio();
    EXPECT_THAT(rec.Bodies(), ElementsAre(OutputBody(0, "1"), OutputBody(1, "2")));
}

TEST_F(DioTest, AShortBodyEndsWhereItEndsThoughALongerOneWasComposedLater)
{
    Outputs("D09,D10,D11", {"1", "0", "-2000000000"});
    app.PostDio();
    ASSERT_THAT(rec.Bodies(), SizeIs(3));
    EXPECT_EQ(rec.Bodies()[0], OutputBody(0, "1"));
    EXPECT_EQ(rec.Bodies()[1], OutputBody(1, "0"));
}

TEST_F(DioTest, ColumnNumbersHaveTwoDigitsAtLeast)
{
    Ini("POST.DO", {"Count=1", "Start=0"});
    Outputs("D00", {"1"});
    app.PostDio();
    EXPECT_THAT(rec.Bodies(), ElementsAre(OutputBody(0, "1")));
}

TEST_F(DioTest, CountOfZeroOrLessPostsNoOutput)
{
    for (const char* count : {"0", "-1", "-2147483648", "many"})
    {
        app.m_ini.SetValue("POST.DO", "Count", count);
        Outputs("D09", {"1"});
        app.PostDio();
        EXPECT_THAT(rec.posts, IsEmpty()) << count;
    }
}

TEST_F(DioTest, StateTextIsThatOfTheOutputsValue)
{
    app.m_strState1 = "on";
    app.m_strState0 = "off";
    Ini("POST.DO", {"Count=2"});
    Outputs("D09,D10", {"1", kNull});
    app.PostDio();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre(HasSubstr("&state=on&DoState=1"), HasSubstr("&state=off&DoState=0")));
}

TEST_F(DioTest, NoRowForTheHostFreesTheQueryAndPostsNothing)
{
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Steps(),
                ElementsAre("open(NULL,-2)", std::string("sql ") + kOutputQuery, "free", "close"));
}

TEST_F(DioTest, OutputQueryIsTriedTenMoreTimes)
{
    db.On(kOutputQuery).FailAlways();
    app.PostDio();
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, 3000)));
    EXPECT_EQ(rec.Count(kTick), 10);
    EXPECT_EQ(rec.Logs().back(), "   Post DO Query error. iqryX=-1\n");
    EXPECT_EQ(rec.Events().back(), "close");
}

TEST_F(DioTest, ColumnThatIsMissingEndsTheOutputsBeforeAnyIsPosted)
{
    Outputs("D09,D10", {"1", "0"});
    app.PostDio();
    EXPECT_THAT(rec.posts, IsEmpty());
    EXPECT_THAT(rec.Between("log [CAppPost", "none"),
                ElementsAre("log [CAppPost::PostDio] Post DO exception\n", "free", "close"));
}

TEST_F(DioTest, StartAtTheEndOfTheNumbersIsOneMoreMissingColumn)
{
    Ini("POST.DO", {"Start=2147483647"});
    Outputs("D2147483647", {"1"});
    app.PostDio();
    EXPECT_EQ(rec.Count("log [CAppPost::PostDio] Post DO exception\n"), 1);
}

TEST_F(DioTest, ExceptionBetweenTwoPostsDropsTheRest)
{
    Outputs("D09,D10,D11", {"1", "0", "1"});
    rec.on_post = []
    {
        if (Recorder::Get().posts.size() == 2)
        {
            throw ForeignError{};
        }
    };
    EXPECT_NO_THROW(app.PostDio());
    EXPECT_THAT(rec.posts, SizeIs(2));
    EXPECT_EQ(rec.Logs().back(), "[CAppPost::PostDio] Post DO exception\n");
    EXPECT_EQ(rec.Events().back(), "close");
}

TEST_F(DioTest, InputsThatFailDoNotHoldTheOutputs)
{
    db.On(input_query(31)).Throw(11, "malformed", -1);
    Input(31);
    Outputs("D09,D10,D11", {"1", "0", "1"});
    app.PostDio();
    EXPECT_THAT(rec.posts, SizeIs(3));
}

// --- Hostile rows -------------------------------------------------------------------------------

TEST_F(DioTest, NameLargerThanTheBufferIsLeftOutAndLogged)
{
    app.m_vDiSid = {31};
    app.m_vDiTry = {0};
    db.On(input_query(31))
        .Rows("Name,Tag1,ASubSys,SID,SIDD,Fld,Type,State,LastUpd",
              {{Long(200000), "3", "4", "31", "9", "2", "8", "1", "T"}});
    NoOutputs();
    app.PostDio();
    EXPECT_THAT(rec.Bodies(), ElementsAre("suid=xxx&sid=31&stype=8&stag1=3&subsys=4&dtupd=T"
                                          "&state=1&psid=9&pfld=2"));
    EXPECT_EQ(rec.Count("log    sid=31: body of 102400 bytes is full, left out 1: sname\n"), 1);
}

TEST_F(DioTest, TimeOfAnOutputLargerThanTheBufferIsLeftOutAndLogged)
{
    Ini("POST.DO", {"Count=1"});
    db.On(kOutputQuery).Rows("SID,Type,DateUpd,D09", {{"1", "20", Long(200000), "1"}});
    app.PostDio();
    EXPECT_THAT(
        rec.Bodies(),
        ElementsAre("suid=xxx&sid=1&stype=20&stag1=0&sname=DO0&subsys=0&state=1&DoState=1"));
    EXPECT_EQ(rec.Count("log    sid=1: body of 102400 bytes is full, left out 1: dtupd\n"), 1);
}
