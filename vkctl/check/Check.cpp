#include "vkctl/check/Check.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "app/AppInternal.h"
#include "vkctl/base/CliError.h"
#include "vkctl/check/CheckAlarms.h"
#include "vkctl/check/CheckBodies.h"
#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckCertificate.h"
#include "vkctl/check/CheckDetails.h"
#include "vkctl/check/CheckDevices.h"
#include "vkctl/check/CheckExtensions.h"
#include "vkctl/check/CheckFields.h"
#include "vkctl/check/CheckGenerals.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/CheckMasters.h"
#include "vkctl/check/CheckServers.h"
#include "vkctl/check/CheckSettings.h"
#include "vkctl/check/CheckTables.h"
#include "vkctl/check/CheckUrls.h"
#include "vkctl/check/CheckWriteAheadLog.h"

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
    findings.Error({kConfigFile, 0}, "file-unreadable",
                   "cannot enter " + directory + ": " + std::strerror(errno) +
                       "; name the directory that vkApp.ini stands in");
    return false;
}

// Why, in the system's words where it is the file's and not SQLite's matter; and what to do.
void unreadable(const char* path, const std::string& problem, CFindings& findings)
{
    std::string reason = problem;
    if (access(path, F_OK) != 0)
    {
        reason = std::strerror(errno) + std::string("; start the process that makes it, or name "
                                                    "the host's directory");
    }
    else if (access(path, R_OK) != 0)
    {
        reason = std::strerror(errno) + std::string("; check as a user who may read it");
    }
    findings.Error({path, 0}, "database-unreadable", "cannot be read: " + reason);
}

// All that the data database is asked for itself; closed again afterwards. False: unreadable.
bool check_data(const CIniFile& ini, std::vector<std::string>& iniTexts, CFindings& findings)
try
{
    CCheckDatabase db(kDataDb);
    const CCatalogue catalogue(db, ini);
    check_tables(db, catalogue, ini, findings);
    check_devices(db, catalogue, ini, findings);
    check_details(db, catalogue, ini, findings);
    check_generals(db, catalogue, ini, findings);
    check_masters(db, catalogue, ini, findings);
    check_extensions(db, catalogue, ini, findings);
    check_fields(db, catalogue, ini, iniTexts, findings);
    return true;
}
catch (const CCheckProblem& problem)
{
    unreadable(kDataDb, problem.what(), findings);
    return false;
}

// hasAlarms: the daemon could read its alarms. Without AlmUrl it never looks at them.
bool check_alarms(const CIniFile& ini, bool& hasAlarms, CFindings& findings)
try
{
    if (ini.Text("POST", "AlmUrl").empty())
    {
        return true;
    }
    CCheckDatabase db(kAlarmDb);
    hasAlarms = check_alarm_table(db, findings);
    return true;
}
catch (const CCheckProblem& problem)
{
    unreadable(kAlarmDb, problem.what(), findings);
    return false;
}

// Behind the databases' other checks, which have them open. Alarms are not looked at without
// AlmUrl.
void check_write_ahead_logs(const CIniFile& ini, int sqliteVersion, CFindings& findings)
{
    check_write_ahead_log(kDataDb, sqliteVersion, findings);
    if (!ini.Text("POST", "AlmUrl").empty())
    {
        check_write_ahead_log(kAlarmDb, sqliteVersion, findings);
    }
}

// False: a database that could be read before cannot be any more.
bool check_all_bodies(const CIniFile& ini, const std::vector<std::string>& iniTexts, bool alarms,
                      bool progress, CFindings& findings)
try
{
    check_bodies(ini, iniTexts, alarms, progress, findings);
    return true;
}
catch (const CCliError& error)
{
    unreadable(kDataDb, error.what(), findings);
    return false;
}
catch (const CppSQLite3Exception& error)
{
    unreadable(kDataDb, error.errorMessage(), findings);
    return false;
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
    std::vector<std::string> iniTexts;
    check_settings(ini, iniTexts, findings);
    check_urls(ini, findings);
    check_ca(ini, findings);

    bool hasAlarms = false;
    bool data = check_data(ini, iniTexts, findings);
    const bool alarms = check_alarms(ini, hasAlarms, findings);
    check_write_ahead_logs(ini, options.sqliteVersion, findings);
    data = data && check_all_bodies(ini, iniTexts, hasAlarms, options.progress, findings);
    if (!options.offline)
    {
        check_servers(ini, findings);
    }
    return data && alarms;
}

} // namespace vkctl
