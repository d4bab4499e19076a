#include "vkdb/RowDigest.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

namespace
{

// The digest of a query's rows.
vkdb::CRowDigest digest(const std::string& sql)
{
    CWriter memory(":memory:");
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(memory.Handle(), sql.c_str(), -1, &stmt, nullptr);
    vkdb::CRowBuffer rows;
    rows.Clear(static_cast<size_t>(sqlite3_column_count(stmt)));
    while (sqlite3_step(stmt) == SQLITE_ROW)
    {
        rows.Append(stmt);
    }
    sqlite3_finalize(stmt);
    vkdb::CRowDigest made;
    made.Add(rows, rows.Rows());
    return made;
}

TEST(RowDigestTest, IsThatOfTheRows)
{
    EXPECT_EQ(digest("values (1,'a'),(2,'b')"), digest("values (1,'a'),(2,'b')"));
    EXPECT_EQ(digest("values (1,'a'),(2,'b')").Rows(), 2U);
}

TEST(RowDigestTest, IsAnotherForOtherRows)
{
    const auto rows = digest("values (1,'a'),(2,'b')");
    EXPECT_FALSE(rows == digest("values (1,'a'),(2,'c')"));
    EXPECT_FALSE(rows == digest("values (2,'a'),(2,'b')"));
    EXPECT_FALSE(rows == digest("values (1,'a'),(2,'b'),(3,'c')"));
    EXPECT_FALSE(rows == digest("values (2,'b'),(1,'a')"));
    EXPECT_FALSE(rows == digest("values ('a',1),('b',2)"));
    EXPECT_FALSE(rows == digest("values (1,'a')"));
}

// The two have one text, "1.0e+19"; as an integer a text ends at its point.
TEST(RowDigestTest, CountsTheIntegerOfACell)
{
    EXPECT_FALSE(digest("values (1e19)") == digest("values ('1.0e+19')"));
    EXPECT_EQ(digest("values (215)"), digest("values ('215')"));
}

TEST(RowDigestTest, GrowsRowByRow)
{
    const auto whole = digest("values (1,'a'),(2,'b')");
    CWriter memory(":memory:");
    vkdb::CRowDigest grown;
    for (const char* sql : {"values (1,'a')", "values (2,'b')"})
    {
        sqlite3_stmt* stmt = nullptr;
        sqlite3_prepare_v2(memory.Handle(), sql, -1, &stmt, nullptr);
        sqlite3_step(stmt);
        vkdb::CRowBuffer row;
        row.Clear(2);
        row.Append(stmt);
        sqlite3_finalize(stmt);
        grown.Add(row, 1);
    }
    EXPECT_EQ(grown, whole);
}

} // namespace
