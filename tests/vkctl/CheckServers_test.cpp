// Findings about https servers, with real ones on the loopback.

#include <gmock/gmock.h>

#include <sstream>

#include "CheckTest.h"
#include "vkctl/ReceiveServer.h"

using namespace vkctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

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
                                 "POST/CA=ca.pem", "write ca.pem " + authority});
        return printed(host.Findings(offline));
    }

    std::unique_ptr<CReceiveServer> server;
    std::string port;
    int bodies = 0;
};

// A server whose certificate has ended long ago.
class COldServer
{
public:
    COldServer() : m_certificate("127.0.0.1"), m_server(MakeOld(m_certificate), m_certificate.Key())
    {
        port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }
    ~COldServer()
    {
        m_server.stop();
        m_thread.join();
    }
    COldServer(const COldServer&) = delete;
    COldServer& operator=(const COldServer&) = delete;

    int port = 0;

private:
    static X509* MakeOld(const CServerCertificate& certificate)
    {
        X509* x509 = certificate.Certificate();
        ASN1_TIME_set_string(X509_getm_notBefore(x509), "20190101000000Z");
        ASN1_TIME_set_string(X509_getm_notAfter(x509), "20200102000000Z");
        X509_sign(x509, certificate.Key(), EVP_sha256());
        return x509;
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

TEST(CheckOldServerTest, TheEndOfItsCertificateIsTold)
{
    const COldServer server;
    const std::string name = "127.0.0.1:" + std::to_string(server.port);
    const CCheckedHost host({"POST/Url=https://" + name + "/data"});
    EXPECT_THAT(printed(host.Findings(false)),
                HasSubstr(": warning: the certificate of " + name +
                          " has expired on 2020-01-02 [certificate-expiring]\n"));
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

TEST_F(CheckServersTest, AServerWithoutEncryptionIsNotAsked)
{
    server.reset();
    const CCheckedHost host({"POST/Url=http://127.0.0.1:" + port + "/data"});
    EXPECT_TRUE(host.Findings(false).Empty());
}
