// Faults of the machine that pass: a read that fails once, a file that cannot be opened just now.
#include "tests/vkdb/DbFile.h"
#include "tests/vkdb/FaultVfs.h"
#include "vkdb/Manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Rows = std::vector<std::string>;

namespace
{

constexpr char kNames[] = "select SID,Name from tbSM";

// Devices 1 to row_count; Name is their number in front of a filling of byte_count bytes.
std::string devices(int row_count, int byte_count)
{
    return "create table tbSM(SID,Name);"
           "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
           std::to_string(row_count) + ") insert into tbSM select i,i||' '||hex(zeroblob(" +
           std::to_string(byte_count / 2) + ")) from n;";
}

class PassingFaultTest : public testing::Test
{
protected:
    // All rows of a fresh object's first unit of work.
    Rows ReadAll() const
    {
        vkdb::CDatabase db(file.Path(), 0);
        EXPECT_TRUE(db.Open(nullptr, -2));
        return read_rows(db, kNames);
    }

    // Lets one read in "distance" fail, one after the other, each for a reading of its own that
    // must not notice. The result is how many there were.
    int FailEachRead(int distance)
    {
        const Rows rows = ReadAll();
        int failures = 0;
        for (int number = 1;; number += distance)
        {
            faults.FailRead(number);
            EXPECT_EQ(ReadAll(), rows) << "read " << number;
            if (!faults.IsDone() || HasFailure())
            {
                return failures;
            }
            ++failures;
        }
    }

    CDbFile file;
    CFaultVfs faults;
};

TEST_F(PassingFaultTest, OneReadErrorAnywhereCostsNoName)
{
    file.Sql(devices(199, 150));
    EXPECT_GE(FailEachRead(1), 10);
}

TEST_F(PassingFaultTest, OneReadErrorCostsNoRowOfAResultLargerThanTheReadAhead)
{
    file.Sql(devices(2300, 2000));
    EXPECT_GE(FailEachRead(111), 10);
}

TEST_F(PassingFaultTest, OneObstacleOfAnotherKindInTheMiddleCostsNoRow)
{
    file.Sql(devices(300, 150));
    for (const int code : {SQLITE_BUSY, SQLITE_PROTOCOL, SQLITE_NOMEM, SQLITE_CANTOPEN})
    {
        vkdb::CDatabase db(file.Path(), 0);
        ASSERT_TRUE(db.Open(nullptr, -2));
        const int iqry = db.QryExec(kNames, -1);
        faults.FailRead(3, 1, nullptr, code);
        int row_count = 0;
        EXPECT_EQ(thrown_by(
                      [&]
                      {
                          for (; !db.QryEof(iqry); db.QryNext(iqry))
                          {
                              ++row_count;
                          }
                      }),
                  "no exception");
        EXPECT_EQ(row_count, 300) << code;
        EXPECT_TRUE(faults.IsDone());
    }
}

TEST_F(PassingFaultTest, AReadErrorThatComesTwiceCostsNoRow)
{
    file.Sql(devices(300, 150));
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    faults.FailRead(6, 2);
    EXPECT_EQ(read_rows(db, kNames).size(), 300U);
    EXPECT_TRUE(faults.IsDone());
}

TEST_F(PassingFaultTest, TwoReadErrorsInOneResultCostNoRow)
{
    file.Sql(devices(2300, 2000));
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    faults.FailRead(200); // while the rows are read ahead
    const int iqry = db.QryExec(kNames, -1);
    int row_count = 0;
    for (; !db.QryEof(iqry) && db.QryGetInt(iqry, "SID") == row_count + 1; db.QryNext(iqry))
    {
        ++row_count;
        if (row_count == 1000)
        {
            EXPECT_TRUE(faults.IsDone());
            faults.FailRead(20); // and again when they have been given
        }
    }
    EXPECT_TRUE(faults.IsDone());
    EXPECT_EQ(row_count, 2300);
}

// Which begins with less than the caller has seen of another query under its index.
TEST_F(PassingFaultTest, OneReadErrorCostsNoRowOfAQueryBehindALargerOne)
{
    file.Sql(devices(2300, 2000));
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    ASSERT_EQ(read_rows(db, kNames).size(), 2300U);
    faults.FailRead(200);
    EXPECT_EQ(read_rows(db, "select * from tbSM where SID<1000").size(), 999U);
    EXPECT_TRUE(faults.IsDone());
}

// Who wants the first of many long rows does not wait for the others.
TEST_F(PassingFaultTest, StartReadsLittleOfLongRows)
{
    file.Sql(devices(60, 100000));
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    faults.FailRead(200, 1000000);
    const int iqry = db.QryExec(kNames, -1);
    faults.FailRead(1, 0);
    int row_count = 0;
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        ++row_count;
    }
    EXPECT_EQ(row_count, 60);
}

