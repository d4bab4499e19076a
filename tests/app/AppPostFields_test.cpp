// Form bodies: which head formats are taken, what a column renders to, and what happens at the
// end of the buffer.
#include "app/AppBodyWriter.h"
#include "app/AppPostQuery.h"
#include "tests/support/PosterTest.h"

namespace
{

const std::string kOk;

CHead a_head()
{
    return {"xxx", 101, 5, 7, "UPS-1", 2, "2024-05-01 12:00:00", "S0"};
}

class HeadTest : public ::testing::Test
{
protected:
    std::string Written(const std::string& format, size_t size = 1000)
    {
        EXPECT_EQ(head_format_problem(format), kOk);
        std::vector<char> buffer(size, '~');
        CBodyWriter body(buffer.data(), size);
        body.Head(format, a_head());
        EXPECT_EQ(std::string(buffer.data()).size(), static_cast<size_t>(body.Position()));
        return buffer.data();
    }
};

class WriterTest : public PosterTest
{
protected:
    char buffer[41] = "";
    CBodyWriter body{buffer, 21}; // 20 characters
    void TearDown() override { EXPECT_EQ(std::string(buffer + 21, 20), std::string(20, '\0')); }
    std::string Log()
    {
        rec.Clear();
        body.LogLeftOut("sid", 7);
        return rec.Logs().empty() ? "" : rec.Logs().front();
    }
};

class GetQryFldTest : public PosterTest
{
protected:
    // What a column Run of a type-5 device renders to.
    std::string Render(const Cell& cell) { return Render("Run", cell); }
    std::string Render(const std::string& column, const Cell& cell)
    {
        db.Rows("Other," + column, {{"other", cell}});
        int iqry = db.QryExec("select", -1);
        std::string name = "left over";
        std::string value = "left over";
        app.GetQryFld(iqry, 1, 5, name, value);
        EXPECT_EQ(name, column);
        db.QryFree(iqry);
        return value;
    }
};

} // namespace

// --- Fmt0: what is taken ------------------------------------------------------------------------

TEST(HeadFormat, DefaultIsTaken)
{
    EXPECT_EQ(head_format_problem(kDefaultFmt0), kOk);
    EXPECT_STREQ(kDefaultFmt0,
                 "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&state=%s");
}

TEST(HeadFormat, FewerConversionsAreTaken)
{
    EXPECT_EQ(head_format_problem("suid=%s&sid=%d"), kOk);
    EXPECT_EQ(head_format_problem("fixed=1"), kOk);
    EXPECT_EQ(head_format_problem(""), kOk);
}

TEST(HeadFormat, FlagsWidthAndPrecisionAreTaken)
{
    EXPECT_EQ(head_format_problem("%-10.3s %+08d %05.2i %#x %o %u"),
              "conversion 5 is \"%o\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%-10.3s %+08d %05.2i %#x %s % X %.s %-1s"), kOk);
}

TEST(HeadFormat, EveryIntegerLetterIsTakenForANumber)
{
    for (const char letter : std::string("diuoxX"))
    {
        EXPECT_EQ(head_format_problem(std::string("%s %") + letter), kOk) << letter;
    }
}

TEST(HeadFormat, SizesOfIntegersAreTakenForANumber)
{
    for (const std::string size : {"hh", "h", "l", "ll", "j", "z", "t"})
    {
        EXPECT_EQ(head_format_problem("%s%" + size + "d%" + size + "u%-05.3" + size + "X"), kOk)
            << size;
    }
}

TEST(HeadFormat, SizesThatNoIntegerHasAreRefused)
{
    EXPECT_EQ(head_format_problem("%s%lhd"), "conversion 2 is \"%lhd\", a number (%d) is expected");
    for (const char* format : {"%s%hhhd", "%s%llld", "%s%zzd", "%s%jld", "%s%Ld", "%s%qd"})
    {
        EXPECT_THAT(head_format_problem(format), StartsWith("conversion 2 is \"%")) << format;
    }
}

