// Database objects in two threads. The thread sanitizer's build makes these tests complete.
#include "tests/vkdb/DatabaseTest.h"
#include "tests/vkdb/FaultVfs.h"

#include <atomic>
#include <functional>
#include <thread>

namespace
{

constexpr int kUnits = 200;

// Units of work as a sweep does them; the result is the number whose rows were right.
int read_units(DbDatabase& db, int mode)
{
    int right_rows = 0;
    for (int i = 0; i < kUnits; ++i)
    {
        db.Open(nullptr, mode);
        right_rows += read_rows(db, "select Name from tbSM") == Rows{"动环", "UPS"} ? 1 : 0;
        db.Close();
    }
    return right_rows;
}

TEST_F(DatabaseTest, TwoObjectsServeTwoThreads)
{
    const CDbFile alarms("create table tbSM(Name); insert into tbSM values('动环'),('UPS')");
    vkdb::CDatabase alarm_db(alarms.Path(), 1000);
    std::atomic<int> right_rows{0};
    std::thread other([&] { right_rows = read_units(alarm_db, 0); });
    EXPECT_EQ(read_units(Db(), -2), kUnits);
    other.join();
    EXPECT_EQ(right_rows, kUnits);
}

TEST_F(DatabaseTest, OneObjectServesUnitsOfTwoThreads)
{
    std::atomic<int> right_rows{0};
    std::thread other([&] { right_rows = read_units(Db(), 0); });
    EXPECT_EQ(read_units(Db(), 0), kUnits);
    other.join();
    EXPECT_EQ(right_rows, kUnits);
}

TEST_F(DatabaseTest, CloseLeavesTheQueriesOfAnotherThreadAlone)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    const int iqry = Query("select Name from tbSM");
    std::thread([&] { read_units(Db(), 0); }).join();
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "动环");
    Db().QryNext(iqry);
    EXPECT_STREQ(Db().QryGetStr(iqry, "Name"), "UPS");
}

// --- Each operation has the object to itself
// ------------------------------------------------------

class LockTest : public DatabaseTest
{
protected:
    // Whether a second thread gets through this operation while a query of the first one is in
    // the middle of a read.
    bool GetsThrough(const std::function<void(DbDatabase&)>& operation)
    {
        std::atomic<bool> has_begun{false};
        std::atomic<bool> is_done{false};
        bool got_through = false;
        std::thread second;
        const auto in_the_middle = [&]
        {
            second = std::thread([&] { has_begun = true, operation(Db()), is_done = true; });
            for (int i = 0; !has_begun || (i < kYields && !is_done); i += has_begun ? 1 : 0)
            {
                std::this_thread::yield();
            }
            got_through = is_done;
        };
        faults.AtRead(1, in_the_middle);
        EXPECT_EQ(read_rows(Db(), "select * from tbSM").size(), 2U);
        EXPECT_TRUE(faults.IsDone());
        second.join();
        return got_through;
    }

    void SetUp() override
    {
        DatabaseTest::SetUp();
        ASSERT_TRUE(Db().Open(nullptr, 0));
    }

    static constexpr int kYields = 500; // plenty for an operation that is let through
    CFaultVfs faults;
};

TEST_F(LockTest, ReadingOnesOwnQueryWaitsForNobody)
{
    const int iqry = Query("select Name from tbSM");
    EXPECT_TRUE(GetsThrough([&](DbDatabase& db) { db.QryGetStr(iqry, "Name"); }));
}

TEST_F(LockTest, OpenWaitsForAQueryThatStarts)
{
    EXPECT_FALSE(GetsThrough([](DbDatabase& db) { db.Open(nullptr, 0); }));
}

TEST_F(LockTest, CloseWaitsForAQueryThatStarts)
{
    EXPECT_FALSE(GetsThrough([](DbDatabase& db) { db.Close(); }));
}

TEST_F(LockTest, ExecWaitsForAQueryThatStarts)
{
    EXPECT_FALSE(GetsThrough([](DbDatabase& db) { db.Exec("delete from tbSM where SID=1"); }));
}

TEST_F(LockTest, QryExecWaitsForAQueryThatStarts)
{
    EXPECT_FALSE(GetsThrough([](DbDatabase& db) { db.QryFree(db.QryExec("select 1", 20)); }));
}

TEST_F(LockTest, QryNextWaitsForAQueryThatStarts)
{
    const int iqry = Query("select Name from tbSM");
    EXPECT_FALSE(GetsThrough([&](DbDatabase& db) { db.QryNext(iqry); }));
}

TEST_F(LockTest, QryFreeWaitsForAQueryThatStarts)
{
    const int iqry = Query("select Name from tbSM");
    EXPECT_FALSE(GetsThrough([&](DbDatabase& db) { db.QryFree(iqry); }));
}

} // namespace
