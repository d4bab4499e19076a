// What becomes of servers' replies: each piece is logged, and of an endless one no more than the
// board's flash can bear.
#include <future>
#include <thread>

#include "app/AppPostReply.h"
#include "tests/support/TransportFixture.h"

namespace
{

const std::string kRestLine = "OnPost... the rest of the reply is not logged\n";

// The server answers with so many pieces of so many bytes.
class ReplyTest : public TransportFixture
{
protected:
    void AnswerPieces(int pieces, size_t bytes)
    {
        curl.on_perform = [=](CURL* easy)
        {
            for (int i = 0; i < pieces; ++i)
            {
                EXPECT_EQ(curl.Reply(easy, std::string(bytes, 'x')), bytes);
            }
        };
    }
    int LoggedPieces() const
    {
        return rec.CountStarting("log OnPost... ") - rec.Count("log " + kRestLine);
    }
};

} // namespace

TEST_F(ReplyTest, TheReplyIsLogged)
{
    curl.on_perform = [&](CURL* easy)
    {
        EXPECT_EQ(curl.Reply(easy, "{\"code\":0}"), 10U);
    };
    Post("http://h/");
    EXPECT_THAT(rec.Logs(), Contains("OnPost... {\"code\":0}\n"));
}

TEST_F(ReplyTest, EachPieceOfAReplyIsLoggedByItself)
{
    curl.on_perform = [&](CURL* easy)
    {
        EXPECT_EQ(curl.Reply(easy, "abc"), 3U);
        EXPECT_EQ(curl.Reply(easy, "d"), 1U);
    };
    Post("http://h/");
    EXPECT_THAT(rec.Logs(), IsSupersetOf({"OnPost... abc\n", "OnPost... d\n"}));
}

TEST_F(ReplyTest, TheCallbackTakesAllBytesWhateverTheElementSize)
{
    curl.on_perform = [&](CURL* easy)
    {
        EXPECT_EQ(curl.Reply(easy, "abcdef", 2), 6U);
    };
    Post("http://h/");
    EXPECT_THAT(rec.Logs(), Contains("OnPost... abcdef\n"));
}

TEST_F(ReplyTest, TheLargestPieceThatLibcurlGivesIsLoggedWhole)
{
    const std::string piece(CURL_MAX_WRITE_SIZE, 'x');
    curl.on_perform = [&](CURL* easy)
    {
        EXPECT_EQ(curl.Reply(easy, piece), piece.size());
    };
    Post("http://h/");
    EXPECT_THAT(rec.Logs(), Contains("OnPost... " + piece + "\n"));
}

TEST_F(ReplyTest, OnPostReturnsOne)
{
    char reply[] = "text";
    EXPECT_EQ(app.OnPost(reply, 0), 1);
    EXPECT_EQ(rec.Logs(), (Texts{"OnPost... text\n"}));
}

// --- How much of it ------------------------------------------------------------------------------

TEST_F(ReplyTest, AThousandPiecesAreLogged)
{
    AnswerPieces(1000, 1);
    Post("http://h/");
    EXPECT_EQ(rec.Count("log OnPost... x\n"), 1000);
    EXPECT_EQ(rec.Count("log " + kRestLine), 0);
}

TEST_F(ReplyTest, OneLineSaysThatFurtherPiecesAreNot)
{
    AnswerPieces(3000, 1);
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 1000);
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
    EXPECT_EQ(rec.Logs().back(), " rec-5=1 (0)\n");
}

TEST_F(ReplyTest, AQuarterOfAMegabyteIsLogged)
{
    AnswerPieces(16, 16384);
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 16);
    EXPECT_EQ(rec.Count("log " + kRestLine), 0);
}

TEST_F(ReplyTest, OneLineSaysThatFurtherBytesAreNot)
{
    // Whole pieces only, and none behind the first that is left out, however small.
    curl.on_perform = [&](CURL* easy)
    {
        for (const size_t bytes : {16383U, 16384U, 16384U, 1U})
        {
            for (int i = 0; i < 8; ++i)
            {
                EXPECT_EQ(curl.Reply(easy, std::string(bytes, 'x')), bytes);
            }
        }
    };
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 16);
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
}

