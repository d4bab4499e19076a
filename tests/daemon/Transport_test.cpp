// What servers can do to a daemon: the post is made, its outcome is logged, the next one follows.
#include "tests/daemon/support/DaemonTest.h"

#include <filesystem>

#include "tests/daemon/support/Certificates.h"
#include "tests/daemon/support/RawServer.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

class Transport : public DaemonTest
{
protected:
    // Starts a simple room that posts there; expects that all posts of a sweep end with that
    // outcome, by libcurl's code.
    void ExpectOutcome(const std::string& url, int code)
    {
        host.Post("Url", url);
        host.SimpleRoom();
        Start();
        const std::string line = " rec-0=1 (" + std::to_string(code) + ")\n";
        EXPECT_TRUE(wait_until([&] { return count_logged(line) == 2; })) << line;
    }

    // Waits for the line that tells one transfer's outcome among several.
    static bool WaitOutcome(const std::string& url, const std::string& outcome,
                            const std::string& text)
    {
        return wait_logged(" rec-0=" + outcome + "<" + url + "-" + text + ">\n");
    }
};

} // namespace

// --- One URL -------------------------------------------------------------------------------------

TEST_F(Transport, ErrorStatusCountsAsDone)
{
    // The server's answer is only logged.
    receiver.Answer("/post", 500, "no disk space");
    ExpectOutcome(receiver.Url(), 0);
    EXPECT_THAT(log_messages(), Contains("OnPost... no disk space\n").Times(2));
    EXPECT_THAT(receiver.Bodies(), testing::SizeIs(2));
}

TEST_F(Transport, ReplyIsLoggedAndNeverTakenForAFormat)
{
    // Its conversions stay text.
    receiver.Answer("/post", 200, "100%n%s");
    StartSimpleRoom();
    EXPECT_TRUE(wait_logged("OnPost... 100%n%s\n"));
}

TEST_F(Transport, RefusedConnection)
{
    // Nobody listens there; both posts of the sweep are made.
    const CNobody nobody;
    ExpectOutcome(nobody.Url(), 7);
}

TEST_F(Transport, ServerThatHangsUpWithoutReply)
{
    // The body was taken, nothing comes back.
    const CRawServer server(close_without_reply);
    ExpectOutcome(server.Url(), 52);
}

TEST_F(Transport, ConnectionResetInTheMiddleOfTheReply)
{
    // The half that came is logged.
    const CRawServer server(reset_in_the_middle);
    ExpectOutcome(server.Url(), 56);
    EXPECT_TRUE(has_logged("OnPost... half\n"));
}

TEST_F(Transport, GarbageForAReply)
{
    // Bytes that are no HTTP.
    const CRawServer server(reply_garbage);
    ExpectOutcome(server.Url(), 1);
}

TEST_F(Transport, ReplyThatNeverComesEndsWithTheTimeout)
{
    // One second each.
    host.Post("Timeout", "1");
    receiver.Hold();
    ExpectOutcome(receiver.Url(), 28);
}

