// A real HTTP or HTTPS server that hands every posted body to a sink, and that can misbehave on
// purpose: answer with any status, answer late, never answer.
//
// Binds when made; accepts connections between Start and Stop, each on a thread of its own, so that
// connections that are kept waiting hold nobody else up. The sink is called from these threads, and
// never after Stop has returned. Failures are thrown as CCliError.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "vkctl/receive/ReceiveCertificate.h"
#include "vkctl/receive/ReceivePrint.h"

namespace httplib // its header costs seconds: only the source includes it
{
class ContentReader;
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace vkctl
{

struct ServerOptions
{
    std::string bind = "127.0.0.1";
    int port = 8080; // 0: any free one
    bool tls = false;
    int status = 200;
    std::chrono::milliseconds delay{0};
    bool hang = false;
};

class CReceiveServer
{
public:
    using Sink = std::function<void(const ReceivedBody&)>;

    CReceiveServer(ServerOptions options, Sink sink);
    ~CReceiveServer(); // stops
    CReceiveServer(const CReceiveServer&) = delete;
    CReceiveServer& operator=(const CReceiveServer&) = delete;

    void Start();
    void Stop(); // ends waiting answers too; any number of times

    int Port() const { return m_iPort; }
    std::string Url() const;          // "https://127.0.0.1:8443/"
    std::string AuthorityPem() const; // empty without TLS

private:
    void MakeServer();
    void Bind();
    void OnPost(const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader& content);
    void HoldUntilGone(const httplib::Request& request);
    bool WaitForStop(std::chrono::milliseconds limit); // true: stopping

    const ServerOptions m_options;
    const Sink m_sink;
    std::unique_ptr<CServerCertificate> m_pCertificate;
    std::unique_ptr<httplib::Server> m_pServer;
    std::thread m_thAccept;
    int m_iPort = -1;
    int m_iListenFd = -1; // owned by m_pServer

    std::mutex m_mutex; // guards m_bStopping
    std::condition_variable m_stopped;
    bool m_bStopping = false;
};

} // namespace vkctl
