#include "vkctl/check/CheckTables.h"

#include <strings.h>

#include "app/AppBodyKinds.h"
#include "app/AppPause.h"
#include "app/AppPostConfig.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

// What a search that fails in all its tries costs.
std::string phases_stall(int phases)
{
    return "the start of the daemon, and each new search, for " +
           std::to_string(phases * kDiscoveryStallS) + " s";
}

std::string phase_stall()
{
    return "stalls " + phases_stall(1);
}

// What becomes of a device, an input or a camera whose row cannot be read.
std::string tries_a_sweep()
{
    return std::to_string(kExceptionTries) + " times a sweep, " +
           std::to_string(kExceptionRetryPauseMs / 1000) + " s apart";
}

Place data_place()
{
    return {kDataDb, 0};
}

std::string all_of(const std::vector<std::string>& names)
{
    return shortened_list(names, names.size());
}

// --- What a table must have ----------------------------------------------------------------------

// The columns, and what it costs when one of them is not there. Of a table's rows the first is the
// gravest: it tells what it costs when there is no table.
struct Requirement
{
    const char* table; // empty: each table that is searched for devices
    std::vector<std::string> columns;
    std::string consequence;
    Severity severity = Severity::kError;
};

// Those of a device table that its bodies cannot do without. Others of the head come from tbSM.
std::vector<std::string> device_head_columns()
{
    const BodyKindRow& device = body_kind(BodyKind::kDevice);
    return {device.Column(HeadValue::kType), device.Column(HeadValue::kState),
            device.Column(HeadValue::kTime)};
}

// Without a table the search fails itself; without SID or Name it fails at the first camera.
bool fails_for_cameras(CHostDatabase& db, const HostTable* names)
{
    return names == nullptr ||
           (names->Lacks({"Kind", "State", "DataMode"}).empty() &&
            db.Number(std::string("select count(*) from tbSM where ") + kIsCamera) != 0);
}

std::vector<Requirement> requirements(bool cameras, bool outputs)
{
    const std::string nothing = "no device, input, output or camera can be posted, and the search";
    const std::string tries = " " + tries_a_sweep();
    const std::string logged = "each sweep logs \"Post DO exception\"";
    return {
        {kNamesTable,
         {"SID", "Name"},
         nothing + "es for " + (cameras ? "names, inputs and cameras" : "names and inputs") +
             " stall " + phases_stall(cameras ? 3 : 2)},
        {kNamesTable, {"Note", "Tag1", "ASubSys"}, nothing + " for inputs " + phase_stall()},
        {kNamesTable,
         {"Kind", "State", "DataMode"},
         "no camera is found, and the search for them " + phase_stall()},
        {kNamesTable, {"Type", "SerDef"}, "each camera fails" + tries},
        {kInputTable,
         {"SID", "SIDD"},
         "no digital input is found, and the search for them " + phase_stall()},
        {kInputTable, {"Fld", "Type", "State", "LastUpd"}, "each digital input fails" + tries},
        outputs ? Requirement{kOutputTable,
                              {"SID", "Type", "DateUpd"},
                              "no digital output is posted, and " + logged}
                : Requirement{kOutputTable, {"SID"}, logged, Severity::kNote},
        {"", device_head_columns(), "each of its devices fails" + tries + ", and is not posted"},
    };
}

void check_fixed_tables(const CCatalogue& catalogue, const std::vector<Requirement>& list,
                        CFindings& findings)
{
    std::string missing;
    for (const Requirement& one : list)
    {
        const std::string name = one.table;
        const HostTable* table = catalogue.FindAnyCase(name);
        if (name.empty() || (table != nullptr && !table->problem.empty()))
        {
            continue; // told elsewhere
        }
        if (table == nullptr && missing != name)
        {
            missing = name;
            findings.Add(one.severity, data_place(), FindingId::kTableRequired,
                         "there is no table " + name + ": " + one.consequence +
                             (name == kNamesTable ? "" : "; make the table, it may be empty"));
        }
        const std::vector<std::string> lacking =
            table != nullptr ? table->Lacks(one.columns) : std::vector<std::string>();
        if (!lacking.empty())
        {
            findings.Add(one.severity, data_place(), FindingId::kTableRequired,
                         name + " has no column " + all_of(lacking) + ": " + one.consequence);
        }
    }
}

