#include "tests/daemon/torture/Trial.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <unistd.h>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/DaemonLog.h"

namespace
{

using Seconds = std::chrono::seconds;

constexpr char kDataPath[] = "/post";
constexpr char kAlarmPath[] = "/alarm";
const std::string kBackup = std::string(kLogPath) + ".bak";

constexpr char kAddress[] = "127.0.0.1";
constexpr char kServerName[] = "server.test"; // which the library's name server alone knows

std::string pid_file()
{
    return "/var/run/" + std::filesystem::path(VK_DAEMON).filename().string() + ".pid";
}

int port_of(const CReceiver& server)
{
    const std::string url = server.Url("");
    return std::stoi(url.substr(url.rfind(':') + 1));
}

} // namespace

CTrial::CTrial(CRoom& room, Scene scene, CFaultBlock* block)
    : m_room(room), m_scene(scene), m_block(block)
{
    m_url = m_data.Url();
    m_alarmUrl = m_data.Url(kAlarmPath);
    if (scene == Scene::kRich)
    {
        m_secure = std::make_unique<CReceiver>(room.Server());
        const std::string host = block != nullptr ? kServerName : kAddress;
        const std::string base = "https://" + host + ":" + std::to_string(port_of(*m_secure));
        m_secondUrl = base + kDataPath;
        m_alarmUrl = base + kAlarmPath;
    }
    room.Reset();
    room.Host().Post("Timeout", "2");
    room.Host().Post("ReTbls", scene == Scene::kRich ? "30" : "0");
}

CTrial::~CTrial()
{
    m_daemon.reset(); // before the servers that it is connected to
}

void CTrial::PostTo(const std::string& url, const std::string& alarm_url)
{
    (m_secure != nullptr ? m_secondUrl : m_url) = url;
    m_alarmUrl = alarm_url;
}

int CTrial::DataPort() const
{
    return port_of(m_data);
}

int CTrial::SecurePort() const
{
    return port_of(*m_secure);
}

void CTrial::WriteSettings()
{
    const bool rich = m_scene == Scene::kRich;
    CHostDir& host = m_room.Host();
    host.Post("Url", m_url);
    host.Post("AlmUrl", m_alarmUrl);
    host.Post("Url1", m_secondUrl);
    host.Post("CA", rich ? m_room.Authority() : "");
    host.Post("Encoding", rich ? "GBK" : "UTF-8");
    host.WriteIni();
}

void CTrial::Start()
{
    WriteSettings();
    for (const std::string& file : {std::string(kLogPath), kBackup})
    {
        std::error_code none_there; // what is found from now on is this daemon's
        std::filesystem::remove(file, none_there);
    }
    m_before = m_data.Bodies().size();
    m_daemon = std::make_unique<CDaemon>();
    std::vector<std::string> command = m_through;
    command.emplace_back(VK_DAEMON);
    m_daemon->Command(command);
    if (m_block != nullptr)
    {
        m_daemon->Env("LD_PRELOAD", VK_PRELOAD);
        m_daemon->Env(kBlockVariable, m_block->File());
    }
    m_daemon->Start(m_room.Host().Path());
}

void CTrial::Restart()
{
    m_logs = Log();
    if (m_daemon != nullptr)
    {
        m_daemon->Kill();
    }
    Start();
}

void CTrial::RaiseAlarm()
{
    m_raised.push_back(m_room.RaiseAlarm());
    m_dids[m_raised.back()] = m_room.LastAlarm();
}

bool CTrial::Signal()
{
    if (Ended() || read_file(pid_file()) != std::to_string(m_daemon->Pid()))
    {
        return false;
    }
    m_daemon->Signal(SIGRTMIN + 1);
    ++m_signals;
    return true;
}

void CTrial::Request() const
{
    send_request(kRequested);
}

std::vector<CReceiver*> CTrial::DataServers()
{
    std::vector<CReceiver*> servers{&m_data};
    if (m_secure != nullptr)
    {
        servers.push_back(m_secure.get());
    }
    return servers;
}

