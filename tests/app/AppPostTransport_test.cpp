// The transport: what is asked of libcurl and in which order, what is logged, and every way in
// which a post can fail. libcurl is the test's own; nothing waits.
#include <cstring>
#include <new>

#include "app/NameLookup.h"
#include "tests/support/TransportFixture.h"

namespace
{

// Buffers asked for with new (std::nothrow): the so manieth from now on is not to be had; 0: all.
int failing_allocation = 0;

std::vector<size_t> allocated; // how much was asked for

} // namespace

void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    if (failing_allocation > 0 && --failing_allocation == 0)
    {
        return nullptr;
    }
    allocated.push_back(size);
    return ::operator new[](size);
}

namespace
{

const std::string kGbkBody = "\xB6\xAF=1"; // what becomes of "动=1"

class TransportTest : public TransportFixture
{
protected:
    TransportTest() { failing_allocation = 0; }
    ~TransportTest() override { failing_allocation = 0; }
};

// Runs the work; what it wrote to standard error.
template <class Work> std::string stderr_of(Work&& work)
{
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

} // namespace

// --- One URL ------------------------------------------------------------------------------------

TEST_F(TransportTest, PostsOverHttp)
{
    EXPECT_EQ(app.DoPost("a=1", "http://h/p"), 1);
    EXPECT_EQ(rec.Events(),
              (Texts{"log    DoPost...\n", "log    DoPost Msg: a=1\n", "e1=easy_init",
                     "e1 URL=http://h/p", "e1 POSTFIELDS=a=1", "e1 WRITEFUNCTION=_PostOnWrite",
                     "e1 WRITEDATA=poster", "e1 POST=1", "e1 TIMEOUT=15",
                     "e1 COOKIEFILE=/NandFlash/curl.cookie", "e1 perform a=1", "e1 cleanup",
                     "log  rec-5=1 (0)\n"}));
}

TEST_F(TransportTest, HttpsWithACaVerifiesPeerAndHost)
{
    CAppPost::m_strCA = "/etc/ca.pem";
    Post("https://h/p");
    EXPECT_EQ(
        EasyEvents(),
        (Texts{"URL=https://h/p", "SSL_VERIFYPEER=1", "CAINFO=/etc/ca.pem", "SSL_VERIFYHOST=2",
               "POSTFIELDS=a=1", "WRITEFUNCTION=_PostOnWrite", "WRITEDATA=poster", "POST=1",
               "TIMEOUT=15", "COOKIEFILE=/NandFlash/curl.cookie", "perform a=1", "cleanup"}));
}

TEST_F(TransportTest, HttpsWithoutACaVerifiesNoPeerAndStillAsksForTheHost)
{
    Post("https://h/p");
    EXPECT_EQ(EasyEvents(),
              (Texts{"URL=https://h/p", "SSL_VERIFYPEER=0", "SSL_VERIFYHOST=1", "POSTFIELDS=a=1",
                     "WRITEFUNCTION=_PostOnWrite", "WRITEDATA=poster", "POST=1", "TIMEOUT=15",
                     "COOKIEFILE=/NandFlash/curl.cookie", "perform a=1", "cleanup"}));
}

TEST_F(TransportTest, HttpsIsFoundAnywhereInTheUrl)
{
    Post("http://h/?to=https://k/");
    EXPECT_THAT(EasyEvents(), IsSupersetOf({"SSL_VERIFYPEER=0", "SSL_VERIFYHOST=1"}));
}

TEST_F(TransportTest, HttpsInCapitalsIsNotHttps)
{
    Post("HTTPS://h/");
    EXPECT_THAT(EasyEvents(), Each(Not(StartsWith("SSL"))));
}

TEST_F(TransportTest, ACaIsNotAskedForOverHttp)
{
    CAppPost::m_strCA = "/etc/ca.pem";
    Post("http://h/");
    EXPECT_THAT(EasyEvents(), Not(Contains("CAINFO=/etc/ca.pem")));
}

TEST_F(TransportTest, NegativeTimeoutIsReplacedByTheDefault)
{
    // libcurl would refuse it and wait for ever.
    app.m_iTimeout = -5;
    Post("http://h/");
    EXPECT_THAT(EasyEvents(), Contains("TIMEOUT=15"));
}

TEST_F(TransportTest, TimeoutThatIsTooLargeIsTheLargestThatTheLibraryTakes)
{
    app.m_iTimeout = 2147483647;
    Post("http://h/");
    EXPECT_THAT(EasyEvents(), Contains("TIMEOUT=2147483"));
}

TEST_F(TransportTest, TheTimeoutIsTheConfiguredOne)
{
    app.m_iTimeout = 0;
    Post("http://h/");
    EXPECT_THAT(EasyEvents(), Contains("TIMEOUT=0"));
}

TEST_F(TransportTest, TheTimeoutHoldsForTheLookupOfNamesToo)
{
    Post("http://h/");
    EXPECT_EQ(name_lookup_limit_s(), 15);
    app.m_iTimeout = 7;
    EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 1);
    EXPECT_EQ(name_lookup_limit_s(), 7);
    app.m_iTimeout = 0;
    Post("http://h/");
    EXPECT_EQ(name_lookup_limit_s(), 0);
}

