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
    int nGood = kNever;
    bool IsOver() { return nGood != kNever && nGood-- == 0; }
    bool IsDone() const { return nGood < 0; }
};

Countdown g_own;
Countdown g_sqlite;
sqlite3_mem_methods g_real;

void* failing_malloc(int nBytes)
{
    return g_sqlite.IsOver() ? nullptr : g_real.xMalloc(nBytes);
}

void* failing_realloc(void* p, int nBytes)
{
    return g_sqlite.IsOver() ? nullptr : g_real.xRealloc(p, nBytes);
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
    int FailEach(Countdown& countdown, int nRows, int nBytes)
    {
        const CDbFile file("create table t(i,pad);"
                           "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
                           std::to_string(nRows) + ") insert into t select i,hex(zeroblob(" +
                           std::to_string(nBytes / 2) + ")) from n");
        for (int nGood = 0;; ++nGood)
        {
            vkdb::CDatabase db(file.Path(), 0);
            EXPECT_TRUE(db.Open(nullptr, -2));
            countdown.nGood = nGood;
            const int nRight = Walk(db);
            const bool bDone = countdown.IsDone();
            countdown.nGood = kNever;
            EXPECT_EQ(nRight, nRows) << "allocation " << nGood;
            if (!bDone || HasFailure())
            {
                return nGood;
            }
        }
    }

private:
    // The number of rows that come in order.
    static int Walk(DbDatabase& db)
    {
        int nRight = 0;
        try
        {
            const int iqry = db.QryExec("select i,pad from t", -1);
            for (; !db.QryEof(iqry) && db.QryGetIntAt(iqry, 0) == nRight + 1; db.QryNext(iqry))
            {
                ++nRight;
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
        return nRight;
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
    const std::string strPath = file.Path();
    for (Countdown* pCountdown : {&g_own, &g_sqlite})
    {
        bool bDone = true;
        for (int nGood = 0; bDone; ++nGood)
        {
            vkdb::CManager manager(0);
            pCountdown->nGood = nGood;
            DbDatabase* pDb = manager.OpenDb(strPath.c_str(), 0);
            bDone = pCountdown->IsDone();
            pCountdown->nGood = kNever;
            ASSERT_NE(pDb, nullptr) << "allocation " << nGood;
            ASSERT_TRUE(pDb->Open(nullptr, 0));
        }
    }
}

// Texts in another encoding are converted, which needs memory for each of them.
TEST_F(OutOfMemoryTest, ForOneConversionOfATextCostsNoRow)
{
    const CDbFile file("pragma encoding='UTF-16le'; create table t(a);"
                       "insert into t values(hex(zeroblob(500))),(hex(zeroblob(500)))");
    const std::string strText(1000, '0');
    for (int nGood = 0;; ++nGood)
    {
        vkdb::CDatabase db(file.Path(), 0);
        ASSERT_TRUE(db.Open(nullptr, -2));
        g_sqlite.nGood = nGood;
        const auto rows = read_rows(db, "select a from t");
        const bool bDone = g_sqlite.IsDone();
        g_sqlite.nGood = kNever;
        ASSERT_EQ(rows, (std::vector<std::string>{strText, strText})) << "allocation " << nGood;
        if (!bDone)
        {
            return;
        }
    }
}

} // namespace

void* operator new(std::size_t nBytes)
{
    void* p = g_own.IsOver() ? nullptr : std::malloc(nBytes);
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

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