TEST(HeadFormat, DoubledPercentIsText)
{
    EXPECT_EQ(head_format_problem("%%n%%%s%%d"), kOk);
}

// --- Fmt0: what is refused ----------------------------------------------------------------------

TEST(HeadFormat, WritingConversionIsRefused)
{
    EXPECT_EQ(head_format_problem("suid=%n"), "conversion 1 is \"%n\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%s%n"), "conversion 2 is \"%n\", a number (%d) is expected");
    EXPECT_EQ(head_format_problem("%s%hhn"), "conversion 2 is \"%hhn\", a number (%d) is expected");
}

TEST(HeadFormat, WidthAndPrecisionFromArgumentsAreRefused)
{
    EXPECT_EQ(head_format_problem("%*s"), "conversion 1 is \"%*\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%.*s"), "conversion 1 is \"%.*\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%1$s"), "conversion 1 is \"%1$\", a text (%s) is expected");
}

TEST(HeadFormat, WrongTypesAreRefused)
{
    EXPECT_EQ(head_format_problem("%d"), "conversion 1 is \"%d\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%s %s"), "conversion 2 is \"%s\", a number (%d) is expected");
    EXPECT_EQ(head_format_problem("%s%d%d%d%d"), "conversion 5 is \"%d\", a text (%s) is expected");
}

TEST(HeadFormat, LettersThatNoValueHasAreRefused)
{
    for (const char* format : {"%c", "%f", "%p", "%S", "%m", "%a", "%ls", "%hs", "%q"})
    {
        EXPECT_THAT(head_format_problem(format), StartsWith("conversion 1 is \"%")) << format;
    }
    for (const char* format : {"%s%c", "%s%f", "%s%lf", "%s%ls", "%s%l", "%s%ln"})
    {
        EXPECT_THAT(head_format_problem(format), StartsWith("conversion 2 is \"%")) << format;
    }
}

TEST(HeadFormat, NinthConversionIsRefused)
{
    EXPECT_EQ(head_format_problem("%s%d%d%d%s%d%s%s%s"),
              "\"%s\" is one conversion too many, there are eight values");
    EXPECT_EQ(head_format_problem("%s%d%d%d%s%d%s%s%-5d"),
              "\"%-5d\" is one conversion too many, there are eight values");
    EXPECT_EQ(head_format_problem("%s%d%d%d%s%d%s%s%%"), kOk);
}

TEST(HeadFormat, PercentAtTheEndIsRefused)
{
    EXPECT_EQ(head_format_problem("suid=%"), "conversion 1 is \"%\", a text (%s) is expected");
    EXPECT_EQ(head_format_problem("%s%5"), "conversion 2 is \"%5\", a number (%d) is expected");
    EXPECT_EQ(head_format_problem("%."), "conversion 1 is \"%.\", a text (%s) is expected");
}

TEST(HeadFormat, EndlessWidthsAreRefused)
{
    EXPECT_EQ(head_format_problem("%99999s"), kOk);
    EXPECT_EQ(head_format_problem("%100000s"),
              "conversion 1 is \"%100000s\", its width or precision is too large");
    EXPECT_THAT(head_format_problem("%.999999999999s"), StartsWith("conversion 1"));
    EXPECT_THAT(head_format_problem("%s%2147483648d"), StartsWith("conversion 2"));
}

// --- The head -----------------------------------------------------------------------------------

TEST_F(HeadTest, DefaultFormatTakesTheEightValuesInOrder)
{
    EXPECT_EQ(Written(kDefaultFmt0), "suid=xxx&sid=101&stype=5&stag1=7&sname=UPS-1&subsys=2"
                                     "&dtupd=2024-05-01 12:00:00&state=S0");
}

