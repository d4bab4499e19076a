// Names looked up within a limit: what comes in time, what does not, and that nothing piles up. The
// system's function is the test's own; it answers when it is told to.
#include "app/NameLookup.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using ::testing::ElementsAre;

namespace
{

constexpr int kLongMs = 60'000; // nothing here takes as long
constexpr int kNoWaitMs = 0;

// A name server. What is asked stands in Asked; "silent" is answered after Speak only, "unknown" is
// no name, and every other name is 127.0.0.1.
class CNameServer
{
public:
    int Answer(const char* node, const char* service, const addrinfo* hints, addrinfo** found)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const std::string name = node != nullptr ? node : "none";
        m_asked.push_back(name + ":" + (service != nullptr ? service : "none"));
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_speaks || name != "silent"; });
        ++m_answered;
        m_changed.notify_all();
        if (name == "unknown")
        {
            errno = EDOM;
            return EAI_SYSTEM;
        }
        return getaddrinfo("127.0.0.1", service, hints, found);
    }
    void Speak()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_speaks = true;
        m_changed.notify_all();
    }
    void AwaitQuestions(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_asked.size() >= count; });
    }
    std::vector<std::string> Asked()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_asked;
    }
    void AwaitAnswers(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_answered >= count; });
    }

private:
    std::mutex m_mutex; // guards all of it
    std::condition_variable m_changed;
    std::vector<std::string> m_asked;
    size_t m_answered = 0;
    bool m_speaks = false;
};

struct FreeAddresses
{
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

class NameLookupTest : public ::testing::Test
{
protected:
    ~NameLookupTest() override
    {
        server->Speak();
        server->AwaitAnswers(server->Asked().size());
    }

    int Find(const char* node, int limit_ms, const char* service = "80")
    {
        addrinfo* list = nullptr;
        const int code = lookups.Find(node, service, &hints, &list, limit_ms);
        found.reset(list);
        return code;
    }

    CNameLookups::Function AskingServer()
    {
        return [asked = server](const char* node, const char* service, const addrinfo* wanted,
                                addrinfo** list)
        {
            return asked->Answer(node, service, wanted, list);
        };
    }

    std::shared_ptr<CNameServer> server = std::make_shared<CNameServer>();
    CNameLookups lookups{AskingServer()};
    addrinfo hints{};
    std::unique_ptr<addrinfo, FreeAddresses> found;
};

} // namespace

TEST_F(NameLookupTest, AnAnswerInTimeIsPassedOn)
{
    hints.ai_socktype = SOCK_STREAM;
    EXPECT_EQ(Find("known", kLongMs, "8080"), 0);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->ai_socktype, SOCK_STREAM);
    EXPECT_EQ(ntohs(reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_port), 8080);
    EXPECT_THAT(server->Asked(), ElementsAre("known:8080"));
}

TEST_F(NameLookupTest, AnErrorIsPassedOnWithItsNumber)
{
    errno = 0;
    EXPECT_EQ(Find("unknown", kLongMs), EAI_SYSTEM);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(found, nullptr);
}

TEST_F(NameLookupTest, WhatIsNotAskedStaysSo)
{
    addrinfo* list = nullptr;
    EXPECT_EQ(lookups.Find(nullptr, nullptr, nullptr, &list, kLongMs), 0);
    found.reset(list);
    EXPECT_THAT(server->Asked(), ElementsAre("none:none"));
}

TEST_F(NameLookupTest, AnAnswerThatDoesNotComeIsNotWaitedFor)
{
    EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    EXPECT_EQ(found, nullptr);
}

TEST_F(NameLookupTest, ASilentServerIsNotAskedTheSameTwice)
{
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    }
    server->AwaitQuestions(1);
    EXPECT_THAT(server->Asked(), ElementsAre("silent:80"));
}

TEST_F(NameLookupTest, TheNextOneTakesTheAnswerThatCameLate)
{
    EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    server->AwaitQuestions(1);
    std::thread speaker(
        [&]
        {
            for (int i = 0; i < 1000; ++i)
            {
                std::this_thread::yield(); // the other one is waiting by then, as a rule
            }
            server->Speak();
        });
    EXPECT_EQ(Find("silent", kLongMs), 0);
    speaker.join();
    EXPECT_NE(found, nullptr);
}

TEST_F(NameLookupTest, AnotherQuestionIsAskedByItself)
{
    EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    server->AwaitQuestions(1);
    EXPECT_EQ(Find("silent", kNoWaitMs, "443"), EAI_AGAIN);
    server->AwaitQuestions(2);
    hints.ai_family = AF_INET6;
    EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    server->AwaitQuestions(3);
    EXPECT_EQ(Find("known", kLongMs), EAI_ADDRFAMILY);
    EXPECT_THAT(server->Asked(), ElementsAre("silent:80", "silent:443", "silent:80", "known:80"));
}

TEST_F(NameLookupTest, TwoWhoAskAtOnceHaveAnAnswerEach)
{
    int other = -1;
    std::thread second(
        [&]
        {
            addrinfo* list = nullptr;
            other = lookups.Find("silent", "80", &hints, &list, kLongMs);
            freeaddrinfo(list);
        });
    server->AwaitQuestions(1);
    std::thread speaker(
        [&]
        {
            server->AwaitQuestions(2);
            server->Speak();
        });
    EXPECT_EQ(Find("silent", kLongMs), 0);
    second.join();
    speaker.join();
    EXPECT_EQ(other, 0);
}

TEST_F(NameLookupTest, AskedAnewAfterAnAnswerThatNobodyTook)
{
    // A late answer is not kept: the address may be another one by then.
    EXPECT_EQ(Find("silent", kNoWaitMs), EAI_AGAIN);
    server->AwaitQuestions(1);
    server->Speak();
    server->AwaitAnswers(1);
    EXPECT_EQ(Find("silent", kLongMs), 0);
    EXPECT_EQ(Find("silent", kLongMs), 0);
    EXPECT_GE(server->Asked().size(), 2U);
}

TEST_F(NameLookupTest, ItMayBeGoneBeforeTheAnswer)
{
    {
        CNameLookups gone(AskingServer());
        addrinfo* list = nullptr;
        EXPECT_EQ(gone.Find("silent", "80", nullptr, &list, kNoWaitMs), EAI_AGAIN);
        server->AwaitQuestions(1);
    }
    server->Speak();
    server->AwaitAnswers(1);
}

TEST_F(NameLookupTest, SignalsAreNotForItsThreads)
{
    std::atomic<bool> is_blocked{false};
    CNameLookups looking(
        [&](const char*, const char*, const addrinfo*, addrinfo**)
        {
            sigset_t mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &mask);
            is_blocked = sigismember(&mask, SIGRTMIN + 1) == 1;
            return EAI_NONAME;
        });
    addrinfo* list = nullptr;
    EXPECT_EQ(looking.Find("x", "80", nullptr, &list, kLongMs), EAI_NONAME);
    EXPECT_TRUE(is_blocked);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGRTMIN + 1), 0);
}

TEST(NameLookupLimit, IsWhatWasSetLast)
{
    limit_name_lookups(7);
    EXPECT_EQ(name_lookup_limit_s(), 7);
    limit_name_lookups(0);
    EXPECT_EQ(name_lookup_limit_s(), 0);
}
