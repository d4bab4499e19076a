#include "vkdb/Query.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

namespace
{

// Rows of a table t(i, pad): enough for a query to need a second reading, or a third.
std::string numbers(int count, int pad)
{
    return "create table t(i,pad);"
           "with recursive n(i) as (select 0 union all select i+1 from n where i+1<" +
           std::to_string(count) + ") insert into t select i, hex(zeroblob(" +
           std::to_string(pad / 2) + ")) from n;";
}

constexpr int kShort = 64;   // rows that Start reads at once
constexpr int kMedium = 900; // rows that Start begins and Next completes
constexpr int kLongPad = 100000;
constexpr int kLong = 60; // rows of kLongPad bytes that are more than one reading ahead

class QueryTest : public testing::Test
{
protected:
    void Start(const std::string& set_up)
    {
        file.Sql(set_up);
        m_conn = std::make_shared<vkdb::CConnection>(file.Path(), vkdb::Access::kReadOnly, 0);
        query.Start(m_conn, "select i, pad from t order by rowid");
    }

    // Walks on to the end; the result is the number of rows from here that come in order.
    int Walk(int expected)
    {
        int row_count = 0;
        for (; !query.AtEnd() && query.Int(0) == expected + row_count; query.Next())
        {
            ++row_count;
        }
        return row_count;
    }

    CDbFile file;
    vkdb::CQuery query;

private:
    std::shared_ptr<vkdb::CConnection> m_conn;
};

TEST_F(QueryTest, GivesEveryRowOfAShortResult)
{
    Start(numbers(3, 2));
    EXPECT_EQ(Walk(0), 3);
    EXPECT_TRUE(query.AtEnd());
}

TEST_F(QueryTest, GivesEveryRowOfAResultThatNeedsTwoReadings)
{
    Start(numbers(kMedium, 100));
    EXPECT_EQ(Walk(0), kMedium);
    EXPECT_TRUE(query.AtEnd());
}

TEST_F(QueryTest, GivesEveryRowOfAResultLargerThanItsBuffer)
{
    Start(numbers(kLong, kLongPad));
    EXPECT_EQ(std::string(query.Text(1)), std::string(kLongPad, '0'));
    EXPECT_EQ(Walk(0), kLong);
    EXPECT_TRUE(query.AtEnd());
}

TEST_F(QueryTest, AtTheLimitOfTheFirstReadingLosesNoRow)
{
    Start(numbers(static_cast<int>(vkdb::CQuery::kFirstRows), 2));
    EXPECT_EQ(Walk(0), static_cast<int>(vkdb::CQuery::kFirstRows));
}

TEST_F(QueryTest, PastTheLastRowStaysThere)
{
    Start(numbers(1, 2));
    query.Next();
    query.Next();
    EXPECT_TRUE(query.AtEnd());
    EXPECT_EQ(query.Int(0), 0);
    EXPECT_STREQ(query.Text(0), "");
}

TEST_F(QueryTest, OfAShortResultLetsWritersInAtOnce)
{
    Start(numbers(kShort - 1, 2));
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_OK);
    EXPECT_EQ(Walk(0), kShort - 1); // as it was when the query began
}

TEST_F(QueryTest, LetsWritersInFromTheSecondRowOn)
{
    Start(numbers(kMedium, 100));
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_BUSY);
    query.Next();
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_OK);
    EXPECT_EQ(Walk(1), kMedium - 1);
}

TEST_F(QueryTest, LargerThanItsBufferKeepsWritersOutUntilTheLastReading)
{
    Start(numbers(kLong, kLongPad));
    query.Next();
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_BUSY);
    EXPECT_EQ(Walk(1), kLong - 1);
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_OK);
}

TEST_F(QueryTest, LargerThanItsBufferStaysOneStateOfAWalDatabase)
{
    Start("pragma journal_mode=wal;" + numbers(kLong, kLongPad));
    query.Next();
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_OK);
    EXPECT_EQ(Walk(1), kLong - 1);
}

TEST_F(QueryTest, EndLetsWritersIn)
{
    Start(numbers(kMedium, 100));
    query.End();
    EXPECT_EQ(CWriter(file.Path()).Try("update t set i=-1"), SQLITE_OK);
    EXPECT_FALSE(query.IsOpen());
}

TEST_F(QueryTest, ThatFailsInTheMiddleThrowsThereAndHasNoMoreRows)
{
    file.Sql(numbers(kMedium, 100));
    file.SpoilLastPages(4);
    Start("select 1");
    EXPECT_THROW(Walk(0), vkdb::CSqliteFailure);
    EXPECT_TRUE(query.AtEnd());
    query.Next();
    EXPECT_TRUE(query.AtEnd());
}

} // namespace
