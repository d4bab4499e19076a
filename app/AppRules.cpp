// The rules of reading and composing; see AppRules.h.
#include "app/AppRules.h"

#include <algorithm>
#include <strings.h>

#include "app/AppText.h"

// --- Tables --------------------------------------------------------------------------------------

DiscoveryRole discovery_role(const SimpleIni& ini, const std::string& table)
{
    if (strncasecmp(table.c_str(), kHiddenPrefix, sizeof(kHiddenPrefix) - 1) == 0)
    {
        return DiscoveryRole::kHidden;
    }
    if (setting_number(ini, SettingId::kDetailMode, table) >= 1)
    {
        return DiscoveryRole::kDetail;
    }
    const bool is_general = setting_number(ini, SettingId::kGeneralType, table) >= 1;
    return is_general ? DiscoveryRole::kGeneral : DiscoveryRole::kDevice;
}

int general_sid(size_t place)
{
    return kFirstGeneralSid + static_cast<int>(place);
}

// --- Columns -------------------------------------------------------------------------------------

ColumnRange device_columns(const SimpleIni& ini, const std::string& table, int columns)
{
    // A configured count wins over what the table has, but columns beyond the result have neither
    // name nor text.
    const int wanted = setting_number(ini, SettingId::kMasterFlds, table);
    if (wanted == 0 || wanted > columns - kFixedColumns)
    {
        return {kFixedColumns, columns};
    }
    return {kFixedColumns, wanted < 0 ? 0 : kFixedColumns + wanted};
}

ColumnRange general_columns(const SimpleIni& ini, const std::string& table, int columns)
{
    return {setting_number(ini, SettingId::kGeneralFirst, table), columns};
}

std::vector<ExtensionColumn> extension_columns(const SimpleIni& ini, int type,
                                               const std::string& table, int first, int columns)
{
    int64_t end = setting_number(ini, SettingId::kExtFlds, table, type);
    end += end > 0 ? first : 0;                             // one more than the last one's number
    end = std::min<int64_t>(end, int64_t{columns} + 1) - 1; // the columns' own, counted from 0

    std::vector<ExtensionColumn> found;
    if (first >= 1)
    {
        for (int64_t column = int64_t{first} - 1; column < end; ++column)
        {
            found.push_back({column, true, ""});
        }
        return found;
    }
    const std::string section = setting_place(SettingId::kExtColumn, table, type).section;
    const auto last = ini.endKey(section);
    for (auto key = ini.beginKey(section); key != last; ++key)
    {
        const int64_t column = int64_t{ini.GetValue<int>(section, *key, 0)} - 1;
        found.push_back({column, column >= 0 && column < end, *key});
    }
    return found;
}

bool is_extension_key(const std::string& key)
{
    return key.find(".flds") == std::string::npos;
}

std::string output_column(int64_t number)
{
    return format_text("D%02lld", static_cast<long long>(number));
}

std::string output_name(int output)
{
    return "DO" + std::to_string(output);
}

// --- Detail rows ---------------------------------------------------------------------------------

const std::vector<DetailMode>& detail_modes()
{
    using Layout = DetailLayout;
    // Mode 101 prints V and T as Vol and Tem, on purpose; mode 200 puts the unit straight behind
    // the value, on purpose.
    static const std::vector<DetailMode> kModes = {
        {100,
         Layout::kNumbers,
         "Addr",
         {{{"State", "State"}, {"Vol", "Vol"}, {"Reg", "Reg"}, {"Tem", "Tem"}}},
         nullptr,
         nullptr,
         nullptr},
        {101,
         Layout::kNumbers,
         "Fld",
         {{{"State", "State"}, {"Vol", "V"}, {"Tem", "T"}}},
         nullptr,
         nullptr,
         nullptr},
        {102,
         Layout::kNumbers,
         "Fld",
         {{{"Vol", "Vol"}, {"Tem", "Tem"}, {"bSt", "bSt"}}},
         nullptr,
         nullptr,
         nullptr},
        {103, Layout::kNumbers, "Fld", {{{"Tem", "dat0"}}}, nullptr, nullptr, nullptr},
        {200, Layout::kFldText, "Fld", {}, "Val", "ValStr", "ValStr"},
        {201, Layout::kFldText, "Fld", {}, "Val", nullptr, "Val"},
        {202, Layout::kNamedText, "Fld", {}, "Val", nullptr, "Val"},
    };
    return kModes;
}

const DetailMode* find_detail_mode(int mode)
{
    const std::vector<DetailMode>& modes = detail_modes();
    const auto found = std::find_if(modes.begin(), modes.end(),
                                    [=](const DetailMode& one) { return one.mode == mode; });
    return found != modes.end() ? &*found : nullptr;
}

std::vector<std::string> detail_columns(const DetailMode& mode)
{
    std::vector<std::string> columns;
    const auto add = [&](const char* column)
    {
        if (column != nullptr && std::find(columns.begin(), columns.end(), column) == columns.end())
        {
            columns.emplace_back(column);
        }
    };
    add(mode.decisive);
    add(mode.index);
    for (const DetailPair& pair : mode.pairs)
    {
        add(pair.column);
    }
    add(mode.text);
    add(mode.unit);
    return columns;
}

