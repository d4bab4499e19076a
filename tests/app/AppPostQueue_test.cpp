// The request queue and its thread's loop, and the pick-up on the main thread, with the system's
// queues and the on-demand post replaced by recorders.
#include <atomic>
#include <cerrno>
#include <cstring>
#include <deque>
#include <fstream>
#include <new>
#include <sys/msg.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "app/AlarmSignal.h"
#include "app/AppPostQueue.h"
#include "tests/support/PosterTest.h"

namespace
{

struct Message
{
    long type;
    long wParam;
    long lParam;
    size_t size = 88; // of the text
};

struct Queues
{
    std::deque<Message> waiting;
    int get_result = 55;
    bool removed = false; // whether receiving fails with EIDRM
    int throwing = 0;     // receives that throw
};
Queues queues;

class QueueTest : public PosterTest
{
protected:
    void SetUp() override
    {
        queues = Queues{};
        app.m_msgCtrlid = 55;
    }
    void TearDown() override { rec.on_pause = nullptr; } // the poster's end pauses no more

    void Request(long sid) { queues.waiting.push_back({38154, sid, 0}); }

    // Lets the request thread's loop make that many rounds.
    void Rounds(int count)
    {
        rec.on_pause = [left = count](int) mutable
        {
            if (--left == 0)
            {
                throw EndOfTest{};
            }
        };
        EXPECT_THROW(app.ProcMsg(), EndOfTest);
        rec.on_pause = nullptr;
    }
    // The devices that a pick-up posts.
    std::vector<std::string> PickUp()
    {
        const size_t before = rec.Events().size();
        app.PostMsgrecv();
        std::vector<std::string> posts;
        for (size_t i = before; i < rec.Events().size(); ++i)
        {
            if (rec.Events()[i].compare(0, 11, "PostNormal(") == 0)
            {
                posts.push_back(rec.Events()[i]);
            }
        }
        return posts;
    }
};

} // namespace

extern "C" int msgget(key_t key, int flags) noexcept
{
    Recorder::Get().Add("msgget(" + std::to_string(key) + "," + std::to_string(flags) + ")");
    return queues.get_result;
}

extern "C" int msgctl(int queue, int command, msqid_ds* /*buffer*/) noexcept
{
    Recorder::Get().Add("msgctl(" + std::to_string(queue) + "," + std::to_string(command) + ")");
    return 0;
}

extern "C" ssize_t msgrcv(int queue, void* text, size_t size, long type, int flags)
{
    Recorder::Get().Add("msgrcv(" + std::to_string(queue) + ")");
    EXPECT_EQ(size, 88U);
    EXPECT_EQ(type, 0);
    EXPECT_EQ(flags, IPC_NOWAIT);
    if (queues.throwing > 0)
    {
        --queues.throwing;
        throw std::bad_alloc();
    }
    if (queues.waiting.empty() || queues.removed)
    {
        errno = queues.removed ? EIDRM : ENOMSG;
        return -1;
    }
    const Message message = queues.waiting.front();
    if (message.size > size)
    {
        errno = E2BIG; // it stays where it is
        return -1;
    }
    queues.waiting.pop_front();
    const long numbers[] = {message.type, message.wParam, message.lParam};
    std::memcpy(text, numbers, std::min(sizeof(long) + message.size, sizeof(numbers)));
    return static_cast<ssize_t>(message.size);
}

int CAppPost::PostNormal(int iSid, const char* stbl)
{
    Recorder::Get().Add("PostNormal(" + std::to_string(iSid) + "," + stbl + ")");
    return 0;
}

// --- The request thread -------------------------------------------------------------------------

TEST_F(QueueTest, RequestIsLoggedAndRecorded)
{
    queues.waiting.push_back({38154, 0x10007, 0xABCDEF});
    Rounds(1);
    EXPECT_THAT(rec.Events(),
                ElementsAre("msgrcv(55)",
                            "log AppPost ProcMsg line=2735 msg.type=38154,msg.wParam=10007,"
                            "msg.lParam=ABCDEF,iSid=7\r\n",
                            "pause 50"));
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
    EXPECT_EQ(app.m_devCtrlupdSta, 1);
}

