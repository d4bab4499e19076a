// Detail and extension rows: what each mode prints, which columns are taken, and the retries.
#include "tests/support/PosterTest.h"

namespace
{

const std::string kTick = "tray(0,1)";

class DetailTest : public PosterTest
{
protected:
    // The text that the rows of device 7's detail table add in this mode.
    std::string Detail(int mode, const std::string& columns, std::vector<Row> rows)
    {
        SetMode(mode);
        db.Rows(columns, std::move(rows));
        const int appended = app.PostDetail(0, "tbBatt", 7);
        EXPECT_EQ(std::string(app.m_szPostBuf).size(), static_cast<size_t>(appended));
        return app.m_szPostBuf;
    }
    void SetMode(int mode) { app.m_ini.SetValue("POST.Detail", "tbBatt", std::to_string(mode)); }
};

class ExtTest : public PosterTest
{
protected:
    // What extension table tbE adds to a device of type 5. Its columns are c1 to c<columns>,
    // their values 1 to <columns>.
    std::string Ext(int first, int columns)
    {
        std::string names;
        Row row;
        for (int i = 1; i <= columns; ++i)
        {
            names += (i > 1 ? ",c" : "c") + std::to_string(i);
            row.push_back(std::to_string(i));
        }
        return Ext(first, names, {row});
    }
    std::string Ext(int first, const std::string& columns, std::vector<Row> rows)
    {
        db.Rows(columns, std::move(rows));
        const int appended = app.PostExt(0, 5, "tbE", first);
        EXPECT_EQ(std::string(app.m_szPostBuf).size(), static_cast<size_t>(appended));
        return app.m_szPostBuf;
    }
};

} // namespace

// --- Detail: the modes --------------------------------------------------------------------------

TEST_F(DetailTest, Mode100PrintsStateVoltageResistanceAndTemperature)
{
    EXPECT_EQ(Detail(100, "Addr,State,Vol,Reg,Tem",
                     {{"1", "0", "221", "15", "25"}, {"2", "1", "219", "-1", kNull}}),
              "&State1=0&Vol1=221&Reg1=15&Tem1=25&State2=1&Vol2=219&Reg2=-1&Tem2=0");
}

TEST_F(DetailTest, Mode101PrintsTheColumnsVAndTAsVolAndTem)
{
    EXPECT_EQ(Detail(101, "Fld,State,V,T,Vol,Tem", {{"3", "1", "221", "25", "9", "9"}}),
              "&State3=1&Vol3=221&Tem3=25");
}

TEST_F(DetailTest, Mode102PrintsTheBitStateLast)
{
    EXPECT_EQ(Detail(102, "Fld,bSt,Tem,Vol", {{"4", "6", "25", "221"}}),
              "&Vol4=221&Tem4=25&bSt4=6");
}

TEST_F(DetailTest, Mode103PrintsTheFirstDatum)
{
    EXPECT_EQ(Detail(103, "Fld,dat0", {{"1", "215"}, {"2", "-3"}}), "&Tem1=215&Tem2=-3");
}

TEST_F(DetailTest, Mode200PutsTheUnitStraightBehindTheValue)
{
    EXPECT_EQ(Detail(200, "Fld,Val,ValStr", {{"1", "25.5", "V"}, {"2", "", "on"}}),
              "&Fld1=25.5V&Fld2=on");
}

TEST_F(DetailTest, Mode200SkipsRowsWithoutAUnit)
{
    EXPECT_EQ(
        Detail(200, "Fld,Val,ValStr", {{"1", "25", ""}, {"2", "26", kNull}, {"3", "27", "A"}}),
        "&Fld3=27A");
}

TEST_F(DetailTest, Mode201PrintsTheValueAndSkipsEmptyOnes)
{
    EXPECT_EQ(Detail(201, "Fld,Val", {{"1", "a b"}, {"2", ""}, {"3", kNull}, {"4", "d&e"}}),
              "&Fld1=a b&Fld4=d&e");
}

