#include "vkctl/CheckDetails.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "vkctl/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kDetail[] = "POST.Detail";
constexpr char kGeneral[] = "POST.General";
constexpr char kMaster[] = "POST.Master";
constexpr char kCount[] = ".flds";

// The columns that a mode reads. A mode that is not here prints nothing.
const std::map<int, std::vector<std::string>>& mode_columns()
{
    static const std::map<int, std::vector<std::string>> columns = {
        {100, {"SID", "Addr", "State", "Vol", "Reg", "Tem"}},
        {101, {"SID", "Fld", "State", "V", "T"}},
        {102, {"SID", "Fld", "Vol", "Tem", "bSt"}},
        {103, {"SID", "Fld", "dat0"}},
        {200, {"SID", "Fld", "Val", "ValStr"}},
        {201, {"SID", "Fld", "Val"}},
        {202, {"SID", "Fld", "Val"}}};
    return columns;
}

bool prints(int mode)
{
    return mode_columns().count(mode) != 0;
}

bool strip(std::string& text, const std::string& end)
{
    const bool has =
        text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
    text.resize(has ? text.size() - end.size() : text.size());
    return has;
}

void unknown_table(const CCatalogue& catalogue, const CIniFile& ini, const std::string& section,
                   const std::string& key, const std::string& table, CFindings& findings)
{
    findings.Warning(ini.At(section, key), "key-unread",
                     "there is no table " + table + ", so " + key + " in section [" + section +
                         "] has no effect" + did_you_mean(likely_name(table, catalogue.Names())));
}

// The devices' tables whose Master is this table.
std::vector<std::string> masters_of(const CIniFile& ini, const std::string& detail)
{
    std::vector<std::string> masters;
    for (const std::string& key : ini.Keys(kMaster))
    {
        if (ini.Text(kMaster, key) == detail && key.find(kCount) == std::string::npos)
        {
            masters.push_back(key);
        }
    }
    return masters;
}

// --- POST.Detail
// -------------------------------------------------------------------------------------------

void check_mode(const CIniFile& ini, const std::string& table, CFindings& findings)
{
    const int mode = ini.Int(kDetail, table);
    const Place place = ini.At(kDetail, table);
    const std::vector<std::string> masters = masters_of(ini, table);
    const std::string text = table + "=" + std::to_string(mode);
    if (mode < 1)
    {
        findings.Warning(place, "detail-mode-unknown",
                         text + ": a mode below 1 is none, and the table is searched for devices; "
                                "write a mode, or 1 to keep it out of the search");
    }
    else if (!prints(mode) && !masters.empty())
    {
        findings.Warning(place, "detail-mode-unknown",
                         text + ": nothing of it is appended to the devices of " + masters[0] +
                             "; the modes that append are 100 to 103 and 200 to 202");
    }
    else if (!prints(mode) && mode > 1)
    {
        findings.Warning(place, "detail-mode-unknown",
                         text +
                             " is no mode that appends anything; write 1 if the table is only to "
                             "be kept out of the search");
    }
    else if (prints(mode) && masters.empty())
    {
        findings.Warning(place, "detail-unused",
                         text +
                             ", but no device table names it: nothing of it is posted; add "
                             "TABLE=" +
                             table + " to section [POST.Master], or write " + table + "=1");
    }
}

// key: the table's name as the daemon puts it into its SQL, where capitals do not matter.
void check_columns(const HostTable& table, const CIniFile& ini, const std::string& key,
                   CFindings& findings)
{
    const int mode = ini.Int(kDetail, key);
    const std::vector<std::string> masters = masters_of(ini, key);
    if (!prints(mode) || masters.empty())
    {
        return;
    }
    const std::vector<std::string> lacking = table.Lacks(mode_columns().at(mode));
    if (!lacking.empty())
    {
        findings.Error(ini.At(kDetail, key), "detail-columns",
                       table.name + " has no column " + shortened_list(lacking, lacking.size()) +
                           ", which mode " + std::to_string(mode) +
                           " reads: nothing of it is appended, and each device of " + masters[0] +
                           " that has rows in it stalls every sweep for 15 s");
    }
}

