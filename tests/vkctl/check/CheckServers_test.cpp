// Findings about servers, with real ones on the loopback.

#include <gmock/gmock.h>
#include <httplib.h>
#include <openssl/pem.h>

#include <sstream>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/receive/ReceiveServer.h"

using namespace vkctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr long kDay = 24L * 3600;

std::string printed(const CFindings& findings)
{
    std::ostringstream out;
    print_findings(out, findings, false);
    return out.str();
}

class CheckServersTest : public testing::Test
{
protected:
    CheckServersTest()
    {
        ServerOptions options;
        options.bind = "0.0.0.0"; // also reached as 127.0.0.2, which no certificate names
        options.port = 0;
        options.tls = true;
        server =
            std::make_unique<CReceiveServer>(options, [this](const ReceivedBody&) { ++bodies; });
        server->Start();
        port = std::to_string(server->Port());
    }

    // What is printed about a host that posts to the server's port under this name.
    std::string Check(const std::string& name, const std::string& authority, bool offline = false)
    {
        const CCheckedHost host({"POST/Url=https://" + name + ":" + port + "/data",
                                 "POST/AlmUrl=", "POST/CA=ca.pem", "write ca.pem " + authority});
        return printed(host.Findings(offline));
    }

    std::unique_ptr<CReceiveServer> server;
    std::string port;
    int bodies = 0;
};

// A server whose certificate ends so many seconds from now and vouches for itself.
class CEndingServer
{
public:
    explicit CEndingServer(long seconds)
        : m_certificate("127.0.0.1"),
          m_server(EndingIn(m_certificate, seconds), m_certificate.Key())
    {
        port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }
    ~CEndingServer()
    {
        m_server.stop();
        m_thread.join();
    }
    CEndingServer(const CEndingServer&) = delete;
    CEndingServer& operator=(const CEndingServer&) = delete;

    std::string Name() const { return "127.0.0.1:" + std::to_string(port); }

    // What is printed about a host that posts to it and trusts it, or has no authority at all.
    std::string Check(bool trusted) const
    {
        const std::string file = "write ca.pem " + Pem();
        const CCheckedHost host({"POST/Url=https://" + Name() + "/data",
                                 "POST/AlmUrl=", trusted ? "POST/CA=ca.pem" : "POST/CA=", file});
        return printed(host.Findings(false));
    }

    int port = 0;

private:
    static X509* EndingIn(const CServerCertificate& certificate, long seconds)
    {
        X509* x509 = certificate.Certificate();
        X509_gmtime_adj(X509_getm_notBefore(x509), -1000L * 24 * 3600);
        X509_gmtime_adj(X509_getm_notAfter(x509), seconds);
        X509_sign(x509, certificate.Key(), EVP_sha256());
        return x509;
    }

    std::string Pem() const
    {
        const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
        PEM_write_bio_X509(bio.get(), m_certificate.Certificate());
        char* text = nullptr;
        const long length = BIO_get_mem_data(bio.get(), &text);
        return {text, static_cast<size_t>(length)};
    }

    CServerCertificate m_certificate;
    httplib::SSLServer m_server;
    std::thread m_thread;
};

} // namespace

TEST_F(CheckServersTest, AGoodServerIsAskedForItsCertificateAndForNothingElse)
{
    const std::string printed = Check("127.0.0.1", server->AuthorityPem());
    EXPECT_THAT(printed, Not(HasSubstr("certificate-refused")));
    EXPECT_THAT(printed, Not(HasSubstr("server-unreachable")));
    server->Stop();
    EXPECT_EQ(bodies, 0);
}

TEST(CheckEndingServerTest, TheEndOfItsCertificateIsTold)
{
    const CEndingServer server(9 * kDay + 3600);
    EXPECT_THAT(server.Check(true), HasSubstr(": warning: the certificate of " + server.Name() +
                                              " expires in 9 days, on 20"));
    EXPECT_THAT(server.Check(true), Not(HasSubstr("certificate-refused")));
}

TEST(CheckEndingServerTest, ACertificateThatHasEndedIsRefused)
{
    const CEndingServer server(-kDay);
    EXPECT_THAT(server.Check(true), HasSubstr(": error: the certificate of " + server.Name() +
                                              " is refused (SSL certificate problem: "
                                              "certificate has expired): "));
    EXPECT_THAT(server.Check(true), Not(HasSubstr(server.Name() + " has expired")));
}

TEST(CheckEndingServerTest, WithoutAnAuthorityNobodyLooksAtTheTime)
{
    const std::string printed = CEndingServer(-kDay).Check(false);
    EXPECT_THAT(printed, Not(HasSubstr("certificate-")));
    EXPECT_THAT(printed, Not(HasSubstr("server-unreachable")));
    EXPECT_THAT(printed, HasSubstr("[tls-unverified]"));
}

TEST_F(CheckServersTest, AnotherAuthorityRefusesIt)
{
    EXPECT_THAT(Check("127.0.0.1", CServerCertificate("127.0.0.1").AuthorityPem()),
                HasSubstr("error: the certificate of 127.0.0.1:" + port + " is refused ("));
}

TEST_F(CheckServersTest, ACertificateForAnotherNameIsRefused)
{
    EXPECT_THAT(Check("127.0.0.2", server->AuthorityPem()), HasSubstr(" [certificate-refused]\n"));
    EXPECT_THAT(Check("127.0.0.2", ""), HasSubstr(" [ca-missing]\n"));
}

TEST_F(CheckServersTest, WithoutAnAuthorityTheNameStillCounts)
{
    const CCheckedHost host({"POST/Url=https://127.0.0.2:" + port + "/data"});
    EXPECT_THAT(printed(host.Findings(false)), HasSubstr(" [certificate-refused]\n"));
}

TEST_F(CheckServersTest, AServerThatIsNotThereIsUnreachableAndOfflineNobodyAsks)
{
    const std::string authority = server->AuthorityPem();
    server.reset();
    EXPECT_THAT(Check("127.0.0.1", authority),
                HasSubstr("warning: Url cannot be reached now: Failed to connect to 127.0.0.1"));
    EXPECT_THAT(Check("127.0.0.1", authority, true), Not(HasSubstr("server-unreachable")));
}

TEST_F(CheckServersTest, AServerWithoutEncryptionIsConnectedToAndIsSentNothing)
{
    httplib::Server plain;
    int requests = 0;
    plain.set_pre_routing_handler(
        [&](const httplib::Request&, httplib::Response&)
        {
            ++requests;
            return httplib::Server::HandlerResponse::Handled;
        });
    const int plain_port = plain.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { plain.listen_after_bind(); });
    const CCheckedHost host(
        {"POST/Url=http://127.0.0.1:" + std::to_string(plain_port) + "/data", "POST/AlmUrl="});
    EXPECT_EQ(printed(host.Findings(false)), "");
    plain.stop();
    thread.join();
    EXPECT_EQ(requests, 0);
}

TEST_F(CheckServersTest, EachServerThatIsNotThereIsToldOnce)
{
    server.reset();
    const std::string url = "http://127.0.0.1:" + port;
    const CCheckedHost host({"POST/maxURLs=2", "POST/Url=" + url + "/data",
                             "POST/Url1=" + url + "/more", "POST/AlmUrl=" + url + "/alarm"});
    const std::string text = printed(host.Findings(false));
    EXPECT_THAT(text, HasSubstr("warning: Url cannot be reached now: Failed to connect to "
                                "127.0.0.1"));
    EXPECT_THAT(text, Not(HasSubstr("Url1 cannot be reached")));
    EXPECT_THAT(text, Not(HasSubstr("AlmUrl cannot be reached")));
}
