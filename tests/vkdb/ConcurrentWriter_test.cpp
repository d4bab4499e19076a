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
std::string generation_tables(const std::string& mode)
{
    return "pragma journal_mode=" + mode +
           ";create table a(gen,pad); create table b(gen,pad);"
           "with recursive n(i) as (select 1 union all select i+1 from n where i<300)"
           "insert into a select 0,hex(zeroblob(100)) from n;"
           "insert into b select gen,pad from a limit 5;";
}

struct Progress
{
    int units = 0;     // units with every query complete
    int negatives = 0; // queries that had to be tried again
    int torn = 0;      // results with rows of different generations
    int went_back = 0; // results older than one read before
    int first = -1;    // generation read first; -1: none yet
    int last = 0;      // generation read last

    // How many commits of the writer the reader has seen come in.
    int Commits() const { return last - first; }
};

// What every result must be: one generation, and no older one than before.
void check_rows(const std::vector<std::string>& rows, size_t row_count, Progress& progress)
{
    const bool is_whole = rows.size() == row_count &&
                          std::all_of(rows.begin(), rows.end(),
                                      [&](const std::string& row) { return row == rows.front(); });
    progress.torn += is_whole ? 0 : 1;
    const int generation = is_whole ? std::stoi(rows.front()) : progress.last;
    progress.went_back += generation < progress.last ? 1 : 0;
    progress.first = progress.first < 0 ? generation : progress.first;
    progress.last = generation;
}

// A query with its tries; false when none succeeded.
bool read_query(DbDatabase& db, const std::string& sql, size_t row_count, Progress& progress)
{
    for (int attempt = 0; attempt < kTries; ++attempt)
    {
        const auto rows = read_rows(db, sql);
        if (rows.front() != "negative")
        {
            check_rows(rows, row_count, progress);
            return true;
        }
        ++progress.negatives;
        std::this_thread::yield();
    }
    return false;
}

void read_unit(DbDatabase& db, Progress& progress)
{
    db.Open(nullptr, -2);
    const bool is_complete =
        read_query(db, "select gen from a", 300, progress) &&
        read_query(db, "select gen from b", 5, progress) &&
        read_query(db, "select gen from a union all select gen from b", 305, progress) &&
        read_query(db, "select max(a.gen,b.gen) from a,b where a.rowid=b.rowid", 5, progress);
    db.Close();
    progress.units += is_complete ? 1 : 0;
}

class ConcurrentWriterTest : public testing::Test
{
protected:
    // Reads units of work until both sides have got on far enough, or one plainly does not.
    Progress ReadBeside(const CBusyChild& child, int busy_ms = vkdb::kBusyWaitMs)
    {
        vkdb::CManager manager(busy_ms);
        DbDatabase& db = *manager.OpenDb(file.Path().c_str(), 0);
        Progress progress;
        for (int i = 0; i < kMaxUnits && child.IsAtWork(); ++i)
        {
            read_unit(db, progress);
            if (progress.units >= kUnits && progress.Commits() >= kCommits)
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
    EXPECT_GE(progress.units, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.torn, 0);
    EXPECT_EQ(progress.went_back, 0);
}

// Without any wait of the library a writer is often in the way. Trying again is all it takes.
TEST_F(ConcurrentWriterTest, QueriesThatFindALockAreNegativeAndSucceedLater)
{
    file.Sql(generation_tables("delete"));
    CBusyChild child(Writer());
    const Progress progress = ReadBeside(child, 0);
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GT(progress.negatives, 0);
    EXPECT_GE(progress.units, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.torn, 0);
    EXPECT_EQ(progress.went_back, 0);
}

// As alarms are marked while the host adds others.
TEST_P(JournalModeTest, LosesNoWriteOfEitherSide)
{
    file.Sql(generation_tables(GetParam()) + "create table own(n); insert into own values(0)");
    CBusyChild child(Writer());
    vkdb::CManager manager;
    DbDatabase& db = *manager.OpenDb(file.Path().c_str(), 0);
    int written = 0;
    for (int i = 0; i < kMaxUnits && written < kCommits; ++i)
    {
        db.Open(nullptr, 0);
        const std::string thrown = thrown_by([&] { written += db.Exec("update own set n=n+1"); });
        EXPECT_TRUE(thrown == "no exception" || thrown == "5 database is locked") << thrown;
        db.Close();
    }
    EXPECT_EQ(child.Stop(), 0);
    CWriter reader(file.Path());
    EXPECT_EQ(reader.Value("select n from own"), kCommits);
    EXPECT_EQ(reader.Value("select max(gen) from a"), child.Done());
}

// A table whose rows hold the number of its columns in every column.
std::string counted_table(int column_count)
{
    std::string names = "c0";
    std::string values = std::to_string(column_count);
    for (int i = 1; i < column_count; ++i)
    {
        names += ",c" + std::to_string(i);
        values += "," + std::to_string(column_count);
    }
    return "create table s(" + names + "); insert into s values(" + values + "),(" + values + ");";
}

// One result must have the columns of one table: the number of columns, and every value.
bool is_of_one_schema(DbDatabase& db, int iqry)
{
    const int column_count = db.QryFldCount(iqry);
    bool is_same = !db.QryEof(iqry);
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        for (int i = 0; i < column_count; ++i)
        {
            is_same = is_same && db.QryGetIntAt(iqry, i) == column_count;
        }
        const std::string last_name = "c" + std::to_string(column_count - 1);
        is_same = is_same && db.QryGetInt(iqry, last_name.c_str()) == column_count;
    }
    return is_same;
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
    int results = 0;
    for (int i = 0; i < kMaxUnits && (results < kUnits || child.Done() < kCommits); ++i)
    {
        db.Open(nullptr, -2);
        const int iqry = db.QryExec("select * from s", -1);
        ASSERT_TRUE(iqry < 0 || is_of_one_schema(db, iqry));
        results += iqry < 0 ? 0 : 1;
        db.QryFree(iqry);
        db.Close();
    }
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GE(results, kUnits);
    EXPECT_GE(child.Done(), kCommits);
}

// The writer never changes a file: it makes a new one and renames it over the old one.
TEST_F(ConcurrentWriterTest, NoticesFilesThatAreReplacedAgainAndAgain)
{
    file.Sql(generation_tables("delete"));
    CBusyChild child(
        [this](int n)
        {
            const std::string generation = std::to_string(n);
            file.Replace(generation_tables("delete") + "update a set gen=" + generation +
                         "; update b set gen=" + generation);
        });
    const Progress progress = ReadBeside(child);
    EXPECT_EQ(child.Stop(), 0);
    EXPECT_GE(progress.units, kUnits);
    EXPECT_GE(progress.Commits(), kCommits);
    EXPECT_EQ(progress.torn, 0);
    EXPECT_EQ(progress.went_back, 0);
    EXPECT_EQ(progress.negatives, 0);
}

} // namespace
