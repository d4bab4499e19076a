// Memory that runs out for one allocation, of the library's own or of SQLite's: no row is lost.
//
// A program of its own, since it replaces the allocation of the whole process.
#include "tests/vkdb/DbFile.h"
#include "vkdb/Manager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <new>

namespace
{

constexpr int kNever = std::numeric_limits<int>::max();

// Allocations that succeed before one fails, and then no other.
struct Countdown
{
    int good_calls = kNever;
    bool IsOver() { return good_calls != kNever && good_calls-- == 0; }
    bool IsDone() const { return good_calls < 0; }
};

Countdown g_own;
Countdown g_sqlite;
sqlite3_mem_methods g_real;

void* failing_malloc(int byte_count)
{
    return g_sqlite.IsOver() ? nullptr : g_real.xMalloc(byte_count);
}

void* failing_realloc(void* p, int byte_count)
{
    return g_sqlite.IsOver() ? nullptr : g_real.xRealloc(p, byte_count);
}

class OutOfMemoryTest : public testing::Test
{
protected:
    static void SetUpTestSuite() // before SQLite is first used
    {
        ASSERT_EQ(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_real), SQLITE_OK);
        sqlite3_mem_methods failing = g_real;
        failing.xMalloc = failing_malloc;
        failing.xRealloc = failing_realloc;
        ASSERT_EQ(sqlite3_config(SQLITE_CONFIG_MALLOC, &failing), SQLITE_OK);
    }
    static void TearDownTestSuite()
    {
        sqlite3_shutdown();
        sqlite3_config(SQLITE_CONFIG_MALLOC, &g_real);
    }

    // Reads all rows once for each allocation that there is from the start of the query on, with
    // that one failing. The result is their number.
    int FailEach(Countdown& countdown, int row_count, int byte_count)
    {
        const CDbFile file("create table t(i,pad);"
                           "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
                           std::to_string(row_count) + ") insert into t select i,hex(zeroblob(" +
                           std::to_string(byte_count / 2) + ")) from n");
        for (int good_calls = 0;; ++good_calls)
        {
            vkdb::CDatabase db(file.Path(), 0);
            EXPECT_TRUE(db.Open(nullptr, -2));
            countdown.good_calls = good_calls;
            const int right_rows = Walk(db);
            const bool is_done = countdown.IsDone();
            countdown.good_calls = kNever;
            EXPECT_EQ(right_rows, row_count) << "allocation " << good_calls;
            if (!is_done || HasFailure())
            {
                return good_calls;
            }
        }
    }

private:
    // The number of rows that come in order.
    static int Walk(DbDatabase& db)
    {
        int right_rows = 0;
        try
        {
            const int iqry = db.QryExec("select i,pad from t", -1);
            for (; !db.QryEof(iqry) && db.QryGetIntAt(iqry, 0) == right_rows + 1; db.QryNext(iqry))
            {
                ++right_rows;
            }
            db.QryFree(iqry);
        }
        catch (const std::bad_alloc&)
        {
            return -1;
        }
        catch (const CppSQLite3Exception&)
        {
            return -2;
        }
        return right_rows;
    }
};

TEST_F(OutOfMemoryTest, ForOneAllocationOfTheLibraryCostsNoRow)
{
    EXPECT_GT(FailEach(g_own, 900, 100), 10);
}

TEST_F(OutOfMemoryTest, ForOneAllocationOfSqliteCostsNoRow)
{
    EXPECT_GT(FailEach(g_sqlite, 900, 100), 10);
}

TEST_F(OutOfMemoryTest, ForOneAllocationCostsNoDatabase)
{
    const CDbFile file("create table t(a); insert into t values(7)");
    const std::string path = file.Path();
    for (Countdown* each : {&g_own, &g_sqlite})
    {
        bool is_done = true;
        for (int good_calls = 0; is_done; ++good_calls)
        {
            vkdb::CManager manager(0);
            each->good_calls = good_calls;
            DbDatabase* db = manager.OpenDb(path.c_str(), 0);
            is_done = each->IsDone();
            each->good_calls = kNever;
            ASSERT_NE(db, nullptr) << "allocation " << good_calls;
            ASSERT_TRUE(db->Open(nullptr, 0));
        }
    }
}

// Texts in another encoding are converted, which needs memory for each of them.
TEST_F(OutOfMemoryTest, ForOneConversionOfATextCostsNoRow)
{
    const CDbFile file("pragma encoding='UTF-16le'; create table t(a);"
                       "insert into t values(hex(zeroblob(500))),(hex(zeroblob(500)))");
    const std::string text(1000, '0');
    for (int good_calls = 0;; ++good_calls)
    {
        vkdb::CDatabase db(file.Path(), 0);
        ASSERT_TRUE(db.Open(nullptr, -2));
        g_sqlite.good_calls = good_calls;
        const auto rows = read_rows(db, "select a from t");
        const bool is_done = g_sqlite.IsDone();
        g_sqlite.good_calls = kNever;
        ASSERT_EQ(rows, (std::vector<std::string>{text, text})) << "allocation " << good_calls;
        if (!is_done)
        {
            return;
        }
    }
}

} // namespace

void* operator new(size_t byte_count)
{
    void* p = g_own.IsOver() ? nullptr : std::malloc(byte_count);
    if (p == nullptr)
    {
        throw std::bad_alloc();
    }
    return p;
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, size_t) noexcept
{
    std::free(p);
}
