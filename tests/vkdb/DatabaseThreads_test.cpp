// Database objects in two threads. The thread sanitizer's build makes these tests complete.
#include "tests/vkdb/DatabaseTest.h"

#include <atomic>
#include <thread>

namespace
{

constexpr int kUnits = 200;

// Units of work as a sweep does them; the result is the number whose rows were right.
int read_units(DbDatabase& db, int nMode)
{
    int nRight = 0;
    for (int i = 0; i < kUnits; ++i)
    {
        db.Open(nullptr, nMode);
        nRight += read_rows(db, "select Name from tbSM") == Rows{"动环", "UPS"} ? 1 : 0;
        db.Close();
    }
    return nRight;
}

TEST_F(DatabaseTest, TwoObjectsServeTwoThreads)
{
    const CDbFile alarms("create table tbSM(Name); insert into tbSM values('动环'),('UPS')");
    vkdb::CDatabase alarmDb(alarms.Path(), 1000);
    std::atomic<int> nRight{0};
    std::thread other([&] { nRight = read_units(alarmDb, 0); });
    EXPECT_EQ(read_units(Db(), -2), kUnits);
    other.join();
    EXPECT_EQ(nRight, kUnits);
}

TEST_F(DatabaseTest, OneObjectServesUnitsOfTwoThreads)
{
    std::atomic<int> nRight{0};
    std::thread other([&] { nRight = read_units(Db(), 0); });
    EXPECT_EQ(read_units(Db(), 0), kUnits);
    other.join();
    EXPECT_EQ(nRight, kUnits);
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

} // namespace
