#include "vkctl/check/CheckAlarms.h"

#include <algorithm>

#include "app/AppInternal.h"
#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kDidsShown = 3;

// The rows that are still to be posted.
constexpr char kUnsent[] = "from tbSMAlarm where (AFld is null or AFld<1)";

constexpr char kUnmarkable[] =
    ": it cannot be marked as sent, so it is posted anew at each signal, and the alarms behind it "
    "never are; ";

Place alarm_place()
{
    return {kAlarmDb, 0};
}

// The update itself, which may be refused for the table as a whole, as for a view.
void check_marking(CCheckDatabase& db, CFindings& findings)
{
    const std::string problem = db.Problem("explain update tbSMAlarm set AFld=1 where DID=0");
    if (!problem.empty())
    {
        findings.Error(alarm_place(), "alarm-table",
                       "no alarm can be marked as sent (" + problem +
                           "): the first is posted anew at each signal, and those behind it never "
                           "are; make tbSMAlarm a plain table");
    }
}

// The daemon marks the row whose DID is the integer that it has read.
void check_unmarkable(CCheckDatabase& db, CFindings& findings)
{
    const auto rows =
        db.Rows("select DID,DID is null," + is_integer_as_text("DID") + " " + kUnsent +
                " and (DID is null or DID<>" + read_as_integer("DID") + ") order by DID limit 1");
    if (rows.empty())
    {
        return;
    }
    const bool isNull = rows[0].at(1) == "1";
    const bool isText = rows[0].at(2) == "1";
    const std::string did = shortened(rows[0].at(0));
    findings.Error(alarm_place(), "alarm-did",
                   (isNull   ? "an alarm has no DID"
                    : isText ? "the DID " + did + " of an alarm is stored as text"
                             : "the DID " + did + " of an alarm is no 32-bit integer") +
                       kUnmarkable + (isText ? integer_advice("DID") : "give it a DID of its own"));
}

void check_doubled(CCheckDatabase& db, CFindings& findings)
{
    const std::vector<std::string> all =
        db.Column(std::string("select DID ") + kUnsent +
                  " and DID is not null group by DID having count(*)>1 order by DID");
    if (!all.empty())
    {
        std::vector<std::string> shown;
        std::transform(all.begin(),
                       all.begin() + static_cast<std::ptrdiff_t>(std::min(all.size(), kDidsShown)),
                       std::back_inserter(shown), shortened);
        findings.Error(alarm_place(), "alarm-did",
                       (all.size() == 1 ? "DID " : "DIDs ") + shortened_list(shown, all.size()) +
                           (all.size() == 1 ? " stands" : " stand") +
                           " in several alarms that are not sent yet: one is posted, and all are "
                           "marked as sent; make DID the primary key");
    }
}

} // namespace

bool check_alarm_table(CCheckDatabase& db, CFindings& findings)
{
    HostTable table;
    try
    {
        table.columns = db.Names("select * from tbSMAlarm limit 0");
    }
    catch (const CCheckProblem& problem)
    {
        findings.Error(alarm_place(), "alarm-table",
                       std::string("no alarm can be read: ") + problem.what());
        return false;
    }
    const std::vector<std::string> lacking = table.Lacks(
        {"DID", "SID", "Type", "Alm", "LastUpd", "AlmBrief", "AlmMask", "AlmImg", "AFld"});
    if (!lacking.empty())
    {
        findings.Error(alarm_place(), "alarm-table",
                       "tbSMAlarm has no column " + shortened_list(lacking, lacking.size()) +
                           ": no alarm is posted");
        return false;
    }
    check_marking(db, findings);
    check_unmarkable(db, findings);
    check_doubled(db, findings);
    return true;
}

} // namespace vkctl
