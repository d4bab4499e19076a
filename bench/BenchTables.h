// The device tables of the benchmark's room: what the room generator writes, what vkApp.ini says
// about their values, and what the least program knows by heart. One place, so that daemon and
// least program have the same work to do.
#pragma once

#include <cstddef>

// How a column's value becomes text; the numbers are those of the configuration's value tables.
enum class CValueKind
{
    kText = 0,   // as stored
    kTable = 1,  // one label per number, "unknown" for others
    kBits8 = 2,  // one label per set bit, "normal" for none
    kBits24 = 4, // one label per set bit
};

constexpr char kUnknownValue[] = "unknown";
constexpr char kNoBits[] = "normal";

struct CBenchColumn
{
    const char* name;
    CValueKind kind = CValueKind::kText;
    const char* const* labels = nullptr;
    int label_count = 0;
};

struct CBenchTable
{
    const char* name;
    int type;
    const char* device_name; // a number is put behind it
    const CBenchColumn* columns;
    int column_count;
};

namespace bench_tables
{

constexpr const char* kUpsModes[] = {"off", "inverter", "bypass", "battery"};
constexpr const char* kUpsAlarms[] = {"mains failure",  "battery low",       "overload",
                                      "fan failure",    "over temperature",  "bypass active",
                                      "inverter fault", "communication lost"};
constexpr CBenchColumn kUpsColumns[] = {{"Uin"},
                                        {"Fin"},
                                        {"Uout"},
                                        {"Iout"},
                                        {"Load"},
                                        {"Ubat"},
                                        {"BatCap"},
                                        {"Tem"},
                                        {"Run", CValueKind::kTable, kUpsModes, 4},
                                        {"Alm", CValueKind::kBits8, kUpsAlarms, 8}};

constexpr const char* kAirModes[] = {"停机", "制冷", "制热", "除湿"};
constexpr const char* kAirAlarms[] = {"高压", "低压",   "回风高温", "回风低温",
                                      "漏水", "滤网堵", "风机故障", "通信中断"};
constexpr CBenchColumn kAirColumns[] = {{"TemRet"},
                                        {"TemSup"},
                                        {"TemSet"},
                                        {"HumRet"},
                                        {"HumSet"},
                                        {"FanSpd"},
                                        {"Run", CValueKind::kTable, kAirModes, 4},
                                        {"Alm", CValueKind::kBits8, kAirAlarms, 8}};

constexpr const char* kMeterAlarms[] = {
    "Ua high",  "Ub high",   "Uc high", "Ua low",  "Ub low",  "Uc low",  "Ia high", "Ib high",
    "Ic high",  "P high",    "PF low",  "F high",  "F low",   "phase A", "phase B", "phase C",
    "rotation", "unbalance", "neutral", "leakage", "breaker", "surge",   "memory",  "clock"};
constexpr CBenchColumn kMeterColumns[] = {{"Ua"},
                                          {"Ub"},
                                          {"Uc"},
                                          {"Ia"},
                                          {"Ib"},
                                          {"Ic"},
                                          {"P"},
                                          {"PF"},
                                          {"F"},
                                          {"Ep"},
                                          {"Alm", CValueKind::kBits24, kMeterAlarms, 24}};

constexpr CBenchColumn kTempHumColumns[] = {{"Tem"}, {"Hum"}, {"TemRaw"}, {"HumRaw"}};

} // namespace bench_tables

constexpr CBenchTable kBenchTables[] = {
    {"tbUps", 5, "UPS-", bench_tables::kUpsColumns, 10},
    {"tbAirCon", 6, "精密空调-", bench_tables::kAirColumns, 8},
    {"tbMeter", 7, "电量仪-", bench_tables::kMeterColumns, 11},
    {"tbTempHum", 8, "温湿度-", bench_tables::kTempHumColumns, 4},
};
constexpr int kBenchTableCount = sizeof(kBenchTables) / sizeof(kBenchTables[0]);

// The eight leading columns of every device table, and the four that the query joins in front.
constexpr int kBenchFixedColumns = 12;