TEST_F(QueueTest, SidIsTheLowSixteenBits)
{
    Request(-1);
    Request(0x7FFF00000000L + 65536 + 12);
    Rounds(2);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(12, 1), Pair(65535, 1)));
}

TEST_F(QueueTest, OneMessageAtMostIsTakenEveryFiftyMilliseconds)
{
    Request(1);
    Request(2);
    Request(3);
    Rounds(2);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(1, 1), Pair(2, 1)));
    EXPECT_THAT(rec.Pauses(), ElementsAre(50, 50));
}

TEST_F(QueueTest, OtherTypesAreTakenAndDropped)
{
    queues.waiting.push_back({38155, 7, 0});
    queues.waiting.push_back({38153, 8, 0});
    queues.waiting.push_back({36875, 9, 0});
    Rounds(3);
    EXPECT_THAT(queues.waiting, IsEmpty());
    EXPECT_THAT(app.m_mapCtrlReq, IsEmpty());
    EXPECT_EQ(app.m_devCtrlupdSta, 0);
    EXPECT_THAT(rec.Logs(), IsEmpty());
}

TEST_F(QueueTest, EmptyQueueOnlyPauses)
{
    Rounds(3);
    EXPECT_THAT(rec.Events(), ElementsAre("msgrcv(55)", "pause 50", "msgrcv(55)", "pause 50",
                                          "msgrcv(55)", "pause 50"));
}

TEST_F(QueueTest, FirstQueueOfASystemIsAQueue)
{
    app.m_msgCtrlid = 0;
    Request(7);
    Rounds(1);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
}

TEST_F(QueueTest, WithoutAQueueNothingIsReceived)
{
    app.m_msgCtrlid = -1;
    Request(7);
    Rounds(2);
    EXPECT_THAT(rec.Events(), ElementsAre("pause 50", "pause 50"));
}

TEST_F(QueueTest, QueueThatAppearsLaterIsRead)
{
    app.m_msgCtrlid = -1;
    Request(7);
    Rounds(1);
    app.m_msgCtrlid = 55;
    Rounds(1);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
}

TEST_F(QueueTest, ErrorsAreNotLogged)
{
    queues.removed = true;
    Rounds(2);
    EXPECT_THAT(rec.Logs(), IsEmpty());
}

TEST_F(QueueTest, MessageThatIsTooLongStaysAndHoldsTheRest)
{
    queues.waiting.push_back({38154, 7, 0, 89});
    Request(8);
    Rounds(3);
    EXPECT_THAT(queues.waiting, SizeIs(2));
    EXPECT_THAT(app.m_mapCtrlReq, IsEmpty());
}

TEST_F(QueueTest, ShortMessageHasZerosForWhatItLacks)
{
    queues.waiting.push_back({38154, 7, 7, 8});
    queues.waiting.push_back({38154, 9, 9, 0});
    Rounds(2);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(0, 1), Pair(7, 1)));
    EXPECT_EQ(rec.Logs().at(0), "AppPost ProcMsg line=2735 msg.type=38154,msg.wParam=7,"
                                "msg.lParam=0,iSid=7\r\n");
}

TEST_F(QueueTest, ThreadOutlivesAnException)
{
    queues.throwing = 2;
    Request(7);
    Rounds(3);
    EXPECT_THAT(rec.Logs(),
                ElementsAre("[CAppPost::ProcMsg] exception\r\n",
                            "[CAppPost::ProcMsg] exception\r\n", StartsWith("AppPost ProcMsg ")));
    EXPECT_THAT(rec.Pauses(), ElementsAre(50, 50, 50));
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
}

TEST_F(QueueTest, ThreadWithoutAPosterEndsWithALine)
{
    EXPECT_EQ(CAppPost::ProcMsgRun1(nullptr), nullptr);
    EXPECT_THAT(rec.Events(), ElementsAre("log CAppPost thread_run exit: 0\r\n"));
}

