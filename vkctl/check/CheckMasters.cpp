#include "vkctl/check/CheckMasters.h"

#include <algorithm>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kDetail[] = "POST.Detail";
constexpr char kMaster[] = "POST.Master";

// False, and told, when it is none.
const HostTable* device_table(const CCatalogue& catalogue, const CIniFile& ini,
                              const std::string& key, const std::string& table, CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    if (found == nullptr)
    {
        warn_of_no_table(catalogue, ini, kMaster, key, table, findings);
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

// What it is posted as itself; empty when it is not. A mode would end that.
std::string posted_as(const HostTable& table)
{
    if (table.role == TableRole::kGeneral)
    {
        return "is posted as a general table itself";
    }
    return table.role == TableRole::kDevice &&
                   table.Lacks({"SID", "Type", "State", "DateUpd"}).empty()
               ? "holds devices, which are posted themselves"
               : "";
}

// A mode is no remedy where there is no table: it would stall each device.
void check_not_detail(const CCatalogue& catalogue, const CIniFile& ini, const std::string& table,
                      const std::string& detail, CFindings& findings)
{
    const std::string effect = ": nothing of it is appended to the devices of " + table;
    const std::string meant = did_you_mean(likely_name(detail, ini.Keys(kDetail)));
    std::string message = detail + " is no detail table" + effect +
                          "; give it a mode in section [POST.Detail]" + meant;
    const HostTable* found = catalogue.FindSql(detail);
    if (const std::string posted = found != nullptr ? posted_as(*found) : ""; !posted.empty())
    {
        message = detail + " " + posted + effect + "; name a detail table" + meant;
    }
    else if (ini.Has(kDetail, detail))
    {
        message = detail + " has the mode 0 in section [POST.Detail]" + effect +
                  "; the modes that append are 100 to 103 and 200 to 202";
    }
    else if (found == nullptr)
    {
        message = "there is no table " + detail + effect + meant;
    }
    findings.Error(ini.At(kMaster, table), "master-not-detail", message);
}

void check_master_name(CCheckDatabase& db, const HostTable& detail, const CIniFile& ini,
                       const std::string& table, CFindings& findings)
{
    const std::string name = ini.Text(kMaster, table);
    const std::string problem = name_problem(db, detail, name);
    if (!problem.empty())
    {
        const bool isRead = db.Problem("select SID from " + name).empty();
        findings.Error(ini.At(kMaster, table), "table-name",
                       problem +
                           (isRead ? ": nothing of it is appended to the devices of " + table
                                   : ": each device of " + table + " stalls every sweep for 15 s") +
                           "; rename it");
    }
}

void check_master(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  const std::string& table, CFindings& findings)
{
    const std::string detail = ini.Text(kMaster, table);
    const Place place = ini.At(kMaster, table);
    if (detail.empty())
    {
        return;
    }
    const HostTable* found = catalogue.FindSql(detail);
    if (ini.Int(kDetail, detail) == 0)
    {
        check_not_detail(catalogue, ini, table, detail, findings);
    }
    else if (found != nullptr)
    {
        check_master_name(db, *found, ini, table, findings);
    }
    else
    {
        findings.Error(place, "master-missing",
                       "there is no table " + detail + ": each device of " + table +
                           " stalls every sweep for 15 s" +
                           did_you_mean(likely_name(detail, catalogue.Names())));
    }
}

} // namespace

void check_masters(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    for (const std::string& key : ini.Keys(kMaster))
    {
        std::string name = key;
        const bool isCount = strip_end(name, kCountKey);
        const HostTable* table = device_table(catalogue, ini, key, name, findings);
        if (table != nullptr && isCount)
        {
            check_count(*table, ini, key, findings);
        }
        else if (table != nullptr)
        {
            check_master(db, catalogue, ini, key, findings);
        }
    }
}

} // namespace vkctl