// --- Read errors that stay -----------------------------------------------------------------------

TEST_F(PassingFaultTest, AReadErrorThatStaysIsThrownBehindTheRowsBeforeIt)
{
    file.Sql(devices(300, 150));
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    const int iqry = db.QryExec(kNames, -1);
    faults.FailRead(3, 1000000);
    int row_count = 1;
    EXPECT_EQ(thrown_by(
                  [&]
                  {
                      for (db.QryNext(iqry); !db.QryEof(iqry); db.QryNext(iqry))
                      {
                          ++row_count;
                          EXPECT_EQ(db.QryGetInt(iqry, "SID"), row_count);
                      }
                  }),
              "10 disk I/O error");
    EXPECT_GT(row_count, 64);
    EXPECT_LT(row_count, 300);
}

TEST_F(PassingFaultTest, AReadErrorThatStaysIsThrownByAQueryThatHasNoRow)
{
    file.Sql(devices(300, 150));
    vkdb::CDatabase db(file.Path(), 0);
    faults.FailRead(1, 1000000);
    EXPECT_FALSE(db.Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { db.QryExec(kNames, -1); }), "10 disk I/O error");
    faults.FailRead(1, 0);
    EXPECT_TRUE(db.Open(nullptr, -2));
    EXPECT_EQ(read_rows(db, kNames).size(), 300U);
}

// --- A writer between the fault and the second reading -------------------------------------------

class FaultBesideWriterTest : public PassingFaultTest
{
protected:
    // Begins to read a WAL database in which a writer does this when the reading fails, behind
    // the rows that Start read. The first row has been seen then.
    int Begin(const std::string& change, const std::string& sql = kNames)
    {
        m_writer.Sql("pragma journal_mode=wal;" + devices(300, 150));
        m_writer.Sql("pragma wal_checkpoint(truncate)"); // so that the database itself is read
        EXPECT_TRUE(m_db.Open(nullptr, -2));
        const int iqry = m_db.QryExec(sql.c_str(), -1);
        faults.FailRead(3, 1, [this, change] { m_writer.Sql(change); });
        return iqry;
    }

    // The names from the current row on, without their fillings, and what is thrown at their end.
    Rows Walk(int iqry)
    {
        Rows names;
        const std::string thrown = thrown_by(
            [&]
            {
                for (; !m_db.QryEof(iqry); m_db.QryNext(iqry))
                {
                    const std::string name = m_db.QryGetStr(iqry, "Name");
                    names.push_back(name.substr(0, name.find(' ')));
                }
            });
        EXPECT_TRUE(faults.IsDone());
        names.push_back(thrown);
        return names;
    }

    CWriter m_writer{file.Path()}; // makes it
    vkdb::CDatabase m_db{file.Path(), 0};
};

TEST_F(FaultBesideWriterTest, RowsAreOneStateWhenTheSeenOnesAreTheSame)
{
    const int iqry = Begin("update tbSM set Name='new' where SID>1");
    const Rows names = Walk(iqry);
    ASSERT_EQ(names.size(), 301U);
    EXPECT_EQ(names[0], "1");
    EXPECT_EQ(names[1], "new"); // read ahead as "2", and not given
    EXPECT_EQ(names[299], "new");
    EXPECT_EQ(names[300], "no exception");
}

TEST_F(FaultBesideWriterTest, TheErrorIsThrownWhenASeenRowIsAnother)
{
    const int iqry = Begin("update tbSM set Name='new'");
    const Rows names = Walk(iqry);
    EXPECT_GT(names.size(), 64U);
    EXPECT_LT(names.size(), 300U);
    EXPECT_EQ(names[1], "2"); // all of the state that was read first
    EXPECT_EQ(names[names.size() - 2], std::to_string(names.size() - 1));
    EXPECT_EQ(names.back(), "10 disk I/O error");
}

TEST_F(FaultBesideWriterTest, TheErrorIsThrownWhenTheSeenRowIsGone)
{
    const int iqry = Begin("delete from tbSM");
    const Rows names = Walk(iqry);
    EXPECT_GT(names.size(), 64U);
    EXPECT_EQ(names.back(), "10 disk I/O error");
}

TEST_F(FaultBesideWriterTest, TheErrorIsThrownWhenTheColumnsAreOthers)
{
    const int iqry = Begin("alter table tbSM add column Note", "select * from tbSM");
    const Rows names = Walk(iqry);
    EXPECT_EQ(names.back(), "10 disk I/O error");
    EXPECT_EQ(m_db.QryFldCount(iqry), 2);
}