TEST_F(HeadTest, ValuesGoByPositionWhateverTheNames)
{
    EXPECT_EQ(Written("a=%s;b=%d;c=%d;d=%d;e=%s;f=%d;g=%s;h=%s!"),
              "a=xxx;b=101;c=5;d=7;e=UPS-1;f=2;g=2024-05-01 12:00:00;h=S0!");
}

TEST_F(HeadTest, FormatsLikePrintf)
{
    EXPECT_EQ(Written("[%-5s|%05d|%+d|%x|%.3s]"), "[xxx  |00101|+5|7|UPS]");
    EXPECT_EQ(Written("%5.1s|%-6X|%#o|%3u"), "    x|65    |05|  7");
}

TEST_F(HeadTest, SizeOfAnIntegerChangesNothing)
{
    EXPECT_EQ(Written("%s %ld %hd %lld"), "xxx 101 5 7");
    EXPECT_EQ(Written("%s %hhd %zu %jx"), "xxx 101 5 7");
    EXPECT_EQ(Written("%s&%-6ld|&%+.4td&%#hhx"), "xxx&101   |&+0005&0x7");
}

TEST_F(HeadTest, SmallSizesDoNotCutTheNumber)
{
    char buffer[100];
    CHead head = a_head();
    head.sid = -70000;
    head.stype = 70000;
    CBodyWriter(buffer, sizeof(buffer)).Head("%s&%hhd&%05hd", head);
    EXPECT_STREQ(buffer, "xxx&-70000&70000");
}

TEST_F(HeadTest, DoubledPercentIsOnePercent)
{
    EXPECT_EQ(Written("100%%&suid=%s%%&%%d"), "100%&suid=xxx%&%d");
}

TEST_F(HeadTest, EmptyFormatWritesNothing)
{
    EXPECT_EQ(Written(""), "");
}

TEST_F(HeadTest, GroupThatDoesNotFitIsLeftOutWhole)
{
    EXPECT_EQ(Written("suid=%s&sid=%09d", 20), "suid=xxx");
    EXPECT_EQ(Written("suid=%s&sid=%09d", 23), "suid=xxx&sid=000000101");
}

TEST_F(HeadTest, SmallerGroupBehindIsStillTaken)
{
    EXPECT_EQ(Written("suid=%s&sid=%00009d&stype=%d", 18), "suid=xxx&stype=5");
}

TEST_F(HeadTest, BodyNeverBeginsWithAnAmpersand)
{
    EXPECT_EQ(Written("suid=%50s&sid=%d&stype=%d", 20), "sid=101&stype=5");
    EXPECT_EQ(Written("suid=%50s&sid=%050d&stype=%d", 20), "stype=5");
}

TEST_F(HeadTest, WideConversionsStayInTheBuffer)
{
    EXPECT_EQ(Written("suid=%99999s&sid=%d", 100), "sid=101");
    EXPECT_EQ(Written("suid=%s&sid=%.99999d&stype=%d", 100), "suid=xxx&stype=5");
}

// --- The writer ---------------------------------------------------------------------------------

TEST_F(WriterTest, WritesPairsWithoutEscaping)
{
    body.Pair("a b", "c&d=e");
    EXPECT_STREQ(buffer, "&a b=c&d=e");
    EXPECT_EQ(body.Appended(), 10);
}

TEST_F(WriterTest, PairWithoutValueIsNothingAndFieldWithoutValueIsAnEmptyOne)
{
    body.Pair("a", "");
    EXPECT_STREQ(buffer, "");
    body.Field("a", "");
    EXPECT_STREQ(buffer, "&a=");
}

TEST_F(WriterTest, FillsTheBufferToTheLastByte)
{
    body.Pair("a", Long(17));
    EXPECT_EQ(std::string(buffer), "&a=" + Long(17));
    EXPECT_EQ(Log(), "");
}

