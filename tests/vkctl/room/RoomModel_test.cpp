#include <gmock/gmock.h>

#include <set>

#include "vkctl/room/RoomModel.h"

using namespace vkctl;
using testing::ElementsAre;

namespace
{

const Column kTemperature = {"Tem", ColumnKind::kReal, 24, 2, 1};
const Column kAlarm = {"Alm", ColumnKind::kAlarmBits, 0, 8, 0};
const Column kEnergy = {"Ep", ColumnKind::kCounter, 1000, 0.5, 2};
const Column kRun = {"Run", ColumnKind::kMode, 1, 2, 0};

} // namespace

TEST(RoomModelTest, ASmallRoomHoldsEveryKind)
{
    std::set<const DeviceKind*> kinds;
    for (const Device& device : room_devices(8))
    {
        kinds.insert(device.kind);
    }
    EXPECT_EQ(kinds.size(), device_kinds().size());
}

TEST(RoomModelTest, DevicesAreNumberedWithinTheirKind)
{
    std::vector<std::string> names;
    for (const Device& device : room_devices(11))
    {
        names.push_back(device.Name());
    }
    EXPECT_THAT(names, ElementsAre("UPS主机1#", "精密空调1#", "蓄电池组1#", "温湿度传感器1#",
                                   "智能电表1#", "蓄电池组B1#", "蓄电池组C1#", "机柜测温链1#",
                                   "温湿度传感器2#", "精密空调2#", "UPS主机2#"));
}

TEST(RoomModelTest, ALargeRoomBeginsAsASmallOne)
{
    const auto small = room_devices(20);
    const auto large = room_devices(1000);
    for (size_t i = 0; i < small.size(); ++i)
    {
        EXPECT_EQ(small[i].sid, large[i].sid);
        EXPECT_EQ(small[i].Name(), large[i].Name());
    }
}

TEST(RoomModelTest, OneDeviceIsOutOfServiceHoweverLargeTheRoom)
{
    std::vector<int> spare;
    for (const Device& device : room_devices(1000))
    {
        if (device.out_of_service)
        {
            spare.push_back(device.sid);
            EXPECT_EQ(device_state(device, 1, 0), -1);
        }
    }
    EXPECT_THAT(spare, ElementsAre(1017));
}

TEST(RoomModelTest, AReadingDependsOnNothingButItsArguments)
{
    EXPECT_EQ(reading(kTemperature, 5, 1001, 0, 77).real,
              reading(kTemperature, 5, 1001, 0, 77).real);
    EXPECT_EQ(decimal_text(reading(kTemperature, 12, 1001, 0, 0).real, 1), "25.1");
}

TEST(RoomModelTest, AReadingStaysWithinItsSwing)
{
    for (long tick = 0; tick < 500; ++tick)
    {
        const double value = reading(kTemperature, 5, 1001, 0, tick).real;
        EXPECT_GE(value, 22.0);
        EXPECT_LE(value, 26.0);
    }
}

TEST(RoomModelTest, AReadingMoves)
{
    std::set<double> values;
    for (long tick = 0; tick < 100; ++tick)
    {
        values.insert(reading(kTemperature, 5, 1001, 0, tick).real);
    }
    EXPECT_GT(values.size(), 10U);
}

TEST(RoomModelTest, ACounterNeverFallsBack)
{
    for (long tick = 0; tick < 100; ++tick)
    {
        EXPECT_LT(reading(kEnergy, 5, 1001, 0, tick).real,
                  reading(kEnergy, 5, 1001, 0, tick + 1).real);
    }
}

TEST(RoomModelTest, AModeIsOneOfItsModes)
{
    std::set<long long> modes;
    for (int sid = 1; sid < 500; ++sid)
    {
        modes.insert(reading(kRun, 5, sid, 0, 0).whole);
    }
    EXPECT_THAT(modes, ElementsAre(1, 2, 3));
}

TEST(RoomModelTest, AlarmBitsAreMostlyClearAndNeverMoreThanOne)
{
    int set = 0;
    for (int sid = 1; sid <= 800; ++sid)
    {
        const long long bits = reading(kAlarm, 5, sid, 0, 0).whole;
        EXPECT_EQ(bits & (bits - 1), 0);
        EXPECT_LT(bits, 256);
        set += bits != 0 ? 1 : 0;
    }
    EXPECT_GT(set, 50);
    EXPECT_LT(set, 150);
}

TEST(RoomModelTest, ADeviceIsInAlarmWhileABitIsSet)
{
    for (const Device& device : room_devices(16))
    {
        bool is_set = false;
        for (const Column& column : device.kind->columns)
        {
            is_set = is_set || (column.kind == ColumnKind::kAlarmBits &&
                                reading(column, 12, device.sid, 0, 0).whole != 0);
        }
        EXPECT_EQ(device_state(device, 12, 0), is_set ? 1 : 0) << device.Name();
    }
}

TEST(RoomModelTest, DecimalTextHasTheDigitsAskedFor)
{
    EXPECT_EQ(decimal_text(24, 1), "24.0");
    EXPECT_EQ(decimal_text(-0.25, 2), "-0.25");
}