TEST_F(TransportTest, WithoutUrlThePostGoesToTheConfiguredOne)
{
    EXPECT_EQ(app.DoPost("a=1", nullptr), 1);
    EXPECT_EQ(app.DoPost("a=1", ""), 1);
    EXPECT_THAT(EasyEvents(1), Contains("URL=http://main/"));
    EXPECT_THAT(EasyEvents(2), Contains("URL=http://main/"));
}

TEST_F(TransportTest, WithoutBodyThePostersOwnIsSent)
{
    std::strcpy(app.m_szPostBuf, "own=1");
    EXPECT_EQ(app.DoPost(nullptr, "http://h/"), 1);
    EXPECT_THAT(rec.Events(), IsSupersetOf({"log    DoPost Msg: own=1\n", "e1 perform own=1"}));
}

TEST_F(TransportTest, AnEmptyUrlIsNotPostedTo)
{
    app.m_strUrl.clear();
    EXPECT_EQ(app.DoPost("a=1", nullptr), 0);
    EXPECT_EQ(rec.Events(), (Texts{"log    DoPost...\n"}));
}

TEST_F(TransportTest, AListOfOneUrlIsNotUsed)
{
    app.m_vUrls = {"http://list/"};
    EXPECT_EQ(app.DoPost("a=1", nullptr), 1);
    EXPECT_THAT(rec.Events(), IsSupersetOf({"log    DoPost...\n", "e1 URL=http://main/"}));
}

TEST_F(TransportTest, AGivenUrlIsPreferredToTheList)
{
    app.m_vUrls = {"http://a/", "http://b/"};
    Post("http://h/");
    EXPECT_THAT(EasyEvents(), Contains("URL=http://h/"));
}

TEST_F(TransportTest, AFailedTransferIsDoneAllTheSame)
{
    curl.easy_results = {CURLE_OPERATION_TIMEDOUT};
    EXPECT_EQ(app.DoPost("a=1", "http://h/"), 1);
    EXPECT_EQ(rec.Logs().back(), " rec-5=1 (28)\n");
}

TEST_F(TransportTest, WithoutAnEasyHandleNothingIsSent)
{
    curl.fail_easy_init = 1;
    EXPECT_EQ(app.DoPost("a=1", "http://h/"), 0);
    EXPECT_EQ(rec.Events(), (Texts{"log    DoPost...\n", "log    DoPost Msg: a=1\n",
                                   "easy_init failed", "log  rec-5=0 (0)\n"}));
}

