// The table of settings, and how names and numbers of a file are held against it.
#include "app/AppSettings.h"

#include <algorithm>
#include <climits>

#include "app/AppHeadFormat.h"
#include "app/AppPost.h"
#include "app/AppPostConfig.h"
#include "app/AppPostEncoding.h"

std::string CAppPost::m_strCA;
std::string CAppPost::m_sEncoding;

namespace
{

constexpr char kPost[] = "POST";
constexpr char kDetail[] = "POST.Detail";
constexpr char kGeneral[] = "POST.General";
constexpr char kMaster[] = "POST.Master";
constexpr char kExtension[] = "POST.Ext.<type>";
constexpr char kColumns[] = "<type>.<table>";
constexpr char kOutputs[] = "POST.DO";
constexpr char kFields[] = "POST.xFld";

// Rows by what they are kept in.
using App = CAppPost;

constexpr Setting text_row(SettingId id, const char* key, SettingKind kind, const char* standard,
                           std::string App::*member, const char* does)
{
    return {id, kPost, key, kind, standard, does, {}, member, nullptr, nullptr};
}

constexpr Setting number_row(SettingId id, const char* key, const char* standard, int App::*member,
                             const char* does, std::array<SettingRange, kMostRanges> ranges)
{
    return {id, kPost, key, SettingKind::kNumber, standard, does, ranges, nullptr, member, nullptr};
}

constexpr Setting shared_row(SettingId id, const char* key, SettingKind kind, const char* standard,
                             std::string* shared, const char* does)
{
    return {id, kPost, key, kind, standard, does, {}, nullptr, nullptr, shared};
}

// Looked up when it is needed.
constexpr Setting looked_up(SettingId id, const char* section, const char* key, SettingKind kind,
                            const char* standard, const char* does,
                            std::array<SettingRange, kMostRanges> ranges = {})
{
    return {id, section, key, kind, standard, does, ranges, nullptr, nullptr, nullptr};
}

// A default of the table as the number that it is.
constexpr int number_of(const char* digits)
{
    int number = 0;
    for (; *digits != '\0'; ++digits)
    {
        number = 10 * number + (*digits - '0');
    }
    return number;
}

// libcurl refuses a time limit below 0 or too large and then has none at all: one server that never
// answers would stop the daemon for good.
constexpr int kLongestTimeoutS = 2147483;
constexpr char kDefaultTimeout[] = "15";
constexpr std::array<SettingRange, kMostRanges> kTimeoutRanges = {
    {{INT_MIN, -1, true, number_of(kDefaultTimeout), "is taken instead; write seconds from 1 up"},
     {0, 0, false, 0,
      "a transfer has no limit, and one server that never answers stops the daemon for good; "
      "write seconds from 1 up"},
     {kLongestTimeoutS + 1, INT_MAX, true, kLongestTimeoutS, "is taken instead, that is 24 days"}}};

constexpr std::array<SettingRange, kMostRanges> kDelayRanges = {
    {{INT_MIN, 0, false, 0,
      "one sweep follows the other without a pause; write milliseconds, such as 5000"}}};

constexpr std::array<SettingRange, kMostRanges> kReTblsRanges = {
    {{INT_MIN, -1, false, 0,
      "the tables are searched anew on every working pass; write 0 for never"}}};

constexpr std::array<SettingRange, kMostRanges> kMaxUrlsRanges = {
    {{kMaxUrlKeys + 1, INT_MAX, true, kMaxUrlKeys,
      "are read, each with two log lines; write how many URLs there are"}}};

constexpr std::array<SettingRange, kMostRanges> kDoCountRanges = {
    {{INT_MIN, -1, false, 0, "no output is posted; write 0 to say so"}}};

using Id = SettingId;
using Kind = SettingKind;

constexpr Settings kSettings = {{
    text_row(Id::kUrl, "Url", Kind::kUrl, "", &App::m_strUrl, "first URL for readings and states"),
    text_row(Id::kAlmUrl, "AlmUrl", Kind::kUrl, "", &App::m_strAlmUrl,
             "first URL for alarms; empty: alarms are neither read nor posted"),
    text_row(Id::kFmt0, "Fmt0", Kind::kFormat, kDefaultFmt0, &App::m_strFmt0, "head of every body"),
    text_row(Id::kDept, "Dept", Kind::kText, "xxx", &App::m_strDept,
             "identifier of this host in every body"),
    text_row(Id::kDeptName, "DeptName", Kind::kText, "动环监控主机", &App::m_strDeptName,
             "name of this host in its status"),
    number_row(Id::kTimeout, "Timeout", kDefaultTimeout, &App::m_iTimeout,
               "seconds for one transfer; 0: no limit", kTimeoutRanges),
    number_row(Id::kDelay, "Delay", "5000", &App::m_iDelay,
               "milliseconds from the last step of a sweep to the next sweep", kDelayRanges),
    number_row(Id::kReTbls, "ReTbls", "0", &App::m_iReTbls,
               "tables are discovered anew after this many due passes and one; 0: never",
               kReTblsRanges),
    text_row(Id::kState0, "State0", Kind::kText, "0", &App::m_strState0,
             "text of state 0 and of every state without a text of its own"),
    text_row(Id::kState1, "State1", Kind::kText, "1", &App::m_strState1, "text of state 1"),
    text_row(Id::kState2, "State2", Kind::kText, "2", &App::m_strState2, "text of state 2"),
    text_row(Id::kState3, "State3", Kind::kText, "3", &App::m_strState3, "text of state 3"),
    shared_row(Id::kEncoding, "Encoding", Kind::kEncoding, kUtf8, &App::m_sEncoding,
               "encoding of the bodies"),
    number_row(Id::kMaxUrls, "maxURLs", "1", &App::m_iMaxURLs,
               "how many URLs each of the two lists may hold", kMaxUrlsRanges),
    looked_up(Id::kUrlN, kPost, "Url<n>", Kind::kUrl, "",
              "further URL for readings and states, up to number maxURLs - 1"),
    looked_up(Id::kAlmUrlN, kPost, "AlmUrl<n>", Kind::kUrl, "",
              "further URL for alarms, up to number maxURLs - 1"),
    shared_row(Id::kCa, "CA", Kind::kFile, "", &App::m_strCA,
               "PEM file of the authority of the https servers; empty: nobody is asked"),
    looked_up(Id::kDetailMode, kDetail, "<table>", Kind::kNumber, "0",
              "1 or more: no device table; as a known mode, how its rows are appended"),
    looked_up(Id::kGeneralFirst, kGeneral, "<table>.0", Kind::kNumber, "1",
              "first column of a general table that is posted, counted from 0"),
    looked_up(Id::kGeneralName, kGeneral, "<table>.Name", Kind::kText, "",
              "name in the bodies of a general table"),
    looked_up(Id::kGeneralType, kGeneral, "<table>", Kind::kNumber, "0",
              "1 or more: a general table, and the type in its bodies"),
    looked_up(Id::kMasterFlds, kMaster, "<table>.flds", Kind::kNumber, "0",
              "number of columns posted behind the leading ones of a device table; 0: all"),
    looked_up(Id::kMasterDetail, kMaster, "<table>", Kind::kTable, "",
              "detail table whose rows are appended to the devices of the table"),
    looked_up(Id::kExtFlds, kExtension, "<table>.flds", Kind::kNumber, "0",
              "number of columns of an extension that are posted; 0: none"),
    looked_up(Id::kExtFirst, kExtension, "<table>", Kind::kNumber, "0",
              "first column of an extension, counted from 1; below: a section lists them"),
    looked_up(Id::kExtColumn, kColumns, "<name>", Kind::kNumber, "0",
              "number of a column of an extension that is posted, counted from 1"),
    looked_up(Id::kDoCount, kOutputs, "Count", Kind::kNumber, "3",
              "number of digital outputs that are posted", kDoCountRanges),
    looked_up(Id::kDoStart, kOutputs, "Start", Kind::kNumber, "9",
              "number of the column that holds output 0"),
    looked_up(Id::kFieldKind, kFields, "<type>.<column>", Kind::kNumber, "0",
              "how a column is rendered"),
    looked_up(Id::kFieldFallback, kFields, "<type>.<column>x", Kind::kText, "",
              "text of every number without one of its own"),
    looked_up(Id::kFieldText, kFields, "<type>.<column><value>", Kind::kText, "",
              "text of a number, or label of a bit"),
}};

constexpr bool is_in_order()
{
    for (size_t i = 0; i < kSettings.size(); ++i)
    {
        if (static_cast<size_t>(kSettings[i].id) != i)
        {
            return false;
        }
    }
    return true;
}
static_assert(is_in_order(), "a row stands at its id");

// --- Patterns ------------------------------------------------------------------------------------

constexpr char kTypeMark[] = "<type>";

std::string filled(const char* pattern, const std::string& name, int type)
{
    std::string text = pattern;
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at))
    {
        const size_t length = text.find('>', at) + 1 - at;
        const bool is_type = text.compare(at, length, kTypeMark) == 0;
        const std::string value = is_type ? std::to_string(type) : name;
        text.replace(at, length, value);
        at += value.size();
    }
    return text;
}

