// The two database files of a sample room: made from the schema, then filled in one transaction
// each, so that a room of 10,000 devices takes seconds.
//
// Writes only the files named. Failures are thrown as CCliError. Main thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vkctl/base/Sqlite.h"
#include "vkctl/room/RoomModel.h"

namespace vkctl
{

constexpr char kDataDatabase[] = "tmp/dbDat0.db3";  // readings and states
constexpr char kAlarmDatabase[] = "tmp/dbData.db3"; // alarms

constexpr int kHostSid = 1; // the host's own input/output module
constexpr int kFirstInputSid = 101;
constexpr int kMaxInputs = 400;
constexpr int kFirstCameraSid = 501;
constexpr int kMaxCameras = 300;
constexpr int kMaxDevices = 1000000;

struct RoomContent
{
    int devices = 20;
    int inputs = 10;
    int cameras = 4;
    uint32_t seed = 12;                       // chosen so that a new room shows a few alarms
    std::string time = "2024-05-01 08:00:00"; // DateUpd and LastUpd of every row
    bool wal = false;                         // write-ahead log instead of rollback journal
};

// The statements of examples/schema.sql that make `database` (kDataDatabase, kAlarmDatabase).
// Empty when the schema has no such part.
std::string schema_of(const std::string& database);

// The SQL text of the statement that writes the values of one row: "insert into T(a,b)
// values(?,?)".
std::string insert_sql(const std::string& table, const std::vector<std::string>& columns);

void fill_data_database(CSqliteFile& file, const RoomContent& content);
void fill_alarm_database(CSqliteFile& file, const RoomContent& content);

// What the detail row `row` (from 1) of a device shows at a tick, in the order of the detail
// table's columns behind SID and key column. Modes 200 to 202 hold texts.
std::vector<std::string> detail_texts(const Device& device, int row, uint32_t seed, long tick);

// Names of digital inputs and cameras; `index` counts from 0.
std::string input_name(int index);
std::string camera_name(int index);

} // namespace vkctl