TEST_F(TransportTest, TheBodyIsACopy)
{
    std::strcpy(app.m_szPostBuf, "a=1");
    curl.on_perform = [&](CURL*)
    {
        std::strcpy(app.m_szPostBuf, "b=2");
    };
    EXPECT_EQ(app.DoPost(nullptr, "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("POSTFIELDS=a=1"));
}

TEST_F(TransportTest, AnEmptyBodyIsPosted)
{
    EXPECT_EQ(app.DoPost("", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform "));
}

// --- Encoding -----------------------------------------------------------------------------------

TEST_F(TransportTest, TheBodyIsConverted)
{
    CAppPost::m_sEncoding = "GBK";
    EXPECT_EQ(app.DoPost("动=1", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform " + kGbkBody));
}

TEST_F(TransportTest, TheLogShowsTheBodyBeforeItsConversion)
{
    CAppPost::m_sEncoding = "GBK";
    EXPECT_EQ(app.DoPost("动=1", "http://h/"), 1);
    EXPECT_THAT(rec.Logs(), Contains("   DoPost Msg: 动=1\n"));
}

TEST_F(TransportTest, Utf8IsNotConverted)
{
    EXPECT_EQ(app.DoPost("a\xFFz", "http://h/"), 1); // a conversion would stop at the byte FF
    EXPECT_THAT(EasyEvents(), Contains("perform a\xFFz"));
}

TEST_F(TransportTest, Utf8InLowerCaseIsConverted)
{
    CAppPost::m_sEncoding = "utf-8";
    EXPECT_EQ(app.DoPost("a\xFFz", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform a"));
}

TEST_F(TransportTest, AnUnknownEncodingLeavesTheBodyAsItIs)
{
    CAppPost::m_sEncoding = "no-such-charset";
    EXPECT_EQ(app.DoPost("动=1", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform 动=1"));
}

TEST_F(TransportTest, AnEmptyBodyIsConvertedToAnEmptyOne)
{
    CAppPost::m_sEncoding = "GBK";
    EXPECT_EQ(app.DoPost("", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform "));
}

TEST_F(TransportTest, ABodyThatGrowsToFourTimesItsLengthFits)
{
    // GB18030 takes four bytes for a character of two in UTF-8, that is U+0080.
    CAppPost::m_sEncoding = "GB18030";
    EXPECT_EQ(app.DoPost("\xC2\x80\xC2\x80", "http://h/"), 1);
    EXPECT_THAT(EasyEvents(), Contains("perform \x81\x30\x81\x30\x81\x30\x81\x30"));
}

TEST_F(TransportTest, RoomIsMadeForFourTimesTheBody)
{
    // As much as the widest encoding may take; the room is handed on without its size.
    CAppPost::m_sEncoding = "UTF-32BE";
    allocated.clear();
    Post("http://h/");
    EXPECT_THAT(allocated, ElementsAre(4U, 13U)); // of "a=1" and its end mark
}

// --- Memory -------------------------------------------------------------------------------------

TEST_F(TransportTest, WithoutMemoryForTheBodyNothingIsSent)
{
    failing_allocation = 1;
    EXPECT_EQ(app.DoPost("a=1", "http://h/"), 0);
    EXPECT_EQ(rec.Events(), (Texts{"log    DoPost...\n", "log    DoPost Msg: a=1\n"}));
}

TEST_F(TransportTest, WithoutMemoryForEitherBufferOfAConversionNothingIsSent)
{
    CAppPost::m_sEncoding = "GBK";
    for (const int nth : {1, 2})
    {
        failing_allocation = nth;
        EXPECT_EQ(app.DoPost("a=1", "http://h/"), 0);
    }
    EXPECT_EQ(rec.CountStarting("e1"), 0);
}

TEST_F(TransportTest, SeveralUrlsWithoutMemoryForTheBody)
{
    failing_allocation = 1;
    EXPECT_EQ(PostEx({"http://a/"}), 0);
    EXPECT_EQ(rec.Events(), (Texts{"log Err malloc [4]!!!\n", "log Err NULL==bufCvtTo!!!\n"}));
}

TEST_F(TransportTest, SeveralUrlsWithoutMemoryForEitherBufferOfAConversion)
{
    CAppPost::m_sEncoding = "GBK";
    for (const int nth : {1, 2})
    {
        rec.Clear();
        failing_allocation = nth;
        EXPECT_EQ(PostEx({"http://a/"}), 0);
        EXPECT_EQ(rec.Events(),
                  (Texts{"log Err malloc [4-13]!!!\n", "log Err NULL==bufCvtTo!!!\n"}));
    }
}

// --- Several URLs -------------------------------------------------------------------------------

TEST_F(TransportTest, PostsToSeveralUrlsAtOnce)
{
    EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 1);
    EXPECT_EQ(rec.Events(), (Texts{"log start DoPostEx Msg: a=1\n",
                                   "m1=multi_init",
                                   "m1 MAXCONNECTS=2",
                                   "e1=easy_init",
                                   "e1 URL=http://a/",
                                   "e1 WRITEFUNCTION=_PostOnWrite",
                                   "e1 HEADER=0",
                                   "e1 PRIVATE=http://a/",
                                   "e1 VERBOSE=0",
                                   "e1 POSTFIELDS=a=1",
                                   "e1 WRITEDATA=poster",
                                   "e1 POST=1",
                                   "e1 TIMEOUT=15",
                                   "e1 COOKIEFILE=/NandFlash/curl.cookie",
                                   "m1 add e1",
                                   "e2=easy_init",
                                   "e2 URL=http://b/",
                                   "e2 WRITEFUNCTION=_PostOnWrite",
                                   "e2 HEADER=0",
                                   "e2 PRIVATE=http://b/",
                                   "e2 VERBOSE=0",
                                   "e2 POSTFIELDS=a=1",
                                   "e2 WRITEDATA=poster",
                                   "e2 POST=1",
                                   "e2 TIMEOUT=15",
                                   "e2 COOKIEFILE=/NandFlash/curl.cookie",
                                   "m1 add e2",
                                   "m1 perform a=1 a=1",
                                   "m1 wait 200",
                                   "log  rec-5=0 (0)<http://a/-No error>\n",
                                   "m1 remove e1",
                                   "e1 cleanup",
                                   "log  rec-5=0 (0)<http://b/-No error>\n",
                                   "m1 remove e2",
                                   "e2 cleanup",
                                   "m1 cleanup"}));
}

TEST_F(TransportTest, SeveralUrlsEachHaveTheTlsOptionsOfTheirOwn)
{
    CAppPost::m_strCA = "/etc/ca.pem";
    EXPECT_EQ(PostEx({"http://a/", "https://b/"}), 1);
    EXPECT_THAT(EasyEvents(1), Each(Not(StartsWith("SSL"))));
    EXPECT_EQ(EasyEvents(2),
              (Texts{"URL=https://b/", "SSL_VERIFYPEER=1", "CAINFO=/etc/ca.pem", "SSL_VERIFYHOST=2",
                     "WRITEFUNCTION=_PostOnWrite", "HEADER=0", "PRIVATE=https://b/", "VERBOSE=0",
                     "POSTFIELDS=a=1", "WRITEDATA=poster", "POST=1", "TIMEOUT=15",
                     "COOKIEFILE=/NandFlash/curl.cookie", "cleanup"}));
}

TEST_F(TransportTest, SeveralHttpsUrlsWithoutACa)
{
    EXPECT_EQ(PostEx({"https://a/"}), 1);
    EXPECT_THAT(EasyEvents(1), IsSupersetOf({"SSL_VERIFYPEER=0", "SSL_VERIFYHOST=1"}));
}

TEST_F(TransportTest, AListOfTwoUrlsTakesTheOtherPathWithoutItsLogLine)
{
    app.m_vUrls = {"http://a/", "http://b/"};
    EXPECT_EQ(app.DoPost("a=1", nullptr), 1);
    EXPECT_EQ(rec.Logs(), (Texts{"start DoPostEx Msg: a=1\n", " rec-5=0 (0)<http://a/-No error>\n",
                                 " rec-5=0 (0)<http://b/-No error>\n"}));
}

TEST_F(TransportTest, AListOfTwoUrlsIsPostedThePostersOwnBody)
{
    std::strcpy(app.m_szPostBuf, "own=1");
    app.m_vUrls = {"http://a/", "http://b/"};
    EXPECT_EQ(app.DoPost(nullptr, ""), 1);
    EXPECT_THAT(MultiEvents(), Contains("m1 perform own=1 own=1"));
}

TEST_F(TransportTest, AnEmptyListIsNotPostedTo)
{
    EXPECT_EQ(PostEx({}), 0);
    EXPECT_THAT(rec.Events(), IsEmpty());
}

TEST_F(TransportTest, SeveralUrlsShareOneConversionWhichTheLogShows)
{
    CAppPost::m_sEncoding = "GBK";
    EXPECT_EQ(app.DoPostEx({"http://a/", "http://b/"}, "动=1"), 1);
    EXPECT_EQ(rec.Logs().front(), "start DoPostEx Msg: " + kGbkBody + "\n");
    EXPECT_THAT(MultiEvents(), Contains("m1 perform " + kGbkBody + " " + kGbkBody));
}

TEST_F(TransportTest, AFailedTransferOfSeveralIsLoggedAndDoneAllTheSame)
{
    curl.rounds = {Ending(1, CURLE_COULDNT_CONNECT, 0)};
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_EQ(rec.Logs().back(), " rec-5=-1 (7)<http://a/-text of 7>\n");
}

TEST_F(TransportTest, EachTransferIsLoggedWhenItEnds)
{
    curl.rounds = {Ending(2, CURLE_OPERATION_TIMEDOUT, 1), FakeRound{}, Ending(1, CURLE_OK, 0)};
    EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 1);
    EXPECT_EQ(
        rec.Between("m1 perform", "none"),
        (Texts{"m1 perform a=1 a=1", "m1 wait 200", "log  rec-5=-1 (28)<http://b/-text of 28>\n",
               "m1 remove e2", "e2 cleanup", "m1 perform a=1", "m1 wait 200", "m1 perform a=1",
               "m1 wait 200", "log  rec-5=0 (0)<http://a/-No error>\n", "m1 remove e1",
               "e1 cleanup", "m1 cleanup"}));
}

TEST_F(TransportTest, AMessageOfAnotherKindIsReportedAndTheOthersAreRead)
{
    FakeRound round;
    round.running = 0;
    round.ends = {{1, CURLE_OK, CURLMSG_NONE}, {1, CURLE_OK}};
    curl.rounds = {round};
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 1); }), "Error: CURLMsg (0)\n");
    EXPECT_EQ(rec.Logs().back(), " rec-5=0 (0)<http://a/-No error>\n");
}

TEST_F(TransportTest, WithoutAMultiHandleNothingIsSent)
{
    curl.fail_multi_init = true;
    EXPECT_EQ(PostEx({"http://a/"}), 0);
    EXPECT_EQ(rec.Events(), (Texts{"log start DoPostEx Msg: a=1\n"}));
}

TEST_F(TransportTest, ATransferThatCannotBeMadeIsLeftOut)
{
    curl.fail_easy_init = 1;
    EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 1);
    EXPECT_THAT(MultiEvents(), Contains("m1 perform a=1"));
    EXPECT_EQ(rec.Logs().back(), " rec-5=0 (0)<http://b/-No error>\n");
}

TEST_F(TransportTest, WhenNoTransferCanBeMadeTheResultIsZero)
{
    curl.fail_easy_init = 1;
    EXPECT_EQ(PostEx({"http://a/"}), 0);
    EXPECT_EQ(rec.Logs(), (Texts{"start DoPostEx Msg: a=1\n"}));
}

TEST_F(TransportTest, ATransferThatCannotBeAddedIsCleanedUp)
{
    curl.fail_add = true;
    EXPECT_EQ(PostEx({"http://a/"}), 0);
    EXPECT_EQ(EasyEvents().back(), "cleanup");
}

TEST_F(TransportTest, InitCurlAddsOneTransfer)
{
    CURLM* multi = curl_multi_init();
    app.initCurl(multi, "b=2", "https://a/", &app, 7);
    EXPECT_EQ(EasyEvents(), (Texts{"URL=https://a/", "SSL_VERIFYPEER=0", "SSL_VERIFYHOST=1",
                                   "WRITEFUNCTION=_PostOnWrite", "HEADER=0", "PRIVATE=https://a/",
                                   "VERBOSE=0", "POSTFIELDS=b=2", "WRITEDATA=poster", "POST=1",
                                   "TIMEOUT=7", "COOKIEFILE=/NandFlash/curl.cookie"}));
    EXPECT_EQ(rec.Events().back(), "m1 add e1");
    curl.CleanUp();
}

TEST_F(TransportTest, InitCurlAddsNothingWithoutAHandleOrARoomForIt)
{
    CURLM* multi = curl_multi_init();
    curl.fail_easy_init = 1;
    app.initCurl(multi, "b=2", "http://a/", &app, 7);
    curl.fail_add = true;
    app.initCurl(multi, "b=2", "http://a/", &app, 7);
    EXPECT_EQ(rec.CountStarting("m1 add"), 0);
    EXPECT_EQ(EasyEvents().back(), "cleanup");
    curl.CleanUp();
}

TEST_F(TransportTest, InitCurlRefusesNullArguments)
{
    app.initCurl(nullptr, nullptr, "http://a/", &app, 15);
    CURLM* multi = curl_multi_init();
    app.initCurl(multi, nullptr, "http://a/", &app, 15);
    curl_multi_cleanup(multi);
    EXPECT_EQ(rec.Events(), (Texts{"log Err NULL==cm!!!\n", "m1=multi_init",
                                   "log Err NULL==abuf!!!\n", "m1 cleanup"}));
}

// --- Waiting for several ------------------------------------------------------------------------

TEST_F(TransportTest, WaitsAsLongAsLibcurlAsked)
{
    FakeRound longer;
    longer.timeout_ms = 60000;
    FakeRound at_once;
    at_once.timeout_ms = 0;
    curl.rounds = {longer, at_once};
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(MultiEvents(), IsSupersetOf({"m1 wait 60000", "m1 wait 0"}));
}

TEST_F(TransportTest, WithoutATimeoutOfLibcurlTheWaitIsASecond)
{
    FakeRound none;
    none.timeout_ms = -1;
    curl.rounds = {none};
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(MultiEvents(), Contains("m1 wait 1000"));
}

TEST_F(TransportTest, DoesNotSpinWithoutADescriptorToWaitFor)
{
    FakeRound resolving; // curl_multi_wait comes back at once, and nothing is ready
    resolving.ready = 0;
    curl.rounds.assign(7, resolving);
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAre(1, 2, 4, 8, 10, 10, 10));
}

TEST_F(TransportTest, PausesNoLongerThanLibcurlAsked)
{
    FakeRound resolving;
    resolving.ready = 0;
    resolving.timeout_ms = 3;
    curl.rounds.assign(4, resolving);
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAre(1, 2, 3, 3));
}

TEST_F(TransportTest, AWaitThatLastedNeedsNoPause)
{
    FakeRound waited;
    waited.ready = 0;
    waited.waited_ms = 200;
    curl.rounds.assign(5, waited);
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(TransportTest, NoPauseIsMadeWhereLibcurlAskedForNone)
{
    FakeRound at_once;
    at_once.ready = 0;
    at_once.timeout_ms = 0;
    curl.rounds.assign(5, at_once);
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(TransportTest, PausesBeginShortAgainAfterADescriptorWasReady)
{
    FakeRound resolving;
    resolving.ready = 0;
    curl.rounds = {resolving, resolving, FakeRound{}, resolving};
    EXPECT_EQ(PostEx({"http://a/"}), 1);
    EXPECT_THAT(rec.Pauses(), ElementsAre(1, 2, 1));
}

// --- Where libcurl refuses ----------------------------------------------------------------------

TEST_F(TransportTest, AFailedPerformIsReportedAndTriedAgain)
{
    curl.rounds = {Failing(CURLM_OUT_OF_MEMORY, CURLM_OK, 1)};
    const std::string text = stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 1); });
    EXPECT_EQ(text, "curl_multi_perform failed, code 3.n");
    EXPECT_EQ(MultiEvents(),
              (Texts{"m1=multi_init", "m1 MAXCONNECTS=1", "m1 add e1", "m1 perform a=1",
                     "m1 perform a=1", "m1 wait 200", "m1 remove e1", "m1 cleanup"}));
}

TEST_F(TransportTest, AFailedWaitIsReportedAndTriedAgain)
{
    curl.rounds = {Failing(CURLM_OK, CURLM_INTERNAL_ERROR, 1)};
    const std::string text = stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 1); });
    EXPECT_EQ(text, "curl_multi_wait failed, code 4.n");
    EXPECT_EQ(rec.Logs().back(), " rec-5=0 (0)<http://a/-No error>\n");
}