TEST_F(Transport, ReplyOf100Megabytes)
{
    // It passes through without being kept or logged whole, and the next post follows.
    host.Post("Timeout", "100");
    receiver.AnswerBytes("/post", 100'000'000);
    host.SimpleRoom();
    Start();
    ASSERT_TRUE(wait_logged(" rec-0=1 (0)\n"));
    receiver.AnswerBytes("/post", 2);
    EXPECT_THAT(receiver.WaitBodies(2),
                ElementsAre(kDevice7Body, MatchesRegex(kHostStatusPattern)));
    EXPECT_EQ(count_logged("OnPost... the rest of the reply is not logged\n"), 1U);
    EXPECT_LT(read_file(kLogPath).size(), 300'000U);
}

TEST_F(Transport, ReplyInOneBytePieces)
{
    // A hundred thousand chunks; a thousand lines.
    const CRawServer server(reply_in_small_chunks);
    ExpectOutcome(server.Url(), 0);
    EXPECT_EQ(count_logged("OnPost... x\n"), 2 * 1000U);
    EXPECT_EQ(count_logged("OnPost... the rest of the reply is not logged\n"), 2U);
}

TEST_F(Transport, CookieFileIsReadAndNotWritten)
{
    // A cookie that somebody put there goes out with every post.
    const std::string cookies = "127.0.0.1\tFALSE\t/\tFALSE\t0\tticket\tabc\n";
    write_file("/NandFlash/curl.cookie", cookies);
    StartSimpleRoom();
    EXPECT_EQ(receiver.Cookie(), "ticket=abc");
    receiver.Body(1);
    EXPECT_EQ(read_file("/NandFlash/curl.cookie"), cookies);
}

TEST_F(Transport, HttpsFurtherOnInAUrlDoesNotMatter)
{
    // It counts as https, which plain HTTP ignores.
    host.Post("Url", receiver.Url("/post?from=https://x"));
    StartSimpleRoom();
    EXPECT_TRUE(wait_logged(" rec-0=1 (0)\n"));
}

TEST_F(Transport, UrlThatIsNone)
{
    // libcurl says what is wrong with it.
    ExpectOutcome("no scheme://at all", 3);
}

// --- Several URLs --------------------------------------------------------------------------------

TEST_F(Transport, EveryUrlGetsEveryBody)
{
    // Three servers' paths, each with the whole sweep.
    host.Post("maxURLs", "3");
    host.Post("Url1", receiver.Url("/b"));
    host.Post("Url2", receiver.Url("/c"));
    StartSimpleRoom();
    for (const char* path : {"/post", "/b", "/c"})
    {
        EXPECT_THAT(receiver.WaitBodies(2, path),
                    ElementsAre(kDevice7Body, MatchesRegex(kHostStatusPattern)));
    }
}

TEST_F(Transport, SeveralUrlsHaveTheirOwnLines)
{
    // One line for the body, one for each outcome.
    host.Post("maxURLs", "2");
    host.Post("Url1", receiver.Url("/b"));
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(receiver.Url(), "0 (0)", "No error"));
    EXPECT_TRUE(WaitOutcome(receiver.Url("/b"), "0 (0)", "No error"));
    EXPECT_THAT(log_messages(),
                Contains("start DoPostEx Msg: " + std::string(kDevice7Body) + "\n"));
    EXPECT_THAT(log_messages(), Not(Contains("   DoPost...\n")));
}

TEST_F(Transport, ServerThatHangsDoesNotDelayTheOthers)
{
    // Two of three have their body, and their outcome is known, while the third is silent.
    host.Post("maxURLs", "3");
    host.Post("Url1", receiver.Url("/hangs"));
    host.Post("Url2", receiver.Url("/c"));
    host.Post("Timeout", "100");
    receiver.Hold("/hangs");
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(receiver.Url(), "0 (0)", "No error"));
    EXPECT_TRUE(WaitOutcome(receiver.Url("/c"), "0 (0)", "No error"));
    receiver.Release("/hangs");
    EXPECT_TRUE(WaitOutcome(receiver.Url("/hangs"), "0 (0)", "No error"));
}

TEST_F(Transport, ServerThatHangsIsBoundedByTheTimeout)
{
    // The next body goes to all three again.
    host.Post("maxURLs", "3");
    host.Post("Url1", receiver.Url("/hangs"));
    host.Post("Url2", receiver.Url("/c"));
    host.Post("Timeout", "1");
    receiver.Hold("/hangs");
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(receiver.Url("/hangs"), "-1 (28)", "Timeout was reached"));
    EXPECT_THAT(receiver.WaitBodies(2, "/hangs"), testing::SizeIs(2));
    EXPECT_THAT(receiver.WaitBodies(2, "/c"), testing::SizeIs(2));
}

TEST_F(Transport, ServerThatRefusesDoesNotKeepTheOthersFromTheirBody)
{
    // Each has an outcome of its own.
    const CNobody nobody;
    const CRawServer garbage(reply_garbage);
    host.Post("maxURLs", "3");
    host.Post("Url1", nobody.Url());
    host.Post("Url2", garbage.Url());
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(nobody.Url(), "-1 (7)", "Couldn't connect to server"));
    EXPECT_TRUE(WaitOutcome(garbage.Url(), "-1 (1)", "Unsupported protocol"));
    EXPECT_TRUE(WaitOutcome(receiver.Url(), "0 (0)", "No error"));
}

// --- Names ---------------------------------------------------------------------------------------

namespace
{

// Servers by name; see stubs/SilentNames.cpp.
class Names : public Transport
{
protected:
    Names()
    {
        daemon.Env("LD_PRELOAD", VK_SILENT_NAMES);
        daemon.Env("ASAN_OPTIONS", "verify_asan_link_order=0");
    }

