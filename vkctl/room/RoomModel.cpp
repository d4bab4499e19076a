#include "vkctl/room/RoomModel.h"

#include <array>
#include <cstdio>

namespace vkctl
{

namespace
{

constexpr int kSpareIndex = 16; // place of the device that is out of service

// Scatters its arguments over 32 bits; the same on every machine.
uint32_t scatter(uint32_t a, uint32_t b, uint32_t c)
{
    uint32_t h = a * 0x9E3779B1U ^ (b + 0x7F4A7C15U) * 0x85EBCA6BU ^ c * 0xC2B2AE35U;
    h ^= h >> 15;
    h *= 0x2C1B3C6DU;
    h ^= h >> 12;
    h *= 0x297A2D39U;
    return h ^ (h >> 15);
}

uint32_t name_number(const char* name)
{
    uint32_t h = 2166136261U;
    for (; *name; ++name)
    {
        h = (h ^ static_cast<unsigned char>(*name)) * 16777619U;
    }
    return h;
}

// From -1 to 1: a slow rise and fall, different for each key, with a little noise on it.
double sway(uint32_t key, long tick)
{
    const uint32_t period = 40 + key % 80;
    const uint32_t at = (static_cast<uint32_t>(tick) + key / 7) % period;
    const double part = static_cast<double>(at) / period;
    const double triangle = part < 0.5 ? 4 * part - 1 : 3 - 4 * part;
    const auto noise = scatter(key, static_cast<uint32_t>(tick), 1) % 2001;
    return 0.8 * triangle + 0.2 * (static_cast<double>(noise) / 1000.0 - 1.0);
}

double round_to(double value, int decimals)
{
    double scale = 1;
    for (int i = 0; i < decimals; ++i)
    {
        scale *= 10;
    }
    const auto whole = static_cast<long long>(value * scale + (value < 0 ? -0.5 : 0.5));
    return static_cast<double>(whole) / scale;
}

// One device in eight shows an alarm at a time; it lasts half a minute of ticks.
long long alarm_bits(uint32_t key, long tick, int width)
{
    const uint32_t dice = scatter(key, (static_cast<uint32_t>(tick) + key % 30) / 30, 2);
    if (dice % 8 != 0)
    {
        return 0;
    }
    return 1LL << ((dice >> 8) % static_cast<uint32_t>(width));
}

Reading whole_reading(long long value)
{
    return {false, 0, value};
}

std::vector<Column> battery_columns()
{
    return {{"Vol", ColumnKind::kReal, 54.2, 0.6, 1},
            {"Cur", ColumnKind::kReal, 0.4, 2.5, 1},
            {"Soc", ColumnKind::kInt, 97, 3, 0},
            {"Tem", ColumnKind::kReal, 25.5, 1.5, 1},
            {"Alm", ColumnKind::kAlarmBits, 0, 3, 0}};
}

DeviceKind ups()
{
    return {"tbUps",
            257,
            1,
            "UPS主机",
            {{"Uin", ColumnKind::kReal, 223, 4, 1},
             {"Fin", ColumnKind::kReal, 50, 0.08, 2},
             {"Uout", ColumnKind::kReal, 220, 0.6, 1},
             {"Iout", ColumnKind::kReal, 84, 12, 1},
             {"Load", ColumnKind::kReal, 46, 7, 1},
             {"Ubat", ColumnKind::kReal, 436, 3, 1},
             {"BatCap", ColumnKind::kInt, 98, 2, 0},
             {"Tem", ColumnKind::kReal, 31, 2, 1},
             {"Run", ColumnKind::kMode, 1, 2, 0},
             {"Alm", ColumnKind::kAlarmBits, 0, 8, 0}},
            {"tbUpsItem",
             200,
             6,
             "Fld",
             {{"Val", ColumnKind::kReal, 73, 6, 1}},
             {},
             {"V", "A", "kW", "kVA", "Hz", "℃"},
             6}};
}

DeviceKind air_conditioner()
{
    return {"tbAirCon",
            1025,
            2,
            "精密空调",
            {{"TemRet", ColumnKind::kReal, 24.5, 1.2, 1},
             {"TemSup", ColumnKind::kReal, 15.5, 1.5, 1},
             {"TemSet", ColumnKind::kReal, 24, 0, 1},
             {"HumRet", ColumnKind::kReal, 48, 5, 1},
             {"HumSet", ColumnKind::kReal, 50, 0, 1},
             {"FanSpd", ColumnKind::kInt, 72, 12, 0},
             {"Run", ColumnKind::kMode, 1, 3, 0},
             {"Alm", ColumnKind::kAlarmBits, 0, 16, 0}},
            {"tbAirItem",
             202,
             5,
             "Fld",
             {{"Val", ColumnKind::kReal, 8, 4, 1}},
             {"Comp1Cur", "Comp2Cur", "FanCur", "HeatCur", "HumiCur"},
             {},
             5}};
}

DeviceKind battery()
{
    return {"tbBattery",
            769,
            1,
            "蓄电池组",
            battery_columns(),
            {"tbBatCell",
             100,
             24,
             "Addr",
             {{"State", ColumnKind::kMode, 0, 0, 0},
              {"Vol", ColumnKind::kInt, 2256, 14, 0},
              {"Reg", ColumnKind::kInt, 412, 18, 0},
              {"Tem", ColumnKind::kInt, 256, 12, 0}},
             {},
             {},
             0}};
}

DeviceKind battery_b()
{
    return {"tbBatteryB",
            770,
            1,
            "蓄电池组B",
            battery_columns(),
            {"tbBatCellB",
             101,
             24,
             "Fld",
             {{"State", ColumnKind::kMode, 0, 0, 0},
              {"V", ColumnKind::kInt, 2251, 12, 0},
              {"T", ColumnKind::kInt, 248, 10, 0}},
             {},
             {},
             0}};
}

DeviceKind battery_c()
{
    return {"tbBatteryC",
            771,
            1,
            "蓄电池组C",
            battery_columns(),
            {"tbBatCellC",
             102,
             24,
             "Fld",
             {{"Vol", ColumnKind::kInt, 13480, 60, 0},
              {"Tem", ColumnKind::kInt, 251, 10, 0},
              {"bSt", ColumnKind::kMode, 0, 2, 0}},
             {},
             {},
             0}};
}

DeviceKind temperature_humidity()
{
    return {"tbTempHum",
            2049,
            3,
            "温湿度传感器",
            {{"Tem", ColumnKind::kReal, 23.5, 1.5, 1},
             {"Hum", ColumnKind::kReal, 49, 6, 1},
             {"TemRaw", ColumnKind::kInt, 2480, 90, 0},
             {"HumRaw", ColumnKind::kInt, 1960, 120, 0}},
            {}};
}

DeviceKind meter()
{
    return {"tbMeter",
            513,
            1,
            "智能电表",
            {{"Ua", ColumnKind::kReal, 224, 3, 1},
             {"Ub", ColumnKind::kReal, 223, 3, 1},
             {"Uc", ColumnKind::kReal, 225, 3, 1},
             {"Ia", ColumnKind::kReal, 61, 9, 1},
             {"Ib", ColumnKind::kReal, 58, 9, 1},
             {"Ic", ColumnKind::kReal, 63, 9, 1},
             {"P", ColumnKind::kReal, 38.5, 5, 2},
             {"PF", ColumnKind::kReal, 0.94, 0.03, 2},
             {"F", ColumnKind::kReal, 50, 0.05, 2},
             {"Ep", ColumnKind::kCounter, 128640, 0.02, 2},
             {"Alm", ColumnKind::kAlarmBits, 0, 24, 0}},
            {"tbMeterLoop", 201, 12, "Fld", {{"Val", ColumnKind::kReal, 9, 5, 1}}, {}, {}, 12}};
}

DeviceKind temperature_chain()
{
    return {"tbTempChain",
            2050,
            3,
            "机柜测温链",
            {{"TemMax", ColumnKind::kReal, 28.5, 1, 1},
             {"TemMin", ColumnKind::kReal, 20.5, 1, 1},
             {"TemAvg", ColumnKind::kReal, 24.2, 0.8, 1}},
            {"tbTempPoint", 103, 16, "Fld", {{"dat0", ColumnKind::kInt, 244, 30, 0}}, {}, {}, 0}};
}

} // namespace

const std::vector<DeviceKind>& device_kinds()
{
    static const std::vector<DeviceKind> kinds = {
        ups(),   air_conditioner(), battery(),   temperature_humidity(),
        meter(), battery_b(),       battery_c(), temperature_chain()};
    return kinds;
}

std::string Device::Name() const
{
    return std::string(kind->name_prefix) + std::to_string(ordinal) + "#";
}

std::vector<Device> room_devices(int count)
{
    // Indexes of device_kinds(): every kind within the first eight, then as rooms are.
    constexpr std::array<size_t, 20> kOrder = {0, 1, 2, 3, 4, 5, 6, 7, 3, 1,
                                               0, 1, 3, 4, 2, 3, 1, 7, 3, 4};
    const auto& kinds = device_kinds();
    std::vector<int> counts(kinds.size(), 0);
    std::vector<Device> devices;
    devices.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        const size_t k = kOrder[static_cast<size_t>(i) % kOrder.size()];
        devices.push_back({kFirstDeviceSid + i, &kinds[k], ++counts[k], i == kSpareIndex});
    }
    return devices;
}