TEST_F(WriterTest, PairOneByteTooLongIsLeftOutWhole)
{
    body.Pair("b", "1");
    body.Pair("a", Long(14));
    EXPECT_STREQ(buffer, "&b=1");
    EXPECT_EQ(body.Position(), 4);
    EXPECT_EQ(Log(), "   sid=7: body of 21 bytes is full, left out 1: a\n");
}

TEST_F(WriterTest, ShorterPairBehindIsStillTaken)
{
    body.Pair("b", "1");
    body.Pair("long", Long(200000));
    body.Pair("c", "3");
    EXPECT_STREQ(buffer, "&b=1&c=3");
}

TEST_F(WriterTest, NameAloneMayBeTooLong)
{
    body.Pair(Long(200000), "1");
    body.Field(Long(21), "");
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(Log(), "   sid=7: body of 21 bytes is full, left out 2: " + Long(48) + ", " +
                         Long(21) + "\n");
}

TEST_F(WriterTest, NamesAtMostFiveOfWhatItLeftOut)
{
    for (const char* name : {"a", "b", "c", "d", "e", "f", "g"})
    {
        body.Pair(name, Long(30));
    }
    EXPECT_EQ(Log(), "   sid=7: body of 21 bytes is full, left out 7: a, b, c, d, e, ...\n");
}

TEST_F(WriterTest, FiveLeftOutAreNamedWithoutDots)
{
    for (const char* name : {"a", "b", "c", "d", "e"})
    {
        body.Pair(name, Long(30));
    }
    EXPECT_EQ(Log(), "   sid=7: body of 21 bytes is full, left out 5: a, b, c, d, e\n");
}

TEST_F(WriterTest, GroupIsTakenOrLeftOutAsOne)
{
    body.Group("&Vol1=220&Tem1=25"); // 18 bytes
    body.Group("&Vol2=221&Tem2=26");
    EXPECT_STREQ(buffer, "&Vol1=220&Tem1=25");
    body.Group("&x");
    EXPECT_STREQ(buffer, "&Vol1=220&Tem1=25&x");
    EXPECT_EQ(Log(), "   sid=7: body of 21 bytes is full, left out 1: Vol2\n");
}

TEST_F(WriterTest, GroupMayFillTheBufferToTheLastByte)
{
    body.Group("&a=" + Long(17));
    EXPECT_EQ(std::string(buffer), "&a=" + Long(17));
    body.Group("&");
    EXPECT_EQ(body.Position(), 20);
}

TEST_F(WriterTest, GoesOnWhereItIsTold)
{
    std::copy_n("head", 5, buffer);
    CBodyWriter more(buffer, 21, 4);
    more.Pair("a", "1");
    EXPECT_STREQ(buffer, "head&a=1");
    EXPECT_EQ(more.Position(), 8);
    EXPECT_EQ(more.Appended(), 4);
}

TEST_F(WriterTest, GoesOnAtTheVeryEnd)
{
    std::fill_n(buffer, 20, 'h');
    CBodyWriter more(buffer, 21, 20);
    more.Pair("a", "1");
    more.Group("&b=1");
    EXPECT_EQ(std::string(buffer), Long(20, 'h'));
    EXPECT_EQ(more.Appended(), 0);
}

// --- GetQryFld ----------------------------------------------------------------------------------

TEST_F(GetQryFldTest, WithoutAMappingTheTextIsAsStored)
{
    EXPECT_EQ(Render("25.5"), "25.5");
    EXPECT_EQ(Render("a&b=c %"), "a&b=c %");
    EXPECT_EQ(Render(kNull), "");
}

TEST_F(GetQryFldTest, KindsOutsideOneToFourAreText)
{
    for (const char* kind : {"0", "-1", "5", "99", "text", ""})
    {
        app.m_ini.SetValue("POST.xFld", "5.Run", kind);
        EXPECT_EQ(Render("15"), "15") << kind;
    }
}