bool CTrial::WaitUp()
{
    wait_until([&] { return HasPosted() || Ended(); }, kPatience);
    return HasPosted() && !Ended();
}

// What has come since to the server that lacks most: the bodies, and how many sweeps have ended.
CTrial::Arrived CTrial::ArrivedSince(const std::vector<size_t>& starts)
{
    Arrived least{{}, SIZE_MAX};
    const std::vector<CReceiver*> servers = DataServers();
    for (size_t i = 0; i < servers.size(); ++i)
    {
        Arrived arrived{{}, 0};
        const std::vector<std::string> bodies = servers[i]->Bodies();
        for (size_t k = starts[i]; k < bodies.size(); ++k)
        {
            const std::string body = steady_part(bodies[k]);
            arrived.sweeps += body == sweep_bodies().back() ? 1U : 0U;
            arrived.bodies.insert(body);
        }
        if (least.sweeps == SIZE_MAX || arrived.bodies.size() < least.bodies.size())
        {
            least = arrived;
        }
    }
    return least;
}

// Sweeps are counted, not seconds: a machine that is busy makes few of them.
bool CTrial::WaitSweep()
{
    constexpr size_t kSweeps = 12; // without one body: it does not come any more
    std::vector<size_t> starts;
    for (CReceiver* server : DataServers())
    {
        starts.push_back(server->Bodies().size());
    }
    wait_until(
        [&]
        {
            const Arrived arrived = ArrivedSince(starts);
            const auto missing = std::find_if(sweep_bodies().begin(), sweep_bodies().end(),
                                              [&](const std::string& wanted)
                                              { return arrived.bodies.count(wanted) == 0; });
            m_missing = missing != sweep_bodies().end() ? *missing : "";
            return m_missing.empty() || arrived.sweeps >= kSweeps || Ended();
        },
        kPatience);
    return m_missing.empty();
}

bool CTrial::WaitAlarms()
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!Ended() && std::chrono::steady_clock::now() < end)
    {
        // A host's next alarm is its next signal.
        if (wait_until([&] { return m_room.Unmarked() == "0" || Ended(); }, Seconds(1)))
        {
            break;
        }
        Signal();
    }
    return m_room.Unmarked() == "0";
}

size_t CTrial::Descriptors(size_t few_enough) const
{
    constexpr Seconds kLongEnough{3}; // some sweeps, on a busy machine, too
    const std::string dir = "/proc/" + std::to_string(m_daemon->Pid()) + "/fd";
    size_t least = SIZE_MAX;
    wait_until(
        [&]
        {
            std::error_code gone;
            const std::filesystem::directory_iterator entries(dir, gone);
            const auto open = std::distance(begin(entries), end(entries));
            least = std::min(least, static_cast<size_t>(open));
            return least <= few_enough;
        },
        kLongEnough);
    return least;
}

std::map<std::string, int> CTrial::Arrivals()
{
    CReceiver& server = m_secure != nullptr ? *m_secure : m_data;
    std::map<std::string, int> arrivals;
    for (const std::string& body : server.Bodies(kAlarmPath))
    {
        ++arrivals[alarm_title(body)];
    }
    return arrivals;
}

std::string CTrial::Log() const
{
    return m_logs + read_file(kBackup) + read_file(kLogPath);
}

// Whether the log says that the alarm's post failed: such an alarm is marked all the same.
bool CTrial::PostFailed(int did) const
{
    const std::string start = "CAppPost::OnAlmIns DID: " + std::to_string(did) + "\r\n";
    bool mine = false;
    for (const LogEntry& entry : parse_log(Log()))
    {
        const std::string& text = entry.message;
        if (text.rfind("CAppPost::OnAlmIns DID: ", 0) == 0)
        {
            mine = text == start;
        }
        const bool transfer_failed =
            text.rfind(" rec-", 0) == 0 && text.find("=1 (0)\n") == std::string::npos;
        if (mine && (transfer_failed || text.find(" fail\r\n") != std::string::npos))
        {
            return true;
        }
    }
    return false;
}