    // A URL of the receiver by that name.
    std::string UrlBy(const std::string& name) const
    {
        const std::string url = receiver.Url();
        const std::string address = "127.0.0.1";
        return std::string(url).replace(url.find(address), address.size(), name);
    }
};

} // namespace

TEST_F(Names, KnownNameLeadsToItsServer)
{
    // The answer comes through the daemon's own limit.
    ExpectOutcome(UrlBy("known.example"), 0);
    EXPECT_EQ(receiver.Body(0), kDevice7Body);
}

TEST_F(Names, SilentNameServerIsBoundedByTheTimeout)
{
    // It never answers; both posts of the sweep end, and the second asks no second time.
    host.Post("Timeout", "1");
    ExpectOutcome(UrlBy("silent.example"), 28);
    EXPECT_EQ(read_file(host.File("asked")), "?");
}

TEST_F(Names, SilentNameServerHoldsUpSeveralUrlsNoLonger)
{
    // Of two, one is known by its address.
    host.Post("Timeout", "1");
    host.Post("maxURLs", "2");
    host.Post("Url1", UrlBy("silent.example"));
    StartSimpleRoom();
    EXPECT_TRUE(WaitOutcome(UrlBy("silent.example"), "-1 (28)", "Timeout was reached"));
    EXPECT_THAT(receiver.WaitBodies(2), testing::SizeIs(2));
}

TEST_F(Names, UnknownNameIsAnErrorOfItsOwn)
{
    // What the system says of a name is passed on.
    ExpectOutcome(UrlBy("unknown.example"), 6);
}

// --- HTTPS ---------------------------------------------------------------------------------------

namespace
{

// A server with a certificate, and authorities that a daemon may trust.
class Https : public Transport
{
protected:
    CAuthority ours{host.Path(), "ours"};
    CAuthority others{host.Path(), "others"};
    CReceiver secure{ours.Issue("IP:127.0.0.1")};
    CReceiver impostor{ours.Issue("DNS:other.example,IP:127.0.0.2")};
};

} // namespace

TEST_F(Https, RightAuthorityLetsTheBodyPass)
{
    // As with plain HTTP.
    host.Post("CA", ours.CertificateFile());
    ExpectOutcome(secure.Url(), 0);
    EXPECT_EQ(secure.Body(0), kDevice7Body);
}

TEST_F(Https, WrongAuthorityIsRefused)
{
    // The server's certificate was made by another one; no body leaves.
    host.Post("CA", others.CertificateFile());
    ExpectOutcome(secure.Url(), 60);
    EXPECT_THAT(secure.Bodies(), IsEmpty());
}

TEST_F(Https, AnotherHostsCertificateIsRefused)
{
    // Made by the right authority, for somebody else.
    host.Post("CA", ours.CertificateFile());
    ExpectOutcome(impostor.Url(), 60);
    EXPECT_THAT(impostor.Bodies(), IsEmpty());
}

TEST_F(Https, MissingAuthorityFileIsAnError)
{
    // Not a reason to do without.
    host.Post("CA", host.File("no-such.pem"));
    ExpectOutcome(secure.Url(), 77);
    EXPECT_THAT(secure.Bodies(), IsEmpty());
}

TEST_F(Https, WithoutAuthorityAnyIssuerIsTrusted)
{
    // No CA configured: who made the certificate is not asked.
    ExpectOutcome(secure.Url(), 0);
    EXPECT_EQ(secure.Body(0), kDevice7Body);
}

TEST_F(Https, WithoutAuthorityTheHostIsStillChecked)
{
    // The certificate must be this host's.
    ExpectOutcome(impostor.Url(), 60);
    EXPECT_THAT(impostor.Bodies(), IsEmpty());
}

TEST_F(Https, SeveralUrlsMayMixSchemes)
{
    // One plain, one trusted, one impostor.
    host.Post("CA", ours.CertificateFile());
    host.Post("maxURLs", "3");
    host.Post("Url1", secure.Url());
    host.Post("Url2", impostor.Url());
    StartSimpleRoom();
    EXPECT_EQ(secure.Body(0), kDevice7Body);
    EXPECT_TRUE(WaitOutcome(impostor.Url(), "-1 (60)",
                            "SSL peer certificate or SSH remote key was not OK"));
}

TEST_F(Https, PlainServerBehindAnHttpsUrlIsAnError)
{
    // No body leaves unencrypted.
    std::string url = receiver.Url();
    ExpectOutcome(url.insert(4, "s"), 35);
    EXPECT_THAT(receiver.Bodies(), IsEmpty());
}
