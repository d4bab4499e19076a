#include "tests/daemon/torture/HostileServer.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr int kPollMs = 10;
constexpr int kBacklog = 64;

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

int listen_anywhere(int& port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (fd < 0 || bind(fd, generic, length) != 0 || listen(fd, kBacklog) != 0 ||
        getsockname(fd, generic, &length) != 0)
    {
        throw std::runtime_error("no port for the hostile server");
    }
    port = ntohs(address.sin_port);
    return fd;
}

int connect_to(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    {
        close(fd);
        return -1;
    }
    return fd;
}

bool is_readable(int fd)
{
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, kPollMs) > 0;
}

// What has come; false at the end of the connection.
bool read_some(int fd, std::string& text)
{
    char piece[16384];
    const ssize_t got = recv(fd, piece, sizeof(piece), 0);
    text.assign(piece, got > 0 ? static_cast<size_t>(got) : 0);
    return got > 0;
}

bool send_all(int fd, const std::string& text)
{
    size_t sent = 0;
    while (sent < text.size())
    {
        const ssize_t n = send(fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
        {
            return false;
        }
        sent += static_cast<size_t>(n);
    }
    return true;
}

bool is_whole(const std::string& request)
{
    const size_t head = request.find("\r\n\r\n");
    const size_t field = request.find("Content-Length: ");
    return head != std::string::npos && field != std::string::npos &&
           request.size() >= head + 4 + std::strtoul(request.c_str() + field + 16, nullptr, 10);
}

} // namespace

bool CHostileServer::Connection::IsOver() const
{
    char piece[4096];
    if (recv(fd, piece, sizeof(piece), MSG_DONTWAIT | MSG_PEEK) == 0)
    {
        return true;
    }
    return server.m_stopping || server.m_behaves;
}

bool CHostileServer::Connection::Send(const std::string& text) const
{
    size_t sent = 0;
    while (sent < text.size() && !IsOver())
    {
        pollfd waiting{fd, POLLOUT, 0};
        if (poll(&waiting, 1, kPollMs) <= 0)
        {
            continue;
        }
        const ssize_t n =
            send(fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0)
        {
            return false;
        }
        sent += static_cast<size_t>(n);
    }
    return sent == text.size();
}

void CHostileServer::Connection::Wait(int ms) const
{
    for (int waited = 0; waited < ms && !IsOver(); waited += kPollMs)
    {
        usleep(kPollMs * 1000);
    }
}

CHostileServer::CHostileServer(int good_port, Act act, bool reads_request)
    : m_goodPort(good_port), m_act(std::move(act)), m_readsRequest(reads_request),
      m_listener(listen_anywhere(m_port))
{
    m_accepter = std::thread([this] { Accept(); });
}

CHostileServer::~CHostileServer()
{
    m_stopping = true;
    m_accepter.join();
    for (std::thread& thread : m_threads)
    {
        thread.join();
    }
    close(m_listener);
}

std::string CHostileServer::Url(const std::string& scheme, const std::string& path) const
{
    return scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
}

void CHostileServer::Accept()
{
    while (!m_stopping)
    {
        if (!is_readable(m_listener))
        {
            continue;
        }
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_threads.emplace_back([this, fd] { Serve(fd); });
    }
}

void CHostileServer::Serve(int fd)
{
    m_behaves ? HandOn(fd) : Torture(fd);
    close(fd);
}

void CHostileServer::Torture(int fd)
{
    const Connection connection{fd, *this};
    std::string request;
    while (m_readsRequest && !is_whole(request))
    {
        std::string piece;
        if (m_stopping || (is_readable(fd) && !read_some(fd, piece)))
        {
            return;
        }
        request += piece;
    }
    if (m_readsRequest) // it has arrived, whatever is answered
    {
        const int good = connect_to(m_goodPort);
        std::string ignored;
        send_all(good, request) && read_some(good, ignored);
        close(good);
    }
    ++m_tortured;
    m_act(connection);
}

void CHostileServer::HandOn(int fd) const
{
    const int good = connect_to(m_goodPort);
    std::string piece;
    while (good >= 0 && !m_stopping)
    {
        pollfd both[2] = {{fd, POLLIN, 0}, {good, POLLIN, 0}};
        if (poll(both, 2, kPollMs) <= 0)
        {
            continue;
        }
        if ((both[0].revents != 0 && !(read_some(fd, piece) && send_all(good, piece))) ||
            (both[1].revents != 0 && !(read_some(good, piece) && send_all(fd, piece))))
        {
            break;
        }
    }
    close(good);
}
