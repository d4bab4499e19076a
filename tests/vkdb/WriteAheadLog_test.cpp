// Databases with a write-ahead log: the library writes into the log and leaves it to the host's
// writer to copy that into the database.
#include "tests/vkdb/DbFile.h"
#include "vkdb/Database.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace fs = std::filesystem;
using vkdb::Access;
using vkdb::CConnection;
using vkdb::CDatabase;

namespace
{

constexpr char kWalTable[] =
    "pragma journal_mode=wal; create table tbSMAlarm(DID integer primary key, AFld);"
    "insert into tbSMAlarm values(1,0),(2,0)";
constexpr char kMark[] = "update tbSMAlarm set AFld=AFld+1 where DID=1";
constexpr int kUpdates = 3000; // three times as many pages as SQLite would wait for
constexpr std::uintmax_t kPageBytes = 4096;

class WriteAheadLogTest : public testing::Test
{
protected:
    std::string Bytes() const
    {
        std::ostringstream bytes;
        bytes << std::ifstream(file.Path(), std::ios::binary).rdbuf();
        return bytes.str();
    }

    std::uintmax_t LogBytes() const
    {
        const std::string log = file.Path() + "-wal";
        return fs::exists(log) ? fs::file_size(log) : 0;
    }

    // What a connection of that access finds that becomes the last one; it is closed again.
    int CountAsTheLast(Access access)
    {
        auto writer = std::make_unique<CWriter>(file.Path());
        writer->Sql(kMark);
        CConnection conn(file.Path(), access, 0);
        conn.CheckUsable();
        writer.reset(); // not the last one, so it leaves the log as it is
        const vkdb::CStatementLease stmt = conn.Take("select AFld from tbSMAlarm where DID=1");
        return sqlite3_step(stmt.get()) == SQLITE_ROW ? sqlite3_column_int(stmt.get(), 0) : -1;
    }

    CDbFile file{kWalTable};
};

TEST_F(WriteAheadLogTest, IsNeverCopiedIntoTheDatabaseBehindAnUpdate)
{
    const std::string before = Bytes();
    CDatabase db(file.Path(), 0);
    ASSERT_TRUE(db.Open(nullptr, 0));
    db.Exec("pragma synchronous=off"); // nothing here outlives the test
    for (int i = 0; i < kUpdates; ++i)
    {
        ASSERT_EQ(db.Exec(kMark), 1);
    }
    EXPECT_EQ(Bytes(), before);
    EXPECT_GT(LogBytes(), kUpdates * kPageBytes);
    EXPECT_EQ(read_rows(db, "select AFld from tbSMAlarm"), (std::vector<std::string>{"3000", "0"}));
}

TEST_F(WriteAheadLogTest, IsNotCopiedIntoTheDatabaseByTheLastConnectionThatGoes)
{
    for (const Access access : {Access::kReadWrite, Access::kReadOnly, Access::kRepair})
    {
        const std::string before = Bytes();
        EXPECT_EQ(CountAsTheLast(access), 1);
        EXPECT_EQ(Bytes(), before);
        EXPECT_GT(LogBytes(), 0U);
        CWriter(file.Path()).Sql("update tbSMAlarm set AFld=0"); // the host's, which copies it
    }
}

TEST_F(WriteAheadLogTest, IsCopiedIntoTheDatabaseByTheHostsWriter)
{
    const std::string before = Bytes();
    CDatabase(file.Path(), 0).Exec(kMark);
    EXPECT_EQ(Bytes(), before);
    CWriter(file.Path()).Sql("pragma wal_checkpoint(truncate)");
    EXPECT_NE(Bytes(), before);
    EXPECT_EQ(LogBytes(), 0U);
    EXPECT_EQ(CWriter(file.Path()).Value("select AFld from tbSMAlarm where DID=1"), 1);
}

} // namespace
