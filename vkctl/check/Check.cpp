#include "vkctl/check/Check.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "app/AppPostConfig.h"
#include "vkctl/base/CliError.h"
#include "vkctl/check/CheckAlarms.h"
#include "vkctl/check/CheckBodies.h"
#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckDevices.h"
#include "vkctl/check/CheckExtensions.h"
#include "vkctl/check/CheckFields.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/CheckSections.h"
#include "vkctl/check/CheckServers.h"
#include "vkctl/check/CheckSettings.h"
#include "vkctl/check/CheckStart.h"
#include "vkctl/check/CheckTables.h"
#include "vkctl/check/CheckUrls.h"

namespace vkctl
{

namespace
{

bool enter(const std::string& directory, CFindings& findings)
{
    if (chdir(directory.c_str()) == 0)
    {
        return true;
    }
    findings.Error({kConfigFile, 0}, FindingId::kFileUnreadable,
                   "cannot enter " + directory + ": " + std::strerror(errno) +
                       "; name the directory that vkApp.ini stands in");
    return false;
}

void unreadable(const char* path, const std::string& problem, CFindings& findings)
{
    findings.Error({path, 0}, FindingId::kDatabaseUnreadable, "cannot be read: " + problem);
}

// What the checks of the data database leave to those of the bodies.
struct DataCheck
{
    bool is_readable = false;
    std::vector<std::string> ini_texts; // that have been looked at
    std::optional<CFieldValues> values;
};

// All that the data database is asked for itself; closed again afterwards.
void check_data(const CIniFile& ini, DataCheck& data, CFindings& findings)
try
{
    CHostDatabase db(kDataDb);
    const CCatalogue catalogue(db, ini);
    check_tables(db, catalogue, ini, findings);
    check_devices(db, catalogue, ini, findings);
    check_details(db, catalogue, ini, findings);
    check_generals(db, catalogue, ini, findings);
    check_masters(db, catalogue, ini, findings);
    check_extensions(db, catalogue, ini, findings);
    const CTypeColumns columns(catalogue, ini);
    check_fields(columns, ini, data.ini_texts, findings);
    data.values.emplace(ini, columns);
    data.is_readable = true;
}
catch (const CHostProblem& problem)
{
    unreadable(kDataDb, problem.what(), findings);
}

// has_alarms: the daemon could read its alarms. Without AlmUrl it never looks at them.
bool check_alarms(const CIniFile& ini, bool& has_alarms, CFindings& findings)
try
{
    if (ini.Text("POST", "AlmUrl").empty())
    {
        return true;
    }
    CHostDatabase db(kAlarmDb);
    has_alarms = check_alarm_table(db, findings);
    return true;
}
catch (const CHostProblem& problem)
{
    unreadable(kAlarmDb, problem.what(), findings);
    return false;
}

// Behind the databases' other checks, which have them open. Alarms are not looked at without
// AlmUrl.
void check_write_ahead_logs(const CIniFile& ini, int sqlite_version, CFindings& findings)
{
    check_write_ahead_log(kDataDb, sqlite_version, findings);
    if (!ini.Text("POST", "AlmUrl").empty())
    {
        check_write_ahead_log(kAlarmDb, sqlite_version, findings);
    }
}

void check_all_bodies(const CIniFile& ini, DataCheck& data, bool alarms, bool progress,
                      CFindings& findings)
try
{
    check_bodies(ini, data.ini_texts, *data.values, alarms, progress, findings);
}
catch (const CCliError& error) // it could be read before
{
    unreadable(kDataDb, error.what(), findings);
    data.is_readable = false;
}
catch (const CppSQLite3Exception& error)
{
    unreadable(kDataDb, error.errorMessage(), findings);
    data.is_readable = false;
}

} // namespace

bool check_host(const CheckOptions& options, CFindings& findings)
{
    if (!enter(options.directory, findings))
    {
        return false;
    }
    const CIniFile ini(kConfigFile);
    check_ini_text(ini, findings);
    if (!ini.IsReadable())
    {
        return false;
    }
    if (!options.away)
    {
        check_start(options.flash, findings);
    }
    DataCheck data;
    check_settings(ini, data.ini_texts, findings);
    check_urls(ini, findings);
    check_ca(ini, findings);

    bool has_alarms = false;
    check_data(ini, data, findings);
    const bool alarms = check_alarms(ini, has_alarms, findings);
    check_write_ahead_logs(ini, options.sqlite_version, findings);
    if (data.is_readable)
    {
        check_all_bodies(ini, data, has_alarms, options.progress, findings);
    }
    if (!options.offline)
    {
        check_servers(ini, findings);
    }
    return data.is_readable && alarms;
}

} // namespace vkctl
