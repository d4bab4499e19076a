// Reading while another process writes in a tight loop, without a pause on either side.
//
// The loops are bounded by counts, and nothing is assumed about speed: a reader or a writer that
// makes no progress runs into the bound and fails.
#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DbFile.h"
#include "vkdb/Manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

namespace
{

constexpr int kUnits = 300;      // units of work to complete at least
constexpr int kCommits = 100;    // commits that must happen meanwhile
constexpr int kTries = 10000;    // of one query, without a pause
constexpr int kMaxUnits = 30000; // give up

// One generation number in all rows of two tables, over many pages: every row more than Start of a
// query reads at once.
std::string generation_tables(const std::string& strMode)
{
    return "pragma journal_mode=" + strMode +
           ";create table a(gen,pad); create table b(gen,pad);"
           "with recursive n(i) as (select 1 union all select i+1 from n where i<300)"
           "insert into a select 0,hex(zeroblob(100)) from n;"
           "insert into b select gen,pad from a limit 5;";
}

struct Progress
{
    int nUnits = 0;    // units with every query complete
    int nNegative = 0; // queries that had to be tried again
    int nTorn = 0;     // results with rows of different generations
    int nBack = 0;     // results older than one read before
    int nFirst = -1;   // generation read first; -1: none yet
    int nLast = 0;     // generation read last

    // How many commits of the writer the reader has seen come in.
    int Commits() const { return nLast - nFirst; }
};

// What every result must be: one generation, and no older one than before.
void check_rows(const std::vector<std::string>& rows, std::size_t nRows, Progress& progress)
{
    const bool bWhole = rows.size() == nRows &&
                        std::all_of(rows.begin(), rows.end(),
                                    [&](const std::string& row) { return row == rows.front(); });
    progress.nTorn += bWhole ? 0 : 1;
    const int nGeneration = bWhole ? std::stoi(rows.front()) : progress.nLast;
    progress.nBack += nGeneration < progress.nLast ? 1 : 0;
    progress.nFirst = progress.nFirst < 0 ? nGeneration : progress.nFirst;
    progress.nLast = nGeneration;
}

// A query with its tries; false when none succeeded.
bool read_query(DbDatabase& db, const std::string& strSql, std::size_t nRows, Progress& progress)
{
    for (int nTry = 0; nTry < kTries; ++nTry)
    {
        const auto rows = read_rows(db, strSql);
        if (rows.front() != "negative")
        {
            check_rows(rows, nRows, progress);
            return true;
        }
        ++progress.nNegative;
        std::this_thread::yield();
    }
    return false;
}

void read_unit(DbDatabase& db, Progress& progress)
{
    db.Open(nullptr, -2);
    const bool bAll =
        read_query(db, "select gen from a", 300, progress) &&
        read_query(db, "select gen from b", 5, progress) &&
        read_query(db, "select gen from a union all select gen from b", 305, progress) &&
        read_query(db, "select max(a.gen,b.gen) from a,b where a.rowid=b.rowid", 5, progress);
    db.Close();
    progress.nUnits += bAll ? 1 : 0;
}

class ConcurrentWriterTest : public testing::Test
{
protected:
    // Reads units of work until both sides have got on far enough, or one plainly does not.
    Progress ReadBeside(const CBusyChild& child, int nBusyMs = vkdb::kBusyWaitMs)
    {
        vkdb::CManager manager(nBusyMs);
        DbDatabase& db = *manager.OpenDb(file.Path().c_str(), 0);
        Progress progress;
        for (int i = 0; i < kMaxUnits && child.IsAtWork(); ++i)
        {
            read_unit(db, progress);
            if (progress.nUnits >= kUnits && progress.Commits() >= kCommits)
            {
                break;
            }
        }
        return progress;
    }

    // Adds 1 to the generation again and again. SQLite is opened in the child only.
    auto Writer()
    {
        return [writer = std::shared_ptr<CWriter>(), this](int) mutable
        {
            writer = writer ? writer : std::make_shared<CWriter>(file.Path(), 10000);
            writer->Sql("begin immediate; update a set gen=gen+1; update b set gen=gen+1; commit");
        };
    }