Reading reading(const Column& column, uint32_t seed, int sid, int row, long tick)
{
    const uint32_t item = static_cast<uint32_t>(sid) * 64 + static_cast<unsigned>(row);
    const uint32_t key = scatter(seed, item, name_number(column.name));
    switch (column.kind)
    {
    case ColumnKind::kReal:
        return {true, round_to(column.base + column.swing * sway(key, tick), column.decimals), 0};
    case ColumnKind::kInt:
        return whole_reading(
            static_cast<long long>(round_to(column.base + column.swing * sway(key, tick), 0)));
    case ColumnKind::kMode:
    {
        // Mostly the first mode; another one for a minute of ticks now and then.
        const uint32_t dice = scatter(key, (static_cast<uint32_t>(tick) + key % 60) / 60, 3);
        const auto modes = static_cast<uint32_t>(column.swing) + 1;
        return whole_reading(static_cast<long long>(column.base) +
                             (dice % 5 == 0 ? (dice >> 8) % modes : 0));
    }
    case ColumnKind::kAlarmBits:
        return whole_reading(alarm_bits(key, tick, static_cast<int>(column.swing)));
    case ColumnKind::kCounter:
    {
        const double start = column.base + key % 10000;
        return {true, round_to(start + column.swing * static_cast<double>(tick), column.decimals),
                0};
    }
    default:
        return whole_reading(0);
    }
}

int device_state(const Device& device, uint32_t seed, long tick)
{
    if (device.out_of_service)
    {
        return -1;
    }
    for (const Column& column : device.kind->columns)
    {
        if (column.kind == ColumnKind::kAlarmBits &&
            reading(column, seed, device.sid, 0, tick).whole != 0)
        {
            return 1;
        }
    }
    return 0;
}

std::string decimal_text(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

} // namespace vkctl
