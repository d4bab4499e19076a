// A damaged page costs the rows behind it and no others: a query gives what reading row by row
// gives, and throws where that fails.
#include "tests/vkdb/DbFile.h"
#include "vkdb/Database.h"

#include <gtest/gtest.h>

namespace
{

// As many rows as a result gives before it ends, and how it ends.
struct Reading
{
    int row_count = 0;
    std::string ending;
};

// By SQLite's own functions, row by row.
Reading read_plainly(const std::string& path)
{
    CWriter plain(path);
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(plain.Handle(), "select SID,Name from tbSM", -1, &stmt, nullptr);
    Reading reading;
    int rc = sqlite3_step(stmt);
    for (; rc == SQLITE_ROW; rc = sqlite3_step(stmt))
    {
        ++reading.row_count;
    }
    reading.ending = rc == SQLITE_DONE ? "no exception"
                                       : std::to_string(rc) + " " + sqlite3_errmsg(plain.Handle());
    sqlite3_finalize(stmt);
    return reading;
}

// Through the library; every row must be the one that was written there.
Reading read_by_library(DbDatabase& db)
{
    Reading reading;
    EXPECT_TRUE(db.Open(nullptr, -2));
    const int iqry = db.QryExec("select SID,Name from tbSM", -1);
    EXPECT_GE(iqry, 0);
    reading.ending = thrown_by(
        [&]
        {
            for (; !db.QryEof(iqry); db.QryNext(iqry))
            {
                EXPECT_EQ(db.QryGetInt(iqry, "SID"), reading.row_count + 1);
                ++reading.row_count;
            }
        });
    EXPECT_TRUE(db.QryEof(iqry));
    EXPECT_EQ(thrown_by([&] { db.QryNext(iqry); }), "no exception"); // it has been told
    EXPECT_TRUE(db.QryEof(iqry));
    db.QryFree(iqry);
    return reading;
}

class DamagedFileTest : public testing::Test
{
protected:
    // Devices 1 to row_count, each with a name of that length; the page at that part of the file,
    // in percent, is destroyed. The result is what can be read.
    Reading Read(int row_count, int name_bytes, int percent)
    {
        file.Sql("create table tbSM(SID,Name);"
                 "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
                 std::to_string(row_count) + ") insert into tbSM select i,hex(zeroblob(" +
                 std::to_string(name_bytes / 2) + ")) from n");
        file.SpoilPage(file.Pages() * percent / 100);
        const Reading plain = read_plainly(file.Path());
        const Reading reading = read_by_library(Db());
        EXPECT_EQ(reading.row_count, plain.row_count);
        EXPECT_EQ(reading.ending, plain.ending);
        EXPECT_EQ(reading.ending, "11 database disk image is malformed");
        EXPECT_LT(reading.row_count, row_count);
        return reading;
    }

    vkdb::CDatabase& Db()
    {
        m_db = m_db ? std::move(m_db) : std::make_unique<vkdb::CDatabase>(file.Path(), 0);
        return *m_db;
    }

    CDbFile file;

private:
    std::unique_ptr<vkdb::CDatabase> m_db;
};

TEST_F(DamagedFileTest, GivesTheDevicesBeforeTheDamage)
{
    EXPECT_GT(Read(300, 50, 80).row_count, static_cast<int>(vkdb::CQuery::kFirstRows));
}

TEST_F(DamagedFileTest, GivesTheRowsOfALongTableBeforeTheDamage)
{
    EXPECT_GT(Read(3000, 50, 50).row_count, 1000);
}

// The damage is met while the query starts; there are rows all the same.
TEST_F(DamagedFileTest, GivesTheRowsBeforeADamageThatStartMeets)
{
    const int row_count = Read(40, 1000, 50).row_count;
    EXPECT_GT(row_count, 0);
    EXPECT_LT(row_count, 40);
}

// The damage is met when the rows that were read ahead have been given.
TEST_F(DamagedFileTest, GivesTheRowsOfAResultLargerThanTheReadAhead)
{
    const int row_count = Read(3000, 2000, 90).row_count;
    EXPECT_GT(row_count * 2000, static_cast<int>(vkdb::CQuery::kReadAheadBytes));
}

TEST_F(DamagedFileTest, ThrowsFromQryExecWhenItsFirstRowCannotBeRead)
{
    file.Sql("create table t(a); insert into t values(1)");
    file.SpoilLastPages(1);
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { Db().QryExec("select a from t", -1); }),
              "11 database disk image is malformed");
}

// Who wants the first row of many never steps onto the damage.
TEST_F(DamagedFileTest, SaysNothingOfADamageThatNobodyStepsOnto)
{
    Read(300, 50, 80);
    const int iqry = Db().QryExec("select SID,Name from tbSM", -1);
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 1);
    EXPECT_EQ(thrown_by([&] { Db().QryFree(iqry); }), "no exception");
    EXPECT_EQ(thrown_by([&] { Db().Close(); }), "no exception");
}

TEST_F(DamagedFileTest, AQueryUnderTheSameIndexKnowsNothingOfTheDamageBefore)
{
    Read(300, 50, 80);
    const int iqry = Db().QryExec("select SID,Name from tbSM", -1);
    Db().QryNext(iqry); // reads ahead, and meets it
    EXPECT_EQ(Db().QryExec("select 7 as SID", iqry), iqry);
    EXPECT_EQ(Db().QryGetInt(iqry, "SID"), 7);
    EXPECT_EQ(thrown_by([&] { Db().QryNext(iqry); }), "no exception");
}

} // namespace
