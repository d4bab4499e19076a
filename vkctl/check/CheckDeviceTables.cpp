#include "vkctl/check/CheckDeviceTables.h"

#include "app/AppInternal.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

Place data_place()
{
    return {kDataDb, 0};
}

// No key of vkApp.ini can spell every name: some characters begin a remark, a section or a value.
std::string hide_advice(const std::string& table)
{
    if (table.find_first_of(";#=\r\n") != std::string::npos || table[0] == '[' || table[0] == ' ' ||
        table.back() == ' ')
    {
        return "; rename it: no key of vkApp.ini can hold that name";
    }
    return "; if it is no device table, list it in section [POST.Detail]: " + table + "=1";
}

// What becomes of a device table that the daemon's SQL does not find by its name.
std::string name_effect(CCheckDatabase& db, const HostTable& table)
{
    if (!db.Problem("select SID from " + table.name).empty())
    {
        return std::string(", which ") + kPhaseStall;
    }
    return ": its own devices are not found, and those of that table fail three times a sweep, 2 s "
           "apart, and are not posted, unless it was made later";
}

// True when SIDs can be read.
bool check_search(CCheckDatabase& db, const HostTable& table, CFindings& findings)
{
    const std::string problem = name_problem(db, table, table.name);
    if (!problem.empty())
    {
        findings.Error(data_place(), "table-name",
                       problem + name_effect(db, table) + hide_advice(table.name));
        return false;
    }
    if (!table.Has("SID"))
    {
        findings.Error(data_place(), "table-no-sid",
                       table.name + " has no column SID, which " + kPhaseStall +
                           hide_advice(table.name));
        return false;
    }
    return true;
}

void check_device_columns(const HostTable& table, const CIniFile& ini, CFindings& findings)
{
    const std::vector<std::string> needed = {"Type", "State", "DateUpd"};
    const std::vector<std::string> lacking = table.Lacks(needed);
    if (!lacking.empty())
    {
        findings.Error(data_place(), "device-columns",
                       table.name + " has no column " + shortened_list(lacking, lacking.size()) +
                           ": each of its devices fails three times a sweep, 2 s apart, and is not "
                           "posted" +
                           hide_advice(table.name));
        return;
    }
    for (const char* column : {"SID", "Type", "State", "DateUpd"})
    {
        if (table.Find(column) >= kLeadingColumns)
        {
            findings.Warning(data_place(), "device-layout",
                             std::string(column) + " stands behind the eighth column of " +
                                 table.name +
                                 ": the first eight are taken for the head, so it is posted as a "
                                 "value, and a value among the eight is not");
        }
    }
    if (table.columns.size() <= kLeadingColumns && ini.Text("POST.Master", table.name).empty())
    {
        findings.Note(data_place(), "device-layout",
                      table.name + " has no column behind the first eight, which are taken for the "
                                   "head: no value of it is posted");
    }
}

} // namespace

void check_device_tables(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                         CFindings& findings)
{
    const std::vector<const HostTable*> tables = catalogue.Of(TableRole::kDevice);
    if (tables.empty())
    {
        findings.Error(data_place(), "no-device-table",
                       std::string("there is no device table, which ") + kPhaseStall +
                           "; see the sections [POST.Detail] and [POST.General]");
    }
    for (const HostTable* table : tables)
    {
        if (check_search(db, *table, findings))
        {
            check_device_columns(*table, ini, findings);
        }
    }
}

} // namespace vkctl