TEST_F(ReplyTest, EachPostHasAShareOfItsOwn)
{
    AnswerPieces(1500, 1);
    Post("http://h/");
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 2000);
    EXPECT_EQ(rec.Count("log " + kRestLine), 2);
}

TEST_F(ReplyTest, APostInTheMiddleOfAnotherTakesNothingOfItsShare)
{
    // The alarm routine may post while a post of this thread is going on.
    curl.on_perform = [&](CURL* easy)
    {
        AnswerPieces(900, 1);
        app.DoPost("b=2", "http://alarm/");
        EXPECT_EQ(curl.Reply(easy, "y"), 1U);
        for (int i = 0; i < 1000; ++i)
        {
            EXPECT_EQ(curl.Reply(easy, "z"), 1U);
        }
    };
    Post("http://h/");
    EXPECT_EQ(rec.Count("log OnPost... x\n"), 900);
    EXPECT_EQ(rec.Count("log OnPost... y\n"), 1);
    EXPECT_EQ(rec.Count("log OnPost... z\n"), 999);
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
}

TEST_F(ReplyTest, APostOfAnotherThreadTakesNothingOfIt)
{
    curl.on_perform = [&](CURL* easy)
    {
        AnswerPieces(900, 1);
        std::thread([&] { EXPECT_EQ(app.DoPost("b=2", "http://alarm/"), 1); }).join();
        for (int i = 0; i < 1000; ++i)
        {
            EXPECT_EQ(curl.Reply(easy, "y"), 1U);
        }
    };
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 1900);
    EXPECT_EQ(rec.Count("log " + kRestLine), 0);
}

TEST_F(ReplyTest, APostOfAnotherThreadThatIsStillGoingOnTakesNothingOfIt)
{
    const CReplyShare mine(0);
    std::promise<void> used_up;
    std::promise<void> done;
    std::thread other(
        [&]
        {
            CReplyShare theirs(0);
            theirs.Take(262145);
            used_up.set_value();
            done.get_future().wait();
        });
    used_up.get_future().wait();
    char reply[] = "y";
    EXPECT_EQ(_PostOnWrite(reply, 1, 1, &app), 1U);
    EXPECT_EQ(rec.Count("log OnPost... y\n"), 1);
    done.set_value();
    other.join();
}

TEST_F(ReplyTest, NothingIsLoggedOnceThePostsTimeIsOver)
{
    // Each log line takes 10 ms of a slow flash: one read of small pieces would last for minutes.
    app.m_iTimeout = 2;
    curl.on_perform = [&](CURL* easy)
    {
        for (int i = 0; i < 500; ++i)
        {
            EXPECT_EQ(curl.Reply(easy, "x"), 1U);
            rec.steady_clock_ms += 10;
        }
    };
    Post("http://h/");
    EXPECT_EQ(LoggedPieces(), 201); // at 0, 10 ... 2000 ms
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
}

TEST_F(ReplyTest, WithoutATimeLimitALateReplyIsLogged)
{
    app.m_iTimeout = 0;
    curl.on_perform = [&](CURL* easy)
    {
        rec.steady_clock_ms += 3'600'000;
        EXPECT_EQ(curl.Reply(easy, "late"), 4U);
    };
    Post("http://h/");
    EXPECT_THAT(rec.Logs(), Contains("OnPost... late\n"));
}

TEST_F(ReplyTest, SeveralUrlsHaveOneShareTogether)
{
    FakeRound flood;
    flood.replies.assign(1200, {1, "x"});
    flood.replies.emplace_back(2, "y");
    curl.rounds = {flood};
    EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 1);
    EXPECT_EQ(LoggedPieces(), 1000);
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
}

TEST_F(ReplyTest, SeveralUrlsAreHeldToTheTimeToo)
{
    app.m_iTimeout = 2;
    FakeRound slow;
    slow.replies = {{1, "early"}};
    slow.waited_ms = 2001;
    FakeRound late;
    late.replies = {{1, "late"}};
    curl.rounds = {slow, late};
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_EQ(LoggedPieces(), 1);
    EXPECT_EQ(rec.Count("log " + kRestLine), 1);
}
