// Servers that never answer, reset, drip, flood or stall, and a name server that is silent, at the
// start and in the middle of a sweep. Each for some posts; then they behave.
#include "tests/daemon/torture/Kinds.h"

#include <filesystem>
#include <random>
#include <sys/socket.h>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/DaemonLog.h"
#include "tests/daemon/torture/HostileServer.h"
#include "tests/daemon/torture/Trial.h"

namespace
{

using Connection = CHostileServer::Connection;
using Seconds = std::chrono::seconds;

constexpr int kForever = 1 << 30;
constexpr int kSilentResolverMs = 40000;
constexpr int kPostsEnough = 6;
constexpr Seconds kPostPatience{30}; // for six posts of at most a second each
constexpr uintmax_t kLogBytes = 8U << 20;
constexpr char kHead[] = "HTTP/1.1 200 OK\r\n";

enum class Layer
{
    kHttp,     // the act begins behind a whole request
    kTcp,      // ... with the connection
    kTls,      // ... with the connection of an https URL
    kResolver, // no act: the name server is silent
};

struct Hostility
{
    const char* name;
    Layer layer;
    void (*act)(const Connection&);
};

std::string repeated(const std::string& text, size_t bytes)
{
    std::string all;
    while (all.size() < bytes)
    {
        all += text;
    }
    return all;
}

void reset(const Connection& c)
{
    const linger at_once{1, 0};
    setsockopt(c.fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof(at_once));
}

void stall(const Connection& c)
{
    c.Wait(kForever);
}

void close_at_once(const Connection&)
{
}

void reset_in_reply(const Connection& c)
{
    c.Send(kHead + std::string("Content-Length: 1000\r\n\r\nhalf"));
    reset(c);
}

void drip(const Connection& c)
{
    c.Send(kHead + std::string("Content-Length: 1000000\r\n\r\n"));
    while (c.Send("x"))
    {
        c.Wait(10);
    }
}

void drip_head(const Connection& c)
{
    const std::string head = kHead + repeated("X-Slow: very\r\n", 5000);
    for (size_t i = 0; i < head.size() && c.Send(head.substr(i, 1)); ++i)
    {
        c.Wait(10);
    }
}

void answer_100_mb(const Connection& c)
{
    const std::string block(1 << 16, 'x');
    c.Send(kHead + std::string("Content-Length: 104857600\r\n\r\n"));
    for (int i = 0; i < 1600 && c.Send(block); ++i)
    {
    }
}

void endless_body(const Connection& c)
{
    c.Send(kHead + std::string("Transfer-Encoding: chunked\r\n\r\n"));
    const std::string chunk = "1000\r\n" + std::string(0x1000, 'y') + "\r\n";
    while (c.Send(chunk))
    {
    }
}

void tiny_chunks(const Connection& c)
{
    c.Send(kHead + std::string("Transfer-Encoding: chunked\r\n\r\n"));
    while (c.Send("1\r\nz\r\n"))
    {
    }
}

void endless_head(const Connection& c)
{
    c.Send(kHead);
    const std::string fields = repeated("X-More: and more\r\n", 1 << 14);
    while (c.Send(fields))
    {
    }
}

void long_header(const Connection& c)
{
    c.Send(kHead + std::string("X-Long: "));
    const std::string block(1 << 16, 'l');
    while (c.Send(block))
    {
    }
}

void continue_flood(const Connection& c)
{
    const std::string hundreds = repeated("HTTP/1.1 100 Continue\r\n\r\n", 1 << 14);
    while (c.Send(hundreds))
    {
    }
}

void short_body(const Connection& c)
{
    c.Send(kHead + std::string("Content-Length: 1000000\r\n\r\nthat is all"));
}

void bad_chunks(const Connection& c)
{
    c.Send(kHead + std::string("Transfer-Encoding: chunked\r\n\r\nnot a number\r\n"));
}

void garbage(const Connection& c)
{
    std::mt19937 random(4711);
    std::string bytes(20000, '\0');
    for (char& byte : bytes)
    {
        byte = static_cast<char>(random());
    }
    c.Send(bytes);
}

void redirect(const Connection& c)
{
    c.Send("HTTP/1.1 302 Found\r\nLocation: /again\r\nContent-Length: 0\r\n\r\n");
}

void demand_password(const Connection& c)
{
    c.Send("HTTP/1.1 401 No\r\nWWW-Authenticate: Digest realm=\"r\",nonce=\"n\"\r\n"
           "Content-Length: 0\r\n\r\n");
}

void flood_cookies(const Connection& c)
{
    std::string head = kHead;
    for (int i = 0; i < 5000; ++i)
    {
        head += "Set-Cookie: c" + std::to_string(i) + "=" + std::string(50, 'v') + "\r\n";
    }
    c.Send(head + "Content-Length: 0\r\n\r\n");
}

void half_handshake(const Connection& c)
{
    c.Send(std::string("\x16\x03\x03\x00\x7a\x02\x00\x00\x76", 9)); // and not the rest of it
    c.Wait(kForever);
}

// The short form takes the first of them.
const Hostility kHostilities[] = {
    {"answers-100-mb", Layer::kHttp, answer_100_mb},
    {"resets-in-reply", Layer::kHttp, reset_in_reply},
    {"garbage", Layer::kHttp, garbage},
    {"never-answers", Layer::kHttp, stall},
    {"endless-tiny-chunks", Layer::kHttp, tiny_chunks},
    {"silent-name-server", Layer::kResolver, stall},
    {"never-reads", Layer::kTcp, stall},
    {"closes-at-once", Layer::kTcp, close_at_once},
    {"resets-at-once", Layer::kTcp, reset},
    {"closes-without-reply", Layer::kHttp, close_at_once},
    {"resets-behind-request", Layer::kHttp, reset},
    {"drips-body", Layer::kHttp, drip},
    {"drips-head", Layer::kHttp, drip_head},
    {"endless-body", Layer::kHttp, endless_body},
    {"endless-head", Layer::kHttp, endless_head},
    {"endless-header", Layer::kHttp, long_header},
    {"1xx-flood", Layer::kHttp, continue_flood},
    {"short-body", Layer::kHttp, short_body},
    {"bad-chunks", Layer::kHttp, bad_chunks},
    {"redirects", Layer::kHttp, redirect},
    {"demands-password", Layer::kHttp, demand_password},
    {"floods-cookies", Layer::kHttp, flood_cookies},
    {"stalls-handshake", Layer::kTls, stall},
    {"half-handshake", Layer::kTls, half_handshake},
    {"resets-handshake", Layer::kTls, reset},
    {"garbage-handshake", Layer::kTls, garbage},
};

size_t posts_ended()
{
    return count_logged(" rec-");
}

uintmax_t log_bytes()
{
    std::error_code none; // counts as nothing
    const auto size = [&](const std::string& path)
    {
        const uintmax_t bytes = std::filesystem::file_size(path, none);
        return none ? 0 : bytes;
    };
    return size(kLogPath) + size(kLogPath + std::string(".bak"));
}

// A room under siege: the hostile server before its good one, or the silent name server.
class CSiege
{
public:
    CSiege(CRoom& room, CFaultBlock& block, const Hostility& hostility);

