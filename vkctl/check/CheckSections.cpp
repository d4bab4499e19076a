#include "vkctl/check/CheckSections.h"

#include <algorithm>

#include "vkctl/check/CheckDevices.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kDetail[] = "POST.Detail";
constexpr char kMaster[] = "POST.Master";

// The devices' tables whose Master is this table.
std::vector<std::string> masters_of(const CIniFile& ini, const std::string& detail)
{
    std::vector<std::string> masters;
    for (const std::string& key : ini.Keys(kMaster))
    {
        if (ini.Text(kMaster, key) == detail && is_extension_key(key))
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
    const bool prints = find_detail_mode(mode) != nullptr;
    if (mode < 1)
    {
        findings.Warning(place, FindingId::kDetailModeUnknown,
                         text + ": a mode below 1 is none, and the table is searched for devices; "
                                "write a mode, or 1 to keep it out of the search");
    }
    else if (!prints && !masters.empty())
    {
        findings.Warning(place, FindingId::kDetailModeUnknown,
                         text + ": nothing of it is appended to the devices of " + masters[0] +
                             "; the modes that append are " + detail_mode_list());
    }
    else if (!prints && mode > 1)
    {
        findings.Warning(place, FindingId::kDetailModeUnknown,
                         text +
                             " is no mode that appends anything; write 1 if the table is only to "
                             "be kept out of the search");
    }
    else if (prints && masters.empty())
    {
        findings.Warning(place, FindingId::kDetailUnused,
                         text +
                             ", but no device table names it: nothing of it is posted; add "
                             "TABLE=" +
                             table + " to section [POST.Master], or write " + table + "=1");
    }
}

// The columns that the daemon reads in that mode: none where it appends nothing to any device.
std::vector<std::string> columns_in_use(const DetailMode* mode,
                                        const std::vector<std::string>& masters)
{
    if (mode == nullptr || masters.empty())
    {
        return {};
    }
    std::vector<std::string> columns = detail_columns(*mode);
    columns.insert(columns.begin(), "SID");
    return columns;
}

std::string detail_stall()
{
    return "stalls every sweep for " + std::to_string(kDetailStallS) + " s";
}

// The first cell of the column that the daemon takes for another number; null when there is none.
void check_number(CHostDatabase& db, const HostTable& table, const std::string& column, int mode,
                  const Place& place, CFindings& findings)
{
    const std::vector<CHostDatabase::Row> rows =
        db.Rows("select " + quoted(column) + " from " + quoted(table.name));
    const auto wrong = std::find_if(
        rows.begin(), rows.end(), [](const CHostDatabase::Row& row) { return is_misread(row[0]); });
    if (wrong != rows.end())
    {
        findings.Warning(place, FindingId::kValueNotInteger,
                         table.name + "." + column + " holds \"" + shortened(wrong->at(0).text) +
                             "\", and mode " + std::to_string(mode) +
                             " prints integers: it is posted as " +
                             std::to_string(wrong->at(0).number));
    }
}

// key: the table's name as the daemon puts it into its SQL, where capitals do not matter.
void check_rows(CHostDatabase& db, const HostTable& table, const CIniFile& ini,
                const std::string& key, CFindings& findings)
{
    const int number = ini.Int(kDetail, key);
    const DetailMode* mode = find_detail_mode(number);
    const std::vector<std::string> masters = masters_of(ini, key);
    const std::vector<std::string> columns = columns_in_use(mode, masters);
    if (columns.empty() || !table.problem.empty())
    {
        return;
    }
    const Place place = ini.At(kDetail, key);
    const std::vector<std::string> lacking = table.Lacks(columns);
    if (!lacking.empty())
    {
        findings.Error(place, FindingId::kDetailColumns,
                       table.name + " has no column " + shortened_list(lacking, lacking.size()) +
                           ", which mode " + std::to_string(number) +
                           " reads: nothing of it is appended, and each device of " + masters[0] +
                           " that has rows in it " + detail_stall());
        return;
    }
    check_lost_sids(db, table, "1", "is appended to no device", place, findings);
    for (size_t i = 1; i < columns.size() && mode->layout == DetailLayout::kNumbers; ++i)
    {
        check_number(db, table, columns[i], number, place, findings);
    }
}

} // namespace

void check_details(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    for (const std::string& key : ini.Keys(kDetail))
    {
        check_integer(ini, kDetail, key, findings);
        const bool is_mastered = !masters_of(ini, key).empty();
        const HostTable* table = is_mastered ? catalogue.FindSql(key) : catalogue.Find(key);
        if (table == nullptr)
        {
            warn_of_no_table(catalogue, ini, kDetail, key, key, findings);
            continue;
        }
        check_mode(ini, key, findings);
        check_rows(db, *table, ini, key, findings);
    }
}

