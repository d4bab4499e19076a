// Queries by index and statements of the database object.
#include "tests/vkdb/DatabaseTest.h"

namespace
{

TEST_F(DatabaseTest, ReadsRowsByName)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID,Name,Note from tbSM");
    EXPECT_EQ(iqry, 0);
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 7);
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "动环");
    EXPECT_STREQ(Db().QryGetStr(iqry, "Note"), "");
    Db().QryNext(iqry);
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 9);
    EXPECT_STREQ(Db().QryGetStr(iqry, "Note"), "n");
    Db().QryNext(iqry);
    EXPECT_TRUE(Db().QryEof(iqry));
}

TEST_F(DatabaseTest, ReadsRowsByIndex)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID,Name,Note from tbSM");
    EXPECT_EQ(Db().QryFldCount(iqry), 3);
    EXPECT_STREQ(Db().QryFldName(iqry, 1), "Name");
    EXPECT_EQ(Db().QryGetIntAt(iqry, 0), 7);
    EXPECT_STREQ(Db().QryGetStrAt(iqry, 0), "7");
}

TEST_F(DatabaseTest, BeyondTheColumnsIsNothing)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID from tbSM");
    for (const int column : {-1, 1, 1000000})
    {
        EXPECT_EQ(Db().QryGetIntAt(iqry, column), 0);
        EXPECT_STREQ(Db().QryGetStrAt(iqry, column), "");
        EXPECT_STREQ(Db().QryFldName(iqry, column), "");
    }
}

TEST_F(DatabaseTest, ThrowsForANameThatTheResultLacks)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID from tbSM");
    EXPECT_EQ(thrown_by([&] { Db().QryGetInt(iqry, "Type"); }), "1 no such column: Type");
    EXPECT_EQ(thrown_by([&] { Db().QryGetStr(iqry, "Type"); }), "1 no such column: Type");
    EXPECT_EQ(thrown_by([&] { Db().QryGetStr(iqry, nullptr); }), "1 no such column: ");
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 7); // the query is as good as before
}

TEST_F(DatabaseTest, FindsTheFirstOfRepeatedNames)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select 'own' as Name, s.* from tbSM s");
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "own");
}

TEST_F(DatabaseTest, KnowsTheColumnsOfAnEmptyResult)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID,Name from tbSM where SID=1");
    EXPECT_GE(iqry, 0);
    EXPECT_TRUE(Db().QryEof(iqry));
    EXPECT_EQ(Db().QryFldCount(iqry), 2);
    EXPECT_STREQ(Db().QryFldName(iqry, 1), "Name");
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 0);
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "");
    EXPECT_EQ(thrown_by([&] { Db().QryGetInt(iqry, "Type"); }), "1 no such column: Type");
}

TEST_F(DatabaseTest, AnswersForAnIndexThatIsNotOpen)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    for (const int iqry : {-1, 0, 5, vkdb::CDatabase::kQueries, 2000000000, -2000000000})
    {
        EXPECT_TRUE(Db().QryEof(iqry));
        EXPECT_EQ(Db().QryFldCount(iqry), 0);
        EXPECT_STREQ(Db().QryFldName(iqry, 0), "");
        EXPECT_EQ(Db().QryGetIntAt(iqry, 0), 0);
        EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 0);
        EXPECT_STREQ(Db().QryGetStrAt(iqry, 0), "");
        EXPECT_STREQ(Db().QryGetStr(iqry, "SID"), "");
        Db().QryNext(iqry);
        Db().QryFree(iqry);
    }
}

TEST_F(DatabaseTest, AnswersForAnIndexThatWasFreed)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID from tbSM");
    Db().QryFree(iqry);
    Db().QryFree(iqry);
    EXPECT_TRUE(Db().QryEof(iqry));
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 0);
}

TEST_F(DatabaseTest, QueriesWalkIndependently)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int first = Query("select SID from tbSM");
    const int second = Query("select Name from tbSM");
    EXPECT_NE(first, second);
    Db().QryNext(first);
    EXPECT_EQ(Db().QryGetInt(first, "SID"), 9);
    EXPECT_STREQ(Db().QryGetStr(second, "Name"), "动环");
}

TEST_F(DatabaseTest, WithoutAFreeIndexIsNegativeUntilOneIsGivenBack)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    for (int i = 0; i < vkdb::CDatabase::kQueries; ++i)
    {
        ASSERT_EQ(Query("select SID from tbSM"), i);
    }
    EXPECT_LT(Query("select SID from tbSM"), 0);
    Db().QryFree(5);
    EXPECT_EQ(Query("select SID from tbSM"), 5);
}

TEST_F(DatabaseTest, TakesTheIndexThatTheCallerNames)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(Db().QryExec("select SID from tbSM", 4), 4);
    EXPECT_EQ(Db().QryExec("select Name from tbSM", 4), 4);
    EXPECT_STREQ(Db().QryFldName(4, 0), "Name");
    EXPECT_LT(Db().QryExec("select Name from tbSM", vkdb::CDatabase::kQueries), 0);
}

TEST_F(DatabaseTest, AQueryThatNeverWorksThrowsTheReason)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { Query("select * from tbX"); }), "1 no such table: tbX");
    EXPECT_EQ(thrown_by([&] { Query("select Type from tbSM"); }), "1 no such column: Type");
    EXPECT_EQ(thrown_by([&] { Query("select"); }), "1 incomplete input");
    EXPECT_EQ(thrown_by([&] { Query("select abs(-9223372036854775808)"); }), "1 integer overflow");
}

TEST_F(DatabaseTest, AStatementWithoutRowsIsNoQuery)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    const std::string refused = "1 not a statement that returns rows";
    EXPECT_EQ(thrown_by([&] { Query(""); }), refused);
    EXPECT_EQ(thrown_by([&] { Db().QryExec(nullptr, -1); }), refused);
    EXPECT_EQ(thrown_by([&] { Query("delete from tbSM"); }), refused);
    EXPECT_EQ(read_rows(Db(), "select count(*) from tbSM"), Rows{"2"});
}

TEST_F(DatabaseTest, AQueryThatThrewTakesNoIndex)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    for (int i = 0; i < 2 * vkdb::CDatabase::kQueries; ++i)
    {
        EXPECT_NE(thrown_by([&] { Query("select * from tbX"); }), "no exception");
    }
    EXPECT_EQ(Query("select SID from tbSM"), 0);
}

TEST_F(DatabaseTest, ExecTellsTheNumberOfChangedRows)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(Db().Exec("update tbSM set Note='x'"), 2);
    EXPECT_EQ(Db().Exec("update tbSM set Note='x' where SID=1"), 0);
    EXPECT_EQ(CWriter(file.Path()).Value("select count(*) from tbSM where Note='x'"), 2);
}

TEST_F(DatabaseTest, ExecThrowsWhatSqliteSays)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(thrown_by([&] { Db().Exec("update tbX set a=1"); }), "1 no such table: tbX");
    EXPECT_EQ(Db().Exec(nullptr), 0);
}

TEST_F(DatabaseTest, LongTextsArriveWhole)
{
    file.Sql("update tbSM set Name=replace(hex(zeroblob(150000)),'0','x'), Note='end'");
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query("select SID,Name,Note from tbSM");
    EXPECT_EQ(Db().QryGetStr(iqry, "Name"), std::string(300000, 'x'));
    EXPECT_STREQ(Db().QryGetStr(iqry, "Note"), "end");
}

} // namespace
