// The settings of vkApp.ini: one row for each key, or family of keys, that the daemon reads.
//
// The daemon loads by these rows and takes every default from them; checks of a vkApp.ini and the
// tests of documents and examples walk them. Whoever changes a name, a default or a range changes
// it here and nowhere else. Pure data and pure functions: any thread.
//
// Names in angle brackets stand for what a site fills in: <table> and <column> are names of the
// database, <type> is a device type, <n> and <value> are numbers, <name> is any name.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "common/SimpleIni.h"

class CAppPost;

// In the order of loading, which is the order of the sections' description, too.
enum class SettingId
{
    kUrl,
    kAlmUrl,
    kFmt0,
    kDept,
    kDeptName,
    kTimeout,
    kDelay,
    kReTbls,
    kState0,
    kState1,
    kState2,
    kState3,
    kEncoding,
    kMaxUrls,
    kUrlN,
    kAlmUrlN,
    kCa,
    kDetailMode,
    kGeneralFirst,
    kGeneralName,
    kGeneralType,
    kMasterFlds,
    kMasterDetail,
    kExtFlds,
    kExtFirst,
    kExtColumn,
    kDoCount,
    kDoStart,
    kFieldKind,
    kFieldFallback,
    kFieldText,
    kCount // of them
};

enum class SettingKind
{
    kText,
    kNumber, // read by SimpleIni::Number
    kUrl,
    kFile,
    kFormat,   // of a head, see head_format_problem
    kEncoding, // a name that iconv knows
    kTable     // the name of one
};

// Numbers of which the daemon makes something that their writer may not expect.
struct SettingRange
{
    int from;
    int to;             // included
    bool is_taken;      // another number is taken in their place:
    int taken;          // this one
    const char* effect; // what comes of them; behind that number, where there is one
};

constexpr size_t kMostRanges = 3;

struct Setting
{
    SettingId id;
    const char* section;
    const char* key;
    SettingKind kind;
    const char* standard; // the default, as it would stand in the file; empty: none, or 0
    const char* does;     // in a line
    std::array<SettingRange, kMostRanges> ranges; // those without an effect are none

    // Where it is kept after start-up; all null for what is looked up when it is needed.
    std::string CAppPost::*text;
    int CAppPost::*number;
    std::string* shared;
};

using Settings = std::array<Setting, static_cast<size_t>(SettingId::kCount)>;

// All of them, each at its id.
const Settings& all_settings();
const Setting& setting(SettingId id);

// Where a site finds a setting: placeholders filled in, <type> by type and the others by name.
struct SettingPlace
{
    std::string section;
    std::string key;
};
SettingPlace setting_place(SettingId id, const std::string& name = "", int type = 0);

// The value that counts: of the file, or the default. A number is not yet looked up in the ranges.
std::string setting_text(const SimpleIni& ini, SettingId id, const std::string& name = "",
                         int type = 0);
int setting_number(const SimpleIni& ini, SettingId id, const std::string& name = "", int type = 0);
int standard_number(SettingId id); // the default alone

// The range that a number lies in; null when it is an ordinary one. The row's, valid for ever.
const SettingRange* setting_range(SettingId id, int number);

// The number that counts in its place: range_effect is "15 is taken instead", this is 15.
int taken_number(SettingId id, int number);

// What comes of a number in that range, as a sentence without its end.
std::string range_effect(const SettingRange& range);

// Whether a name fits a pattern of the rows. <type>, <n> and <value> are numbers spelt as the
// daemon spells them (no "+", no leading 0), <n> is 1 or more; any other placeholder is at least
// one byte.
bool fits_pattern(const std::string& pattern, const std::string& name);

// The row that reads that key; null when nothing does. Of several that fit the first one.
// A section [<type>.<table>] is read only where its extension says so: that is the caller's to ask.
const Setting* find_setting(const std::string& section, const std::string& key);

// Reads into the poster what is kept there, in the order of the rows. Not the lists of URLs.
void read_settings(CAppPost& app);