namespace
{

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
        findings.Warning(ini.At(kMaster, key), FindingId::kKeyUnread,
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
        findings.Warning(ini.At(kMaster, key), FindingId::kMasterColumns,
                         key + "=" + std::to_string(count) +
                             ": no value of the table is posted; 0 posts all");
    }
    else if (count > columns)
    {
        findings.Warning(ini.At(kMaster, key), FindingId::kMasterColumns,
                         key + "=" + std::to_string(count) + ", but " + table.name + " has " +
                             std::to_string(std::max(columns, 0)) + " columns behind the first " +
                             std::to_string(kLeadingColumns) + ": all of them are posted");
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
                  "; the modes that append are " + detail_mode_list();
    }
    else if (found == nullptr)
    {
        message = "there is no table " + detail + effect + meant;
    }
    findings.Error(ini.At(kMaster, table), FindingId::kMasterNotDetail, message);
}

void check_master_name(CHostDatabase& db, const HostTable& detail, const CIniFile& ini,
                       const std::string& table, CFindings& findings)
{
    const std::string name = ini.Text(kMaster, table);
    const std::string problem = name_problem(db, detail, name);
    if (!problem.empty())
    {
        const bool is_read = db.Problem("select SID from " + name).empty();
        findings.Error(ini.At(kMaster, table), FindingId::kTableName,
                       problem +
                           (is_read ? ": nothing of it is appended to the devices of " + table
                                    : ": each device of " + table + " " + detail_stall()) +
                           "; rename it");
    }
}

void check_master(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
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
        findings.Error(place, FindingId::kMasterMissing,
                       "there is no table " + detail + ": each device of " + table + " " +
                           detail_stall() + did_you_mean(likely_name(detail, catalogue.Names())));
    }
}

} // namespace

void check_masters(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    for (const std::string& key : ini.Keys(kMaster))
    {
        std::string name = key;
        const bool is_count = strip_end(name, kCountKey);
        const HostTable* table = device_table(catalogue, ini, key, name, findings);
        if (table != nullptr && is_count)
        {
            check_count(*table, ini, key, findings);
        }
        else if (table != nullptr)
        {
            check_master(db, catalogue, ini, key, findings);
        }
    }
}

namespace
{

constexpr char kGeneral[] = "POST.General";
constexpr char kFirstKey[] = ".0";
constexpr char kNameKey[] = ".Name";

// What it costs when the table cannot be read by its name.
void check_general_name(CHostDatabase& db, const HostTable& table, const CIniFile& ini,
                        CFindings& findings)
{
    const std::string problem = name_problem(db, table, table.name);
    if (!problem.empty())
    {
        findings.Error(ini.At(kGeneral, table.name), FindingId::kTableName,
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

void check_general_type(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
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
        findings.Warning(ini.At(kGeneral, table), FindingId::kKeyUnread,
                         table + " is a view: only tables are posted as general tables");
    }
    else if (ini.Int(kGeneral, table) < 1)
    {
        findings.Warning(ini.At(kGeneral, table), FindingId::kKeyUnread,
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
        findings.Warning(ini.At(kGeneral, key), FindingId::kGeneralColumn,
                         key + "=" + std::to_string(first) +
                             ": columns are counted from 0; all are posted");
    }
    else if (first >= columns)
    {
        findings.Warning(ini.At(kGeneral, key), FindingId::kGeneralColumn,
                         key + "=" + std::to_string(first) + ", but the last of the " +
                             std::to_string(columns) + " columns of " + table.name + " is number " +
                             std::to_string(columns - 1) + ": no value is posted");
    }
}

// "tbGenPort.0" and "tbGenPort.Name".
void check_general_option(const CCatalogue& catalogue, const CIniFile& ini, const std::string& key,
                          const std::string& table, bool is_first, CFindings& findings)
{
    const HostTable* found = catalogue.Find(table);
    if (found == nullptr || found->role != TableRole::kGeneral)
    {
        findings.Warning(
            ini.At(kGeneral, key), FindingId::kKeyUnread,
            "nothing reads " + key + ": " + table + " is no general table" +
                did_you_mean(found == nullptr ? likely_name(table, catalogue.Names()) : ""));
    }
    else if (is_first)
    {
        check_first_column(*found, ini, key, findings);
    }
    else if (const std::string held = form_characters(ini.Text(kGeneral, key)); !held.empty())
    {
        findings.Warning(ini.At(kGeneral, key), FindingId::kValueUnescaped,
                         key + " holds " + held + ": " + kUnescaped + "; write other characters");
    }
}

} // namespace

void check_generals(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
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