std::string detail_mode_list()
{
    std::vector<std::string> runs;
    const std::vector<DetailMode>& modes = detail_modes();
    for (size_t at = 0; at < modes.size();)
    {
        size_t last = at;
        while (last + 1 < modes.size() && modes[last + 1].mode == modes[last].mode + 1)
        {
            ++last;
        }
        runs.push_back(std::to_string(modes[at].mode) +
                       (last > at ? " to " + std::to_string(modes[last].mode) : ""));
        at = last + 1;
    }
    std::string text;
    for (size_t i = 0; i < runs.size(); ++i)
    {
        text += (i == 0 ? "" : i + 1 == runs.size() ? " and " : ", ") + runs[i];
    }
    return text;
}

// --- Values --------------------------------------------------------------------------------------

std::string field_key(int type, const std::string& column)
{
    return std::to_string(type) + "." + column;
}

int field_kind(const SimpleIni& ini, const std::string& key)
{
    return ini.GetValue<int>(kFieldSection, key, standard_number(SettingId::kFieldKind));
}

bool is_text_kind(int kind)
{
    return kind >= kFirstFieldKind && kind <= kLastFieldKind;
}

int field_bits(int kind)
{
    return is_text_kind(kind) ? (kind - kFirstFieldKind) * 8 : 0;
}

namespace
{

// A value whose text wins over the labels of its bits, also when there is none.
bool is_whole_byte(int kind, int value)
{
    return kind == 2 && (value == 0x00 || value == 0x0F || value == 0xF0 || value == 0xFF);
}

} // namespace

std::vector<std::string> field_suffixes(int kind, int value)
{
    if (kind == kFirstFieldKind)
    {
        return {std::to_string(value)};
    }
    if (is_whole_byte(kind, value))
    {
        return {format_text("%02X", static_cast<unsigned>(value))};
    }
    std::vector<std::string> suffixes;
    for (int bit = 0; bit < field_bits(kind); ++bit)
    {
        if ((static_cast<unsigned>(value) >> bit & 1U) != 0)
        {
            suffixes.push_back(std::to_string(bit));
        }
    }
    return suffixes;
}

std::string field_text(const SimpleIni& ini, const std::string& key, int kind, int value)
{
    const std::string fallback =
        kind == kFirstFieldKind ? ini.GetValue(kFieldSection, key + kFallbackSuffix, "") : "";
    std::string text;
    for (const std::string& suffix : field_suffixes(kind, value))
    {
        // A bit without a label still separates.
        text += (text.empty() ? "" : " ") + ini.GetValue(kFieldSection, key + suffix, fallback);
    }
    return text;
}

// --- States --------------------------------------------------------------------------------------

SettingId state_setting(int state)
{
    switch (state)
    {
    case 1:
        return SettingId::kState1;
    case 2:
        return SettingId::kState2;
    case 3:
        return SettingId::kState3;
    default:
        return SettingId::kState0;
    }
}

// --- Alarms --------------------------------------------------------------------------------------

bool is_alarm_cleared(int alm)
{
    constexpr unsigned kClearedBit = 4;
    return (static_cast<unsigned>(alm) & kClearedBit) != 0;
}

int alarm_class(int type)
{
    return type >> 8 & 0xFF;
}

int alarm_state(bool is_cleared)
{
    return is_cleared ? kAlarmStateCleared : kAlarmStateActive;
}

// --- URLs ----------------------------------------------------------------------------------------

std::vector<ConfiguredUrl> listed_keys(const SimpleIni& ini, UrlList list)
{
    const bool is_data = list == UrlList::kData;
    const SettingId first = is_data ? SettingId::kUrl : SettingId::kAlmUrl;
    const SettingId numbered = is_data ? SettingId::kUrlN : SettingId::kAlmUrlN;
    const int end = taken_number(SettingId::kMaxUrls, setting_number(ini, SettingId::kMaxUrls));

    std::vector<ConfiguredUrl> keys;
    if (end < kFewestMaxUrls)
    {
        return keys;
    }
    keys.push_back({setting(first).key, setting_text(ini, first)});
    for (int i = 1; i < end; ++i)
    {
        const std::string number = std::to_string(i);
        keys.push_back({setting_place(numbered, number).key, setting_text(ini, numbered, number)});
    }
    return keys;
}

std::vector<ConfiguredUrl> posted_urls(const SimpleIni& ini, UrlList list)
{
    std::vector<ConfiguredUrl> urls = listed_keys(ini, list);
    urls.erase(std::remove_if(urls.begin(), urls.end(),
                              [](const ConfiguredUrl& one) { return one.url.empty(); }),
               urls.end());
    if (list == UrlList::kAlarm)
    {
        // Without the first one alarms are not even read.
        return setting_text(ini, SettingId::kAlmUrl).empty() ? std::vector<ConfiguredUrl>() : urls;
    }
    if (urls.size() >= kFewestInList)
    {
        return urls;
    }
    const ConfiguredUrl main = {setting(SettingId::kUrl).key, setting_text(ini, SettingId::kUrl)};
    return main.url.empty() ? std::vector<ConfiguredUrl>() : std::vector<ConfiguredUrl>{main};
}