void check_required(CHostDatabase& db, const CCatalogue& catalogue,
                    const std::vector<Requirement>& list, CFindings& findings)
{
    check_fixed_tables(catalogue, list, findings);
    const HostTable* names = catalogue.FindAnyCase(kNamesTable);
    if (names != nullptr && names->Has("SID") && db.Number("select count(*) from tbSM") == 0)
    {
        findings.Error(data_place(), FindingId::kTableRequired,
                       "tbSM has no row: the search for names " + phase_stall() +
                           ", and no device has a name");
    }
}

void check_readable(const CCatalogue& catalogue, CFindings& findings)
{
    for (const HostTable& table : catalogue.Tables())
    {
        if (table.is_read && !table.problem.empty())
        {
            findings.Error(data_place(), FindingId::kTableUnreadable,
                           table.name + " cannot be read (" + table.problem +
                               "): what it holds is posted in part or not at all");
        }
    }
}

// --- Tables of devices ---------------------------------------------------------------------------

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
std::string name_effect(CHostDatabase& db, const HostTable& table)
{
    if (!db.Problem("select SID from " + table.name).empty())
    {
        return ", which " + phase_stall();
    }
    return ": its own devices are not found, and those of that table fail " + tries_a_sweep() +
           ", and are not posted, unless it was made later";
}

// True when SIDs can be read.
bool check_search(CHostDatabase& db, const HostTable& table, CFindings& findings)
{
    const std::string problem = name_problem(db, table, table.name);
    if (!problem.empty())
    {
        findings.Error(data_place(), FindingId::kTableName,
                       problem + name_effect(db, table) + hide_advice(table.name));
        return false;
    }
    if (!table.Has("SID"))
    {
        findings.Error(data_place(), FindingId::kTableNoSid,
                       table.name + " has no column SID, which " + phase_stall() +
                           hide_advice(table.name));
        return false;
    }
    return true;
}

void check_layout(const HostTable& table, const CIniFile& ini, CFindings& findings)
{
    const std::string leading = std::to_string(kLeadingColumns);
    std::vector<std::string> columns = device_head_columns();
    columns.insert(columns.begin(), "SID");
    for (const std::string& column : columns)
    {
        if (table.Find(column) >= kLeadingColumns)
        {
            findings.Warning(data_place(), FindingId::kDeviceLayout,
                             column + " stands behind column " + leading + " of " + table.name +
                                 ": the first " + leading +
                                 " are taken for the head, so it is posted as a value, and a value "
                                 "among the first is not");
        }
    }
    if (table.columns.size() <= kLeadingColumns &&
        setting_text(ini.Document(), SettingId::kMasterDetail, table.name).empty())
    {
        findings.Note(data_place(), FindingId::kDeviceLayout,
                      table.name + " has no column behind the first " + leading +
                          ", which are taken for the head: no value of it is posted");
    }
}

void check_device_tables(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                         const Requirement& required, CFindings& findings)
{
    const std::vector<const HostTable*> tables = catalogue.Of(TableRole::kDevice);
    if (tables.empty())
    {
        findings.Error(data_place(), FindingId::kNoDeviceTable,
                       "there is no device table, which " + phase_stall() +
                           "; see the sections [POST.Detail] and [POST.General]");
    }
    for (const HostTable* table : tables)
    {
        if (!table->problem.empty() || !check_search(db, *table, findings))
        {
            continue; // told already
        }
        const std::vector<std::string> lacking = table->Lacks(required.columns);
        if (lacking.empty())
        {
            check_layout(*table, ini, findings);
            continue;
        }
        findings.Add(required.severity, data_place(), FindingId::kDeviceColumns,
                     table->name + " has no column " + all_of(lacking) + ": " +
                         required.consequence + hide_advice(table->name));
    }
}

// --- Outputs -------------------------------------------------------------------------------------

