#include "vkctl/CheckTables.h"

#include "app/AppInternal.h"
#include "vkctl/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kPhaseStall[] = "stalls the start of the daemon, and each new search, for 100 s";
constexpr int kPhaseStallS = 100;

Place data_place()
{
    return {kDataDb, 0};
}

std::string all_of(const std::vector<std::string>& names)
{
    return shortened_list(names, names.size());
}

// --- The tables that must be there ---------------------------------------------------------------

// What it costs when one of the columns is not there.
struct Need
{
    std::vector<std::string> columns;
    std::string consequence;
};

void check_needs(const CCatalogue& catalogue, const std::string& name,
                 const std::vector<Need>& needs, CFindings& findings)
{
    const HostTable* table = catalogue.FindAnyCase(name);
    for (const Need& need : needs)
    {
        const std::vector<std::string> lacking =
            table != nullptr ? table->Lacks(need.columns) : need.columns;
        if (!lacking.empty())
        {
            const std::string what = table != nullptr ? name + " has no column " + all_of(lacking)
                                                      : "there is no table " + name;
            findings.Error(data_place(), "table-required", what + ": " + need.consequence);
        }
        if (table == nullptr)
        {
            return; // the first consequence is the gravest
        }
    }
}

// Without a table the search fails itself; without SID or Name it fails at the first camera.
bool fails_for_cameras(CCheckDatabase& db, const HostTable* names)
{
    const std::vector<std::string> searched = {"Kind", "State", "DataMode"};
    return names == nullptr ||
           (names->Lacks(searched).empty() &&
            db.Value("select count(*) from tbSM where Kind=3072 and State=0 and DataMode=1") !=
                "0");
}

// What it costs when the searches for names and for inputs both fail.
std::string names_stall(bool cameras)
{
    return std::string("no device, input, output or camera can be posted, and the searches for ") +
           (cameras ? "names, inputs and cameras" : "names and inputs") +
           " stall the start of the daemon, and each new search, for " +
           std::to_string((cameras ? 3 : 2) * kPhaseStallS) + " s";
}

void check_names_table(CCheckDatabase& db, const CCatalogue& catalogue, CFindings& findings)
{
    const bool cameras = fails_for_cameras(db, catalogue.FindAnyCase("tbSM"));
    check_needs(
        catalogue, "tbSM",
        {{{"SID", "Name"}, names_stall(cameras)},
         {{"Note", "Tag1", "ASubSys"},
          std::string("no device, input, output or camera can be posted, and the search for "
                      "inputs ") +
              kPhaseStall},
         {{"Kind", "State", "DataMode"},
          std::string("no camera is found, and the search for them ") + kPhaseStall},
         {{"Type", "SerDef"}, "each camera fails three times a sweep, 2 s apart"}},
        findings);
    const HostTable* names = catalogue.FindAnyCase("tbSM");
    if (names != nullptr && names->Has("SID") && db.Value("select count(*) from tbSM") == "0")
    {
        findings.Error(data_place(), "table-required",
                       std::string("tbSM has no row: the search for names ") + kPhaseStall +
                           ", and no device has a name");
    }
}

void check_point_tables(const CCatalogue& catalogue, CFindings& findings)
{
    check_needs(catalogue, "tbSubSysDetail",
                {{{"SID", "SIDD"},
                  std::string("no digital input is found, and the search for them ") + kPhaseStall +
                      "; make the table, it may be empty"},
                 {{"Fld", "Type", "State", "LastUpd"},
                  "each digital input fails three times a sweep, 2 s apart"}},
                findings);
    check_needs(
        catalogue, "tbDio",
        {{{"SID", "Type", "DateUpd"},
          "no digital output is posted, and each sweep logs \"Post DO exception\"; make the "
          "table, it may be empty"}},
        findings);
}

// --- Outputs -------------------------------------------------------------------------------------

void check_outputs(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    const HostTable* table = catalogue.FindAnyCase("tbDio");
    const int count = ini.Int("POST.DO", "Count", 3);
    const int start = ini.Int("POST.DO", "Start", 9);
    if (table == nullptr || !table->Has("SID") || count <= 0)
    {
        return;
    }
    if (db.Value("select count(*) from tbDio where SID=1") == "0")
    {
        findings.Warning(data_place(), "output-row",
                         "tbDio has no row with SID 1: no digital output is posted; set Count=0 in "
                         "section [POST.DO] if the host has none");
        return;
    }
    for (int64_t column = start; column < int64_t{start} + count; ++column)
    {
        const std::string name = format_text("D%02lld", static_cast<long long>(column));
        if (!table->Has(name))
        {
            const char* key = ini.Has("POST.DO", "Start") ? "Start" : "Count";
            findings.Error(ini.At("POST.DO", key), "output-columns",
                           "tbDio has no column " + name + ", so none of the " +
                               std::to_string(count) +
                               " outputs is posted, not even those that it has; see Start and "
                               "Count");
            return;
        }
    }
}

