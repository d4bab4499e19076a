#include "tests/daemon/support/Receiver.h"

#include <httplib.h>
#include <stdexcept>
#include <utility>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/Certificates.h"

namespace
{

constexpr char kAddress[] = "127.0.0.1";
constexpr time_t kSlowestWriteS = 60; // a daemon under a sanitizer reads slowly

void send_letters(httplib::Response& response, size_t bytes)
{
    static const std::string kBlock(size_t{1} << 16, 'x');
    response.set_content_provider(bytes, "text/plain",
                                  [](size_t /*offset*/, size_t left, httplib::DataSink& sink)
                                  {
                                      const size_t piece = std::min(left, kBlock.size());
                                      return sink.write(kBlock.data(), piece);
                                  });
}

} // namespace

CReceiver::CReceiver() : m_strScheme("http"), m_server(std::make_unique<httplib::Server>())
{
    Serve();
}

CReceiver::CReceiver(const Identity& identity)
    : m_strScheme("https"), m_server(std::make_unique<httplib::SSLServer>(
                                identity.certificate_file.c_str(), identity.key_file.c_str()))
{
    Serve();
}

CReceiver::~CReceiver()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_server->stop();
    m_thread.join();
}

void CReceiver::Serve()
{
    // The content reader, because a form body of more than 8192 bytes is refused without it.
    m_server->Post(".*",
                   [this](const httplib::Request& request, httplib::Response& response,
                          const httplib::ContentReader& read)
                   {
                       Record record{request.path, "", request.get_header_value("Content-Type"),
                                     request.get_header_value("Cookie")};
                       read(
                           [&](const char* data, size_t length)
                           {
                               record.body.append(data, length);
                               return true;
                           });
                       const size_t number = Keep(std::move(record));

                       const Reply reply = AwaitReply(request.path, number);
                       response.status = reply.status;
                       reply.bytes > 0 ? send_letters(response, reply.bytes)
                                       : response.set_content(reply.text, "text/plain");
                   });
    m_server->set_write_timeout(kSlowestWriteS);
    m_port = m_server->bind_to_any_port(kAddress);
    if (m_port <= 0)
    {
        throw std::runtime_error("no port for the receiver");
    }
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    while (!m_server->is_running()) // stop() before that would be lost
    {
        std::this_thread::yield();
    }
}

std::string CReceiver::Url(const std::string& path) const
{
    return m_strScheme + "://" + kAddress + ":" + std::to_string(m_port) + path;
}

void CReceiver::Answer(const std::string& path, int status, const std::string& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_replies[path] = {status, text, 0};
}

void CReceiver::AnswerBytes(const std::string& path, size_t bytes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_replies[path] = {200, "", bytes};
}

void CReceiver::Hold(const std::string& path, size_t from)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_held[path] = from;
}

void CReceiver::Release(const std::string& path)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_held.erase(path);
    }
    m_changed.notify_all();
}

size_t CReceiver::Keep(Record record)
{
    size_t number = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        number = BodiesLocked(record.path).size();
        m_records.push_back(std::move(record));
    }
    m_changed.notify_all();
    return number;
}

CReceiver::Reply CReceiver::AwaitReply(const std::string& path, size_t number)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock,
                   [&]
                   {
                       const auto held = m_held.find(path);
                       return m_stopping || held == m_held.end() || number < held->second;
                   });
    const auto reply = m_replies.find(path);
    return reply != m_replies.end() ? reply->second : Reply();
}

std::vector<std::string> CReceiver::BodiesLocked(const std::string& path) const
{
    std::vector<std::string> bodies;
    for (const Record& record : m_records)
    {
        if (record.path == path)
        {
            bodies.push_back(record.body);
        }
    }
    return bodies;
}

std::vector<std::string> CReceiver::Bodies(const std::string& path)
{
    return WaitBodies(0, path);
}

std::vector<std::string> CReceiver::WaitBodies(size_t count, const std::string& path)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, kDeadline, [&] { return BodiesLocked(path).size() >= count; });
    return BodiesLocked(path);
}

std::string CReceiver::Body(size_t index, const std::string& path)
{
    const std::vector<std::string> bodies = WaitBodies(index + 1, path);
    return bodies.size() > index ? bodies[index] : "(no body " + std::to_string(index) + ")";
}

std::string CReceiver::ContentType(const std::string& path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string found;
    for (const Record& record : m_records)
    {
        found = record.path == path ? record.content_type : found;
    }
    return found;
}

std::string CReceiver::Cookie(const std::string& path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string found;
    for (const Record& record : m_records)
    {
        found = record.path == path ? record.cookie : found;
    }
    return found;
}
