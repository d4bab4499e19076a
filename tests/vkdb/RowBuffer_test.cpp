#include "vkdb/RowBuffer.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

namespace
{

class RowBufferTest : public testing::Test
{
protected:
    // Appends all rows of the query.
    void Load(const std::string& sql)
    {
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(m_memory.Handle(), sql.c_str(), -1, &stmt, nullptr), 0);
        rows.Clear(static_cast<size_t>(sqlite3_column_count(stmt)));
        while (sqlite3_step(stmt) == SQLITE_ROW)
        {
            ASSERT_TRUE(rows.Append(stmt));
        }
        sqlite3_finalize(stmt);
    }

    // One value as integer.
    int Int(const std::string& value)
    {
        Load("select " + value);
        return rows.Int(0, 0);
    }

    // One value as text.
    std::string Text(const std::string& value)
    {
        Load("select " + value);
        return rows.Text(0, 0);
    }

    vkdb::CRowBuffer rows;

private:
    CWriter m_memory{":memory:"};
};

TEST_F(RowBufferTest, ReadsIntegersBySqlitesConversion)
{
    EXPECT_EQ(Int("215"), 215);
    EXPECT_EQ(Int("'12abc'"), 12);
    EXPECT_EQ(Int("' -7 '"), -7);
    EXPECT_EQ(Int("'abc'"), 0);
    EXPECT_EQ(Int("''"), 0);
    EXPECT_EQ(Int("3.9"), 3);
    EXPECT_EQ(Int("-3.9"), -3);
    EXPECT_EQ(Int("x'3432'"), 42);
    EXPECT_EQ(Int("null"), 0);
}

TEST_F(RowBufferTest, KeepsTheLower32BitsOfAnInteger)
{
    EXPECT_EQ(Int("2147483647"), 2147483647);
    EXPECT_EQ(Int("4294967297"), 1);
    EXPECT_EQ(Int("-2147483649"), 2147483647);
    EXPECT_EQ(Int("'4294967298'"), 2);
    EXPECT_EQ(Int("10000000000.0"), 1410065408);
}

TEST_F(RowBufferTest, ReadsTextsBySqlitesConversion)
{
    EXPECT_EQ(Text("'动环'"), "动环");
    EXPECT_EQ(Text("-215"), "-215");
    EXPECT_EQ(Text("9223372036854775807"), "9223372036854775807");
    EXPECT_EQ(Text("-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(Text("220.0"), "220.0");
    EXPECT_EQ(Text("0.1"), "0.1");
    EXPECT_EQ(Text("1e100"), "1.0e+100");
    EXPECT_EQ(Text("x'414243'"), "ABC");
}

TEST_F(RowBufferTest, ReadsNullAndNothingAsTheEmptyText)
{
    EXPECT_EQ(Text("null"), "");
    EXPECT_EQ(Text("''"), "");
    EXPECT_EQ(Text("x''"), "");
}

TEST_F(RowBufferTest, EndsATextAtItsNul)
{
    EXPECT_EQ(Text("'ab' || char(0) || 'cd'"), "ab");
    EXPECT_EQ(Text("x'004142'"), "");
}

TEST_F(RowBufferTest, HoldsLongTexts)
{
    Load("select replace(hex(zeroblob(100000)), '0', 'x'), 7");
    EXPECT_EQ(rows.Text(0, 0), std::string(200000, 'x'));
    EXPECT_EQ(rows.Int(0, 1), 7);
    EXPECT_GT(rows.Bytes(), 200000U);
}

TEST_F(RowBufferTest, KeepsRowsApart)
{
    Load("values (1,'a'),(2,null),(3,'c')");
    ASSERT_EQ(rows.Rows(), 3U);
    EXPECT_EQ(rows.Int(2, 0), 3);
    EXPECT_STREQ(rows.Text(0, 1), "a");
    EXPECT_STREQ(rows.Text(1, 1), "");
    EXPECT_STREQ(rows.Text(2, 1), "c");
}

TEST_F(RowBufferTest, IsEmptyAfterClear)
{
    Load("values (1),(2)");
    rows.Clear(1);
    EXPECT_EQ(rows.Rows(), 0U);
}

} // namespace
