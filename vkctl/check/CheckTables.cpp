#include "vkctl/check/CheckTables.h"

#include <strings.h>

#include "app/AppInternal.h"
#include "vkctl/check/CheckDeviceTables.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr int kPhaseStallS = 100; // of kPhaseStall

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
    Severity severity = Severity::kError;
};

void report_need(const std::string& what, const Need& need, CFindings& findings)
{
    const std::string message = what + ": " + need.consequence;
    if (need.severity == Severity::kNote)
    {
        findings.Note(data_place(), "table-required", message);
    }
    else
    {
        findings.Error(data_place(), "table-required", message);
    }
}

constexpr char kMayBeEmpty[] = "; make the table, it may be empty";

// advice: for a table that is not there.
void check_needs(const CCatalogue& catalogue, const std::string& name,
                 const std::vector<Need>& needs, const std::string& advice, CFindings& findings)
{
    const HostTable* table = catalogue.FindAnyCase(name);
    if (table == nullptr)
    {
        Need need = needs.at(0); // the gravest
        need.consequence += advice;
        report_need("there is no table " + name, need, findings);
        return;
    }
    for (const Need& need : needs)
    {
        const std::vector<std::string> lacking = table->Lacks(need.columns);
        if (!lacking.empty())
        {
            report_need(name + " has no column " + all_of(lacking), need, findings);
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
        "", findings);
    const HostTable* names = catalogue.FindAnyCase("tbSM");
    if (names != nullptr && names->Has("SID") && db.Value("select count(*) from tbSM") == "0")
    {
        findings.Error(data_place(), "table-required",
                       std::string("tbSM has no row: the search for names ") + kPhaseStall +
                           ", and no device has a name");
    }
}

// The columns that the daemon reads of tbDio; of a host without outputs its query only.
Need outputs_need(const CIniFile& ini)
{
    const std::string logged = "each sweep logs \"Post DO exception\"";
    if (ini.Int("POST.DO", "Count", kDefaultOutputs) <= 0)
    {
        return {{"SID"}, logged, Severity::kNote};
    }
    return {{"SID", "Type", "DateUpd"}, "no digital output is posted, and " + logged};
}

void check_point_tables(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings)
{
    check_needs(catalogue, "tbSubSysDetail",
                {{{"SID", "SIDD"},
                  std::string("no digital input is found, and the search for them ") + kPhaseStall},
                 {{"Fld", "Type", "State", "LastUpd"},
                  "each digital input fails three times a sweep, 2 s apart"}},
                kMayBeEmpty, findings);
    check_needs(catalogue, "tbDio", {outputs_need(ini)}, kMayBeEmpty, findings);
}

// --- Outputs -------------------------------------------------------------------------------------

void check_outputs(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings)
{
    const HostTable* table = catalogue.FindAnyCase("tbDio");
    const int count = ini.Int("POST.DO", "Count", kDefaultOutputs);
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

// --- Tables in two places ------------------------------------------------------------------------

const char* also(const HostTable& table)
{
    return table.role == TableRole::kDevice ? "searched for devices" : "posted as a general table";
}

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
            findings.Warning(
                data_place(), "table-twice",
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
        const bool isOwn = is_table(table->name, "tbSM") || is_table(table->name, "tbSMAlarm");
        const bool meant = !isOwn && table->name.compare(0, 4, "tbSM") != 0 && table->Has("SID") &&
                           ini.Int("POST.Detail", table->name) < 1;
        const bool configured =
            ini.Has("POST.General", table->name) || ini.Has("POST.Master", table->name);
        if (meant || configured)
        {
            findings.Warning(
                data_place(), "table-hidden",
                table->name +
                    " is never posted as a device or general table: its "
                    "name begins with tbSM, in whatever case; " +
                    (isOwn ? "remove its lines from vkApp.ini" : "give it another name"));
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
    check_point_tables(catalogue, ini, findings);
    check_outputs(db, catalogue, ini, findings);
    check_device_tables(db, catalogue, ini, findings);
    check_points_posted_twice(catalogue, findings);
    check_hidden_tables(catalogue, ini, findings);
    check_two_lists(catalogue, ini, findings);
}

} // namespace vkctl
