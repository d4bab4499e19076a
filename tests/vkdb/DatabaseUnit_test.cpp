// Units of work of the database object: Open, Close, and the file between them.
#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DatabaseTest.h"

namespace
{

const std::string kNames = "select Name from tbSM";

TEST_F(DatabaseTest, OpensForReadingAndWriting)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(Db().Exec("delete from tbSM where SID=7"), 1);
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"UPS"});
}

TEST_F(DatabaseTest, AShortReadNeverWrites)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { Db().Exec("delete from tbSM"); }),
              "8 attempt to write a readonly database");
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
}

TEST_F(DatabaseTest, ChangesBetweenReadingAndWriting)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_NE(thrown_by([&] { Db().Exec("delete from tbSM"); }), "no exception");
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(Db().Exec("delete from tbSM"), 2);
}

TEST_F(DatabaseTest, OpensAnotherFileForOneUnit)
{
    const CDbFile other("create table tbSM(Name); insert into tbSM values('other')");
    ASSERT_TRUE(Db().Open(other.Path().c_str(), -2));
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"other"});
    Db().Close();
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
}

TEST_F(DatabaseTest, WithoutItsFileIsNotUsableAndTheQuerySaysWhy)
{
    std::filesystem::remove(file.Path());
    EXPECT_FALSE(Db().Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { Query(kNames); }), "14 unable to open database file");
    EXPECT_EQ(thrown_by([&] { Db().Exec("delete from tbSM"); }), "14 unable to open database file");
    EXPECT_FALSE(Db().Open(nullptr, 0));
    EXPECT_FALSE(std::filesystem::exists(file.Path()));
}

TEST_F(DatabaseTest, IsUsableAgainWhenItsFileIsBack)
{
    std::filesystem::remove(file.Path());
    ASSERT_FALSE(Db().Open(nullptr, -2));
    file.Sql("create table tbSM(Name); insert into tbSM values('back')");
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"back"}); // a query's next try finds it
    EXPECT_TRUE(Db().Open(nullptr, -2));
}

TEST_F(DatabaseTest, OnAFileThatIsNoDatabaseIsNotUsableAndTheQuerySaysWhy)
{
    file.Bytes(std::string(5000, 'x'));
    EXPECT_FALSE(Db().Open(nullptr, -2));
    EXPECT_EQ(thrown_by([&] { Query(kNames); }), "26 file is not a database");
    EXPECT_FALSE(Db().Open(nullptr, 0));
}

TEST_F(DatabaseTest, WhileTheFileIsLockedIsNotUsableAndQueriesAreNegative)
{
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    EXPECT_FALSE(Db().Open(nullptr, -2));
    EXPECT_LT(Query(kNames), 0);
    EXPECT_LT(Query(kNames), 0);
    writer.Sql("commit");
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
}

TEST_F(DatabaseTest, ALockTakenAfterOpenMakesTheQueryNegative)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    CWriter writer(file.Path());
    writer.Sql("begin exclusive");
    EXPECT_LT(Query(kNames), 0);
    writer.Sql("commit");
    EXPECT_EQ(Query(kNames), 0);
}

TEST_F(DatabaseTest, ExecThrowsWhileTheFileIsLocked)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    CWriter writer(file.Path());
    writer.Sql("begin immediate");
    EXPECT_EQ(thrown_by([&] { Db().Exec("delete from tbSM"); }), "5 database is locked");
}

TEST_F(DatabaseTest, CloseWithoutOpenIsHarmless)
{
    EXPECT_EQ(Db().Close(), 0);
    EXPECT_EQ(Db().Close(), 0);
    EXPECT_TRUE(Db().Open(nullptr, -2));
}

TEST_F(DatabaseTest, CloseFreesTheQueriesOfTheUnit)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query(kNames);
    EXPECT_EQ(Db().Close(), 0);
    EXPECT_TRUE(Db().QryEof(iqry));
    EXPECT_EQ(Query(kNames), iqry);
}

// As a routine does that is called in the middle of another one's unit of work.
TEST_F(DatabaseTest, QueriesStillWorkAfterAnInnerClose)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    ASSERT_TRUE(Db().Open(nullptr, -2));
    Db().Close();
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
}

TEST_F(DatabaseTest, CloseEndsATransactionThatWasLeftOpen)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    Db().Exec("begin immediate");
    Db().Exec("delete from tbSM");
    Db().Close();
    EXPECT_EQ(CWriter(file.Path()).Value("select count(*) from tbSM"), 2);
    EXPECT_EQ(CWriter(file.Path()).Try("begin exclusive"), SQLITE_OK);
}