TEST_F(TransportTest, APauseIsMadeAfterAFailure)
{
    curl.rounds = {Failing(CURLM_OUT_OF_MEMORY, CURLM_OK, FakeRound::kUnchanged),
                   Failing(CURLM_OK, CURLM_INTERNAL_ERROR, 1)};
    stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 1); });
    EXPECT_THAT(rec.Pauses(), ElementsAre(100, 100));
}

TEST_F(TransportTest, AFailureWhileNothingRunsEndsThePost)
{
    curl.rounds = {Failing(CURLM_BAD_HANDLE, CURLM_OK, 0)};
    const std::string text = stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 0); });
    EXPECT_EQ(text, "curl_multi_perform failed, code 1.n");
    EXPECT_THAT(rec.Pauses(), IsEmpty());
}

TEST_F(TransportTest, AHundredFailuresInARowEndThePost)
{
    curl.rounds.assign(200, Failing(CURLM_INTERNAL_ERROR, CURLM_OK, 1));
    stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 0); });
    EXPECT_EQ(rec.Count("m1 perform a=1"), 100);
    EXPECT_EQ(rec.PauseSum(), 99 * 100);
}

TEST_F(TransportTest, TransfersThatAreGivenUpAreReleased)
{
    curl.rounds.assign(100, Failing(CURLM_INTERNAL_ERROR, CURLM_OK, 1));
    stderr_of([&] { EXPECT_EQ(PostEx({"http://a/", "http://b/"}), 0); });
    EXPECT_EQ(rec.Between("m1 remove", "none"),
              (Texts{"m1 remove e1", "m1 remove e2", "e1 cleanup", "e2 cleanup", "m1 cleanup"}));
}

TEST_F(TransportTest, FailuresThatAreNotInARowDoNotEndThePost)
{
    for (int i = 0; i < 150; ++i)
    {
        curl.rounds.push_back(Failing(CURLM_INTERNAL_ERROR, CURLM_OK, 1));
        curl.rounds.push_back(FakeRound{});
    }
    stderr_of([&] { EXPECT_EQ(PostEx({"http://a/"}), 1); });
    EXPECT_EQ(rec.Count("m1 perform a=1"), 301);
}
