#include "vkdb/ColumnNames.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

namespace
{

class ColumnNamesTest : public testing::Test
{
protected:
    void Load(const std::string& sql)
    {
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(m_memory.Handle(), sql.c_str(), -1, &stmt, nullptr), 0);
        names.Load(stmt);
        sqlite3_finalize(stmt);
    }

    vkdb::CColumnNames names;

private:
    CWriter m_memory{":memory:"};
};

TEST_F(ColumnNamesTest, AreThoseThatSqliteReports)
{
    Load("select 1 as SID, 2 as \"a b\", 3+4");
    EXPECT_EQ(names.Count(), 3);
    EXPECT_STREQ(names.Name(0), "SID");
    EXPECT_STREQ(names.Name(1), "a b");
    EXPECT_STREQ(names.Name(2), "3+4");
}

TEST_F(ColumnNamesTest, BeyondTheResultAreEmpty)
{
    Load("select 1 as SID");
    EXPECT_STREQ(names.Name(-1), "");
    EXPECT_STREQ(names.Name(1), "");
}

TEST_F(ColumnNamesTest, FindsByName)
{
    Load("select 1 as SID, 2 as Type, 3 as State");
    EXPECT_EQ(names.Find("SID"), 0);
    EXPECT_EQ(names.Find("State"), 2);
    EXPECT_EQ(names.Find("Name"), -1);
    EXPECT_EQ(names.Find(""), -1);
}

TEST_F(ColumnNamesTest, FindsTheFirstOfRepeatedNames)
{
    Load("select 1 as Name, 2 as SID, 3 as Name, 4 as SID");
    EXPECT_EQ(names.Find("Name"), 0);
    EXPECT_EQ(names.Find("SID"), 1);
}

TEST_F(ColumnNamesTest, MatchInAnyCase)
{
    Load("select 1 as SID, 2 as dateUpd");
    EXPECT_EQ(names.Find("sid"), 0);
    EXPECT_EQ(names.Find("DateUpd"), 1);
}

// A device table's own Tag1 is no Tag1 of the room's: that one stands first in the result.
TEST_F(ColumnNamesTest, FindTheFirstEvenWhenALaterOneHasTheExactCase)
{
    Load("select 1 as VAL, 2 as Val, 3 as val");
    EXPECT_EQ(names.Find("val"), 0);
    EXPECT_EQ(names.Find("Val"), 0);
    EXPECT_EQ(names.Find("vAL"), 0);
}

// A query of forty columns: twenty names, and then the same ones in another case.
std::string repeated_columns(const std::string& first, const std::string& again)
{
    std::string sql = "select 0 as " + first + "0";
    for (int i = 1; i < 40; ++i)
    {
        const std::string name = (i < 20 ? first : again) + std::to_string(i % 20);
        sql += "," + std::to_string(i) + " as " + name;
    }
    return sql;
}

TEST_F(ColumnNamesTest, OfALongResultAreFoundInAnyCaseTheFirstFirst)
{
    Load(repeated_columns("tag", "Tag"));
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_EQ(names.Find(("Tag" + std::to_string(i)).c_str()), i);
        EXPECT_EQ(names.Find(("tag" + std::to_string(i)).c_str()), i);
        EXPECT_EQ(names.Find(("TAG" + std::to_string(i)).c_str()), i);
    }
    EXPECT_EQ(names.Find("tag20"), -1);
}

// Among many columns: the table of few does not tell the two cases of a letter apart anyway.
TEST_F(ColumnNamesTest, MatchInAnyCaseOfEveryLetter)
{
    Load(repeated_columns("tag", "Tag") + ",0 as abcdefghijklmnopqrstuvwxyz, 0 as \"@[`{\"");
    EXPECT_EQ(names.Find("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), 40);
    EXPECT_EQ(names.Find("@[`{"), 41);
    EXPECT_EQ(names.Find("`{@["), -1);
}

// Any number of columns leaves an end to the search for one that is not there.
TEST_F(ColumnNamesTest, MissingNameIsNotFoundAmongAnyNumberOfColumns)
{
    std::string sql = "select 0 as c0";
    for (int i = 1; i <= 70; ++i)
    {
        Load(sql);
        EXPECT_EQ(names.Count(), i);
        EXPECT_EQ(names.Find("missing"), -1);
        sql.append(",0 as c").append(std::to_string(i));
    }
}

TEST_F(ColumnNamesTest, ManyColumnsAreAllFound)
{
    std::string sql = "select 0 as Fld0";
    for (int i = 1; i < 1000; ++i)
    {
        sql += "," + std::to_string(i) + " as Fld" + std::to_string(i);
    }
    Load(sql);
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_EQ(names.Find(("Fld" + std::to_string(i)).c_str()), i);
    }
    EXPECT_EQ(names.Find("Fld1000"), -1);
}

TEST_F(ColumnNamesTest, OfTheResultBeforeAreForgotten)
{
    Load("select 1 as SID, 2 as Type");
    ASSERT_EQ(names.Find("Type"), 1);
    Load("select 1 as Name");
    EXPECT_EQ(names.Find("Type"), -1);
    EXPECT_EQ(names.Find("Name"), 0);
    EXPECT_EQ(names.Count(), 1);
}

} // namespace
