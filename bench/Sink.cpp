#include "bench/Sink.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <stdexcept>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr char kAnswer[] =
    "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 2\r\n\r\n"
    "ok";
constexpr int kBacklog = 64;

// Appends what has arrived; false at the end of the connection.
bool receive(int connection, std::string& text)
{
    char piece[16384];
    const ssize_t length = recv(connection, piece, sizeof(piece), 0);
    if (length <= 0)
    {
        return false;
    }
    text.append(piece, static_cast<size_t>(length));
    return true;
}

size_t content_length(const std::string& head)
{
    static constexpr char kName[] = "\r\nContent-Length:";
    for (size_t at = head.find("\r\n"); at != std::string::npos; at = head.find("\r\n", at + 2))
    {
        if (strncasecmp(head.c_str() + at, kName, sizeof(kName) - 1) == 0)
        {
            return std::strtoul(head.c_str() + at + sizeof(kName) - 1, nullptr, 10);
        }
    }
    return 0;
}

// The body of one request; false when the connection ended before its end.
bool receive_body(int connection, std::string& body)
{
    std::string text;
    size_t end = std::string::npos;
    while (end == std::string::npos)
    {
        if (!receive(connection, text))
        {
            return false;
        }
        end = text.find("\r\n\r\n");
    }
    const size_t length = content_length(text.substr(0, end + 2));
    while (text.size() < end + 4 + length)
    {
        if (!receive(connection, text))
        {
            return false;
        }
    }
    body = text.substr(end + 4, length);
    return true;
}

} // namespace

CSink::CSink(Hook on_body, std::chrono::milliseconds delay)
    : m_onBody(std::move(on_body)), m_delay(delay)
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (m_listener < 0 || bind(m_listener, any, length) != 0 || listen(m_listener, kBacklog) != 0 ||
        getsockname(m_listener, any, &length) != 0)
    {
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Serve(); });
}

CSink::~CSink()
{
    shutdown(m_listener, SHUT_RDWR); // makes accept return
    m_thread.join();
    close(m_listener);
}

std::string CSink::Url() const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + "/post";
}

void CSink::Serve()
{
    for (;;)
    {
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
        {
            return;
        }
        Answer(connection);
        close(connection);
    }
}

void CSink::Answer(int connection)
{
    std::string body;
    if (!receive_body(connection, body))
    {
        return;
    }
    m_onBody(body);
    if (m_delay.count() > 0)
    {
        std::this_thread::sleep_for(m_delay);
    }
    send(connection, kAnswer, sizeof(kAnswer) - 1, MSG_NOSIGNAL);

    // The poster closes first. Resetting the connection after that spares its side the minute in
    // TIME_WAIT: a long run would otherwise wade through ever more of them.
    std::string rest;
    while (receive(connection, rest))
    {
    }
    const linger reset{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
}
