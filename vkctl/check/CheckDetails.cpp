#include "vkctl/check/CheckDetails.h"

#include <cstdlib>
#include <map>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kDetail[] = "POST.Detail";
constexpr char kMaster[] = "POST.Master";

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

// The devices' tables whose Master is this table.
std::vector<std::string> masters_of(const CIniFile& ini, const std::string& detail)
{
    std::vector<std::string> masters;
    for (const std::string& key : ini.Keys(kMaster))
    {
        if (ini.Text(kMaster, key) == detail && key.find(kCountKey) == std::string::npos)
        {
            masters.push_back(key);
        }
    }
    return masters;
}

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
                             table.name + "." + column + " holds \"" + shortened(value) +
                                 "\", and mode " + std::to_string(mode) +
                                 " prints integers: it is posted as " +
                                 std::to_string(std::strtol(value.c_str(), nullptr, 10)));
        }
    }
}

} // namespace

void check_details(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    for (const std::string& key : ini.Keys(kDetail))
    {
        check_integer(ini, kDetail, key, findings);
        const bool isMastered = !masters_of(ini, key).empty();
        const HostTable* table = isMastered ? catalogue.FindSql(key) : catalogue.Find(key);
        if (table == nullptr)
        {
            warn_of_no_table(catalogue, ini, kDetail, key, key, findings);
            continue;
        }
        check_mode(ini, key, findings);
        check_columns(*table, ini, key, findings);
        check_numbers(db, *table, ini, key, findings);
    }
}

} // namespace vkctl