TEST_F(QueueTest, ThreadRunsTheLoopOfItsPoster)
{
    Request(7);
    rec.on_pause = [](int)
    {
        throw EndOfTest{};
    };
    EXPECT_THROW(CAppPost::ProcMsgRun1(&app), EndOfTest);
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
}

// --- Between two alarms -------------------------------------------------------------------------

namespace
{

class AlarmPollTest : public QueueTest
{
protected:
    AlarmPollTest()
    {
        app.m_strAlmUrl = "a";
        app.m_vAlmUrls = {"a"};
    }
    void Alarms(int count)
    {
        for (int did = 1; did <= count; ++did)
        {
            db_alm.Rows("DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg",
                        {{std::to_string(did), "7", "0", "0", "T", "x", "0", ""}});
        }
        db_alm.Rows("DID", {});
    }
    // The routine on the request thread, as the handler runs it there.
    void RunOnRequestThread()
    {
        std::thread thread(
            [&]
            {
                pass_alarm_signals_to(pthread_self());
                app.OnAlmIns();
            });
        thread.join();
    }
    // Posts, marks and looks into the queue, in their order.
    std::vector<std::string> Walk() const
    {
        std::vector<std::string> walk;
        for (const std::string& event : rec.Events())
        {
            const std::string word = event.substr(0, event.find_first_of(" ("));
            if (word == "post" || word == "exec" || word == "msgrcv")
            {
                walk.push_back(word);
            }
        }
        return walk;
    }
};

} // namespace

TEST_F(AlarmPollTest, QueueIsLookedIntoOnceBetweenTwoPosts)
{
    Alarms(3);
    RunOnRequestThread();
    EXPECT_THAT(Walk(),
                ElementsAre("post", "exec", "msgrcv", "post", "exec", "msgrcv", "post", "exec"));
}

TEST_F(AlarmPollTest, TheSameHoldsForTheServersOfOneAlarm)
{
    app.m_vAlmUrls = {"a", "b"};
    Alarms(1);
    RunOnRequestThread();
    EXPECT_THAT(Walk(), ElementsAre("post", "msgrcv", "post", "exec"));
}

TEST_F(AlarmPollTest, RequestThatWaitsIsRecorded)
{
    Request(9);
    Alarms(2);
    RunOnRequestThread();
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(9, 1)));
    EXPECT_EQ(app.m_devCtrlupdSta, 1);
    EXPECT_EQ(rec.Count("log AppPost ProcMsg line=2735 msg.type=38154,msg.wParam=9,msg.lParam=0,"
                        "iSid=9\r\n"),
              1);
}

TEST_F(AlarmPollTest, OtherTypesAreTakenAndDropped)
{
    queues.waiting.push_back({38155, 7, 0});
    Alarms(2);
    RunOnRequestThread();
    EXPECT_THAT(queues.waiting, IsEmpty());
    EXPECT_EQ(app.m_devCtrlupdSta, 0);
}

TEST_F(AlarmPollTest, RequestThatIsLostForLackOfMemoryCostsNoAlarmItsMark)
{
    queues.throwing = 1;
    Request(9);
    app.m_vAlmUrls = {"a", "b"};
    Alarms(2);
    RunOnRequestThread();
    EXPECT_THAT(rec.posts, SizeIs(4));
    EXPECT_EQ(rec.CountStarting("exec update tbSMAlarm set AFld=1"), 2);
}

TEST_F(AlarmPollTest, OneAlarmDoesNotTouchTheQueue)
{
    Alarms(1);
    RunOnRequestThread();
    EXPECT_THAT(Walk(), ElementsAre("post", "exec"));
}

TEST_F(AlarmPollTest, RoutineOnAnotherThreadLeavesTheQueueToTheRequestThread)
{
    Request(9);
    Alarms(3);
    app.OnAlmIns();
    EXPECT_THAT(Walk(), ElementsAre("post", "exec", "post", "exec", "post", "exec"));
    EXPECT_THAT(queues.waiting, SizeIs(1));
}

// --- The pick-up --------------------------------------------------------------------------------

