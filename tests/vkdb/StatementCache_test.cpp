#include "vkdb/StatementCache.h"

#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

using vkdb::CStatementCache;
using vkdb::CStatementLease;

namespace
{

constexpr char kDevice[] = "select SID,Name from tbSM where SID=";

std::string device(int sid)
{
    return kDevice + std::to_string(sid);
}

class StatementCacheTest : public testing::Test
{
protected:
    // Runs a query to its first row; the result is the statement that did it.
    sqlite3_stmt* Run(const std::string& sql)
    {
        CStatementLease stmt = cache.Take(sql.c_str());
        sqlite3_step(stmt.get());
        return stmt.get();
    }

    std::string NameOf(int sid)
    {
        const CStatementLease stmt = cache.Take(device(sid).c_str());
        const bool has_row = sqlite3_step(stmt.get()) == SQLITE_ROW;
        const void* raw = has_row ? sqlite3_column_text(stmt.get(), 1) : nullptr;
        return has_row ? static_cast<const char*>(raw) : "none";
    }

    CDbFile file{"create table tbSM(SID,Name); insert into tbSM values(7,'UPS'),(9,'air')"};
    CWriter connection{file.Path()};
    CStatementCache cache{connection.Handle()};
};

} // namespace

TEST_F(StatementCacheTest, RunsTheStatementOfOneDeviceForTheNext)
{
    sqlite3_stmt* const first = Run(device(7));
    EXPECT_EQ(Run(device(9)), first);
    EXPECT_EQ(NameOf(7), "UPS");
    EXPECT_EQ(NameOf(9), "air");
    EXPECT_EQ(NameOf(8), "none");
    EXPECT_EQ(cache.Kept(), 1U);
}

TEST_F(StatementCacheTest, KeepsTheStatementOfATextWithoutANumber)
{
    sqlite3_stmt* const first = Run("select * from tbSM");
    EXPECT_EQ(Run("select * from tbSM"), first);
    EXPECT_NE(Run("select * from tbSM "), first);
}

TEST_F(StatementCacheTest, ForgetsTheNumberWithTheLoan)
{
    ASSERT_EQ(NameOf(7), "UPS");
    const CStatementLease stmt = cache.Take((kDevice + std::string("?1")).c_str());
    EXPECT_EQ(sqlite3_step(stmt.get()), SQLITE_DONE); // a parameter that nobody gave is NULL
}

TEST_F(StatementCacheTest, GivesRowsInTheOrderThatTheNumberMakes)
{
    connection.Sql("create table t(a,b,c); create index i on t(b,c desc) where b=5;"
                   "insert into t values(1,5,1),(2,5,2),(3,6,1),(4,6,2)");
    const auto order = [this](const std::string& number)
    {
        std::string found;
        const CStatementLease stmt = cache.Take(("select a from t where b=" + number).c_str());
        while (sqlite3_step(stmt.get()) == SQLITE_ROW)
        {
            found += std::to_string(sqlite3_column_int(stmt.get(), 0));
        }
        return found;
    };
    EXPECT_EQ(order("6"), "34");
    EXPECT_EQ(order("5"), "21"); // by the index, which holds rows of this number alone
    EXPECT_EQ(order("6"), "34");
    EXPECT_EQ(cache.Kept(), 1U);
}

TEST_F(StatementCacheTest, SharesNoStatementInUse)
{
    const CStatementLease first = cache.Take(device(7).c_str());
    ASSERT_EQ(sqlite3_step(first.get()), SQLITE_ROW);
    EXPECT_EQ(NameOf(9), "air");
    EXPECT_EQ(sqlite3_column_int(first.get(), 0), 7);
}

TEST_F(StatementCacheTest, EndsTheReadLockWithTheLoan)
{
    CStatementLease stmt = cache.Take("select SID from tbSM");
    ASSERT_EQ(sqlite3_step(stmt.get()), SQLITE_ROW);
    CWriter writer(file.Path());
    EXPECT_EQ(writer.Try("delete from tbSM"), SQLITE_BUSY);
    stmt.reset();
    EXPECT_EQ(writer.Try("delete from tbSM"), SQLITE_OK);
    EXPECT_EQ(cache.Kept(), 1U);
}

