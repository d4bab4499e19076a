// What is right and wrong of a trial, looked at when everything is in order again.
#include "tests/daemon/torture/Trial.h"

#include <algorithm>
#include <unistd.h>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/DaemonLog.h"

namespace
{

bool log_is_kept()
{
    return access("/NandFlash/tmp", W_OK) == 0;
}

} // namespace

// An end is documented only during start-up, with one of three statuses.
void CTrial::JudgeEnd(Verdict& verdict)
{
    if (!Ended())
    {
        return;
    }
    const int status = m_daemon->WaitExit();
    const bool documented = status == 0 || status == 1 || status == 253;
    if (!documented || HasPosted())
    {
        verdict.survived = false;
        verdict.Problem((status >= 1000 ? "ended by signal " + std::to_string(status - 1000)
                                        : "ended with status " + std::to_string(status)) +
                        ", said: " + m_daemon->Stderr());
    }
    Restart();
}

void CTrial::JudgeSweep(Verdict& verdict)
{
    if (WaitSweep())
    {
        return;
    }
    if (Ended())
    {
        JudgeEnd(verdict);
    }
    else
    {
        verdict.Problem("sweep not whole, missing " + m_missing);
        Restart();
    }
    if (!WaitSweep())
    {
        verdict.recovered = false;
        verdict.Problem("nor after a restart, missing " + m_missing);
    }
}

void CTrial::JudgeAlarms(Verdict& verdict, int allowed_doubles)
{
    if (!WaitAlarms())
    {
        verdict.Problem(Ended() ? "ended by the alarm" : "alarms wait, " + m_room.Unmarked());
        verdict.survived = verdict.survived && !Ended();
        Restart();
        WaitSweep();
        Signal();
        if (!WaitAlarms())
        {
            verdict.recovered = false;
            verdict.Problem("nor after a restart");
        }
    }
    const std::map<std::string, int> arrivals = Arrivals();
    for (const std::string& title : m_raised)
    {
        const auto found = arrivals.find(title);
        const int times = found != arrivals.end() ? found->second : 0;
        verdict.doubled += std::max(0, times - 1);
        if (times == 0)
        {
            const bool failed = m_hasNoLog || PostFailed(m_dids[title]);
            ++(failed ? verdict.failed : verdict.lost);
        }
    }
    if (verdict.lost > 0)
    {
        verdict.Problem("alarms lost: " + std::to_string(verdict.lost));
    }
    if (verdict.doubled > allowed_doubles)
    {
        verdict.Problem("alarms doubled: " + std::to_string(verdict.doubled));
    }
}

// The host writes its next alarm: a lock of the daemon's would be in its way.
void CTrial::JudgeLocks(Verdict& verdict)
try
{
    RaiseAlarm();
}
catch (const std::exception& e)
{
    verdict.Problem(std::string("the host cannot write: ") + e.what());
    Restart();
    RaiseAlarm();
}

// A daemon that was refused its queue or its thread says so at its start, and serves none.
void CTrial::JudgeRequest(Verdict& verdict)
{
    if (has_logged("m_msgCtrlid=-1") || has_logged("Thread creation failed!") || !log_is_kept())
    {
        return;
    }
    const std::string line = "iSid=" + std::to_string(kRequested) + " doPost";
    const size_t before = count_logged(line);
    Request();
    if (!wait_until([&] { return count_logged(line) > before || Ended(); }, kPatience))
    {
        verdict.Problem("request not served");
    }
}

void CTrial::JudgeDescriptors(Verdict& verdict, size_t in_peace) const
{
    const size_t now = Descriptors(in_peace);
    if (now > in_peace)
    {
        verdict.Problem("descriptors grew from " + std::to_string(in_peace) + " to " +
                        std::to_string(now));
    }
}

Verdict CTrial::Judge(int allowed_doubles)
{
    Verdict verdict;
    JudgeEnd(verdict);
    JudgeSweep(verdict);
    JudgeLocks(verdict);
    Signal();
    JudgeAlarms(verdict, allowed_doubles);
    JudgeRequest(verdict);
    verdict.log = Log();
    if (m_daemon->Stderr().find("Sanitizer") != std::string::npos)
    {
        verdict.Problem("the sanitizer reported: " + m_daemon->Stderr().substr(0, 2000));
    }
    return verdict;
}