TEST_F(DetailTest, Mode202NamesThePairByItsText)
{
    EXPECT_EQ(Detail(202, "Fld,Val", {{"Uin", "220"}, {"Uout", ""}, {kNull, "x"}}), "&Uin=220&=x");
}

TEST_F(DetailTest, ModesThatNobodyDefinedReadTheRowsAndAddNothing)
{
    for (const int mode : {1, 99, 104, 203, -5})
    {
        EXPECT_EQ(Detail(mode, "a", {{"1"}, {"2"}}), "") << mode;
        EXPECT_THAT(rec.Steps(), ElementsAre(kTick, "sql select * from tbBatt where SID=7", kTick,
                                             kTick, "free"));
        rec.Clear();
    }
}

// --- Detail: the way of a call ------------------------------------------------------------------

TEST_F(DetailTest, ModeZeroIsOneLogLineAndNoQuery)
{
    EXPECT_EQ(app.PostDetail(3, "tbBatt", 7), 0);
    EXPECT_THAT(rec.Events(), ElementsAre("log    PostDetail...tbBatt sid=7 mode=0\n"));
}

TEST_F(DetailTest, TicksBeforeTheQueryAndAfterEachRowAndNeitherOpensNorCloses)
{
    db.RecordSteps();
    Detail(103, "Fld,dat0", {{"1", "1"}, {"2", "2"}});
    EXPECT_THAT(rec.Events(), ElementsAre("log    PostDetail...tbBatt sid=7 mode=103\n", kTick,
                                          "sql select * from tbBatt where SID=7", "next", kTick,
                                          "next", kTick, "free"));
}

TEST_F(DetailTest, AppendsAtThePositionAndReturnsTheBytes)
{
    SetMode(103);
    db.Rows("Fld,dat0", {{"1", "215"}, {"2", "-3"}});
    std::copy_n("suid=xxx", 9, app.m_szPostBuf);
    EXPECT_EQ(app.PostDetail(8, "tbBatt", 7), 17);
    EXPECT_STREQ(app.m_szPostBuf, "suid=xxx&Tem1=215&Tem2=-3");
}

TEST_F(DetailTest, NoRowIsSuccess)
{
    EXPECT_EQ(Detail(103, "Fld,dat0", {}), "");
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(DetailTest, WritesIntoABufferOfTheCaller)
{
    SetMode(103);
    db.Rows("Fld,dat0", {{"1", "215"}});
    std::copy_n("periodic", 9, app.m_szPostBuf);
    std::vector<char> own(CAppPost::kPostBufBytes, 'h');
    EXPECT_EQ(app.PostDetail(1, "tbBatt", 7, own.data()), 9);
    EXPECT_STREQ(own.data(), "h&Tem1=215");
    EXPECT_STREQ(app.m_szPostBuf, "periodic");
}

TEST_F(DetailTest, NoBufferIsLoggedAndAddsNothing)
{
    SetMode(103);
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7, nullptr), 0);
    EXPECT_THAT(rec.Events(), ElementsAre("log Err!!!: NULL==PostBuf\n"));
}

// --- Detail: failures ----------------------------------------------------------------------------

TEST_F(DetailTest, QueryThatNeverStartsTakesOneHundredAndSixtySeconds)
{
    SetMode(103);
    db.On("").FailAlways();
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 0);
    EXPECT_EQ(rec.CountStarting("log    iqryX="), 50);
    EXPECT_EQ(rec.CountStarting("log    PostDetail...tbBatt Error"), 5);
    EXPECT_EQ(rec.PauseSum(), 5 * (10 * 3000 + 2000));
    EXPECT_EQ(rec.Count(kTick), 5 * (1 + 10));
}

TEST_F(DetailTest, FailedTryIsLoggedWithABackslashAndAnN)
{
    SetMode(103);
    db.On("").Fail(11);
    db.Rows("Fld,dat0", {{"1", "2"}});
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 7);
    EXPECT_THAT(rec.Between("log    PostDetail...tbBatt Error", "sql"),
                ElementsAre("log    PostDetail...tbBatt Error, TryCnt=1 iqryX=-1 iSID=7\\n",
                            "pause 2000", kTick));
    EXPECT_STREQ(app.m_szPostBuf, "&Tem1=2");
}