// --- Device tables -------------------------------------------------------------------------------

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

// The daemon's own statement, name unquoted. True when SIDs can be read.
bool check_search(CCheckDatabase& db, const HostTable& table, CFindings& findings)
{
    const std::string problem = db.Problem("select SID from " + table.name);
    if (problem.empty() && table.Has("SID"))
    {
        return true;
    }
    if (!table.Has("SID"))
    {
        findings.Error(data_place(), "table-no-sid",
                       table.name + " has no column SID, which " + kPhaseStall +
                           hide_advice(table.name));
    }
    else
    {
        findings.Error(data_place(), "table-name",
                       "the name " + table.name + " does not stand in SQL without quotes (" +
                           problem + "), which " + kPhaseStall + hide_advice(table.name));
    }
    return false;
}

void check_device_columns(const HostTable& table, const CIniFile& ini, CFindings& findings)
{
    const std::vector<std::string> needed = {"Type", "State", "DateUpd"};
    const std::vector<std::string> lacking = table.Lacks(needed);
    if (!lacking.empty())
    {
        findings.Error(data_place(), "device-columns",
                       table.name + " has no column " + all_of(lacking) +
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

// --- Tables in two places ------------------------------------------------------------------------

void check_points_posted_twice(const CCatalogue& catalogue, CFindings& findings)
{
    const struct
    {
        const char* table;
        const char* things;
    } kPoints[] = {{"tbSubSysDetail", "digital inputs"}, {"tbDio", "digital outputs"}};
    for (const auto& points : kPoints)
    {
        const HostTable* table = catalogue.FindAnyCase(points.table);
        const bool searched = table != nullptr && (table->role == TableRole::kDevice ||
                                                   table->role == TableRole::kGeneral);
        if (searched)
        {
            findings.Warning(data_place(), "table-twice",
                             table->name + " is posted as " + points.things +
                                 " and searched for devices as well; list it in section "
                                 "[POST.Detail]: " +
                                 table->name + "=1");
        }
    }
}

void check_hidden_tables(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const HostTable* table : catalogue.Of(TableRole::kHidden))
    {
        const bool meant = table->name.compare(0, 4, "tbSM") != 0 && table->Has("SID") &&
                           ini.Int("POST.Detail", table->name) < 1;
        const bool configured =
            ini.Has("POST.General", table->name) || ini.Has("POST.Master", table->name);
        if (meant || configured)
        {
            findings.Warning(data_place(), "table-hidden",
                             table->name + " is never posted as a device or general table: its "
                                           "name begins with tbSM, in whatever case; give it "
                                           "another name");
        }
    }
}

void check_two_lists(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    for (const HostTable* table : catalogue.Of(TableRole::kDetail))
    {
        if (ini.Int("POST.General", table->name) >= 1)
        {
            findings.Warning(ini.At("POST.General", table->name), "table-two-lists",
                             table->name +
                                 " stands in [POST.Detail] too, which wins: it is no general "
                                 "table, and this line has no effect; remove one of them");
        }
    }
}

} // namespace

void check_tables(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings)
{
    check_names_table(db, catalogue, findings);
    check_point_tables(catalogue, findings);
    check_outputs(db, catalogue, ini, findings);
    check_device_tables(db, catalogue, ini, findings);
    check_points_posted_twice(catalogue, findings);
    check_hidden_tables(catalogue, ini, findings);
    check_two_lists(catalogue, ini, findings);
}

bool check_alarm_table(CCheckDatabase& db, CFindings& findings)
{
    const Place place{kAlarmDb, 0};
    HostTable table;
    try
    {
        table.columns = db.Names("select * from tbSMAlarm limit 0");
    }
    catch (const CCheckProblem& problem)
    {
        findings.Error(place, "alarm-table",
                       std::string("no alarm can be read: ") + problem.what());
        return false;
    }
    const std::vector<std::string> lacking = table.Lacks(
        {"DID", "SID", "Type", "Alm", "LastUpd", "AlmBrief", "AlmMask", "AlmImg", "AFld"});
    if (!lacking.empty())
    {
        findings.Error(place, "alarm-table",
                       "tbSMAlarm has no column " + all_of(lacking) + ": no alarm is posted");
    }
    return lacking.empty();
}

} // namespace vkctl
