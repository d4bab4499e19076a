#include "vkctl/check/CheckSettings.h"

#include <algorithm>
#include <set>

#include "app/AppHeadFormat.h"
#include "app/AppSettings.h"
#include "vkctl/check/CheckNames.h"
#include "vkctl/check/CheckTexts.h"

namespace vkctl
{

namespace
{

constexpr char kPost[] = "POST";
constexpr char kExtension[] = "POST.Ext.";
constexpr char kBom[] = "\xEF\xBB\xBF";

bool is_pattern(const std::string& name)
{
    return name.find('<') != std::string::npos;
}

// The sections that have one name, each once.
std::vector<std::string> plain_sections()
{
    std::vector<std::string> sections;
    for (const Setting& row : all_settings())
    {
        if (!is_pattern(row.section) &&
            std::find(sections.begin(), sections.end(), row.section) == sections.end())
        {
            sections.emplace_back(row.section);
        }
    }
    return sections;
}

// The keys of a section that have one name.
std::vector<std::string> plain_keys(const std::string& section)
{
    std::vector<std::string> keys;
    for (const Setting& row : all_settings())
    {
        if (row.section == section && !is_pattern(row.key))
        {
            keys.emplace_back(row.key);
        }
    }
    return keys;
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// --- Sections and keys that nothing reads --------------------------------------------------------

// "257.tbExtAir": the columns of an extension whose key says to look here.
bool is_column_list(const CIniFile& ini, const std::string& section)
{
    const size_t dot = section.find('.');
    if (dot == std::string::npos)
    {
        return false;
    }
    const std::string extension = kExtension + section.substr(0, dot);
    const std::string table = section.substr(dot + 1);
    return ini.Has(extension, table) && ini.Int(extension, table) < 1;
}

bool is_extension_section(const std::string& section)
{
    int type = 0;
    const size_t length = sizeof kExtension - 1;
    return section.compare(0, length, kExtension) == 0 &&
           read_plain_number(section.substr(length), type);
}

std::string section_reason(const CIniFile& ini, const std::string& section)
{
    const size_t dot = section.find('.');
    const std::string table = dot == std::string::npos ? "" : section.substr(dot + 1);
    const std::string extension = kExtension + section.substr(0, dot);
    if (ini.Has(extension, table))
    {
        return ": its list of columns counts only while [" + extension + "] says " + table + "=0";
    }
    return did_you_mean(likely_name(section, plain_sections()));
}

void check_sections(const CIniFile& ini, CFindings& findings)
{
    const std::vector<std::string> plain = plain_sections();
    std::set<std::string> told;
    for (const IniItem& item : ini.Items())
    {
        const std::string& name = item.section;
        if (item.kind != IniItemKind::kSection || contains(plain, name) ||
            is_extension_section(name) || is_column_list(ini, name) || !told.insert(name).second)
        {
            continue;
        }
        findings.Warning(ini.At(item.line), FindingId::kSectionUnread,
                         "nothing reads section [" + name + "]" + section_reason(ini, name));
    }
}

// A key's name without the byte order mark that nobody sees.
std::string visible_name(const std::string& key)
{
    const size_t mark = sizeof kBom - 1;
    return key.compare(0, mark, kBom) == 0 ? key.substr(mark) : key;
}

// Keys in front of the first section. The first one tells of all; a lost first header, behind
// blanks or a byte order mark, has been told already.
void check_homeless_keys(const CIniFile& ini, CFindings& findings)
{
    for (const IniItem& item : ini.Items())
    {
        const std::string name = visible_name(item.key);
        if (item.kind == IniItemKind::kSection ||
            (item.kind == IniItemKind::kKey && name.compare(0, 1, "[") == 0))
        {
            return;
        }
        if (item.kind == IniItemKind::kKey && !name.empty())
        {
            findings.Warning(ini.At(item.line), FindingId::kKeyUnread,
                             "nothing reads " + name +
                                 ": it stands in front of the first section; move it below [POST]");
            return;
        }
    }
}

void check_keys(const CIniFile& ini, const std::string& section, CFindings& findings)
{
    for (const std::string& key : ini.Keys(section))
    {
        if (find_setting(section, key) == nullptr)
        {
            findings.Warning(ini.At(section, key), FindingId::kKeyUnread,
                             "nothing reads " + key + " in section [" + section + "]" +
                                 did_you_mean(likely_name(key, plain_keys(section))));
        }
    }
}

// --- Numbers -------------------------------------------------------------------------------------

void check_number(const CIniFile& ini, const Setting& row, CFindings& findings)
{
    check_integer(ini, row.section, row.key, findings);
    const int number = setting_number(ini.Document(), row.id);
    const SettingRange* const range = setting_range(row.id, number);
    if (range != nullptr)
    {
        findings.Warning(ini.At(row.section, row.key), FindingId::kValueRange,
                         std::string(row.key) + "=" + std::to_string(number) + ": " +
                             range_effect(*range));
    }
}

// --- Head
// -----------------------------------------------------------------------------------------

// How many of the values of a head a format takes that has passed.
int head_values(const std::string& format)
{
    int taken = 0;
    for (size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at))
    {
        const bool is_percent = format.compare(at, 2, "%%") == 0;
        taken += is_percent ? 0 : 1;
        at += is_percent ? 2 : read_conversion(format, at).text.size();
    }
    return taken;
}

void check_head(const CIniFile& ini, CFindings& findings)
{
    const std::string format = setting_text(ini.Document(), SettingId::kFmt0);
    const std::string problem = head_format_problem(format);
    const Place place = ini.At(kPost, "Fmt0");
    if (!problem.empty())
    {
        findings.Error(place, FindingId::kHeadFormatRefused,
                       "Fmt0 is refused and the default is used: " + problem);
    }
    else if (head_values(format) < 2)
    {
        findings.Warning(place, FindingId::kHeadShort,
                         "Fmt0 takes fewer than two values: no body says which device it is of; "
                         "begin it with suid=%s&sid=%d");
    }
}

} // namespace

void check_settings(const CIniFile& ini, std::vector<std::string>& texts, CFindings& findings)
{
    check_sections(ini, findings);
    check_homeless_keys(ini, findings);
    for (const std::string& section : plain_sections())
    {
        if (!plain_keys(section).empty()) // in others each key names a table or a column
        {
            check_keys(ini, section, findings);
        }
    }
    for (const Setting& row : all_settings())
    {
        if (row.kind == SettingKind::kNumber && !is_pattern(row.section) && !is_pattern(row.key))
        {
            check_number(ini, row, findings);
        }
    }
    check_head(ini, findings);
    check_encoding(ini, findings);
    check_setting_texts(ini, texts, findings);
}

} // namespace vkctl
