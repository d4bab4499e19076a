// The alarm signal never hangs the daemon: a storm of signals into busy sweeps, while alarms are
// raised. Every alarm arrives, none is lost or left unmarked, the sweep goes on, no log line is
// torn or lost.
//
// As a test it is short. VK_CAMPAIGN_SIGNALS makes it a campaign of that many signals;
// scripts/alarm-campaign runs it again and again.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <set>
#include <sqlite3.h>

#include "tests/daemon/campaign/CampaignServer.h"
#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/Certificates.h"
#include "tests/daemon/support/Daemon.h"
#include "tests/daemon/support/DaemonLog.h"
#include "tests/daemon/support/HostDir.h"

namespace
{

using Clock = CCampaignServer::Clock;

constexpr int kDevices = 20;
constexpr int kSignalsPerAlarm = 50;
constexpr int kShortSignals = 2000;

struct Scenario
{
    const char* name;
    bool https;
    const char* host;
    int delay_ms;
};

void PrintTo(const Scenario& scenario, std::ostream* out)
{
    *out << scenario.name;
}

int signals_to_send()
{
    const char* wanted = std::getenv("VK_CAMPAIGN_SIGNALS");
    return wanted != nullptr ? std::atoi(wanted) : kShortSignals;
}

class AlarmCampaign : public ::testing::TestWithParam<Scenario>
{
protected:
    AlarmCampaign();

    void Start();
    void Storm(); // sends the signals, raises the alarms in between
    void RaiseAlarm(int did);
    void Signal();
    void CheckAlarms();
    void CheckLog();
    void Report() const;

    CHostDir host;
    std::unique_ptr<CAuthority> authority;
    std::unique_ptr<CCampaignServer> server;
    CDaemon daemon;
    std::map<std::string, Clock::time_point> raised; // by title
    size_t twice = 0;
    long longest_ms = 0;
    size_t lines = 0;
};

AlarmCampaign::AlarmCampaign()
{
    const std::chrono::milliseconds delay(GetParam().delay_ms);
    if (GetParam().https)
    {
        authority = std::make_unique<CAuthority>(host.Path(), "ca");
        server = std::make_unique<CCampaignServer>(authority->Issue("DNS:localhost,IP:127.0.0.1"),
                                                   delay);
        host.Post("CA", authority->CertificateFile());
    }
    else
    {
        server = std::make_unique<CCampaignServer>(delay);
    }
}

void AlarmCampaign::Start()
{
    host.UseLibrary(VK_DBLIB);
    host.EmptyRoom();
    host.Table("tbDev", "V");
    for (int sid = 1; sid <= kDevices; ++sid)
    {
        host.Device(sid, "设备" + std::to_string(sid), "tbDev", "'" + std::string(200, 'v') + "'");
    }
    host.Post("Url", server->Url(GetParam().host, "/data"));
    host.Post("AlmUrl", server->Url(GetParam().host, "/alarm"));
    host.Post("maxURLs", "2");
    host.Post("Delay", "0"); // one sweep after the other
    host.WriteIni();
    daemon.Start(host.Path());
    ASSERT_TRUE(wait_until([&] { return server->Readings() > 0; })) << read_file(kLogPath);
}

void AlarmCampaign::RaiseAlarm(int did)
{
    const std::string title = "告警" + std::to_string(did);
    raised[title] = Clock::now();
    host.Alarm(did, 1 + did % kDevices, title);
}

// The kernel holds a limited number of signals that wait; a sender that meets the limit waits too.
void AlarmCampaign::Signal()
{
    while (::kill(daemon.Pid(), SIGRTMIN + 1) != 0 && errno == EAGAIN)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void AlarmCampaign::Storm()
{
    std::mt19937 random(4711);
    std::uniform_int_distribution<int> pause_us(0, 1000);
    const int signals = signals_to_send();
    for (int i = 0; i < signals; ++i)
    {
        if (i % kSignalsPerAlarm == 0)
        {
            RaiseAlarm(i / kSignalsPerAlarm + 1);
        }
        Signal();
        std::this_thread::sleep_for(std::chrono::microseconds(pause_us(random)));
    }
    Signal(); // for an alarm that came behind its last one
}

void AlarmCampaign::CheckAlarms()
{
    EXPECT_TRUE(wait_until([&] { return server->AlarmsSeen() == raised.size(); }))
        << server->AlarmsSeen() << " of " << raised.size() << " alarms arrived";
    const auto unmarked = [&]
    {
        return host.AlarmValue("select count(*) from tbSMAlarm where AFld is null or AFld<1");
    };
    EXPECT_TRUE(wait_until([&] { return unmarked() == "0"; })) << unmarked() << " unmarked";
    for (const auto& [title, arrivals] : server->Alarms())
    {
        twice += arrivals.size() - 1;
        const auto delay = arrivals.front() - raised[title];
        longest_ms = std::max<long>(
            longest_ms, std::chrono::duration_cast<std::chrono::milliseconds>(delay).count());
    }
    EXPECT_EQ(twice, 0U);
}

// Every entry is whole: it begins with its prefix and ends with a line end, and no key is missing
// between the first and the last of a file. A reply without line end runs on into the next entry.
void AlarmCampaign::CheckLog()
{
    for (const char* suffix : {"", ".bak"})
    {
        const std::string path = std::string(kLogPath) + suffix;
        std::set<unsigned long> keys;
        for (const LogEntry& entry : parse_log(read_file(path)))
        {
            ++lines;
            EXPECT_FALSE(entry.tag.empty()) << "torn: " << entry.message;
            EXPECT_TRUE(entry.message.find('\n') == entry.message.size() - 1)
                << "torn: " << entry.key << " " << entry.message;
            EXPECT_TRUE(keys.insert(entry.key).second || entry.key == 0) << entry.key << " twice";
        }
        if (!keys.empty())
        {
            EXPECT_EQ(*keys.rbegin() - *keys.begin() + 1, keys.size()) << "lines lost in " << path;
        }
    }
}

void AlarmCampaign::Report() const
{
    std::cout << "campaign " << GetParam().name << ": signals " << signals_to_send() << ", alarms "
              << raised.size() << ", arrived " << server->AlarmsSeen() << ", twice " << twice
              << ", longest delay " << longest_ms << " ms, readings " << server->Readings()
              << ", log lines looked at " << lines << std::endl;
}

} // namespace

TEST_P(AlarmCampaign, StormOfSignalsLosesNothingAndHangsNothing)
{
    ASSERT_NO_FATAL_FAILURE(Start());
    Storm();
    CheckAlarms();

    // The sweep goes on: neither thread hangs.
    const size_t before = server->Readings();
    EXPECT_TRUE(wait_until([&] { return server->Readings() > before + 2 * kDevices; }));
    EXPECT_TRUE(daemon.IsRunning());

    daemon.Kill();
    EXPECT_EQ(daemon.Stderr().find("Sanitizer"), std::string::npos) << daemon.Stderr();
    CheckLog();
    Report();
}

INSTANTIATE_TEST_SUITE_P(Servers, AlarmCampaign,
                         ::testing::Values(Scenario{"Http", false, "127.0.0.1", 0},
                                           Scenario{"HttpByName", false, "localhost", 0},
                                           Scenario{"HttpsByName", true, "localhost", 0},
                                           Scenario{"SlowServer", false, "localhost", 50}),
                         [](const auto& scenario) { return std::string(scenario.param.name); });