TEST_F(DetailTest, LastTryIsNumberedFive)
{
    SetMode(103);
    db.On("").FailAlways();
    app.PostDetail(0, "tbBatt", 7);
    EXPECT_EQ(rec.Logs().back(), "   PostDetail...tbBatt Error, TryCnt=5 iqryX=-1 iSID=7\\n");
    EXPECT_EQ(rec.Events().back(), "pause 2000");
}

TEST_F(DetailTest, ExceptionIsLoggedThenTickPauseAndFree)
{
    db.ThrowIn("QryNext", 1, 10, "disk I/O error");
    SetMode(103);
    db.On("").Rows("Fld,dat0", {{"1", "2"}});
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 7);
    EXPECT_THAT(rec.Between("log    PostDetail...tbBatt  exc", "sql"),
                ElementsAre("log    PostDetail...tbBatt  exception, TryCnt=1\n", kTick,
                            "pause 3000", "free", kTick));
}

TEST_F(DetailTest, EachTryBeginsAfresh)
{
    SetMode(103);
    db.On("").Once().Rows("Fld,dat0", {{"1", "1"}, {"2", "2"}});
    db.On("").Once().Rows("Fld,dat0", {{"3", "3"}});
    db.ThrowForeignIn("QryNext", 2); // both rows of the first try are written by then
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 7);
    EXPECT_STREQ(app.m_szPostBuf, "&Tem3=3");
}

TEST_F(DetailTest, FiveExceptionsEndTheTries)
{
    SetMode(103);
    db.On("").Throw(11, "malformed", -1);
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 0);
    EXPECT_EQ(rec.Count("log    PostDetail...tbBatt  exception, TryCnt=5\n"), 1);
    EXPECT_EQ(rec.PauseSum(), 5 * 3000);
    EXPECT_THAT(rec.Sql(), SizeIs(5));
}

TEST_F(DetailTest, ColumnThatTheTableLacksIsAnException)
{
    SetMode(100);
    db.On("").Rows("Fld,dat0", {{"1", "2"}});
    EXPECT_EQ(app.PostDetail(0, "tbBatt", 7), 0);
    EXPECT_EQ(rec.CountStarting("log    PostDetail...tbBatt  exception"), 5);
}

// --- Detail: hostile rows ------------------------------------------------------------------------

TEST_F(DetailTest, FiftyThousandRowsFillTheBufferAndNothingBehindIt)
{
    std::vector<Row> rows;
    for (int i = 0; i < 50000; ++i)
    {
        rows.push_back({std::to_string(i), "7"});
    }
    app.m_iTimeout = 15; // the member behind the buffer
    const std::string text = Detail(103, "Fld,dat0", rows);
    EXPECT_LT(text.size(), CAppPost::kPostBufBytes);
    EXPECT_GT(text.size(), CAppPost::kPostBufBytes - 20);
    EXPECT_EQ(app.m_iTimeout, 15);
    EXPECT_THAT(rec.Logs().back(), StartsWith("   sid=7: body of 102400 bytes is full, left out "));
}

TEST_F(DetailTest, RowThatDoesNotFitIsLeftOutWholeAndShorterOnesFollow)
{
    EXPECT_EQ(Detail(202, "Fld,Val", {{"a", "1"}, {"b", Long(200000)}, {"c", "3"}}), "&a=1&c=3");
    EXPECT_EQ(rec.Logs().back(), "   sid=7: body of 102400 bytes is full, left out 1: b\n");
}

TEST_F(DetailTest, PercentSignsOfTheDatabaseAreNotAFormat)
{
    EXPECT_EQ(Detail(202, "Fld,Val", {{"%s%n", "%d%n"}}), "&%s%n=%d%n");
}

