// The server of an alarm campaign: counts what it is sent and notes when each alarm arrived.
//
// Runs its own threads; every function may be called at any time.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace httplib
{
class Server;
}

struct Identity;

class CCampaignServer
{
public:
    using Clock = std::chrono::steady_clock;

    explicit CCampaignServer(std::chrono::milliseconds delay); // before each answer
    CCampaignServer(const Identity& identity, std::chrono::milliseconds delay);
    ~CCampaignServer();
    CCampaignServer(const CCampaignServer&) = delete;
    CCampaignServer& operator=(const CCampaignServer&) = delete;

    // "https://localhost:4711/alarm" for that host name and path.
    std::string Url(const std::string& host, const std::string& path) const;

    size_t Readings() const;   // bodies that are no alarm
    size_t AlarmsSeen() const; // different titles
    std::map<std::string, std::vector<Clock::time_point>> Alarms() const; // arrivals by title

private:
    void Serve();
    void Keep(const std::string& body);

    mutable std::mutex m_mutex; // guards the next two
    size_t m_readings = 0;
    std::map<std::string, std::vector<Clock::time_point>> m_alarms;

    std::string m_strScheme;
    std::chrono::milliseconds m_delay;
    std::unique_ptr<httplib::Server> m_server;
    int m_port = 0;
    std::thread m_thread;
};
