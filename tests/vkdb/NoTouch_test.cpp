// The policy kNoTouch: whatever state a database is in, reading it leaves its folder as it is. The
// shared-memory file of a write-ahead log is the readers' own and not looked at.
#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DbFile.h"
#include "vkdb/Database.h"
#include "vkdb/Sqlite.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vkdb::CDatabase;

namespace
{

constexpr char kRows[] = "select SID,Name from tbSM order by SID";
constexpr char kTable[] =
    "create table tbSM(SID,Name); insert into tbSM values(7,'UPS'),(9,'air');";
constexpr char kWal[] = "pragma journal_mode=wal;";

// Leaves behind what a writer does that is killed in the middle of a transaction.
int crash_in_a_transaction(const std::string& path)
{
    CWriter writer(path);
    writer.Sql("pragma cache_size=1; begin; update tbSM set Name='half'");
    writer.Sql("create table tbFill(V)");
    for (int i = 0; i < 50; ++i)
    {
        writer.Sql("insert into tbFill values(randomblob(9000))");
    }
    ::_exit(0);
}

// And behind its last one, with the log not yet copied into the database.
int crash_behind_a_transaction(const std::string& path)
{
    CWriter writer(path);
    writer.Sql("update tbSM set Name='log'");
    ::_exit(0);
}

class NoTouchTest : public testing::Test
{
protected:
    std::unique_ptr<CDatabase> Open() const
    {
        return std::make_unique<CDatabase>(file.Path(), 0, CDatabase::Policy::kNoTouch);
    }

    // What a reader finds that comes and goes.
    std::vector<std::string> Rows() const
    {
        const auto db = Open();
        db->Open(nullptr, 0);
        std::vector<std::string> rows = read_rows(*db, kRows);
        db->Close();
        return rows;
    }

    // The bytes of every file in the folder, by name.
    std::map<std::string, std::string> Folder() const
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(fs::path(file.Path()).parent_path()))
        {
            std::ostringstream bytes;
            bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            if (entry.path().extension() != ".db3-shm")
            {
                files[entry.path().filename()] = bytes.str();
            }
        }
        return files;
    }

    CDbFile file{kTable};
};

} // namespace

// --- At rest -------------------------------------------------------------------------------------

TEST_F(NoTouchTest, DatabaseWithARollbackJournalIsRead)
{
    const auto before = Folder();
    EXPECT_THAT(Rows(), ElementsAre("7|UPS", "9|air"));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, DatabaseWithAWriteAheadLogIsReadWithoutOne)
{
    file.Sql(kWal);
    const auto before = Folder();
    ASSERT_EQ(before.size(), 1U);
    EXPECT_THAT(Rows(), ElementsAre("7|UPS", "9|air"));
    EXPECT_EQ(Folder(), before);
    EXPECT_FALSE(fs::exists(file.Path() + "-shm"));
}

// Such a database is opened as a URI, where these letters mean something.
TEST_F(NoTouchTest, DatabaseWithAWriteAheadLogIsReadWhateverItsName)
{
    for (const char* name : {"/a?b.db3", "/a#b.db3", "/a%41b.db3", "/a b.db3", "/动环.db3"})
    {
        const std::string path = fs::path(file.Path()).parent_path().string() + name;
        CWriter(path).Sql(std::string(kWal) + kTable);
        const size_t files = Folder().size();
        CDatabase db(path, 0, CDatabase::Policy::kNoTouch);
        EXPECT_TRUE(db.Open(nullptr, 0)) << name;
        EXPECT_THAT(read_rows(db, kRows), ElementsAre("7|UPS", "9|air")) << name;
        EXPECT_EQ(Folder().size(), files);
    }
}

TEST_F(NoTouchTest, NoFileIsMade)
{
    CDatabase missing(file.Path() + "x", 0, CDatabase::Policy::kNoTouch);
    EXPECT_FALSE(missing.Open(nullptr, 0));
    EXPECT_EQ(thrown_by([&] { read_rows(missing, kRows); }), "14 unable to open database file");
    EXPECT_EQ(Folder().size(), 1U);
}

TEST_F(NoTouchTest, WritingIsRefused)
{
    const auto before = Folder();
    const auto db = Open();
    db->Open(nullptr, 0);
    EXPECT_THAT(thrown_by([&] { db->Exec("update tbSM set Name='x'"); }), HasSubstr("readonly"));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, TemporaryTableIsNoFile)
{
    const auto before = Folder();
    const auto db = Open();
    db->Open(nullptr, 0);
    db->Exec("create temp table tbSM as select * from main.tbSM where SID>7");
    EXPECT_THAT(read_rows(*db, kRows), ElementsAre("9|air"));
    EXPECT_EQ(Folder(), before);
}

// One that is larger than SQLite's memory for pages would be a file in the temporary directory.
TEST_F(NoTouchTest, TemporaryTablesStayInMemory)
{
    const auto db = Open();
    EXPECT_THAT(read_rows(*db, "pragma temp_store"), ElementsAre("2"));
}