void check_outputs(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    const HostTable* table = catalogue.FindAnyCase(kOutputTable);
    const int count = setting_number(ini.Document(), SettingId::kDoCount);
    const int start = setting_number(ini.Document(), SettingId::kDoStart);
    if (table == nullptr || !table->Has("SID") || count <= 0)
    {
        return;
    }
    if (db.Rows(outputs_query()).empty())
    {
        findings.Warning(data_place(), FindingId::kOutputRow,
                         "tbDio has no row with SID " + std::to_string(kOutputsSid) +
                             ": no digital output is posted; set Count=0 in "
                             "section [POST.DO] if the host has none");
        return;
    }
    for (int64_t column = start; column < int64_t{start} + count; ++column)
    {
        const std::string name = output_column(column);
        if (!table->Has(name))
        {
            const char* key = ini.Has("POST.DO", "Start") ? "Start" : "Count";
            findings.Error(ini.At("POST.DO", key), FindingId::kOutputColumns,
                           "tbDio has no column " + name + ", so none of the " +
                               std::to_string(count) +
                               " outputs is posted, not even those that it has; see Start and "
                               "Count");
            return;
        }
    }
}

// --- Tables in two places ------------------------------------------------------------------------

const char* also(const HostTable& table)
{
    return table.role == TableRole::kDevice ? "searched for devices" : "posted as a general table";
}

void check_points_posted_twice(const CCatalogue& catalogue, CFindings& findings)
{
    constexpr struct
    {
        const char* table;
        const char* things;
    } kPoints[] = {{kInputTable, "digital inputs"}, {kOutputTable, "digital outputs"}};
    for (const auto& points : kPoints)
    {
        const HostTable* table = catalogue.FindAnyCase(points.table);
        const bool searched = table != nullptr && (table->role == TableRole::kDevice ||
                                                   table->role == TableRole::kGeneral);
        if (searched)
        {
            findings.Warning(
                data_place(), FindingId::kTableTwice,
                table->name + " is posted as " + points.things + " and " + also(*table) +
                    " as well; list it in section [POST.Detail]: " + table->name + "=1");
        }
    }
}

bool is_table(const std::string& name, const char* table)
{
    return strcasecmp(name.c_str(), table) == 0;
}

void check_hidden_tables(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const HostTable* table : catalogue.Of(TableRole::kHidden))
    {
        const bool is_own =
            is_table(table->name, kNamesTable) || is_table(table->name, kAlarmTable);
        const bool meant = !is_own && table->name.compare(0, 4, kNamesTable) != 0 &&
                           table->Has("SID") && ini.Int("POST.Detail", table->name) < 1;
        const bool configured =
            ini.Has("POST.General", table->name) || ini.Has("POST.Master", table->name);
        if (meant || configured)
        {
            findings.Warning(
                data_place(), FindingId::kTableHidden,
                table->name +
                    " is never posted as a device or general table: its "
                    "name begins with tbSM, in whatever case; " +
                    (is_own ? "remove its lines from vkApp.ini" : "give it another name"));
        }
    }
}

void check_two_lists(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const HostTable* table : catalogue.Of(TableRole::kDetail))
    {
        if (ini.Int("POST.General", table->name) >= 1)
        {
            findings.Warning(ini.At("POST.General", table->name), FindingId::kTableTwoLists,
                             table->name +
                                 " stands in [POST.Detail] too, which wins: it is no general "
                                 "table, and this line has no effect; remove one of them");
        }
    }
}

} // namespace

void check_tables(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings)
{
    const bool cameras = fails_for_cameras(db, catalogue.FindAnyCase(kNamesTable));
    const std::vector<Requirement> list =
        requirements(cameras, setting_number(ini.Document(), SettingId::kDoCount) > 0);
    check_readable(catalogue, findings);
    check_required(db, catalogue, list, findings);
    check_outputs(db, catalogue, ini, findings);
    check_device_tables(db, catalogue, ini, list.back(), findings);
    check_points_posted_twice(catalogue, findings);
    check_hidden_tables(catalogue, ini, findings);
    check_two_lists(catalogue, ini, findings);
}

} // namespace vkctl
