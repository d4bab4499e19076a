#include "tests/daemon/campaign/CampaignServer.h"

#include <httplib.h>
#include <stdexcept>

#include "tests/daemon/support/Certificates.h"

namespace
{

// The text of a field; empty when the body has none of that name.
std::string field(const std::string& body, const std::string& name)
{
    const std::string mark = "&" + name + "=";
    const size_t at = body.find(mark);
    if (at == std::string::npos)
    {
        return {};
    }
    const size_t start = at + mark.size();
    return body.substr(start, body.find('&', start) - start);
}

} // namespace

CCampaignServer::CCampaignServer(std::chrono::milliseconds delay)
    : m_strScheme("http"), m_delay(delay), m_server(std::make_unique<httplib::Server>())
{
    Serve();
}

CCampaignServer::CCampaignServer(const Identity& identity, std::chrono::milliseconds delay)
    : m_strScheme("https"), m_delay(delay),
      m_server(std::make_unique<httplib::SSLServer>(identity.certificate_file.c_str(),
                                                    identity.key_file.c_str()))
{
    Serve();
}

CCampaignServer::~CCampaignServer()
{
    m_server->stop();
    m_thread.join();
}

void CCampaignServer::Serve()
{
    m_server->Post(".*",
                   [this](const httplib::Request& request, httplib::Response& response)
                   {
                       Keep(request.body);
                       std::this_thread::sleep_for(m_delay);
                       response.set_content("ok", "text/plain");
                   });
    m_port = m_server->bind_to_any_port("127.0.0.1");
    if (m_port <= 0)
    {
        throw std::runtime_error("no port for the campaign's server");
    }
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    while (!m_server->is_running()) // stop() before that would be lost
    {
        std::this_thread::yield();
    }
}

void CCampaignServer::Keep(const std::string& body)
{
    const auto now = Clock::now();
    const std::string title = field(body, "title");
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (title.empty())
    {
        ++m_readings;
        return;
    }
    m_alarms[title].push_back(now);
}

std::string CCampaignServer::Url(const std::string& host, const std::string& path) const
{
    return m_strScheme + "://" + host + ":" + std::to_string(m_port) + path;
}

size_t CCampaignServer::Readings() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_readings;
}

size_t CCampaignServer::AlarmsSeen() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_alarms.size();
}

std::map<std::string, std::vector<CCampaignServer::Clock::time_point>>
CCampaignServer::Alarms() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_alarms;
}