TEST_F(DetailTest, LongTableNamesAreAskedForWhole)
{
    const std::string table = Long(3000);
    app.m_ini.SetValue("POST.Detail", table, "103");
    db.Rows("Fld,dat0", {});
    app.PostDetail(0, table, 7);
    EXPECT_THAT(rec.Sql(), ElementsAre("select * from " + table + " where SID=7"));
}

// --- Extension: which columns --------------------------------------------------------------------

TEST_F(ExtTest, CountAndFirstGiveTheColumns)
{
    Ini("POST.Ext.5", {"tbE.flds=5"});
    EXPECT_EQ(Ext(2, 10), "&c2=2&c3=3&c4=4&c5=5&c6=6");
}

TEST_F(ExtTest, FirstOneBeginsWithTheFirstColumn)
{
    Ini("POST.Ext.5", {"tbE.flds=2"});
    EXPECT_EQ(Ext(1, 10), "&c1=1&c2=2");
}

TEST_F(ExtTest, CountIsCappedByTheColumnsOfTheResult)
{
    Ini("POST.Ext.5", {"tbE.flds=50"});
    EXPECT_EQ(Ext(3, 4), "&c3=3&c4=4");
}

TEST_F(ExtTest, WithoutACountNothingIsPosted)
{
    EXPECT_EQ(Ext(1, 4), "");
    EXPECT_EQ(Ext(3, 4), "");
}

TEST_F(ExtTest, NegativeCountPostsNothing)
{
    Ini("POST.Ext.5", {"tbE.flds=-3"});
    EXPECT_EQ(Ext(1, 4), "");
}

TEST_F(ExtTest, FirstBeyondTheResultPostsNothing)
{
    Ini("POST.Ext.5", {"tbE.flds=2147483647"});
    EXPECT_EQ(Ext(5, 4), "");
    EXPECT_EQ(Ext(2147483647, 4), "");
}

TEST_F(ExtTest, FirstZeroPostsTheListedColumnsInKeyOrder)
{
    Ini("POST.Ext.5", {"tbE.flds=5"});
    Ini("5.tbE", {"a=3", "b=1", "c=4"});
    EXPECT_EQ(Ext(0, 10), "&c3=3&c1=1&c4=4");
}

TEST_F(ExtTest, ListedIndexOutsideTheCountIsLoggedAndSkipped)
{
    Ini("POST.Ext.5", {"tbE.flds=3"});
    Ini("5.tbE", {"a=0", "b=2", "c=3", "d=-7", "e=text"});
    EXPECT_EQ(Ext(0, 10), "&c2=2");
    EXPECT_THAT(rec.Logs(), ElementsAre("Err,AppPost PostExt line=1952,iindextmp=-1\n",
                                        "Err,AppPost PostExt line=1952,iindextmp=2\n",
                                        "Err,AppPost PostExt line=1952,iindextmp=-8\n",
                                        "Err,AppPost PostExt line=1952,iindextmp=-1\n"));
}

TEST_F(ExtTest, NegativeFirstNarrowsTheListedColumns)
{
    Ini("POST.Ext.5", {"tbE.flds=5"});
    Ini("5.tbE", {"a=1", "b=2", "c=3"});
    EXPECT_EQ(Ext(-2, 10), "&c1=1&c2=2"); // 5 - 2 - 1
}

TEST_F(ExtTest, ExtremeIndexesAreSkipped)
{
    Ini("POST.Ext.5", {"tbE.flds=2147483647"});
    Ini("5.tbE", {"a=2147483647", "b=-2147483648", "c=10", "d=11"});
    EXPECT_EQ(Ext(0, 10), "&c10=10");
    EXPECT_EQ(rec.CountStarting("log Err,AppPost PostExt line=1952"), 3);
}

TEST_F(ExtTest, ListIsThatOfTheTypeAndTheTable)
{
    Ini("POST.Ext.5", {"tbE.flds=5"});
    Ini("6.tbE", {"a=1"});
    Ini("5.tbF", {"a=1"});
    EXPECT_EQ(Ext(0, 10), "");
    EXPECT_THAT(rec.Logs(), IsEmpty());
}

