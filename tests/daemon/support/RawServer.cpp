#include "tests/daemon/support/RawServer.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <random>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "tests/daemon/support/Await.h"

namespace
{

constexpr int kBacklog = 16;
constexpr int kPollMs = 20;
constexpr size_t kGarbageBytes = 4000;
constexpr int kSmallChunks = 100'000;

// A socket bound to a port of the loopback address that the system picks.
int bound_socket(int& port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (fd < 0 || bind(fd, generic, length) != 0 || getsockname(fd, generic, &length) != 0)
    {
        throw std::runtime_error("no port for the server");
    }
    port = ntohs(address.sin_port);
    return fd;
}

std::string url_of(int port)
{
    return "http://127.0.0.1:" + std::to_string(port) + "/raw";
}

// Reads a request to the end of its body. False when the other side went away.
bool read_request(int fd, std::string& text)
{
    char piece[4096];
    for (;;)
    {
        const size_t head = text.find("\r\n\r\n");
        const size_t field = text.find("Content-Length: ");
        if (head != std::string::npos && field != std::string::npos &&
            text.size() >= head + 4 + std::strtoul(text.c_str() + field + 16, nullptr, 10))
        {
            return true;
        }
        const ssize_t got = recv(fd, piece, sizeof(piece), 0);
        if (got <= 0)
        {
            return false;
        }
        text.append(piece, static_cast<size_t>(got));
    }
}

} // namespace

CRawServer::CRawServer(Act act) : m_act(std::move(act))
{
    m_listener = bound_socket(m_port);
    listen(m_listener, kBacklog);
    m_thread = std::thread([this] { Serve(); });
}

CRawServer::~CRawServer()
{
    m_stopping = true;
    m_thread.join();
    close(m_listener);
}

std::string CRawServer::Url() const
{
    return url_of(m_port);
}

std::string CRawServer::FirstRequest()
{
    return wait_until([this] { return m_requests > 0; }) ? m_strFirst : "(no request came)";
}

void CRawServer::Serve()
{
    while (!m_stopping)
    {
        pollfd waiting{m_listener, POLLIN, 0};
        if (poll(&waiting, 1, kPollMs) <= 0)
        {
            continue;
        }
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        std::string request;
        if (read_request(fd, request))
        {
            if (m_requests == 0)
            {
                m_strFirst = request;
            }
            ++m_requests;
            m_act(fd);
        }
        close(fd);
    }
}

void send_text(int fd, const std::string& text)
{
    send(fd, text.data(), text.size(), MSG_NOSIGNAL);
}

void reset_connection(int fd)
{
    const linger at_once{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof(at_once));
}

void reset_in_the_middle(int fd)
{
    send_text(fd, "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nhalf");
    reset_connection(fd);
}

void close_without_reply(int /*fd*/)
{
}

void reply_garbage(int fd)
{
    std::mt19937 random(20240501); // the same bytes in every run
    std::string bytes(kGarbageBytes, '\0');
    for (char& byte : bytes)
    {
        byte = static_cast<char>(random());
    }
    send_text(fd, bytes);
}

void send_for_ever(int fd, const std::string& start, const std::string& piece)
{
    send_text(fd, start);
    while (send(fd, piece.data(), piece.size(), MSG_NOSIGNAL) > 0)
    {
    }
}

void reply_in_small_chunks(int fd)
{
    std::string text = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (int i = 0; i < kSmallChunks; ++i)
    {
        text += "1\r\nx\r\n";
    }
    send_text(fd, text + "0\r\n\r\n");
}

CNobody::CNobody() : m_fd(bound_socket(m_port))
{
}

CNobody::~CNobody()
{
    close(m_fd);
}

std::string CNobody::Url() const
{
    return url_of(m_port);
}