bool is_plain_number(const std::string& text)
{
    return std::to_string(SimpleIni::Number(text)) == text;
}

bool fits_mark(const std::string& mark, const std::string& text)
{
    if (mark == kTypeMark || mark == "<value>")
    {
        return is_plain_number(text);
    }
    return mark == "<n>" ? is_plain_number(text) && SimpleIni::Number(text) >= 1 : !text.empty();
}

} // namespace

const Settings& all_settings()
{
    return kSettings;
}

const Setting& setting(SettingId id)
{
    return kSettings.at(static_cast<size_t>(id));
}

SettingPlace setting_place(SettingId id, const std::string& name, int type)
{
    const Setting& row = setting(id);
    return {filled(row.section, name, type), filled(row.key, name, type)};
}

std::string setting_text(const SimpleIni& ini, SettingId id, const std::string& name, int type)
{
    const SettingPlace place = setting_place(id, name, type);
    return ini.GetValue(place.section, place.key, std::string(setting(id).standard));
}

int setting_number(const SimpleIni& ini, SettingId id, const std::string& name, int type)
{
    const SettingPlace place = setting_place(id, name, type);
    return ini.GetValue<int>(place.section, place.key, standard_number(id));
}

int standard_number(SettingId id)
{
    return SimpleIni::Number(setting(id).standard);
}

