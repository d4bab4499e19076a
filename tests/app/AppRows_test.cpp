// The rows of one query: stepping, and when the query is given back.
#include "app/AppRows.h"
#include "tests/support/PosterTest.h"

namespace
{

using AppRows = PosterTest;

} // namespace

TEST_F(AppRows, AreSteppedThrough)
{
    db.Rows("SID,Name", {{"7", "a"}, {"9", kNull}});
    CRows rows(db);
    ASSERT_TRUE(rows.Open("select"));
    EXPECT_EQ(rows.Columns(), 2);
    EXPECT_EQ(rows.Int("SID"), 7);
    EXPECT_STREQ(rows.Str("Name"), "a");
    rows.Next();
    EXPECT_EQ(rows.Int("SID"), 9);
    EXPECT_STREQ(rows.Str("Name"), "");
    rows.Next();
    EXPECT_TRUE(rows.End());
}

TEST_F(AppRows, GivenBackAreOpenNoMore)
{
    db.Rows("SID", {{"7"}});
    CRows rows(db);
    rows.Open("select");
    rows.Free();
    EXPECT_FALSE(rows.IsOpen());
    EXPECT_EQ(db.OpenQueries(), 0);
}

TEST_F(AppRows, AnswerOfAQueryThatCannotStartIsKept)
{
    db.fail_index = -5;
    db.On("select").FailAlways();
    CRows rows(db);
    EXPECT_FALSE(rows.Open("select"));
    EXPECT_FALSE(rows.IsOpen());
    EXPECT_EQ(rows.Index(), -5);
}

TEST_F(AppRows, LeftOpenAreFreedAtTheEnd)
{
    db.Rows("SID", {{"7"}});
    {
        CRows rows(db);
        rows.Open("select");
        EXPECT_THROW(rows.Int("Nothing"), CppSQLite3Exception);
        EXPECT_EQ(db.OpenQueries(), 1);
    }
    EXPECT_EQ(db.OpenQueries(), 0);
}

TEST_F(AppRows, FailureWhileFreeingAtTheEndGoesNoFurther)
{
    db.Rows("SID", {{"7"}});
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    db.ExpectLeftOpen(1);
    {
        CRows rows(db);
        rows.Open("select");
    }
    EXPECT_EQ(db.OpenQueries(), 1);
}

TEST_F(AppRows, FailedFreeIsTriedOnceMore)
{
    db.Rows("SID", {{"7"}});
    db.ThrowIn("QryFree", 1, 10, "disk I/O error");
    {
        CRows rows(db);
        rows.Open("select");
        EXPECT_THROW(rows.Free(), CppSQLite3Exception);
        EXPECT_TRUE(rows.IsOpen());
    }
    EXPECT_EQ(db.OpenQueries(), 0);
}

TEST_F(AppRows, CanBeLeftToAnother)
{
    db.Rows("SID", {{"7"}});
    db.ExpectLeftOpen(1);
    {
        CRows rows(db, CRows::AtEnd::kLeft);
        rows.Open("select");
    }
    EXPECT_EQ(db.OpenQueries(), 1);
}
