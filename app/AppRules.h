// What the daemon goes by when it reads and composes: which table is what, which columns of a row
// are posted, how a value becomes text, where bodies go, how long it keeps trying.
//
// The daemon calls these functions, and so does whoever tells beforehand, or explains afterwards,
// what the daemon does. Pure: they look at the configuration and at nothing else. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/AppSettings.h"
#include "common/SimpleIni.h"

// --- Tables ------------------------------------------------------------------------------------

// What discovery makes of a table (not of a view, which it does not see).
enum class DiscoveryRole
{
    kHidden,  // never looked at, by its name
    kDetail,  // kept out of the search; its rows may be appended to devices
    kGeneral, // each row a body
    kDevice   // searched for devices
};

constexpr char kHiddenPrefix[] = "tbSM"; // in whatever capitals

DiscoveryRole discovery_role(const SimpleIni& ini, const std::string& table);

// The SID in the bodies of the general table at that place (from 0), in the order of the schema.
constexpr int kFirstGeneralSid = 900;
int general_sid(size_t place);

// --- Columns -----------------------------------------------------------------------------------

constexpr int kJoinedColumns = 4;  // of tbSM, in front of a device table's own in its query
constexpr int kLeadingColumns = 8; // of a device table, which say what the head says
constexpr int kFixedColumns = kJoinedColumns + kLeadingColumns;

// The columns first to end - 1 of a result, counted from 0. Where end is not behind first there are
// none; below 0 there is no column.
struct ColumnRange
{
    int first;
    int end;
};

// Of a device table's query, whose result has that many columns.
ColumnRange device_columns(const SimpleIni& ini, const std::string& table, int columns);

// Of a general table that has that many columns.
ColumnRange general_columns(const SimpleIni& ini, const std::string& table, int columns);

// A column that an extension asks for.
struct ExtensionColumn
{
    int64_t column;  // counted from 0
    bool is_posted;  // false: outside of what the table and its ".flds" allow
    std::string key; // of the list that names it; empty where there is no list
};

// Of an extension table that has that many columns, in the order of posting. first: the value of
// its key in section POST.Ext.<type>; below 1, a section of its own lists the columns.
std::vector<ExtensionColumn> extension_columns(const SimpleIni& ini, int type,
                                               const std::string& table, int first, int columns);

// Whether a key of POST.Ext.<type> names an extension table, and not a number of columns.
bool is_extension_key(const std::string& key);

// Digital outputs are the columns D09 and so on of their table.
std::string output_column(int64_t number);
std::string output_name(int output);

// --- Detail rows -------------------------------------------------------------------------------

enum class DetailLayout
{
    kNumbers,  // names with the row's number behind each, values that are numbers
    kFldText,  // "Fld" with the row's number, one text or two behind each other
    kNamedText // the row's own name and text
};

struct DetailPair
{
    const char* name;
    const char* column; // need not bear the same name, on purpose
};

constexpr size_t kMostDetailPairs = 4;

// One mode of a detail table: how each of its rows is appended.
struct DetailMode
{
    int mode;
    DetailLayout layout;
    const char* index; // the column with the row's number, or with its name
    std::array<DetailPair, kMostDetailPairs> pairs; // of kNumbers; those without a name are none
    const char* text;                               // the column with the text; null: kNumbers
    const char* unit;     // the column with what stands straight behind it; null: none
    const char* decisive; // the row is left out when this column is empty; null: never
};

const std::vector<DetailMode>& detail_modes();

// Null for a mode that nobody defined: its rows are read and add nothing.
const DetailMode* find_detail_mode(int mode);

// The columns that a mode reads, the one that decides first.
std::vector<std::string> detail_columns(const DetailMode& mode);

// "100 to 103 and 200 to 202".
std::string detail_mode_list();

// --- Values ------------------------------------------------------------------------------------

constexpr char kFieldSection[] = "POST.xFld";
constexpr int kFirstFieldKind = 1;
constexpr int kLastFieldKind = 4;

// How the values of a column are rendered: kinds 1 to 4 by texts, any other as they are stored.
std::string field_key(int type, const std::string& column);
int field_kind(const SimpleIni& ini, const std::string& key);
bool is_text_kind(int kind);
int field_bits(int kind); // 8, 16, 24; 0 for a kind that does not look at bits

// What follows the key of a column in the keys of the texts that a value asks for, in their order.
// Kind 1 has one, for which the text behind "x" stands in where there is none.
std::vector<std::string> field_suffixes(int kind, int value);
constexpr char kFallbackSuffix[] = "x";

// The text that a value of a text kind becomes. Empty: the pair is left out.
std::string field_text(const SimpleIni& ini, const std::string& key, int kind, int value);

// --- States ------------------------------------------------------------------------------------

// The setting that holds the text of a state number.
SettingId state_setting(int state);

// --- Alarms ------------------------------------------------------------------------------------

constexpr int kAlarmStateActive = 1;
constexpr int kAlarmStateCleared = 3;
constexpr int kTitledClass = 9; // of an alarm: its title says more than its class

bool is_alarm_cleared(int alm); // by the column Alm
int alarm_class(int type);      // by the column Type
int alarm_state(bool is_cleared);

// --- URLs --------------------------------------------------------------------------------------

// Which of the two lists.
enum class UrlList
{
    kData,
    kAlarm
};

struct ConfiguredUrl
{
    std::string key;
    std::string url;
};

constexpr int kFewestMaxUrls = 2;   // below, both lists are empty, whatever is written
constexpr size_t kFewestInList = 2; // with fewer URLs readings go to Url alone

// The keys of a list that are read, in their order, with what stands there, be it nothing. None
// where maxURLs is too small.
std::vector<ConfiguredUrl> listed_keys(const SimpleIni& ini, UrlList list);

// Where bodies of that kind go.
std::vector<ConfiguredUrl> posted_urls(const SimpleIni& ini, UrlList list);

// --- How long the daemon tries -----------------------------------------------------------------

constexpr int kDiscoveryTries = 10;            // of a phase, and of each table's SIDs
constexpr int kDiscoveryNoQueryPauseMs = 5000; // after a query that could not be started
constexpr int kDiscoveryFailedPauseMs = 10000; // after a try that failed otherwise
constexpr int kDetailTries = 5;                // of a device's detail rows
constexpr int kDetailFailedPauseMs = 2000;     // after rows that could not be asked for
constexpr int kDetailExceptionPauseMs = 3000;  // after rows that could not be read

// What a table that cannot be read costs each discovery, and a detail table each device.
constexpr int kDiscoveryStallS = kDiscoveryTries * kDiscoveryFailedPauseMs / 1000;
constexpr int kDetailStallS = kDetailTries * kDetailExceptionPauseMs / 1000;