// The modes below 200 read and print integers only.
void check_numbers(CCheckDatabase& db, const HostTable& table, const CIniFile& ini,
                   const std::string& key, CFindings& findings)
{
    const int mode = ini.Int(kDetail, key);
    if (!prints(mode) || mode >= 200 || masters_of(ini, key).empty() ||
        !table.Lacks(mode_columns().at(mode)).empty())
    {
        return;
    }
    for (const std::string& column : mode_columns().at(mode))
    {
        const std::string value =
            db.Value("select " + quoted(column) + " from " + quoted(table.name) + " where " +
                     is_no_integer(quoted(column)) + " limit 1");
        if (!value.empty())
        {
            findings.Warning(ini.At(kDetail, key), "value-not-integer",
                             table.name + "." + column + " holds \"" + value + "\", and mode " +
                                 std::to_string(mode) + " prints integers: it is posted as " +
                                 std::to_string(std::strtol(value.c_str(), nullptr, 10)));
        }
    }
}

// --- POST.General
// ------------------------------------------------------------------------------------------

void check_general_type(const CCatalogue& catalogue, const CIniFile& ini, const std::string& table,
                        CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    check_integer(ini, kGeneral, table, findings);
    if (found == nullptr)
    {
        unknown_table(catalogue, ini, kGeneral, table, table, findings);
    }
    else if (found->role == TableRole::kView)
    {
        findings.Warning(ini.At(kGeneral, table), "key-unread",
                         table + " is a view: only tables are posted as general tables");
    }
    else if (ini.Int(kGeneral, table) < 1)
    {
        findings.Warning(ini.At(kGeneral, table), "key-unread",
                         table + "=" + std::to_string(ini.Int(kGeneral, table)) +
                             " has no effect: the type of a general table is 1 or more");
    }
}

void check_first_column(const HostTable& table, const CIniFile& ini, const std::string& key,
                        CFindings& findings)
{
    check_integer(ini, kGeneral, key, findings);
    const int first = ini.Int(kGeneral, key);
    const auto columns = static_cast<int>(table.columns.size());
    if (first < 0)
    {
        findings.Warning(ini.At(kGeneral, key), "general-column",
                         key + "=" + std::to_string(first) +
                             ": columns are counted from 0; all are posted");
    }
    else if (first >= columns)
    {
        findings.Warning(ini.At(kGeneral, key), "general-column",
                         key + "=" + std::to_string(first) + ", but the last of the " +
                             std::to_string(columns) + " columns of " + table.name + " is number " +
                             std::to_string(columns - 1) + ": no value is posted");
    }
}

// "tbGenPort.0" and "tbGenPort.Name".
void check_general_option(const CCatalogue& catalogue, const CIniFile& ini, const std::string& key,
                          const std::string& table, bool isFirst, CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    if (found == nullptr || found->role != TableRole::kGeneral)
    {
        findings.Warning(
            ini.At(kGeneral, key), "key-unread",
            "nothing reads " + key + ": " + table + " is no general table" +
                did_you_mean(found == nullptr ? likely_name(table, catalogue.Names()) : ""));
    }
    else if (isFirst)
    {
        check_first_column(*found, ini, key, findings);
    }
    else if (const std::string held = form_characters(ini.Text(kGeneral, key)); !held.empty())
    {
        findings.Warning(ini.At(kGeneral, key), "value-unescaped",
                         key + " holds " + held + ": " + kUnescaped + "; write other characters");
    }
}

// --- POST.Master
// -------------------------------------------------------------------------------------------

// False, and told, when it is none.
const HostTable* device_table(const CCatalogue& catalogue, const CIniFile& ini,
                              const std::string& key, const std::string& table, CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    if (found == nullptr)
    {
        unknown_table(catalogue, ini, kMaster, key, table, findings);
        return nullptr;
    }
    if (found->role != TableRole::kDevice)
    {
        findings.Warning(ini.At(kMaster, key), "key-unread",
                         "nothing reads " + key + " in section [POST.Master]: " + table +
                             " is no device table");
        return nullptr;
    }
    return found;
}

