#include "vkctl/receive/ReceiveServer.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <list>

#include <httplib.h>

#include "vkctl/base/CliError.h"
#include "vkctl/room/RoomLive.h"

namespace vkctl
{

namespace
{

constexpr std::chrono::milliseconds kPeerCheck{50};

// One thread for each connection: with a pool, a few connections that hang would leave no thread
// for the others.
class CConnectionThreads : public httplib::TaskQueue
{
public:
    void enqueue(std::function<void()> work) override
    {
        m_threads.remove_if([](Entry& entry) { return entry.JoinIfDone(); });
        m_threads.emplace_back();
        m_threads.back().Run(std::move(work));
    }
    void shutdown() override
    {
        for (Entry& entry : m_threads)
        {
            entry.thread.join();
        }
        m_threads.clear();
    }

private:
    struct Entry
    {
        std::thread thread;
        std::atomic<bool> is_done{false};

        void Run(std::function<void()> work)
        {
            thread = std::thread(
                [this, work = std::move(work)]
                {
                    work();
                    is_done = true;
                });
        }
        bool JoinIfDone()
        {
            if (is_done)
            {
                thread.join();
            }
            return is_done;
        }
    };

    std::list<Entry> m_threads; // used by the accepting thread only
};

// The server's usual options would let a second receiver share the port, and each would get some
// of the bodies: a port that is taken has to fail.
void set_exclusive(int sock)
{
    const int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

bool is_peer(int fd, const httplib::Request& request)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    auto* raw = reinterpret_cast<sockaddr*>(&address);
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    return getpeername(fd, raw, &length) == 0 &&
           getnameinfo(raw, length, host, sizeof host, port, sizeof port,
                       NI_NUMERICHOST | NI_NUMERICSERV) == 0 &&
           request.remote_addr == host && std::to_string(request.remote_port) == port;
}

// The descriptor of the connection that a request came in on; -1 when it is gone. The library
// does not tell, but the far end's address and port belong to one connection only.
int connection_of(const httplib::Request& request)
{
    std::error_code ignored; // no list of descriptors: the answer is "gone"
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored))
    {
        const int fd = static_cast<int>(std::strtol(entry.path().filename().c_str(), nullptr, 10));
        if (is_peer(fd, request))
        {
            return fd;
        }
    }
    return -1;
}

bool has_peer_left(int fd)
{
    pollfd watched = {fd, POLLRDHUP, 0};
    return fd < 0 || (poll(&watched, 1, 0) > 0 &&
                      (watched.revents & (POLLRDHUP | POLLHUP | POLLERR | POLLNVAL)) != 0);
}

} // namespace

CReceiveServer::CReceiveServer(ServerOptions options, Sink sink)
    : m_options(std::move(options)), m_sink(std::move(sink))
{
    MakeServer();
    Bind();
}

CReceiveServer::~CReceiveServer()
{
    Stop();
}

void CReceiveServer::MakeServer()
{
    if (m_options.tls)
    {
        m_pCertificate = std::make_unique<CServerCertificate>(m_options.bind);
        m_pServer = std::make_unique<httplib::SSLServer>(m_pCertificate->Certificate(),
                                                         m_pCertificate->Key());
    }
    else
    {
        m_pServer = std::make_unique<httplib::Server>();
    }
    if (!m_pServer->is_valid())
    {
        throw CCliError("cannot set up the https server");
    }
    m_pServer->new_task_queue = []
    {
        return new CConnectionThreads;
    };
    m_pServer->set_socket_options(
        [this](int sock)
        {
            m_iListenFd = sock;
            set_exclusive(sock);
        });
    // One request for each connection: one that stays open for more would hold up the end.
    m_pServer->set_keep_alive_max_count(1);

    // With a content reader the body comes as it was sent. The plain handler would refuse form
    // bodies above 8 KiB.
    m_pServer->Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                                 const httplib::ContentReader& content)
                    { OnPost(request, response, content); });
    m_pServer->Get(".*",
                   [](const httplib::Request&, httplib::Response& response)
                   {
                       response.status = 405;
                       response.set_content("bodies are received by POST only\n", "text/plain");
                   });
}

void CReceiveServer::Bind()
{
    errno = 0;
    const bool is_any = m_options.port == 0;
    m_iPort = is_any ? m_pServer->bind_to_any_port(m_options.bind) : m_options.port;
    if (is_any ? m_iPort > 0 : m_pServer->bind_to_port(m_options.bind, m_options.port))
    {
        // The library lets five connections wait; more at once would be delayed by seconds.
        listen(m_iListenFd, SOMAXCONN);
        return;
    }
    const int error = errno;
    const std::string place = m_options.bind + " port " + std::to_string(m_options.port);
    if (error == EADDRINUSE)
    {
        throw CCliError(place + " is taken by another program; choose another with --port, or "
                                "--port 0 for any that is free");
    }
    throw CCliError("cannot listen on " + place + ": " +
                    (error ? std::strerror(error) : "no such address"));
}

void CReceiveServer::Start()
{
    m_thAccept = std::thread([this] { m_pServer->listen_after_bind(); });
    while (!m_pServer->is_running()) // a stop before this would be lost
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void CReceiveServer::Stop()
{
    if (!m_thAccept.joinable())
    {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bStopping = true;
    }
    m_stopped.notify_all();
    m_pServer->stop();
    m_thAccept.join();
}

std::string CReceiveServer::Url() const
{
    const bool is_ipv6 = m_options.bind.find(':') != std::string::npos;
    const std::string host = is_ipv6 ? "[" + m_options.bind + "]" : m_options.bind;
    return (m_options.tls ? "https://" : "http://") + host + ":" + std::to_string(m_iPort) + "/";
}

std::string CReceiveServer::AuthorityPem() const
{
    return m_pCertificate ? m_pCertificate->AuthorityPem() : "";
}

void CReceiveServer::OnPost(const httplib::Request& request, httplib::Response& response,
                            const httplib::ContentReader& content)
{
    ReceivedBody body;
    body.path = request.target;
    const bool is_whole = content(
        [&](const char* data, size_t length)
        {
            body.bytes.append(data, length);
            return true;
        });
    if (!is_whole)
    {
        return; // the sender left in the middle: there is nobody to answer and nothing to count
    }
    body.time = local_time_text();
    m_sink(body);

    if (m_options.hang)
    {
        HoldUntilGone(request);
        return;
    }
    WaitForStop(m_options.delay);
    response.status = m_options.status;
    response.set_content("OK", "text/plain");
}

// The answer that follows goes nowhere: the connection is shut before.
void CReceiveServer::HoldUntilGone(const httplib::Request& request)
{
    const int fd = connection_of(request);
    while (!has_peer_left(fd) && !WaitForStop(kPeerCheck))
    {
    }
    shutdown(fd, SHUT_RDWR);
}

bool CReceiveServer::WaitForStop(std::chrono::milliseconds limit)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_stopped.wait_for(lock, limit, [this] { return m_bStopping; });
}

} // namespace vkctl