// Neither Open nor a unit that was closed with a query under way may keep a writer out.
TEST_F(DatabaseTest, AnIdleObjectHoldsNoLock)
{
    CWriter writer(file.Path());
    for (const int mode : {0, -2})
    {
        ASSERT_TRUE(Db().Open(nullptr, mode));
        EXPECT_EQ(writer.Try("begin exclusive; commit"), SQLITE_OK);
        ASSERT_GE(Query("with recursive n(i) as (select 1 union all select i+1 from n where i<999)"
                        "select i from n,tbSM"),
                  0);
        EXPECT_EQ(writer.Try("begin exclusive; commit"), SQLITE_BUSY);
        Db().Close();
        EXPECT_EQ(writer.Try("begin exclusive; commit"), SQLITE_OK);
        writer.Try("rollback");
    }
}

TEST_F(DatabaseTest, SeesWhatOthersWroteSinceTheLastUnit)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    ASSERT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
    Db().Close();
    file.Sql("update tbSM set Name='new'");
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"new", "new"}));
}

TEST_F(DatabaseTest, SeesTablesAndColumnsThatOthersMade)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    ASSERT_EQ(read_rows(Db(), "select * from tbSM where SID=7"), Rows{"7|动环|"});
    file.Sql("alter table tbSM add column Tag1 default 5; create table tbNew as select 3 as a");
    EXPECT_EQ(read_rows(Db(), "select * from tbSM where SID=7"), Rows{"7|动环||5"});
    EXPECT_EQ(read_rows(Db(), "select * from tbNew"), Rows{"3"});
}

TEST_F(DatabaseTest, NoticesAReplacedFileAtTheNextOpen)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    for (const std::string name : {"one", "two", "three"})
    {
        file.Replace("create table tbSM(Name); insert into tbSM values('" + name + "')");
        ASSERT_TRUE(Db().Open(nullptr, -2));
        EXPECT_EQ(read_rows(Db(), kNames), Rows{name});
        Db().Close();
    }
}

TEST_F(DatabaseTest, AQueryUnderWayStaysOnTheFileThatWasReplaced)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    const int iqry = Query(kNames);
    file.Replace("create table tbSM(Name); insert into tbSM values('new')");
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "动环");
    Db().QryNext(iqry);
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "UPS");
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"new"});
}

// What a routine reads in one unit of work belongs together.
TEST_F(DatabaseTest, AUnitStaysOnTheFileThatWasReplaced)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    file.Replace("create table tbSM(Name); insert into tbSM values('new')");
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
    Db().Close();
    ASSERT_TRUE(Db().Open(nullptr, 0));
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"new"});
}

// The file beside it belongs to the new database, although its name is that of the old one's.
TEST_F(DatabaseTest, LeavesTheWalOfAReplacingFileAlone)
{
    file.Sql("pragma journal_mode=wal");
    ASSERT_TRUE(Db().Open(nullptr, 0));
    Db().Exec("update tbSM set Name='old'");
    for (const char* beside : {"-wal", "-shm"})
    {
        std::filesystem::remove(file.Path() + beside);
    }
    file.Replace("pragma journal_mode=wal; create table tbSM(Name)");
    CWriter writer(file.Path());
    writer.Sql("insert into tbSM values('new')");
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_TRUE(std::filesystem::exists(file.Path() + "-wal"));
    EXPECT_EQ(read_rows(Db(), kNames), Rows{"new"});
    EXPECT_EQ(CWriter(file.Path()).Value("select count(*) from tbSM"), 1);
}

TEST_F(DatabaseTest, ShortReadsAWalDatabaseThatNobodyHasOpen)
{
    file.Sql("pragma journal_mode=wal; update tbSM set Name='wal'");
    ASSERT_FALSE(std::filesystem::exists(file.Path() + "-wal"));
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"wal", "wal"}));
}

TEST_F(DatabaseTest, ShortReadsWhatIsStillInTheWal)
{
    CWriter writer(file.Path());
    writer.Sql("pragma journal_mode=wal; update tbSM set Name='wal'");
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"wal", "wal"}));
    writer.Sql("begin exclusive; update tbSM set Name='later'");
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"wal", "wal"})); // no waiting for the writer
    writer.Sql("commit");
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"later", "later"}));
}

// Leaves a rollback journal behind, as a writer does that is killed while it writes.
int crash_while_writing(const std::string& path)
{
    return run_in_child(
        [&]
        {
            CWriter writer(path);
            writer.Sql("begin; update tbSM set Name='half'");
            return sqlite3_db_cacheflush(writer.Handle()) == SQLITE_OK ? (::_exit(0), 0) : 1;
        });
}

TEST_F(DatabaseTest, AShortReadIsUsableAfterAWriterCrashed)
{
    ASSERT_EQ(crash_while_writing(file.Path()), 0);
    ASSERT_TRUE(Db().Open(nullptr, -2));
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
    EXPECT_EQ(thrown_by([&] { Db().Exec("delete from tbSM"); }),
              "8 attempt to write a readonly database");
}

TEST_F(DatabaseTest, AQueryWorksWhenAWriterCrashedSinceOpen)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    ASSERT_EQ(crash_while_writing(file.Path()), 0);
    EXPECT_EQ(read_rows(Db(), kNames), (Rows{"动环", "UPS"}));
}

} // namespace
