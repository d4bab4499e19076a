#include "vkctl/check/CheckSettings.h"

#include <algorithm>
#include <array>
#include <set>

#include "app/AppHeadFormat.h"
#include "app/AppPostConfig.h"
#include "vkctl/check/CheckNames.h"
#include "vkctl/check/CheckTexts.h"

namespace vkctl
{

namespace
{

constexpr char kPost[] = "POST";
constexpr char kOutputs[] = "POST.DO";
constexpr char kExtension[] = "POST.Ext.";
constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr int kLongestTimeoutS = 2147483; // libcurl takes no more

const std::vector<std::string>& post_keys()
{
    static const std::vector<std::string> keys = {
        "Url",  "AlmUrl",   "maxURLs", "CA",     "Timeout", "Delay",  "ReTbls", "Encoding",
        "Dept", "DeptName", "Fmt0",    "State0", "State1",  "State2", "State3"};
    return keys;
}

const std::vector<std::string>& plain_sections()
{
    static const std::vector<std::string> sections = {kPost,         "POST.Detail", "POST.General",
                                                      "POST.Master", "POST.xFld",   kOutputs};
    return sections;
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// --- Sections and keys that nothing reads --------------------------------------------------------

bool is_url_key(const std::string& key)
{
    int number = 0;
    const std::size_t at = key.find("Url");
    const bool named = at == 0 || (at == 3 && key.compare(0, 3, "Alm") == 0);
    return named && read_plain_number(key.substr(at + 3), number) && number > 0;
}

// "257.tbExtAir": the columns of an extension whose key says to look here.
bool is_column_list(const CIniFile& ini, const std::string& section)
{
    const std::size_t dot = section.find('.');
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
    const std::size_t length = sizeof kExtension - 1;
    return section.compare(0, length, kExtension) == 0 &&
           read_plain_number(section.substr(length), type);
}

std::string section_reason(const CIniFile& ini, const std::string& section)
{
    const std::size_t dot = section.find('.');
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
    std::set<std::string> told;
    for (const IniItem& item : ini.Items())
    {
        const std::string& name = item.section;
        if (item.kind != IniItemKind::kSection || contains(plain_sections(), name) ||
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
    const std::size_t mark = sizeof kBom - 1;
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

void check_keys(const CIniFile& ini, const std::string& section,
                const std::vector<std::string>& known, CFindings& findings)
{
    for (const std::string& key : ini.Keys(section))
    {
        const bool read = contains(known, key) || (section == kPost && is_url_key(key));
        if (!read)
        {
            findings.Warning(ini.At(section, key), FindingId::kKeyUnread,
                             "nothing reads " + key + " in section [" + section + "]" +
                                 did_you_mean(likely_name(key, known)));
        }
    }
}

// --- Numbers -------------------------------------------------------------------------------------

void check_numbers(const CIniFile& ini, CFindings& findings)
{
    for (const char* key : {"maxURLs", "Timeout", "Delay", "ReTbls"})
    {
        check_integer(ini, kPost, key, findings);
    }
    for (const char* key : {"Count", "Start"})
    {
        check_integer(ini, kOutputs, key, findings);
    }
}

void out_of_range(const CIniFile& ini, const std::string& key, const std::string& effect,
                  CFindings& findings)
{
    const char* section = ini.Has(kPost, key) ? kPost : kOutputs;
    findings.Warning(ini.At(section, key), FindingId::kValueRange,
                     key + "=" + std::to_string(ini.Int(section, key)) + ": " + effect);
}

void check_timeout(const CIniFile& ini, CFindings& findings)
{
    const int seconds = ini.Int(kPost, "Timeout", 15);
    if (seconds == 0)
    {
        out_of_range(ini, "Timeout",
                     "a transfer has no limit, and one server that never answers stops the daemon "
                     "for good; write seconds from 1 up",
                     findings);
    }
    else if (seconds < 0)
    {
        out_of_range(ini, "Timeout", "15 is taken instead; write seconds from 1 up", findings);
    }
    else if (seconds > kLongestTimeoutS)
    {
        out_of_range(ini, "Timeout",
                     std::to_string(kLongestTimeoutS) + " is taken instead, that is 24 days",
                     findings);
    }
}

void check_ranges(const CIniFile& ini, CFindings& findings)
{
    check_timeout(ini, findings);
    if (ini.Int(kPost, "Delay", 5000) <= 0)
    {
        out_of_range(
            ini, "Delay",
            "one sweep follows the other without a pause; write milliseconds, such as 5000",
            findings);
    }
    if (ini.Int(kPost, "ReTbls") < 0)
    {
        out_of_range(ini, "ReTbls",
                     "the tables are searched anew on every working pass; write 0 for never",
                     findings);
    }
    if (ini.Int(kPost, "maxURLs", 1) > kMaxUrlKeys)
    {
        out_of_range(ini, "maxURLs",
                     std::to_string(kMaxUrlKeys) +
                         " are read, each with two log lines; write how many URLs there are",
                     findings);
    }
    if (ini.Int(kOutputs, "Count", 3) < 0)
    {
        out_of_range(ini, "Count", "no output is posted; write 0 to say so", findings);
    }
}

// --- Head
// -----------------------------------------------------------------------------------------

// How many of the eight values a format takes that has passed.
std::size_t conversions(const std::string& format)
{
    constexpr std::array<const char*, 9> kRests = {"%s%d%d%d%s%d%s%s",
                                                   "%d%d%d%s%d%s%s",
                                                   "%d%d%s%d%s%s",
                                                   "%d%s%d%s%s",
                                                   "%s%d%s%s",
                                                   "%d%s%s",
                                                   "%s%s",
                                                   "%s",
                                                   ""};
    std::size_t taken = 0;
    while (taken + 1 < kRests.size() && !head_format_problem(format + kRests[taken]).empty())
    {
        ++taken;
    }
    return taken;
}

void check_head(const CIniFile& ini, CFindings& findings)
{
    const std::string format = ini.Text(kPost, "Fmt0", kDefaultFmt0);
    const std::string problem = head_format_problem(format);
    const Place place = ini.At(kPost, "Fmt0");
    if (!problem.empty())
    {
        findings.Error(place, FindingId::kHeadFormatRefused,
                       "Fmt0 is refused and the default is used: " + problem);
    }
    else if (conversions(format) < 2)
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
    check_keys(ini, kPost, post_keys(), findings);
    check_keys(ini, kOutputs, {"Count", "Start"}, findings);
    check_numbers(ini, findings);
    check_ranges(ini, findings);
    check_head(ini, findings);
    check_encoding(ini, findings);
    check_setting_texts(ini, texts, findings);
}

} // namespace vkctl
