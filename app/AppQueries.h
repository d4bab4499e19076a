// What the daemon asks its databases for, as SQL. Names of tables and columns are put in as they
// are, without quotes. Pure: any thread.
#pragma once

#include <string>

constexpr char kNamesTable[] = "tbSM";
constexpr char kInputTable[] = "tbSubSysDetail";
constexpr char kOutputTable[] = "tbDio";
constexpr char kAlarmTable[] = "tbSMAlarm";
constexpr int kOutputsSid = 1; // of the row with the outputs

// What makes a row an input, a camera, an alarm that waits. The first with its table's name in
// front of each column ("x.").
constexpr char kIsInput[] = "x.SID<>x.SIDD";
constexpr char kIsCamera[] = "Kind=3072 and State=0 and DataMode=1";
constexpr char kIsWaiting[] = "AFld is null or AFld<1";

// --- Discovery ---
std::string tables_query(); // of the schema: all that are looked at, column "name"
std::string names_query();
std::string sids_query(const std::string& table);
std::string inputs_query();
std::string cameras_query();

// --- One thing; the first three with the columns of tbSM in front ---
std::string device_query(const char* table, int sid);
std::string input_query(int sid);
std::string outputs_query();
std::string camera_query(int sid);
std::string general_query(const std::string& table);
std::string detail_query(const std::string& table, int sid);
std::string extension_query(const std::string& table, int type);

// --- Alarms ---
std::string alarm_query(); // the oldest that waits
std::string mark_alarm(int did);
