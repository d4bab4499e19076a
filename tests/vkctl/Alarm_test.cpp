#include "vkctl/Alarm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"
#include "vkctl/room/Room.h"

using namespace vkctl;
using testing::HasSubstr;

namespace
{

constexpr char kTime[] = "2025-06-06 14:23:09";

class AlarmTest : public testing::Test
{
protected:
    AlarmTest()
    {
        RoomOptions options;
        options.directory = dir.Path("room");
        create_room(options);
        Execute("delete from tbSMAlarm");
    }

    void Execute(const std::string& sql) const
    {
        CSqliteFile(dir.Path("room/tmp/dbData.db3"), CSqliteFile::Mode::kUpdate).Exec(sql);
    }

    std::vector<std::string> Rows(const std::string& sql) const
    {
        return query_rows(dir.Path("room/tmp/dbData.db3"), sql);
    }

    CTempDir dir;
};

} // namespace

TEST_F(AlarmTest, AnAlarmThatComesIsNotSentYet)
{
    CRoomAlarms alarms(dir.Path("room"));
    AlarmOrder order;
    order.sid = 1001;
    order.alarm_class = 9;
    order.title = "门开";
    EXPECT_EQ(alarms.Raise(order, kTime), 1);
    EXPECT_THAT(Rows("select SID||' '||(Type>>8&255)||' '||Alm||' '||LastUpd||' '||AlmBrief||' '||"
                     "AlmMask||' '||coalesce(AFld,'null') from tbSMAlarm"),
                testing::ElementsAre("1001 9 1 2025-06-06 14:23:09 门开 65 null"));
}

TEST_F(AlarmTest, WithoutAnOrderDevicesTakeTurnsWithTheirOwnClass)
{
    CRoomAlarms alarms(dir.Path("room"));
    alarms.Raise({}, kTime);
    alarms.Raise({}, kTime);
    EXPECT_THAT(Rows("select SID||' '||AlmBrief from tbSMAlarm order by DID"),
                testing::ElementsAre("101 门磁1# 越限告警", "102 烟感1# 越限告警"));
    EXPECT_EQ(alarms.Standing(), 2);
    EXPECT_EQ(alarms.Unsent(), 2);
}

TEST_F(AlarmTest, TheNewestAlarmThatStandsGoesAndIsToBeSentAgain)
{
    CRoomAlarms alarms(dir.Path("room"));
    alarms.Raise({}, "2025-06-06 14:00:00");
    alarms.Raise({}, "2025-06-06 14:00:00");
    Execute("update tbSMAlarm set AFld=1");
    EXPECT_EQ(alarms.Clear(kTime), 2);
    EXPECT_THAT(Rows("select DID||' '||Alm||' '||AFld||' '||LastUpd from tbSMAlarm order by DID"),
                testing::ElementsAre("1 1 1 2025-06-06 14:00:00", "2 5 0 2025-06-06 14:23:09"));
    EXPECT_EQ(alarms.Standing(), 1);
}

TEST_F(AlarmTest, NothingGoesWhenNothingStands)
{
    EXPECT_EQ(CRoomAlarms(dir.Path("room")).Clear(kTime), 0);
}

TEST_F(AlarmTest, AnUnknownDeviceIsRefused)
{
    AlarmOrder order;
    order.sid = 4711;
    CRoomAlarms alarms(dir.Path("room"));
    try
    {
        alarms.Raise(order, kTime);
        FAIL() << "an alarm of a device that is not there";
    }
    catch (const CCliError& error)
    {
        EXPECT_STREQ(error.what(), "the room has no device 4711");
    }
}