    void BeHostile(bool hostile);
    void Begin(bool from_start); // the daemon runs, and it is hostile
    void Endure();               // an alarm, a request, and some posts must come to an end
    Verdict End();

private:
    Layer m_layer;
    CFaultBlock& m_block;
    CTrial m_trial;
    CHostileServer m_server;
    std::vector<std::string> m_problems;
};

CSiege::CSiege(CRoom& room, CFaultBlock& block, const Hostility& hostility)
    : m_layer(hostility.layer), m_block(block),
      m_trial(room,
              m_layer == Layer::kTls || m_layer == Layer::kResolver ? Scene::kRich : Scene::kPlain,
              m_layer == Layer::kResolver ? &block : nullptr),
      m_server(m_layer == Layer::kTls ? m_trial.SecurePort() : m_trial.DataPort(), hostility.act,
               m_layer == Layer::kHttp)
{
    m_block.Clear();
    if (m_layer != Layer::kResolver)
    {
        const std::string scheme = m_layer == Layer::kTls ? "https" : "http";
        m_trial.PostTo(m_server.Url(scheme, "/post"), m_server.Url(scheme, "/alarm"));
    }
    room.Host().Post("Timeout", "1");
}

void CSiege::BeHostile(bool hostile)
{
    m_server.Behave(!hostile);
    m_block.SilenceResolver(hostile ? kSilentResolverMs : 0);
}

void CSiege::Begin(bool from_start)
{
    BeHostile(from_start);
    m_trial.Start();
    if (from_start)
    {
        wait_logged("DoPost");
    }
    else
    {
        m_trial.WaitUp();
    }
    BeHostile(true);
}

void CSiege::Endure()
{
    const size_t enough = posts_ended() + kPostsEnough;
    m_trial.RaiseAlarm();
    m_trial.Signal();
    m_trial.Request();
    const auto is_over = [&]
    {
        return posts_ended() >= enough || !m_trial.Daemon().IsRunning();
    };
    if (!wait_until(is_over, kPostPatience))
    {
        m_problems.emplace_back("six posts of a second each have not ended after 30");
    }
    if (log_bytes() > kLogBytes)
    {
        m_problems.push_back("the log has grown to " + std::to_string(log_bytes()) + " bytes");
    }
}

Verdict CSiege::End()
{
    BeHostile(false);
    Verdict verdict = m_trial.Judge(0);
    verdict.problems.insert(verdict.problems.end(), m_problems.begin(), m_problems.end());
    return verdict;
}

Verdict run_case(CRoom& room, CFaultBlock& block, const Hostility& hostility, bool from_start)
{
    CSiege siege(room, block, hostility);
    siege.Begin(from_start);
    siege.Endure();
    Verdict verdict = siege.End();
    if (!verdict.problems.empty())
    {
        verdict.Problem(std::string("server ") + hostility.name +
                        (from_start ? " from the start" : " in a sweep"));
    }
    return verdict;
}

} // namespace

void torture_with_servers(const Options& options, CTally& tally)
{
    CRoom room;
    CFaultBlock block;
    int number = 0;
    for (const bool from_start : {false, true})
    {
        for (const Hostility& hostility : kHostilities)
        {
            const int mine = number++;
            const bool can_be = hostility.layer != Layer::kResolver || CFaultBlock::IsUsable();
            if (!can_be || !is_mine(options, mine) || (options.count > 0 && mine >= options.count))
            {
                continue;
            }
            const Verdict verdict = run_case(room, block, hostility, from_start);
            tally.Add("servers", verdict, repeat_command("servers", options, std::to_string(mine)));
        }
    }
}
