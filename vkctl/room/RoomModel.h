// What stands in the sample room: kinds of devices, their columns, and what each column shows.
//
// A reading is a pure function of seed, device, column and tick, so that a room made twice is the
// same room, and moving it one tick on needs no memory. A tick is one step of the polling
// processes, usually a second; tick 0 is what a new room holds. No floating-point library call is
// used, so every machine makes the same numbers. Constant data and pure functions: any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vkctl
{

enum class ColumnKind
{
    kReal,      // base +/- swing, rounded to `decimals`
    kInt,       // the same, whole
    kMode,      // one of base .. base + swing, changes rarely
    kAlarmBits, // mostly 0; now and then one of `swing` bits
    kCounter,   // base, rising by about swing a tick
};

struct Column
{
    const char* name;
    ColumnKind kind;
    double base;
    double swing;
    int decimals;
};

// Rows that belong to one device: number of rows, the column that tells them apart, the values.
struct DetailTable
{
    const char* name = nullptr; // no detail table
    int mode = 0;               // as in POST.Detail
    int rows = 0;
    const char* key_column = "";
    std::vector<Column> columns;
    std::vector<const char*> key_texts; // mode 202: the key column holds these texts, not numbers
    std::vector<const char*> units;     // mode 200: text of ValStr by row
    int empty_row = 0;                  // this row (from 1) has an empty value; 0: none
};

struct DeviceKind
{
    const char* table;
    int type;
    int subsys;
    const char* name_prefix; // the name is prefix, running number, "#"
    std::vector<Column> columns;
    DetailTable detail;
};

const std::vector<DeviceKind>& device_kinds();

// One device of a room. `ordinal` counts the devices of its kind from 1.
struct Device
{
    int sid;
    const DeviceKind* kind;
    int ordinal;
    bool out_of_service; // State -1: known to the host, not posted

    std::string Name() const;
};

constexpr int kFirstDeviceSid = 1001;

// The first `count` devices of the room. The kinds follow each other in a fixed order of twenty,
// so that a small room has variety too. From seventeen devices on, exactly one is out of service.
std::vector<Device> room_devices(int count);

// A number as SQLite is to hold it.
struct Reading
{
    bool is_real;
    double real;
    long long whole;
};

Reading reading(const Column& column, uint32_t seed, int sid, int row, long tick);

// A device's State: 1 while its alarm bits are set, else 0; -1 when out of service.
int device_state(const Device& device, uint32_t seed, long tick);

// A number with `decimals` digits behind the point, as a detail row's text holds it.
std::string decimal_text(double value, int decimals);

} // namespace vkctl
