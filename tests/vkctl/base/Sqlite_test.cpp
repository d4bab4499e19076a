#include <gmock/gmock.h>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/Sqlite.h"

using namespace vkctl;

namespace
{

class SqliteTest : public testing::Test
{
protected:
    CTempDir dir;
    CSqliteFile file{dir.Path("x.db3"), CSqliteFile::Mode::kCreate};
};

} // namespace

TEST_F(SqliteTest, ValuesComeBackAsTheyWereBound)
{
    file.Exec("create table t(a,b,c,d)");
    CStatement insert(file, "insert into t values(?,?,?,?)");
    insert.Bind(1, 7LL);
    insert.Bind(2, 2.5);
    insert.Bind(3, std::string("门\0磁", 7));
    insert.BindNull(4);
    insert.Run();
    EXPECT_THAT(query_rows(file.Path(), "select a,b,length(cast(c as blob)),d is null from t"),
                testing::ElementsAre("7|2.5|7|1"));
}

TEST_F(SqliteTest, AnErrorNamesTheFileAndTheReason)
{
    try
    {
        file.Exec("select * from missing");
        FAIL() << "accepted";
    }
    catch (const CCliError& error)
    {
        EXPECT_EQ(error.what(), dir.Path("x.db3") + ": no such table: missing");
        EXPECT_EQ(error.ExitStatus(), 1);
    }
}

TEST_F(SqliteTest, ATransactionWithoutCommitIsUndone)
{
    file.Exec("create table t(a)");
    {
        CTransaction transaction(file);
        file.Exec("insert into t values(1)");
    }
    EXPECT_THAT(query_rows(file.Path(), "select * from t"), testing::IsEmpty());
}

TEST_F(SqliteTest, ACommittedTransactionStays)
{
    file.Exec("create table t(a)");
    CTransaction transaction(file);
    file.Exec("insert into t values(1)");
    transaction.Commit();
    EXPECT_THAT(query_rows(file.Path(), "select * from t"), testing::ElementsAre("1"));
}

TEST_F(SqliteTest, AMissingFileIsNotMadeUnlessAskedFor)
{
    EXPECT_THROW(CSqliteFile(dir.Path("no.db3"), CSqliteFile::Mode::kUpdate), CCliError);
    EXPECT_FALSE(std::filesystem::exists(dir.Path("no.db3")));
}