TEST_F(GetQryFldTest, ValueTableGivesTheTextOfTheNumber)
{
    Ini("POST.xFld",
        {"5.Run=1", "5.Runx=unknown", "5.Run0=stopped", "5.Run1=running", "5.Run-1=broken"});
    EXPECT_EQ(Render("0"), "stopped");
    EXPECT_EQ(Render("1"), "running");
    EXPECT_EQ(Render("-1"), "broken");
    EXPECT_EQ(Render("7"), "unknown");
    EXPECT_EQ(Render(kNull), "stopped");
}

TEST_F(GetQryFldTest, ValueTableWithoutAnEntryIsEmpty)
{
    Ini("POST.xFld", {"5.Run=1", "5.Run0=stopped"});
    EXPECT_EQ(Render("7"), "");
}

TEST_F(GetQryFldTest, MappingIsOfThisTypeAndThisColumnInThisCase)
{
    Ini("POST.xFld", {"6.Run=1", "5.run=1", "5.Runx=no", "5.runx=no", "6.Runx=no"});
    EXPECT_EQ(Render("3"), "3");
    EXPECT_EQ(Render("run", "3"), "no");
}

TEST_F(GetQryFldTest, WholeByteTextsWinOverTheLabels)
{
    Ini("POST.xFld", {"5.Run=2", "5.Run00=none", "5.Run0F=low half", "5.RunF0=high half",
                      "5.RunFF=all", "5.Run0=b0", "5.Run1=b1", "5.Run4=b4"});
    EXPECT_EQ(Render("0"), "none");
    EXPECT_EQ(Render("15"), "low half");
    EXPECT_EQ(Render("240"), "high half");
    EXPECT_EQ(Render("255"), "all");
}

TEST_F(GetQryFldTest, WholeByteWithoutATextIsEmptyAndNeverWalksTheBits)
{
    Ini("POST.xFld", {"5.Run=2", "5.Run0=b0", "5.Run1=b1", "5.Run7=b7", "5.Runx=unused"});
    EXPECT_EQ(Render("0"), "");
    EXPECT_EQ(Render("15"), "");
    EXPECT_EQ(Render("240"), "");
    EXPECT_EQ(Render("255"), "");
}

TEST_F(GetQryFldTest, BitLabelsAreJoinedFromTheLowestBit)
{
    Ini("POST.xFld", {"5.Run=2", "5.Run0=low voltage", "5.Run1=over temperature", "5.Run7=top"});
    EXPECT_EQ(Render("1"), "low voltage");
    EXPECT_EQ(Render("3"), "low voltage over temperature");
    EXPECT_EQ(Render("131"), "low voltage over temperature top");
}

TEST_F(GetQryFldTest, BitWithoutALabelStillSeparatesWhenTextStandsBefore)
{
    Ini("POST.xFld", {"5.Run=2", "5.Run1=b1", "5.Run3=b3"});
    EXPECT_EQ(Render("11"), "b1 b3");  // bit 0 has no label and nothing before it
    EXPECT_EQ(Render("14"), "b1  b3"); // bit 2 has none
    EXPECT_EQ(Render("6"), "b1 ");
    EXPECT_EQ(Render("4"), "");
}

TEST_F(GetQryFldTest, EachKindLooksAtItsOwnNumberOfBits)
{
    Ini("POST.xFld",
        {"5.Run7=b7", "5.Run8=b8", "5.Run15=b15", "5.Run16=b16", "5.Run23=b23", "5.Run24=b24"});
    const std::string bits =
        std::to_string((1 << 7) + (1 << 8) + (1 << 15) + (1 << 16) + (1 << 23) + (1 << 24));
    Ini("POST.xFld", {"5.Run=2"});
    EXPECT_EQ(Render(bits), "b7");
    Ini("POST.xFld", {"5.Run=3"});
    EXPECT_EQ(Render(bits), "b7 b8 b15");
    Ini("POST.xFld", {"5.Run=4"});
    EXPECT_EQ(Render(bits), "b7 b8 b15 b16 b23");
}