void check_count(const HostTable& table, const CIniFile& ini, const std::string& key,
                 CFindings& findings)
{
    check_integer(ini, kMaster, key, findings);
    const int count = ini.Int(kMaster, key);
    const int columns = static_cast<int>(table.columns.size()) - kLeadingColumns;
    if (count < 0)
    {
        findings.Warning(ini.At(kMaster, key), "master-columns",
                         key + "=" + std::to_string(count) +
                             ": no value of the table is posted; 0 posts all");
    }
    else if (count > columns)
    {
        findings.Warning(ini.At(kMaster, key), "master-columns",
                         key + "=" + std::to_string(count) + ", but " + table.name + " has " +
                             std::to_string(std::max(columns, 0)) +
                             " columns behind the first eight: all of them are posted");
    }
}

// A mode is no remedy where there is no table: it would stall each device.
void check_not_detail(const CCatalogue& catalogue, const CIniFile& ini, const std::string& table,
                      const std::string& detail, CFindings& findings)
{
    const std::string effect = ": nothing of it is appended to the devices of " + table;
    const std::string meant = did_you_mean(likely_name(detail, ini.Keys(kDetail)));
    std::string message = detail + " is no detail table" + effect +
                          "; give it a mode in section [POST.Detail]" + meant;
    if (ini.Has(kDetail, detail))
    {
        message = detail + " has the mode 0 in section [POST.Detail]" + effect +
                  "; the modes that append are 100 to 103 and 200 to 202";
    }
    else if (catalogue.FindSql(detail) == nullptr)
    {
        message = "there is no table " + detail + effect + meant;
    }
    findings.Error(ini.At(kMaster, table), "master-not-detail", message);
}

void check_master(const CCatalogue& catalogue, const CIniFile& ini, const std::string& table,
                  CFindings& findings)
{
    const std::string detail = ini.Text(kMaster, table);
    const Place place = ini.At(kMaster, table);
    if (detail.empty())
    {
        return;
    }
    if (ini.Int(kDetail, detail) == 0)
    {
        check_not_detail(catalogue, ini, table, detail, findings);
    }
    else if (catalogue.FindSql(detail) == nullptr)
    {
        findings.Error(place, "master-missing",
                       "there is no table " + detail + ": each device of " + table +
                           " stalls every sweep for 15 s" +
                           did_you_mean(likely_name(detail, catalogue.Names())));
    }
}

} // namespace

void check_details(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    for (const std::string& key : ini.Keys(kDetail))
    {
        if (key.empty() || key[0] == '[')
        {
            continue;
        }
        check_integer(ini, kDetail, key, findings);
        const bool isMastered = !masters_of(ini, key).empty();
        const HostTable* table = isMastered ? catalogue.FindSql(key) : catalogue.Find(key);
        if (table == nullptr)
        {
            unknown_table(catalogue, ini, kDetail, key, key, findings);
            continue;
        }
        check_mode(ini, key, findings);
        check_columns(*table, ini, key, findings);
        check_numbers(db, *table, ini, key, findings);
    }
}

void check_generals(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const std::string& key : ini.Keys(kGeneral))
    {
        if (key.empty() || key[0] == '[')
        {
            continue;
        }
        std::string table = key;
        if (strip(table, ".0"))
        {
            check_general_option(catalogue, ini, key, table, true, findings);
        }
        else if (strip(table, ".Name"))
        {
            check_general_option(catalogue, ini, key, table, false, findings);
        }
        else
        {
            check_general_type(catalogue, ini, key, findings);
        }
    }
}

void check_masters(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const std::string& key : ini.Keys(kMaster))
    {
        if (key.empty() || key[0] == '[')
        {
            continue;
        }
        std::string name = key;
        const bool isCount = strip(name, kCount);
        const HostTable* table = device_table(catalogue, ini, key, name, findings);
        if (table != nullptr && isCount)
        {
            check_count(*table, ini, key, findings);
        }
        else if (table != nullptr)
        {
            check_master(catalogue, ini, key, findings);
        }
    }
}

} // namespace vkctl
