// The server over loopback, with a plain client.

#include <gmock/gmock.h>
#include <httplib.h>

#include <mutex>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"
#include "vkctl/receive/ReceiveServer.h"

using namespace vkctl;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr char kForm[] = "application/x-www-form-urlencoded";

class ReceiveServerTest : public testing::Test
{
protected:
    ReceiveServerTest() { options.port = 0; }

    void Start()
    {
        server =
            std::make_unique<CReceiveServer>(options,
                                             [this](const ReceivedBody& body)
                                             {
                                                 const std::lock_guard<std::mutex> lock(m_mutex);
                                                 m_vBodies.push_back(body.bytes);
                                                 m_strPath = body.path;
                                             });
        server->Start();
    }

    httplib::Client Client() const
    {
        httplib::Client client("127.0.0.1", server->Port());
        client.set_read_timeout(std::chrono::minutes(1)); // for busy machines
        return client;
    }

    int Post(const std::string& body)
    {
        const auto result = Client().Post("/data", body, kForm);
        return result ? result->status : -1;
    }

    // False when the bodies have not come within half a minute.
    bool WaitForBodies(size_t count)
    {
        constexpr int kTries = 3000;
        for (int i = 0; i < kTries; ++i)
        {
            if (Bodies().size() >= count)
            {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    // What has arrived, and where the latest of it.
    std::vector<std::string> Bodies()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_vBodies;
    }
    std::string Path()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_strPath;
    }

    ServerOptions options;

private:
    std::mutex m_mutex; // the server's threads bring bodies
    std::vector<std::string> m_vBodies;
    std::string m_strPath;

protected:
    std::unique_ptr<CReceiveServer> server; // goes first
};

} // namespace

TEST_F(ReceiveServerTest, ABodyArrivesAsItWasSent)
{
    Start();
    EXPECT_EQ(Post("sid=1&a= x%41+=&b=R&D"), 200);
    EXPECT_THAT(Bodies(), ElementsAre("sid=1&a= x%41+=&b=R&D"));
    EXPECT_EQ(Path(), "/data");
}

TEST_F(ReceiveServerTest, AFormBodyOfManyKilobytesIsTaken)
{
    Start();
    const std::string large = "sid=1&a=" + std::string(410 * 1024, 'x');
    EXPECT_EQ(Post(large), 200);
    EXPECT_THAT(Bodies(), ElementsAre(large));
}

TEST_F(ReceiveServerTest, AnEmptyBodyIsABodyToo)
{
    Start();
    EXPECT_EQ(Post(""), 200);
    EXPECT_THAT(Bodies(), ElementsAre(""));
}

TEST_F(ReceiveServerTest, ThePathKeepsItsQuery)
{
    Start();
    Client().Post("/in/x?host=a%20b", "sid=1", kForm);
    EXPECT_EQ(Path(), "/in/x?host=a%20b");
}

TEST_F(ReceiveServerTest, OnlyPostsAreBodies)
{
    Start();
    const auto result = Client().Get("/data");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 405);
    EXPECT_TRUE(Bodies().empty());
}

TEST_F(ReceiveServerTest, TheStatusIsTheOneAskedFor)
{
    options.status = 503;
    Start();
    EXPECT_EQ(Post("sid=1"), 503);
    EXPECT_THAT(Bodies(), ElementsAre("sid=1"));
}

TEST_F(ReceiveServerTest, ATakenPortIsRefusedAlsoByAnotherReceiver)
{
    Start();
    options.port = server->Port();
    try
    {
        CReceiveServer second(options, [](const ReceivedBody&) {});
        FAIL() << "the port is shared";
    }
    catch (const CCliError& error)
    {
        EXPECT_THAT(error.what(), HasSubstr("is taken by another program"));
    }
}

TEST_F(ReceiveServerTest, AnAddressThatIsNotOursIsRefused)
{
    options.bind = "192.0.2.1";
    EXPECT_THROW(Start(), CCliError);
}

TEST_F(ReceiveServerTest, StopEndsAnAnswerThatIsHeldBack)
{
    options.delay = std::chrono::hours(1);
    Start();
    std::thread sender([this] { EXPECT_EQ(Post("sid=1"), 200); });
    EXPECT_TRUE(WaitForBodies(1));
    server->Stop();
    sender.join();
}

TEST_F(ReceiveServerTest, AHangingServerNeverAnswersButReceives)
{
    options.hang = true;
    Start();
    httplib::Client client = Client();
    client.set_read_timeout(std::chrono::milliseconds(200));
    const auto result = client.Post("/data", "sid=1", kForm);
    EXPECT_EQ(result.error(), httplib::Error::Read);
    EXPECT_THAT(Bodies(), ElementsAre("sid=1"));
}

TEST_F(ReceiveServerTest, ManyHangingConnectionsHoldNobodyUp)
{
    options.hang = true;
    Start();
    constexpr size_t kSenders = 12; // more than a usual pool of threads has
    std::vector<std::thread> senders;
    while (senders.size() < kSenders)
    {
        senders.emplace_back([this] { EXPECT_EQ(Post("sid=1"), -1); });
    }
    EXPECT_TRUE(WaitForBodies(kSenders));
    server->Stop();
    for (std::thread& sender : senders)
    {
        sender.join();
    }
}

TEST_F(ReceiveServerTest, AConnectionIsForOneBody)
{
    Start();
    httplib::Client client = Client();
    client.set_keep_alive(true);
    const auto result = client.Post("/data", "sid=1", kForm);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->get_header_value("Connection"), "close");
}

TEST_F(ReceiveServerTest, ASenderThatLeavesInTheMiddleIsNotCounted)
{
    Start();
    httplib::Client client = Client();
    const auto result = client.Post(
        "/data", 1000,
        [](size_t, size_t, httplib::DataSink& sink)
        {
            sink.write("sid=1", 5);
            return false; // hangs up with 995 bytes to go
        },
        kForm);
    EXPECT_FALSE(result);
    EXPECT_EQ(Post("sid=2"), 200);
    EXPECT_THAT(Bodies(), ElementsAre("sid=2"));
}

TEST_F(ReceiveServerTest, TlsIsTrustedThroughItsAuthority)
{
    options.tls = true;
    Start();
    const CTempDir dir;
    write_file(dir.Path("ca.pem"), server->AuthorityPem());
    httplib::SSLClient client("127.0.0.1", server->Port());
    client.set_ca_cert_path(dir.Path("ca.pem").c_str());
    client.enable_server_certificate_verification(true);
    const auto result = client.Post("/data", "sid=1", kForm);
    ASSERT_TRUE(result) << httplib::to_string(result.error());
    EXPECT_EQ(result->status, 200);
    EXPECT_THAT(server->Url(), testing::StartsWith("https://127.0.0.1:"));
}

TEST_F(ReceiveServerTest, TlsIsNotTrustedThroughAnotherAuthority)
{
    options.tls = true;
    Start();
    const CTempDir dir;
    write_file(dir.Path("ca.pem"), CServerCertificate("127.0.0.1").AuthorityPem());
    httplib::SSLClient client("127.0.0.1", server->Port());
    client.set_ca_cert_path(dir.Path("ca.pem").c_str());
    client.enable_server_certificate_verification(true);
    EXPECT_EQ(client.Post("/data", "sid=1", kForm).error(), httplib::Error::SSLServerVerification);
    EXPECT_TRUE(Bodies().empty());
}