const SettingRange* setting_range(SettingId id, int number)
{
    const auto& ranges = setting(id).ranges;
    const auto* const found = std::find_if(ranges.begin(), ranges.end(),
                                           [=](const SettingRange& range) {
                                               return range.effect != nullptr &&
                                                      number >= range.from && number <= range.to;
                                           });
    return found != ranges.end() ? found : nullptr;
}

int taken_number(SettingId id, int number)
{
    const SettingRange* const range = setting_range(id, number);
    return range != nullptr && range->is_taken ? range->taken : number;
}

std::string range_effect(const SettingRange& range)
{
    return (range.is_taken ? std::to_string(range.taken) + " " : "") + range.effect;
}

bool fits_pattern(const std::string& pattern, const std::string& name)
{
    const size_t mark = pattern.find('<');
    if (mark == std::string::npos)
    {
        return pattern == name;
    }
    const size_t behind = pattern.find('>', mark) + 1;
    if (name.compare(0, mark, pattern, 0, mark) != 0)
    {
        return false;
    }
    // What the mark stands for ends where the rest fits.
    for (size_t end = mark; end <= name.size(); ++end)
    {
        if (fits_mark(pattern.substr(mark, behind - mark), name.substr(mark, end - mark)) &&
            fits_pattern(pattern.substr(behind), name.substr(end)))
        {
            return true;
        }
    }
    return false;
}

const Setting* find_setting(const std::string& section, const std::string& key)
{
    const auto* const found =
        std::find_if(kSettings.begin(), kSettings.end(),
                     [&](const Setting& row)
                     { return fits_pattern(row.section, section) && fits_pattern(row.key, key); });
    return found != kSettings.end() ? found : nullptr;
}

void read_settings(CAppPost& app)
{
    for (const Setting& row : kSettings)
    {
        if (row.text != nullptr)
        {
            app.*row.text = setting_text(app.m_ini, row.id);
        }
        else if (row.number != nullptr)
        {
            app.*row.number = setting_number(app.m_ini, row.id);
        }
        else if (row.shared != nullptr)
        {
            *row.shared = setting_text(app.m_ini, row.id);
        }
    }
}
