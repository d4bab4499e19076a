// One daemon in one room, from its start to the judgement.
//
// Owns the daemon and the servers that it posts to; borrows the room and, where faults are ordered,
// the block. All waiting is for events, with a deadline that only a daemon that hangs ever meets.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/daemon/support/Daemon.h"
#include "tests/daemon/support/Queues.h"
#include "tests/daemon/support/Receiver.h"
#include "tests/daemon/torture/FaultBlock.h"
#include "tests/daemon/torture/Room.h"
#include "tests/daemon/torture/Tally.h"

class CTrial
{
public:
    static constexpr int kRequested = 2; // the SID that is asked for

    static constexpr std::chrono::seconds kPatience{60}; // only a daemon that hangs meets it

    CTrial(CRoom& room, Scene scene, CFaultBlock* block = nullptr);
    ~CTrial();
    CTrial(const CTrial&) = delete;
    CTrial& operator=(const CTrial&) = delete;

    // Before Start: what stands before the server of the bodies and of the alarms; in the rich
    // scene before the https server, which has both.
    void PostTo(const std::string& url, const std::string& alarm_url);
    int DataPort() const;
    int SecurePort() const;
    // Before Start: what becomes the daemon, see CDaemon::Command; the daemon's path is appended.
    void Through(std::vector<std::string> command) { m_through = std::move(command); }

    // The daemon cannot write its log for a while: an alarm that was marked and has not arrived
    // counts as one whose post failed, because nothing can tell the two apart.
    void ExpectNoLog() { m_hasNoLog = true; }

    void Start(); // the daemon, in its room as it is
    void Restart();
    CDaemon& Daemon() { return *m_daemon; }
    CRoom& Room() { return m_room; }

    void RaiseAlarm(); // one more that waits in the table
    bool Signal();     // for those that wait; false, not sent: the pid file does not name it yet
    void Request() const;

    // True when it happened; false when the daemon ended or it is not to be expected any more.
    bool WaitUp();     // the first body
    bool WaitSweep();  // from now on, whole, at every server
    bool WaitAlarms(); // none waits any more

    // The last part of every trial, when what tortures the daemon has ended: is it alive, is the
    // next sweep whole, does a new alarm leave, have all alarms arrived? One that ended is started
    // again. allowed_doubles: how many alarms may have arrived twice.
    Verdict Judge(int allowed_doubles = 1);

    // A daemon that was not started again has no more descriptors open than one has in peace.
    void JudgeDescriptors(Verdict& verdict, size_t in_peace) const;

    int Signals() const { return m_signals; } // sent so far

    // How many descriptors the daemon has open when it is at rest; stops looking at that few.
    size_t Descriptors(size_t few_enough) const;

private:
    std::vector<CReceiver*> DataServers();
    void WriteSettings();
    struct Arrived
    {
        std::set<std::string> bodies; // their steady parts
        size_t sweeps;
    };
    Arrived ArrivedSince(const std::vector<size_t>& starts);
    bool HasPosted() { return m_data.Bodies().size() > m_before; }
    bool Ended() { return !m_daemon->IsRunning(); }
    void JudgeEnd(Verdict& verdict);
    void JudgeSweep(Verdict& verdict);
    void JudgeLocks(Verdict& verdict);
    void JudgeAlarms(Verdict& verdict, int allowed_doubles);
    void JudgeRequest(Verdict& verdict);
    std::map<std::string, int> Arrivals();
    std::string Log() const; // of all daemons of this trial
    bool PostFailed(int did) const;

    CRoom& m_room;
    Scene m_scene;
    CFaultBlock* m_block;
    std::vector<std::string> m_through;
    CReceiver m_data; // and the alarms of the plain scene
    std::unique_ptr<CReceiver> m_secure;
    CTray m_tray;
    std::string m_url;
    std::string m_secondUrl; // empty in the plain scene
    std::string m_alarmUrl;
    std::unique_ptr<CDaemon> m_daemon;
    std::vector<std::string> m_raised;
    std::map<std::string, int> m_dids; // of the alarms raised, by title
    std::string m_missing;             // the body that the last WaitSweep missed
    std::string m_logs;                // of the daemons before this one
    size_t m_before = 0;               // bodies that came before this daemon's start
    int m_signals = 0;
    bool m_hasNoLog = false;
};
