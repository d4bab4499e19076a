// What servers can do to a daemon: the post is made, its outcome is logged, the next one follows.
#include "tests/daemon/support/RawServer.h"
#include "tests/daemon/support/TransportTest.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

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

TEST_F(Transport, EmptyReplyCostsNoLineOfTheLog)
{
    // What a server of many rooms should answer.
    receiver.Answer("/post", 200, "");
    ExpectOutcome(receiver.Url(), 0);
    EXPECT_FALSE(has_logged("OnPost"));
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

TEST_F(Transport, ReplyWithoutEndEndsWithTheTimeout)
{
    // In pieces of a byte, of which one read holds thousands.
    host.Post("Timeout", "1");
    const CRawServer server(
        [](int fd)
        {
            send_for_ever(fd, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                          "1\r\nx\r\n1\r\nx\r\n1\r\nx\r\n");
        });
    ExpectOutcome(server.Url(), 28);
    EXPECT_LE(count_logged("OnPost... x\n"), 2 * 1000U);
}

TEST_F(Transport, HeadersWithoutEndAreBounded)
{
    // By libcurl, for their length, or else by the timeout.
    host.Post("Timeout", "1");
    const CRawServer server([](int fd) { send_for_ever(fd, "HTTP/1.1 200 OK\r\n", "A: b\r\n"); });
    ExpectTwoEnds(server.Url());
}

TEST_F(Transport, InterimRepliesWithoutEndAreBounded)
{
    // Likewise.
    host.Post("Timeout", "1");
    const CRawServer server([](int fd) { send_for_ever(fd, "", "HTTP/1.1 100 Continue\r\n\r\n"); });
    ExpectTwoEnds(server.Url());
}

TEST_F(Transport, RedirectIsNotFollowed)
{
    // It is a reply like any other.
    const CRawServer server(
        [this](int fd)
        {
            send_text(fd, "HTTP/1.1 307 Temporary Redirect\r\nLocation: " + receiver.Url() +
                              "\r\nContent-Length: 5\r\n\r\nmoved");
        });
    ExpectOutcome(server.Url(), 0);
    EXPECT_TRUE(has_logged("OnPost... moved\n"));
    EXPECT_THAT(receiver.Bodies(), IsEmpty());
}

TEST_F(Transport, ProxyOfTheEnvironmentIsObeyed)
{
    // It is asked for the whole URL; the name is the proxy's to look up.
    CRawServer proxy(close_without_reply);
    daemon.Env("http_proxy", proxy.Url());
    ExpectOutcome("http://server.invalid/post", 52);
    EXPECT_THAT(proxy.FirstRequest(), StartsWith("POST http://server.invalid/post HTTP/1.1\r\n"));
}

TEST_F(Transport, ProxyIsLeftOutForTheHostsOfNoProxy)
{
    // Named by its address here.
    const CNobody nobody;
    daemon.Env("http_proxy", nobody.Url());
    daemon.Env("no_proxy", "127.0.0.1");
    StartSimpleRoom();
}

TEST_F(Transport, UserAndPasswordOfTheUrlAreSentAndLogged)
{
    // As Basic authentication, user:word in base64; whoever reads the log reads them.
    CRawServer server(close_without_reply);
    const std::string url = server.Url().insert(7, "user:word@");
    ExpectOutcome(url, 52);
    EXPECT_THAT(server.FirstRequest(), HasSubstr("\r\nAuthorization: Basic dXNlcjp3b3Jk\r\n"));
    EXPECT_TRUE(has_logged("POST url=" + url + " "));
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
