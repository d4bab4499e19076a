#include "vkdb/Connection.h"

#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DbFile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

using vkdb::Access;
using vkdb::CConnection;

namespace
{

// "code message" of the failure of a call.
template <class Call> std::string failure_of(Call&& call)
{
    try
    {
        call();
    }
    catch (const vkdb::CSqliteFailure& failure)
    {
        const CppSQLite3Exception e = failure.Exception();
        return std::to_string(e.errorCode()) + " " + e.errorMessage();
    }
    return "no failure";
}

TEST(ConnectionTest, MakesNoFile)
{
    const CDbFile file;
    for (const Access access : {Access::kReadWrite, Access::kReadOnly, Access::kRepair})
    {
        EXPECT_EQ(failure_of([&] { CConnection(file.Path(), access, 0); }),
                  "14 unable to open database file");
    }
    EXPECT_FALSE(std::filesystem::exists(file.Path()));
}

TEST(ConnectionTest, OpensNothingButAFile)
{
    const CDbFile fifo;
    ASSERT_EQ(::mkfifo(fifo.Path().c_str(), 0600), 0);
    EXPECT_EQ(failure_of([&] { CConnection(fifo.Path(), Access::kReadOnly, 0); }),
              "14 unable to open database file");
    const std::string folder = std::filesystem::temp_directory_path().string();
    EXPECT_EQ(failure_of([&] { CConnection(folder, Access::kReadOnly, 0); }),
              "14 unable to open database file");
    EXPECT_EQ(failure_of([] { CConnection("", Access::kReadOnly, 0); }),
              "14 unable to open database file");
    EXPECT_EQ(failure_of([] { CConnection(":memory:", Access::kReadWrite, 0); }),
              "14 unable to open database file");
}

TEST(ConnectionTest, TakesAPathForAFileNameWhateverItLooksLike)
{
    const CDbFile dir;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(std::filesystem::path(dir.Path()).parent_path());
    CWriter("./file:x?mode=memory").Sql("create table t(a)");
    EXPECT_NO_THROW(
        CConnection("file:x?mode=memory", Access::kReadOnly, 0).Take("select a from t"));
    std::filesystem::current_path(before);
}

TEST(ConnectionTest, OnlyReadsWhenReadOnly)
{
    const CDbFile file("create table t(a)");
    CConnection conn(file.Path(), Access::kReadOnly, 0);
    EXPECT_EQ(failure_of([&] { conn.Exec("insert into t values(1)"); }),
              "8 attempt to write a readonly database");
}

TEST(ConnectionTest, OnlyReadsBeyondTheRepair)
{
    const CDbFile file("create table t(a)");
    CConnection conn(file.Path(), Access::kRepair, 0);
    EXPECT_EQ(failure_of([&] { conn.Exec("insert into t values(1)"); }),
              "8 attempt to write a readonly database");
}

TEST(ConnectionTest, IsNotUsableOnAFileThatIsNoDatabase)
{
    const CDbFile file;
    file.Bytes(std::string(5000, 'x'));
    CConnection conn(file.Path(), Access::kReadOnly, 0);
    EXPECT_EQ(failure_of([&] { conn.CheckUsable(); }), "26 file is not a database");
}

TEST(ConnectionTest, IsNotUsableWhileTheFileIsLocked)
{
    const CDbFile file("create table t(a)");
    CConnection conn(file.Path(), Access::kReadOnly, 0);
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    EXPECT_EQ(failure_of([&] { conn.CheckUsable(); }), "5 database is locked");
    writer.Sql("commit");
    EXPECT_EQ(failure_of([&] { conn.CheckUsable(); }), "no failure");
}

TEST(ConnectionTest, StopsWaitingForALock)
{
    const CDbFile file("create table t(a)");
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    CConnection conn(file.Path(), Access::kReadOnly, 1);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(failure_of([&] { conn.CheckUsable(); }), "5 database is locked");
    }
}

TEST(ConnectionTest, ServesItsFileAndAccessOnly)
{
    const CDbFile file("create table t(a)");
    const CDbFile other("create table t(a)");
    const CConnection conn(file.Path(), Access::kReadOnly, 0);
    EXPECT_TRUE(conn.Serves(file.Path(), Access::kReadOnly));
    EXPECT_FALSE(conn.Serves(file.Path(), Access::kReadWrite));
    EXPECT_FALSE(conn.Serves(other.Path(), Access::kReadOnly));

    // The same file, but a writer's journal would have another name.
    const std::string link = file.Path() + ".link";
    std::filesystem::create_hard_link(file.Path(), link);
    EXPECT_FALSE(conn.Serves(link, Access::kReadOnly));
}