TEST_F(StatementCacheTest, KeepsSoManyAndAlwaysTheLatest)
{
    for (size_t i = 1; i < 5 * CStatementCache::kStatements; ++i)
    {
        sqlite3_stmt* const device_stmt = Run(device(7));
        EXPECT_EQ(Run(device(9)), device_stmt);
        Run("select " + std::to_string(i));
        EXPECT_EQ(cache.Kept(), std::min(i + 1, CStatementCache::kStatements));
        Run("select " + std::to_string(i));
        EXPECT_EQ(cache.Kept(), std::min(i + 1, CStatementCache::kStatements));
    }
}

// As a sweep over a room with many tables does.
TEST_F(StatementCacheTest, HasManyOfMoreThanItKeepsThatAreAskedForInTurn)
{
    constexpr size_t kTables = CStatementCache::kStatements * 5 / 4;
    constexpr int kRounds = 50;
    size_t found = 0;
    for (int round = 0; round < kRounds; ++round)
    {
        for (size_t i = 0; i < kTables; ++i)
        {
            const size_t before = cache.Kept();
            const CStatementLease stmt = cache.Take(("select " + std::to_string(i)).c_str());
            found += before - cache.Kept();
        }
    }
    EXPECT_GT(found, kRounds * kTables / 2);
}

TEST_F(StatementCacheTest, KeepsNoLongText)
{
    const std::string blanks(CStatementCache::kTextBytes - device(7).size(), ' ');
    Run(device(7) + blanks + " ");
    EXPECT_EQ(cache.Kept(), 0U);
    Run(device(7) + blanks);
    EXPECT_EQ(cache.Kept(), 1U);
}

TEST_F(StatementCacheTest, KeepsNoLargeStatement)
{
    std::string columns = "a0";
    for (int i = 1; i < 1500; ++i)
    {
        columns += ",a" + std::to_string(i);
    }
    connection.Sql("create table tbWide(" + columns + ")");
    Run("select * from tbWide");
    EXPECT_EQ(cache.Kept(), 0U);
}

TEST_F(StatementCacheTest, KeepsNothingThatTellsOfItsCompilation)
{
    Run("pragma table_info(tbSM)");
    Run("explain query plan select * from tbSM");
    EXPECT_EQ(cache.Kept(), 0U);
}

TEST_F(StatementCacheTest, KeepsNoStatementThatFailed)
{
    Run("select abs(-9223372036854775808)");
    EXPECT_EQ(cache.Kept(), 0U);
}

TEST_F(StatementCacheTest, GivesNothingForATextWithoutAStatement)
{
    EXPECT_FALSE(cache.Take(""));
    EXPECT_FALSE(cache.Take("-- nothing"));
    EXPECT_EQ(cache.Kept(), 0U);
}

TEST_F(StatementCacheTest, TellsTheErrorOfTheTextAsItStands)
{
    connection.Sql("create index i on tbSM(Name) where SID=7");
    const std::string hint = "select Name from tbSM indexed by i where SID=";
    EXPECT_TRUE(cache.Take((hint + "7").c_str())); // only the number makes it possible
    EXPECT_THROW(cache.Take((hint + "8").c_str()), vkdb::CSqliteFailure);
    EXPECT_THROW(cache.Take("select Name from tbNone where SID=8"), vkdb::CSqliteFailure);
}

TEST_F(StatementCacheTest, ReadsTheNamesAnewWithTheSchema)
{
    const auto names = [this]
    {
        CStatementLease stmt = cache.Take("select * from tbSM where SID=7");
        sqlite3_step(stmt.get());
        const vkdb::CColumnNames& found = stmt.Names();
        return std::to_string(found.Count()) + " " + found.Name(found.Count() - 1);
    };
    EXPECT_EQ(names(), "2 Name");
    CWriter(file.Path()).Sql("alter table tbSM add column Note");
    EXPECT_EQ(names(), "3 Note");
    CWriter(file.Path()).Sql("alter table tbSM rename column Note to Tag1");
    EXPECT_EQ(names(), "3 Tag1");
    EXPECT_EQ(cache.Kept(), 1U);
}
