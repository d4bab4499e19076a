// Reports to the tray, with the system's queues replaced by recorders.
#include <cstring>
#include <sys/msg.h>
#include <vector>

#include "tests/support/PosterTest.h"

namespace
{

struct Sent
{
    int queue;
    std::vector<char> bytes; // type and text
    int flags;

    long At(size_t offset) const
    {
        long value = 0;
        std::memcpy(&value, bytes.data() + offset, sizeof(value));
        return value;
    }
};

struct Queues
{
    std::vector<std::pair<key_t, int>> gets; // key and flags
    std::vector<Sent> sent;
    int get_result = 77;
    int send_result = 0;
};
Queues queues;

class TrayTest : public PosterTest
{
protected:
    void SetUp() override { queues = Queues{}; }
};

} // namespace

extern "C" int msgget(key_t key, int flags) noexcept
{
    queues.gets.emplace_back(key, flags);
    return queues.get_result;
}

extern "C" int msgsnd(int queue, const void* message, size_t size, int flags)
{
    const char* bytes = static_cast<const char*>(message);
    queues.sent.push_back({queue, {bytes, bytes + sizeof(long) + size}, flags});
    return queues.send_result;
}

TEST_F(TrayTest, SendsTypeAndBothNumbersAndZeros)
{
    app.m_msgTrayid = 5;
    app.SendMsgToTray(1, 0);
    ASSERT_THAT(queues.sent, SizeIs(1));
    EXPECT_EQ(queues.sent[0].queue, 5);
    ASSERT_THAT(queues.sent[0].bytes, SizeIs(8 + 100));
    EXPECT_EQ(queues.sent[0].At(0), 36875);
    EXPECT_EQ(queues.sent[0].At(8), 1);
    EXPECT_EQ(queues.sent[0].At(16), 0);
    EXPECT_EQ(std::count(queues.sent[0].bytes.begin() + 24, queues.sent[0].bytes.end(), '\0'), 84);
    EXPECT_THAT(queues.gets, IsEmpty());
}

TEST_F(TrayTest, NeverWaits)
{
    app.m_msgTrayid = 5;
    app.SendMsgToTray(0, 1);
    EXPECT_EQ(queues.sent.at(0).flags, IPC_NOWAIT);
}

TEST_F(TrayTest, NumbersAreSignExtended)
{
    app.m_msgTrayid = 5;
    app.SendMsgToTray(-1, -2147483647 - 1);
    EXPECT_EQ(queues.sent.at(0).At(8), -1L);
    EXPECT_EQ(queues.sent.at(0).At(16), -2147483648L);
}

TEST_F(TrayTest, EachReportReplacesTheLast)
{
    app.m_msgTrayid = 5;
    app.SendMsgToTray(1, 1);
    app.SendMsgToTray(0, 1);
    EXPECT_EQ(queues.sent.at(1).At(8), 0);
    EXPECT_EQ(queues.sent.at(1).At(16), 1);
}

TEST_F(TrayTest, WithoutAQueueOneIsAskedForAndTheReportIsDropped)
{
    app.SendMsgToTray(1, 0);
    EXPECT_THAT(queues.gets, ElementsAre(Pair(36864, 05666)));
    EXPECT_THAT(queues.sent, IsEmpty());
    EXPECT_EQ(app.m_msgTrayid, 77);
    app.SendMsgToTray(0, 1);
    EXPECT_THAT(queues.gets, SizeIs(1));
    EXPECT_EQ(queues.sent.at(0).queue, 77);
}

TEST_F(TrayTest, TheFirstQueueOfTheSystemIsNumberZero)
{
    app.m_msgTrayid = 0;
    app.SendMsgToTray(0, 1);
    EXPECT_THAT(queues.gets, IsEmpty());
    EXPECT_EQ(queues.sent.at(0).queue, 0);
}

TEST_F(TrayTest, QueueIsAskedForAgainAtEveryReportUntilThereIsOne)
{
    queues.get_result = -1;
    app.SendMsgToTray(0, 1);
    app.SendMsgToTray(0, 1);
    EXPECT_EQ(app.m_msgTrayid, -1);
    EXPECT_THAT(queues.gets, SizeIs(2));
    EXPECT_THAT(queues.sent, IsEmpty());
}

TEST_F(TrayTest, FullOrRemovedQueueIsNeitherLoggedNorReopened)
{
    app.m_msgTrayid = 5;
    queues.send_result = -1;
    app.SendMsgToTray(0, 1);
    app.SendMsgToTray(0, 1);
    EXPECT_EQ(app.m_msgTrayid, 5);
    EXPECT_THAT(queues.gets, IsEmpty());
    EXPECT_THAT(queues.sent, SizeIs(2));
    EXPECT_THAT(rec.Events(), IsEmpty());
}