    CDbFile file;
};

// Each test once with a rollback journal and once with a WAL.
class JournalModeTest : public ConcurrentWriterTest, public testing::WithParamInterface<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(Mode, JournalModeTest, testing::Values("delete", "wal"),
                         [](const auto& mode) { return std::string(mode.param); });

TEST_P(JournalModeTest, TearsNoReadAndStarvesNobody)
{
    file.Sql(generation_tables(GetParam()));
    CBusyChild child(Writer());
    const Progress progress = ReadBeside(child);
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GE(progress.nUnits, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.nTorn, 0);
    EXPECT_EQ(progress.nBack, 0);
}

// Without any wait of the library a writer is often in the way. Trying again is all it takes.
TEST_F(ConcurrentWriterTest, QueriesThatFindALockAreNegativeAndSucceedLater)
{
    file.Sql(generation_tables("delete"));
    CBusyChild child(Writer());
    const Progress progress = ReadBeside(child, 0);
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GT(progress.nNegative, 0);
    EXPECT_GE(progress.nUnits, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.nTorn, 0);
    EXPECT_EQ(progress.nBack, 0);
}

// As alarms are marked while the host adds others.
TEST_P(JournalModeTest, LosesNoWriteOfEitherSide)
{
    file.Sql(generation_tables(GetParam()) + "create table own(n); insert into own values(0)");
    CBusyChild child(Writer());
    vkdb::CManager manager;
    DbDatabase& db = *manager.OpenDb(file.Path().c_str(), 0);
    int nWritten = 0;
    for (int i = 0; i < kMaxUnits && nWritten < kCommits; ++i)
    {
        db.Open(nullptr, 0);
        const std::string strThrown =
            thrown_by([&] { nWritten += db.Exec("update own set n=n+1"); });
        EXPECT_TRUE(strThrown == "no exception" || strThrown == "5 database is locked")
            << strThrown;
        db.Close();
    }
    EXPECT_EQ(child.Stop(), 0);
    CWriter reader(file.Path());
    EXPECT_EQ(reader.Value("select n from own"), kCommits);
    EXPECT_EQ(reader.Value("select max(gen) from a"), child.Done());
}

// A table whose rows hold the number of its columns in every column.
std::string counted_table(int nColumns)
{
    std::string strNames = "c0";
    std::string strValues = std::to_string(nColumns);
    for (int i = 1; i < nColumns; ++i)
    {
        strNames += ",c" + std::to_string(i);
        strValues += "," + std::to_string(nColumns);
    }
    return "create table s(" + strNames + "); insert into s values(" + strValues + "),(" +
           strValues + ");";
}

// One result must have the columns of one table: the number of columns, and every value.
bool is_of_one_schema(DbDatabase& db, int iqry)
{
    const int nColumns = db.QryFldCount(iqry);
    bool bSame = !db.QryEof(iqry);
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        for (int i = 0; i < nColumns; ++i)
        {
            bSame = bSame && db.QryGetIntAt(iqry, i) == nColumns;
        }
        const std::string strLast = "c" + std::to_string(nColumns - 1);
        bSame = bSame && db.QryGetInt(iqry, strLast.c_str()) == nColumns;
    }
    return bSame;
}

TEST_P(JournalModeTest, ReadsTablesThatAreDroppedAndMadeAnew)
{
    file.Sql("pragma journal_mode=" + std::string(GetParam()) + ";" + counted_table(1));
    CBusyChild child(
        [this](int n)
        {
            CWriter(file.Path(), 10000)
                .Sql("begin immediate; drop table s;" + counted_table(1 + n % 7) + "commit");
        });
    vkdb::CManager manager;
    DbDatabase& db = *manager.OpenDb(file.Path().c_str(), 0);
    int nRead = 0;
    for (int i = 0; i < kMaxUnits && (nRead < kUnits || child.Done() < kCommits); ++i)
    {
        db.Open(nullptr, -2);
        const int iqry = db.QryExec("select * from s", -1);
        ASSERT_TRUE(iqry < 0 || is_of_one_schema(db, iqry));
        nRead += iqry < 0 ? 0 : 1;
        db.QryFree(iqry);
        db.Close();
    }
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GE(nRead, kUnits);
    EXPECT_GE(child.Done(), kCommits);
}

// The writer never changes a file: it makes a new one and renames it over the old one.
TEST_F(ConcurrentWriterTest, NoticesFilesThatAreReplacedAgainAndAgain)
{
    file.Sql(generation_tables("delete"));
    CBusyChild child(
        [this](int n)
        {
            const std::string strGen = std::to_string(n);
            file.Replace(generation_tables("delete") + "update a set gen=" + strGen +
                         "; update b set gen=" + strGen);
        });
    const Progress progress = ReadBeside(child);
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GE(progress.nUnits, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.nTorn, 0);
    EXPECT_EQ(progress.nBack, 0);
    EXPECT_EQ(progress.nNegative, 0);
}

} // namespace
