// A server that takes one request at a time from a plain socket and does to the connection what a
// well-behaved HTTP server never would.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

class CRawServer
{
public:
    // What is done to a connection whose request has been read; it is closed afterwards.
    using Act = std::function<void(int fd)>;

    explicit CRawServer(Act act);
    ~CRawServer();
    CRawServer(const CRawServer&) = delete;
    CRawServer& operator=(const CRawServer&) = delete;

    std::string Url() const;
    int Requests() const { return m_requests; }

    // The first request, head and body as they came; waits for it.
    std::string FirstRequest();

private:
    void Serve();

    Act m_act;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<int> m_requests{0};
    std::string m_strFirst; // written before m_requests is first raised
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

void send_text(int fd, const std::string& text);
void reset_connection(int fd); // closing it now resets it

// Acts
void reset_in_the_middle(int fd); // half a reply, then a reset
void close_without_reply(int fd);
void reply_garbage(int fd);         // bytes that are no HTTP
void reply_in_small_chunks(int fd); // a whole reply, in 100,000 pieces of one byte
void send_for_ever(int fd, const std::string& start, const std::string& piece); // until it is left

// An address of this machine where nobody listens. Holds the port, so that nobody takes it.
class CNobody
{
public:
    CNobody();
    ~CNobody();
    CNobody(const CNobody&) = delete;
    CNobody& operator=(const CNobody&) = delete;
    std::string Url() const;

private:
    int m_fd = -1;
    int m_port = 0;
};