TEST_F(QueueTest, PickUpPostsARequestInThisOrder)
{
    app.m_mapSidTbl = {{7, "tbUps"}};
    Request(7);
    Rounds(1);
    rec.Clear();
    app.PostMsgrecv();
    EXPECT_THAT(rec.Events(),
                ElementsAre("log AppPost PostMsgrecv line=2760 m_devCtrlupdSta=1 \r\n",
                            "log AppPost PostMsgrecv line=2776 iSID=7 ctrl sta=1\r\n",
                            "log AppPost PostMsgrecv line=2784 iSid=7 doPost\r\n",
                            "PostNormal(7,tbUps)", "pause 20"));
    EXPECT_EQ(app.m_devCtrlupdSta, 0);
    EXPECT_THAT(app.m_mapCtrlPost, IsEmpty());
}

TEST_F(QueueTest, SeveralRequestsForOneDeviceAreOnePost)
{
    app.m_mapSidTbl = {{7, "tbUps"}};
    Request(7);
    Request(7);
    Request(7);
    Rounds(3);
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(7,tbUps)"));
}

TEST_F(QueueTest, PickUpPostsInAscendingSidOrder)
{
    app.m_mapSidTbl = {{7, "tbUps"}, {300, "tbB"}, {9, "tbA"}};
    Request(300);
    Request(9);
    Request(7);
    Rounds(3);
    EXPECT_THAT(PickUp(),
                ElementsAre("PostNormal(7,tbUps)", "PostNormal(9,tbA)", "PostNormal(300,tbB)"));
}

TEST_F(QueueTest, RequestIsRepeatedAtEveryLaterPickUp)
{
    app.m_mapSidTbl = {{7, "tbUps"}, {9, "tbA"}};
    Request(7);
    Rounds(1);
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(7,tbUps)"));
    Request(9);
    Rounds(1);
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(7,tbUps)", "PostNormal(9,tbA)"));
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1), Pair(9, 1)));
}

TEST_F(QueueTest, UnknownDeviceIsLoggedAtEveryPickUpAndNeverPosted)
{
    app.m_mapSidTbl = {{9, "tbA"}};
    Request(7);
    Request(9);
    Rounds(2);
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(9,tbA)"));
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(9,tbA)"));
    EXPECT_EQ(rec.Count("log AppPost PostMsgrecv line=2790 iSid=7 Err!!!\r\n"), 2);
    EXPECT_EQ(rec.CountStarting("pause 20"), 2); // only after a post
}

TEST_F(QueueTest, EntryWithoutAMarkIsLoggedOnly)
{
    app.m_mapSidTbl = {{7, "tbUps"}};
    app.m_mapCtrlReq = {{7, 0}};
    EXPECT_THAT(PickUp(), IsEmpty());
    EXPECT_EQ(rec.Logs().back(), "AppPost PostMsgrecv line=2776 iSID=7 ctrl sta=0\r\n");
}

TEST_F(QueueTest, PickUpWithoutRequestsLogsItsLine)
{
    app.m_mapCtrlPost = {{5, 1}}; // replaced by what is requested
    EXPECT_THAT(PickUp(), IsEmpty());
    EXPECT_THAT(rec.Logs(), ElementsAre("AppPost PostMsgrecv line=2760 m_devCtrlupdSta=0 \r\n"));
}

TEST_F(QueueTest, RequestThatComesDuringThePickUpIsKeptForTheNext)
{
    app.m_mapSidTbl = {{7, "tbUps"}, {8, "tbUps"}};
    app.m_mapCtrlReq = {{7, 1}};
    rec.on_pause = [&](int)
    {
        app.m_mapCtrlReq[8] = 1;
        app.m_devCtrlupdSta = 1;
    };
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(7,tbUps)"));
    EXPECT_EQ(app.m_devCtrlupdSta, 1);
    EXPECT_THAT(PickUp(), ElementsAre("PostNormal(7,tbUps)", "PostNormal(8,tbUps)"));
}