TEST_F(ExtTest, ColumnsAreRenderedByTheMappingAndEmptyOnesLeftOut)
{
    Ini("POST.Ext.5", {"tbE.flds=3"});
    Ini("POST.xFld", {"5.b=1", "5.b7=seven"});
    EXPECT_EQ(Ext(1, "a,b,c", {{"", "7", "x"}}), "&b=seven&c=x");
}

// --- Extension: the way of a call ----------------------------------------------------------------

TEST_F(ExtTest, AsksOnceForItsTypeAndUsesTheFirstRow)
{
    Ini("POST.Ext.5", {"tbE.flds=1"});
    EXPECT_EQ(Ext(1, "a", {{"1"}, {"2"}}), "&a=1");
    EXPECT_THAT(rec.Events(), ElementsAre("sql select * from tbE where Type=5", "free"));
}

TEST_F(ExtTest, NoRowAddsNothing)
{
    Ini("POST.Ext.5", {"tbE.flds=1"});
    EXPECT_EQ(Ext(1, "a", {}), "");
}

TEST_F(ExtTest, NoRowIsNotARowOfZeros)
{
    // Behind the last row every number reads 0, and 0 may have a text.
    Ini("POST.Ext.5", {"tbE.flds=2"});
    Ini("POST.xFld", {"5.a=1", "5.a0=zero"});
    Ini("5.tbE", {"x=1"});
    EXPECT_EQ(Ext(1, "a", {}), "");
    EXPECT_EQ(Ext(0, "a", {}), "");
}

TEST_F(ExtTest, AppendsAtThePositionAndReturnsTheBytes)
{
    Ini("POST.Ext.5", {"tbE.flds=1"});
    std::copy_n("suid=xxx", 9, app.m_szPostBuf);
    db.Rows("a", {{"1"}});
    EXPECT_EQ(app.PostExt(8, 5, "tbE", 1), 4);
    EXPECT_STREQ(app.m_szPostBuf, "suid=xxx&a=1");
}

TEST_F(ExtTest, WritesIntoABufferOfTheCaller)
{
    Ini("POST.Ext.5", {"tbE.flds=1"});
    std::copy_n("periodic", 9, app.m_szPostBuf);
    std::vector<char> own(CAppPost::kPostBufBytes, 'h');
    db.Rows("a", {{"1"}});
    EXPECT_EQ(app.PostExt(1, 5, "tbE", 1, own.data()), 4);
    EXPECT_STREQ(own.data(), "h&a=1");
    EXPECT_STREQ(app.m_szPostBuf, "periodic");
}

TEST_F(ExtTest, QueryThatCannotStartIsNotTriedAgain)
{
    db.On("").FailAlways();
    EXPECT_EQ(app.PostExt(0, 5, "tbE", 1), 0);
    EXPECT_THAT(rec.Events(), ElementsAre("sql select * from tbE where Type=5"));
}

TEST_F(ExtTest, ExceptionIsLoggedFreesTheQueryAndKeepsWhatWasAppended)
{
    Ini("POST.Ext.5", {"tbE.flds=3"});
    db.ThrowIn("QryGetStrAt", 2, 10, "disk I/O error");
    EXPECT_EQ(Ext(1, 3), "&c1=1");
    EXPECT_THAT(rec.Events(), ElementsAre("sql select * from tbE where Type=5",
                                          "log    PostExt...tbE  exception, Type=5\n", "free"));
}

TEST_F(ExtTest, ForeignExceptionOfTheQueryIsLoggedToo)
{
    db.On("").ThrowForeign();
    EXPECT_EQ(app.PostExt(0, 5, "tbE", 1), 0);
    EXPECT_EQ(rec.Events().back(), "log    PostExt...tbE  exception, Type=5\n");
}

TEST_F(ExtTest, ValueLargerThanTheBufferIsLeftOutWhole)
{
    Ini("POST.Ext.5", {"tbE.flds=3"});
    EXPECT_EQ(Ext(1, "a,b,c", {{"1", Long(200000), "3"}}), "&a=1&c=3");
}
