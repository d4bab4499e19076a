// Whether daemon and least program do the same visible work: the same bodies in the same order,
// the same log lines in the same order.
#include "bench/Measures.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace
{

constexpr char kFirstLine[] = "PostNormal...";
constexpr char kLineAfter[] = "PostGeneral...";

// The messages of the log's first device sweep: without keys and times, and without the port that
// differs from run to run.
std::vector<std::string> sweep_messages(const std::string& flash)
{
    std::ifstream log(flash + "/tmp/vkapppost.log.ini");
    std::vector<std::string> messages;
    for (std::string line; std::getline(log, line);)
    {
        const size_t stamp = line.find("] ");
        const std::string message = stamp == std::string::npos ? line : line.substr(stamp + 2);
        if (message == kLineAfter)
        {
            break;
        }
        if (!messages.empty() || message == kFirstLine)
        {
            messages.push_back(message);
        }
    }
    return messages;
}

void require_same(const char* what, const std::vector<std::string>& daemon,
                  const std::vector<std::string>& least)
{
    const auto [d, l] = std::mismatch(daemon.begin(), daemon.end(), least.begin(), least.end());
    if (d != daemon.end() || l != least.end())
    {
        throw std::runtime_error(std::string(what) +
                                 " differ:\n  daemon: " + (d == daemon.end() ? "(none)" : *d) +
                                 "\n  least:  " + (l == least.end() ? "(none)" : *l));
    }
    if (daemon.empty())
    {
        throw std::runtime_error(std::string(what) + ": there are none");
    }
}

} // namespace

void require_same_work(const CPrograms& programs)
{
    constexpr int kDevices = 40;
    const CBenchRoom room(kDevices, programs.db_library);
    CRunOrder order;
    order.keep_bodies = true;

    order.flash = room.Dir() + "/flash-daemon";
    std::filesystem::create_directories(order.flash + "/tmp");
    order.sweeps = 2; // when the second is over, the first one's log is complete
    CRun daemon = run_daemon(programs.daemon, room, order);
    const std::vector<std::string> daemon_log = sweep_messages(order.flash);
    daemon.bodies.resize(kDevices);

    order.flash = room.Dir() + "/flash-least";
    std::filesystem::create_directories(order.flash + "/tmp");
    order.sweeps = 1;
    const CRun least = run_least(programs.least, room, order);

    require_same("bodies", daemon.bodies, least.bodies);
    require_same("log lines", daemon_log, sweep_messages(order.flash));
}