TEST_F(GetQryFldTest, WholeByteRuleIsForTheFirstBitKindOnly)
{
    Ini("POST.xFld", {"5.Run=3", "5.Run0F=whole", "5.Run00=none", "5.Run0=b0", "5.Run1=b1",
                      "5.Run2=b2", "5.Run3=b3"});
    EXPECT_EQ(Render("15"), "b0 b1 b2 b3");
    EXPECT_EQ(Render("0"), "");
}

TEST_F(GetQryFldTest, WholeByteRuleNeedsTheExactValue)
{
    Ini("POST.xFld", {"5.Run=2", "5.Run00=none", "5.Run0F=whole", "5.Run0=b0"});
    EXPECT_EQ(Render("256"), "");      // bits 0 to 7 are clear
    EXPECT_EQ(Render("271"), "b0   "); // 0x10F: bits 0 to 3, three of them without a label
}

TEST_F(GetQryFldTest, NegativeValuesHaveAllTheirHighBits)
{
    Ini("POST.xFld", {"5.Run=2", "5.RunFF=all", "5.Run0=a", "5.Run7=h"});
    EXPECT_EQ(Render("-1"), "a       h"); // -1 is not 255
}

TEST_F(GetQryFldTest, LongColumnNamesAndLabelsAreKeptWhole)
{
    const std::string column = Long(5000, 'c');
    Ini("POST.xFld", {"5." + column + "=1", "5." + column + "1=" + Long(200000)});
    EXPECT_EQ(Render(column, "1"), Long(200000));
}

TEST_F(GetQryFldTest, ExceptionsOfTheDatabasePassToTheCaller)
{
    db.ThrowIn("QryGetStrAt", 1, 10, "disk I/O error");
    db.Rows("Run", {{"1"}});
    const int iqry = db.QryExec("select", -1);
    std::string name;
    std::string value;
    EXPECT_THROW(app.GetQryFld(iqry, 0, 5, name, value), CppSQLite3Exception);
    db.QryFree(iqry);
}

// --- Retries of a query -------------------------------------------------------------------------

TEST_F(PosterTest, QueryThatStartsAtOnceWaitsForNothing)
{
    db.Rows("a", {});
    CRows rows(db);
    EXPECT_TRUE(open_with_retry(app, rows, "select 1"));
    EXPECT_THAT(rec.Events(), ElementsAre("sql select 1"));
}

TEST_F(PosterTest, QueryRetryTicksThenPausesThenAsksThenLogs)
{
    db.On("select 1").Fail(1);
    db.Rows("a", {});
    CRows rows(db);
    EXPECT_TRUE(open_with_retry(app, rows, "select 1"));
    EXPECT_THAT(rec.Events(), ElementsAre("sql select 1", "tray(0,1)", "pause 3000", "sql select 1",
                                          "log    iqryX=0 iSmTry=0\n"));
}

TEST_F(PosterTest, QueryIsGivenUpAfterTenRetries)
{
    db.On("select 1").FailAlways();
    CRows rows(db);
    EXPECT_FALSE(open_with_retry(app, rows, "select 1"));
    EXPECT_THAT(rec.Sql(), SizeIs(11));
    EXPECT_THAT(rec.Pauses(), ElementsAreArray(std::vector<int>(10, 3000)));
    EXPECT_EQ(rec.Count("tray(0,1)"), 10);
    EXPECT_EQ(rec.Logs().back(), "   iqryX=-1 iSmTry=9\n");
}

TEST(HeadOfEmptyFirstValue, KeepsTheSeparatorBehindIt)
{
    char buffer[100];
    CBodyWriter body(buffer, sizeof(buffer));
    body.Head("%s&sid=%d", {"", 7, 0, 0, "", 0, "", ""});
    EXPECT_STREQ(buffer, "&sid=7");
}
