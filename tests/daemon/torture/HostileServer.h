// A server that does to a connection what no server should, until it is told to behave: from then
// on it hands every connection on, byte for byte, to a good server. So what is posted to it in
// peace is recorded there, and so is a request that it had read whole before it turned hostile.
//
// A thread for each connection; every function may be called at any time.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

class CHostileServer
{
public:
    // One connection, and whether the act on it is to end.
    struct Connection
    {
        int fd;
        const CHostileServer& server;
        bool IsOver() const;                      // the client has gone, or the server is to behave
        bool Send(const std::string& text) const; // false when the client does not take it
        void Wait(int ms) const;                  // shorter when it is over
    };
    using Act = std::function<void(const Connection&)>;

    // reads_request: the act begins when a request has been read whole.
    CHostileServer(int good_port, Act act, bool reads_request);
    ~CHostileServer();
    CHostileServer(const CHostileServer&) = delete;
    CHostileServer& operator=(const CHostileServer&) = delete;

    std::string Url(const std::string& scheme, const std::string& path) const;

    void Behave(bool well) { m_behaves = well; }
    int Tortured() const { return m_tortured; } // connections so far that were treated badly

private:
    void Accept();
    void Serve(int fd);
    void Torture(int fd);
    void HandOn(int fd) const;

    int m_goodPort;
    Act m_act;
    bool m_readsRequest;
    int m_port = 0; // before the listener, whose making sets it
    int m_listener = -1;
    std::atomic<bool> m_behaves{true};
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_tortured{0};
    std::mutex m_mutex; // guards m_threads
    std::list<std::thread> m_threads;
    std::thread m_accepter;
};