TEST_F(FaultBesideWriterTest, RowsThatAreGoneBehindTheSeenOnesEndTheResult)
{
    const int iqry = Begin("delete from tbSM where SID>1");
    EXPECT_EQ(Walk(iqry), (Rows{"1", "no exception"}));
}

// --- Opening -------------------------------------------------------------------------------------

TEST_F(PassingFaultTest, AFileThatCannotBeOpenedAtFirstIsOpenedLater)
{
    file.Sql(devices(3, 2));
    vkdb::CManager manager(0);
    faults.FailOpens(1);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_TRUE(faults.IsDone());
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(db->Open(nullptr, 0));
    EXPECT_EQ(db->Exec("delete from tbSM where SID>1"), 2);
    EXPECT_EQ(read_rows(*db, kNames), Rows{"1|1 00"});
}

// SQLite opens a file to read when one opening to write fails; alarms would never be marked.
TEST_F(PassingFaultTest, AFileThatWasOnceOpenedOnlyToReadIsWrittenLater)
{
    file.Sql(devices(3, 2));
    vkdb::CManager manager(0);
    faults.OpenToRead();
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_TRUE(db->Open(nullptr, 0));
    EXPECT_EQ(db->Exec("delete from tbSM where SID>1"), 2);
}

TEST_F(PassingFaultTest, AQueryOpensTheFileThatOpenDbCouldNot)
{
    file.Sql(devices(3, 2));
    vkdb::CManager manager(0);
    faults.FailOpens(1);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(read_rows(*db, kNames).size(), 3U);
}

TEST_F(PassingFaultTest, ExecOpensTheFileThatOpenDbCouldNot)
{
    file.Sql(devices(3, 2));
    vkdb::CManager manager(0);
    faults.FailOpens(1);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(db->Exec("delete from tbSM"), 3);
}

TEST_F(PassingFaultTest, OpenTriesAgainAtOnce)
{
    file.Sql(devices(3, 2));
    vkdb::CManager manager(0);
    faults.FailOpens(vkdb::CDatabase::kTries);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    EXPECT_TRUE(db->Open(nullptr, 0)); // its last try
    EXPECT_TRUE(faults.IsDone());
}

TEST_F(PassingFaultTest, AFileThatStaysShutIsToldByOpenAndTheQuery)
{
    file.Sql(devices(3, 2));
    faults.FailOpens(1000);
    vkdb::CManager manager(0);
    DbDatabase* db = manager.OpenDb(file.Path().c_str(), 0);
    ASSERT_NE(db, nullptr);
    EXPECT_FALSE(db->Open(nullptr, 0));
    EXPECT_EQ(thrown_by([&] { db->QryExec(kNames, -1); }), "14 unable to open database file");
}

// --- Where no other connection helps ------------------------------------------------------------

TEST_F(PassingFaultTest, AMistakeOfTheCallerIsMetByNoOtherConnection)
{
    file.Sql(devices(3, 2));
    file.WaitForTick();
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    const int opens = faults.Opens();
    EXPECT_EQ(thrown_by([&] { db.QryExec("select * from tbX", -1); }), "1 no such table: tbX");
    EXPECT_TRUE(db.Open(nullptr, -2));
    EXPECT_EQ(faults.Opens(), opens);
}

TEST_F(PassingFaultTest, ADamageIsMetByOneOtherConnection)
{
    file.Sql(devices(300, 150));
    file.SpoilPage(2);
    file.WaitForTick();
    vkdb::CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, -2));
    for (int i = 0; i < 3; ++i) // the connection of the try before is not used again
    {
        const int opens = faults.Opens();
        EXPECT_NE(thrown_by([&] { db.QryExec(kNames, -1); }), "no exception");
        EXPECT_EQ(faults.Opens(), opens + 1);
    }
}

// --- Locks ---------------------------------------------------------------------------------------

TEST_F(PassingFaultTest, ALockThatIsReleasedInTimeIsWaitedOut)
{
    file.Sql(devices(3, 2));
    CWriter writer(file.Path());
    vkdb::CDatabase db(file.Path(), vkdb::kBusyWaitMs);
    for (const int busy : {1, 5})
    {
        writer.Sql("begin exclusive");
        faults.AtBusyLock(busy, [&] { writer.Sql("commit"); });
        EXPECT_TRUE(db.Open(nullptr, -2));
        EXPECT_TRUE(faults.IsDone());

        writer.Sql("begin exclusive");
        faults.AtBusyLock(busy, [&] { writer.Sql("commit"); });
        EXPECT_EQ(read_rows(db, kNames).size(), 3U); // and not "negative"
        EXPECT_TRUE(faults.IsDone());
    }
}

} // namespace