TEST(ConnectionTest, DoesNotServeAFileThatWasReplacedOrRemoved)
{
    const CDbFile file("create table t(a)");
    const CConnection conn(file.Path(), Access::kReadOnly, 0);
    file.Replace("create table t(a)");
    EXPECT_FALSE(conn.Serves(file.Path(), Access::kReadOnly));
    std::filesystem::remove(file.Path());
    EXPECT_FALSE(conn.Serves(file.Path(), Access::kReadOnly));
}

// The database object's mutex is the only one.
TEST(ConnectionTest, HasNoLockOfItsOwn)
{
    const CDbFile file("create table t(a)");
    EXPECT_EQ(sqlite3_db_mutex(CConnection(file.Path(), Access::kReadWrite, 0).Handle()), nullptr);
}

// Also in a host that has connections share their caches unless they say otherwise.
TEST(ConnectionTest, SharesNoCache)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    sqlite3_enable_shared_cache(1);
    CConnection writer(file.Path(), Access::kReadWrite, 0);
    CConnection reader(file.Path(), Access::kReadOnly, 0);
    writer.Exec("begin immediate");
    writer.Exec("update t set a=8");
    EXPECT_EQ(failure_of([&] { reader.CheckUsable(); }), "no failure");
    EXPECT_EQ(sqlite3_step(reader.Take("select a from t").get()), SQLITE_ROW);
    sqlite3_enable_shared_cache(0);
}

TEST(ConnectionTest, CountsTheRowsOfItsLastStatement)
{
    const CDbFile file("create table t(a); insert into t values(1),(2),(3)");
    CConnection conn(file.Path(), Access::kReadWrite, 0);
    EXPECT_EQ(conn.Exec("update t set a=0 where a>1"), 2);
    EXPECT_EQ(conn.Exec("update t set a=0 where a>1"), 0);
    EXPECT_EQ(conn.Exec("create table u(a)"), 0);
}

// The child is killed, as it were, in the middle of a transaction that has reached the disk.
int crash_while_writing(const std::string& path)
{
    return run_in_child(
        [&]
        {
            CWriter writer(path);
            writer.Sql("begin; update t set a=-1");
            return sqlite3_db_cacheflush(writer.Handle()) == SQLITE_OK ? (::_exit(0), 0) : 1;
        });
}

TEST(ConnectionTest, RepairRollsBackWhatACrashedWriterLeft)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    ASSERT_EQ(crash_while_writing(file.Path()), 0);
    CConnection reader(file.Path(), Access::kReadOnly, 0);
    const std::string failure = failure_of([&] { reader.CheckUsable(); });
    EXPECT_EQ(failure, "8 attempt to write a readonly database");

    CConnection(file.Path(), Access::kRepair, 0).CheckUsable();
    EXPECT_EQ(failure_of([&] { reader.CheckUsable(); }), "no failure");
    EXPECT_EQ(CWriter(file.Path()).Value("select a from t"), 7);
}

// The child is killed, as it were, with its last transaction still in the write-ahead log.
int crash_behind_a_commit(const std::string& path)
{
    return run_in_child(
        [&]
        {
            CWriter writer(path);
            writer.Sql("update t set a=8");
            return (::_exit(0), 1);
        });
}

// Also as the last to go, which is when SQLite copies the log into the database otherwise.
TEST(ConnectionTest, RepairMakesNoCheckpoint)
{
    const CDbFile file("pragma journal_mode=wal; create table t(a); insert into t values(7)");
    const std::string bytes = file.Bytes();
    ASSERT_EQ(crash_behind_a_commit(file.Path()), 0);
    const auto log_size = std::filesystem::file_size(file.Path() + "-wal");
    {
        CConnection conn(file.Path(), Access::kRepair, 0);
        conn.CheckUsable();
        EXPECT_NO_THROW(conn.Take("select a from t"));
    }
    EXPECT_EQ(std::filesystem::file_size(file.Path() + "-wal"), log_size);
    EXPECT_EQ(file.Bytes(), bytes);
}

} // namespace
