#include "vkctl/check/CheckAlarms.h"

#include <algorithm>
#include <filesystem>

#include "app/AppPostConfig.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/Sqlite.h"
#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckNames.h"
#include "vkdb/NoTouchVfs.h"

namespace vkctl
{

namespace
{

constexpr size_t kDidsShown = 3;

// A larger database is not copied into memory to try its triggers.
constexpr uintmax_t kLargestCopyBytes = 64U << 20;

// The rows that are still to be posted.
std::string unsent()
{
    return std::string(" from tbSMAlarm where (") + kIsWaiting + ")";
}

constexpr char kUnmarkable[] =
    ": it cannot be marked as sent, so it is posted anew at each signal, and the alarms behind it "
    "never are; ";

void report(FindingId id, const std::string& message, CFindings& findings)
{
    findings.Error({kAlarmDb, 0}, id, message);
}

// The update itself, which may be refused for the table as a whole, as for a view.
bool check_marking(CHostDatabase& db, CFindings& findings)
{
    const std::string problem = db.Problem("explain " + mark_alarm(0));
    if (!problem.empty())
    {
        report(FindingId::kAlarmTable,
               "no alarm can be marked as sent (" + problem +
                   "): the first is posted anew at each signal, and those behind it never are; "
                   "make tbSMAlarm a plain table",
               findings);
    }
    return problem.empty();
}

struct UnsentAlarm
{
    HostCell did;
    bool is_null;
    bool is_text;
    bool was_found; // by the integer that the daemon reads
};

std::vector<UnsentAlarm> unsent_alarms(CHostDatabase& db)
{
    std::vector<UnsentAlarm> alarms;
    for (const auto& row : db.Rows(std::string("select DID,DID is null,typeof(DID)='text',") +
                                   is_found("DID") + unsent() + " order by DID"))
    {
        alarms.push_back({row[0], row[1].number != 0, row[2].number != 0, row[3].number != 0});
    }
    return alarms;
}

// The daemon marks the row whose DID is the integer that it has read.
void check_unmarkable(const std::vector<UnsentAlarm>& alarms, CFindings& findings)
{
    const auto alarm = std::find_if(alarms.begin(), alarms.end(),
                                    [](const UnsentAlarm& one) { return !one.was_found; });
    if (alarm == alarms.end())
    {
        return;
    }
    const bool is_text = alarm->is_text && alarm->did.text == std::to_string(alarm->did.number);
    const std::string did = shortened(alarm->did.text);
    report(FindingId::kAlarmDid,
           (alarm->is_null ? "an alarm has no DID"
            : is_text      ? "the DID " + did + " of an alarm is stored as text"
                           : "the DID " + did + " of an alarm is no 32-bit integer") +
               kUnmarkable + (is_text ? integer_advice("DID") : "give it a DID of its own"),
           findings);
}

void check_doubled(const std::vector<UnsentAlarm>& alarms, CFindings& findings)
{
    std::vector<std::string> all;
    for (size_t i = 1; i < alarms.size(); ++i)
    {
        const std::string did = shortened(alarms[i].did.text);
        if (!alarms[i].is_null && alarms[i].is_text == alarms[i - 1].is_text &&
            alarms[i].did.text == alarms[i - 1].did.text && (all.empty() || all.back() != did))
        {
            all.push_back(did);
        }
    }
    if (all.empty())
    {
        return;
    }
    const size_t count = all.size();
    all.resize(std::min(count, kDidsShown));
    report(FindingId::kAlarmDid,
           (count == 1 ? "DID " : "DIDs ") + shortened_list(all, count) +
               (count == 1 ? " stands" : " stand") +
               " in several alarms that are not sent yet: one is posted, and all are marked as "
               "sent; make DID the primary key",
           findings);
}

// --- Triggers ------------------------------------------------------------------------------------

// The whole database, triggers included, in memory. CCliError: it cannot be copied now.
CSqliteFile copy_in_memory()
{
    CSqliteFile copy(":memory:", CSqliteFile::Mode::kCreate);
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(kAlarmDb, &opened, SQLITE_OPEN_READONLY, vkdb::no_touch_vfs());
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> source(opened, &sqlite3_close);
    if (code != SQLITE_OK)
    {
        throw CCliError(sqlite3_errstr(code));
    }
    sqlite3_backup* backup = sqlite3_backup_init(copy.Handle(), "main", source.get(), "main");
    sqlite3_backup_step(backup, -1); // the result is that of finish
    if (backup == nullptr || sqlite3_backup_finish(backup) != SQLITE_OK)
    {
        throw CCliError(sqlite3_errmsg(copy.Handle()));
    }
    return copy;
}

// What keeps the copy's alarm from being marked; empty when it is marked.
std::string refusal(CSqliteFile& copy, int did)
{
    try
    {
        copy.Exec(mark_alarm(did));
    }
    catch (const CCliError&)
    {
        return sqlite3_errmsg(copy.Handle());
    }
    CStatement left(copy, "select 1" + unsent() + " and DID=" + std::to_string(did));
    return left.Step() ? "it is undone" : "";
}

// Only a trial shows what a trigger does. It is made on a copy, and the host's database stays as it
// is.
void check_triggers(CHostDatabase& db, const std::vector<UnsentAlarm>& alarms, CFindings& findings)
try
{
    std::error_code error;
    const uintmax_t bytes = std::filesystem::file_size(kAlarmDb, error);
    if (error || bytes > kLargestCopyBytes ||
        db.Rows("select 1 from sqlite_master where type='trigger' and"
                " tbl_name='tbSMAlarm' collate nocase")
            .empty())
    {
        return;
    }
    CSqliteFile copy = copy_in_memory();
    for (const UnsentAlarm& alarm : alarms)
    {
        const std::string problem = alarm.was_found ? refusal(copy, alarm.did.number) : "";
        if (!problem.empty())
        {
            report(FindingId::kAlarmTable,
                   "a trigger refuses that the alarm with DID " + alarm.did.text +
                       " is marked as sent (" + problem +
                       "): it is posted anew at each signal, and the alarms behind it never are; "
                       "let the trigger pass updates of AFld",
                   findings);
            return;
        }
    }
}
catch (const CCliError&) // a writer is at work: another check will tell
{
}

} // namespace

bool check_alarm_table(CHostDatabase& db, CFindings& findings)
{
    HostTable table;
    try
    {
        table.columns = db.Names("select * from tbSMAlarm limit 0");
    }
    catch (const CHostProblem& problem)
    {
        report(FindingId::kAlarmTable, std::string("no alarm can be read: ") + problem.what(),
               findings);
        return false;
    }
    const std::vector<std::string> lacking = table.Lacks(
        {"DID", "SID", "Type", "Alm", "LastUpd", "AlmBrief", "AlmMask", "AlmImg", "AFld"});
    if (!lacking.empty())
    {
        report(FindingId::kAlarmTable,
               "tbSMAlarm has no column " + shortened_list(lacking, lacking.size()) +
                   ": no alarm is posted",
               findings);
        return false;
    }
    const std::vector<UnsentAlarm> alarms = unsent_alarms(db);
    check_unmarkable(alarms, findings);
    check_doubled(alarms, findings);
    if (check_marking(db, findings))
    {
        check_triggers(db, alarms, findings);
    }
    return true;
}

} // namespace vkctl