// What its caller made goes with a connection, so it is kept whatever becomes of the file.
TEST_F(NoTouchTest, TemporaryTableStaysWhenTheFileIsWrittenOver)
{
    const auto db = Open();
    ASSERT_TRUE(db->Open(nullptr, 0));
    db->Exec("create temp table tbMark as select 5 as a");
    const std::string bytes = file.Bytes();
    for (const std::string& now : {std::string(4096, 'x'), bytes, bytes})
    {
        file.Bytes(now);
        db->Open(nullptr, 0);
        thrown_by([&] { read_rows(*db, kRows); });
        EXPECT_THAT(read_rows(*db, "select a from temp.tbMark"), ElementsAre("5"));
    }
}

// --- A writer at work ----------------------------------------------------------------------------

TEST_F(NoTouchTest, WriterInATransactionIsLeftAlone)
{
    CWriter writer(file.Path());
    writer.Sql("begin immediate; update tbSM set Name='new'");
    const auto before = Folder();
    ASSERT_EQ(before.count("test.db3-journal"), 1U);
    EXPECT_THAT(Rows(), ElementsAre("7|UPS", "9|air"));
    EXPECT_EQ(Folder(), before);
    writer.Sql("commit");
    EXPECT_THAT(Rows(), ElementsAre("7|new", "9|new"));
}

TEST_F(NoTouchTest, LogOfAWriterIsRead)
{
    CWriter writer(file.Path());
    writer.Sql(std::string(kWal) + "update tbSM set Name='new'");
    const auto before = Folder();
    ASSERT_EQ(before.count("test.db3-wal"), 1U);
    EXPECT_THAT(Rows(), ElementsAre("7|new", "9|new"));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, WriterThatComesLaterIsSeen)
{
    file.Sql(kWal);
    const auto db = Open();
    db->Open(nullptr, 0);
    CWriter writer(file.Path());
    writer.Sql("update tbSM set Name='new'");
    db->Open(nullptr, 0);
    EXPECT_THAT(read_rows(*db, kRows), ElementsAre("7|new", "9|new"));
}

TEST_F(NoTouchTest, WriterThatGoesTakesItsLogAlong)
{
    auto writer = std::make_unique<CWriter>(file.Path());
    writer->Sql(std::string(kWal) + "update tbSM set Name='new'");
    const auto db = Open(); // has seen the log, and read nothing
    writer.reset();
    ASSERT_FALSE(fs::exists(file.Path() + "-wal"));
    EXPECT_TRUE(db->Open(nullptr, 0));
    EXPECT_THAT(read_rows(*db, kRows), ElementsAre("7|new", "9|new"));
    EXPECT_EQ(Folder().size(), 1U);
}

TEST_F(NoTouchTest, QueryLooksOnceMoreToo)
{
    auto writer = std::make_unique<CWriter>(file.Path());
    writer->Sql(std::string(kWal) + "update tbSM set Name='new'");
    const auto db = Open();
    writer.reset();
    EXPECT_THAT(read_rows(*db, kRows), ElementsAre("7|new", "9|new"));
}

TEST_F(NoTouchTest, LockIsAPassingObstacle)
{
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    const auto db = Open();
    EXPECT_FALSE(db->Open(nullptr, 0));
    EXPECT_THAT(read_rows(*db, kRows), ElementsAre("negative"));
    writer.Sql("commit");
    EXPECT_TRUE(db->Open(nullptr, 0));
}

// --- A writer that crashed -----------------------------------------------------------------------

TEST_F(NoTouchTest, HotJournalIsAnErrorAndStays)
{
    ASSERT_EQ(run_in_child([&] { return crash_in_a_transaction(file.Path()); }), 0);
    const auto before = Folder();
    ASSERT_GT(before.at("test.db3-journal").size(), 1000U);
    const auto db = Open();
    EXPECT_FALSE(db->Open(nullptr, 0));
    EXPECT_THAT(thrown_by([&] { read_rows(*db, kRows); }), HasSubstr("readonly"));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, LogOfACrashedWriterIsReadAndStays)
{
    file.Sql(kWal);
    ASSERT_EQ(run_in_child([&] { return crash_behind_a_transaction(file.Path()); }), 0);
    const auto before = Folder();
    ASSERT_GT(before.at("test.db3-wal").size(), 1000U);
    EXPECT_THAT(Rows(), ElementsAre("7|log", "9|log"));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, LogWithoutItsIndexIsReadAndStays)
{
    // As after a power failure, or when somebody has copied the files.
    file.Sql(kWal);
    ASSERT_EQ(run_in_child([&] { return crash_behind_a_transaction(file.Path()); }), 0);
    fs::remove(file.Path() + "-shm");
    const auto before = Folder();
    EXPECT_THAT(Rows(), ElementsAre("7|log", "9|log"));
    EXPECT_EQ(Folder(), before);
}

// SQLite takes a log away that lies beside an empty database.
TEST_F(NoTouchTest, LogBesideAnEmptyDatabaseStays)
{
    file.Bytes("");
    std::ofstream(file.Path() + "-wal") << "log";
    const auto before = Folder();
    EXPECT_FALSE(Open()->Open(nullptr, 0));
    EXPECT_EQ(Folder(), before);
}

TEST_F(NoTouchTest, TransactionThatNeverEndedIsNotInTheLog)
{
    file.Sql(kWal);
    ASSERT_EQ(run_in_child([&] { return crash_in_a_transaction(file.Path()); }), 0);
    const auto before = Folder();
    EXPECT_THAT(Rows(), ElementsAre("7|UPS", "9|air"));
    EXPECT_EQ(Folder(), before);
}