TEST_F(QueueTest, LockIsFreeWhileADeviceIsPosted)
{
    app.m_mapSidTbl = {{7, "tbUps"}};
    app.m_mapCtrlReq = {{7, 1}};
    int result = -1;
    rec.on_pause = [&](int)
    {
        result = pthread_mutex_trylock(&app.m_mutex);
        app.Unlock();
    };
    app.PostMsgrecv();
    EXPECT_EQ(result, 0);
}

// --- The mutex ----------------------------------------------------------------------------------

namespace
{

// Work on a thread of its own while the test holds the poster's mutex.
class MutexTest : public QueueTest
{
protected:
    // The state letter of a thread: "S" when it waits.
    static char StateOf(pid_t thread)
    {
        std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string id;
        std::string name;
        char state = '?';
        stat >> id >> name >> state;
        return state;
    }

    // Starts the work, and returns when it waits for the mutex, or has ended without it.
    void StartLocked(std::function<void()> work)
    {
        ASSERT_EQ(app.Lock(), 0);
        m_thread = std::thread(
            [this, work = std::move(work)]
            {
                m_tid = static_cast<pid_t>(syscall(SYS_gettid));
                work();
                m_isDone = true;
            });
        while (!m_isDone && (m_tid == 0 || StateOf(m_tid) != 'S'))
        {
            std::this_thread::yield();
        }
        EXPECT_FALSE(m_isDone);
    }
    void Finish()
    {
        app.Unlock();
        m_thread.join();
    }

private:
    std::atomic<pid_t> m_tid{0};
    std::atomic<bool> m_isDone{false};
    std::thread m_thread;
};

} // namespace

TEST_F(MutexTest, RequestIsNotRecordedWhileSomebodyElseHoldsTheMutex)
{
    Request(7);
    StartLocked([&] { poll_requests(app); });
    EXPECT_THAT(app.m_mapCtrlReq, IsEmpty());
    EXPECT_EQ(app.m_devCtrlupdSta, 0);
    Finish();
    EXPECT_THAT(app.m_mapCtrlReq, ElementsAre(Pair(7, 1)));
    EXPECT_EQ(app.m_devCtrlupdSta, 1);
}

TEST_F(MutexTest, RequestsAreNotPickedUpWhileSomebodyElseHoldsTheMutex)
{
    app.m_mapSidTbl = {{7, "tbUps"}};
    app.m_mapCtrlReq = {{7, 1}};
    app.m_devCtrlupdSta = 1;
    StartLocked([&] { app.PostMsgrecv(); });
    EXPECT_EQ(app.m_devCtrlupdSta, 1);
    EXPECT_THAT(app.m_mapCtrlPost, IsEmpty());
    Finish();
    EXPECT_EQ(app.m_devCtrlupdSta, 0);
    EXPECT_EQ(rec.Count("PostNormal(7,tbUps)"), 1);
}

// --- Lock and queue -----------------------------------------------------------------------------

TEST_F(QueueTest, LockAndUnlockAnswerLikeTheMutex)
{
    EXPECT_EQ(app.Lock(), 0);
    EXPECT_EQ(pthread_mutex_trylock(&app.m_mutex), EBUSY);
    EXPECT_EQ(app.Unlock(), 0);
}

TEST_F(QueueTest, QueuesAreMadeWhenTheyDoNotExist)
{
    EXPECT_EQ(get_queue(0x9500), 55);
    EXPECT_THAT(rec.Events(), ElementsAre("msgget(38144,2998)"));
}

TEST_F(QueueTest, FreeLogsThenRemovesTheRequestQueueOnce)
{
    app.m_msgTrayid = 66;
    app.Free();
    EXPECT_THAT(rec.Events(), ElementsAre("log AppPost endProcMsg line=2390 \r\n", "msgctl(55,0)"));
    EXPECT_EQ(app.m_msgCtrlid, -1);
    EXPECT_EQ(app.m_msgTrayid, 66);
    rec.Clear();
    app.Free();
    EXPECT_THAT(rec.Events(), ElementsAre("log AppPost endProcMsg line=2390 \r\n"));
}
