#include "vkctl/check/CheckGenerals.h"

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kGeneral[] = "POST.General";
constexpr char kFirstKey[] = ".0";
constexpr char kNameKey[] = ".Name";

// What it costs when the table cannot be read by its name.
void check_general_name(CCheckDatabase& db, const HostTable& table, const CIniFile& ini,
                        CFindings& findings)
{
    const std::string problem = name_problem(db, table, table.name);
    if (!problem.empty())
    {
        findings.Error(ini.At(kGeneral, table.name), "table-name",
                       problem + ": none of its rows is posted; rename it");
    }
}

// The options of the general tables, as keys.
std::vector<std::string> general_options(const CCatalogue& catalogue)
{
    std::vector<std::string> keys;
    for (const HostTable* table : catalogue.Of(TableRole::kGeneral))
    {
        keys.push_back(table->name + kFirstKey);
        keys.push_back(table->name + kNameKey);
    }
    return keys;
}

void check_general_type(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                        const std::string& table, CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    if (found == nullptr)
    {
        warn_of_no_table(catalogue, ini, kGeneral, table, table, findings,
                         general_options(catalogue));
        return;
    }
    check_integer(ini, kGeneral, table, findings);
    if (found->role == TableRole::kView)
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
    else if (found->role == TableRole::kGeneral)
    {
        check_general_name(db, *found, ini, findings);
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

} // namespace

void check_generals(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                    CFindings& findings)
{
    for (const std::string& key : ini.Keys(kGeneral))
    {
        std::string table = key;
        if (strip_end(table, kFirstKey))
        {
            check_general_option(catalogue, ini, key, table, true, findings);
        }
        else if (strip_end(table, kNameKey))
        {
            check_general_option(catalogue, ini, key, table, false, findings);
        }
        else
        {
            check_general_type(db, catalogue, ini, key, findings);
        }
    }
}

} // namespace vkctl
