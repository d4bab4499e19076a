// The request queue: the request thread records which devices other processes want posted now,
// and the main thread posts them between its steps.
#include "app/AppPost.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPostQueue.h"
#include "vkPub/vkLog.h"

int get_queue(int key)
{
    return msgget(key, IPC_CREAT | IPC_NOWAIT | 0666);
}

namespace
{

constexpr int kPollPauseMs = 50;

// Holds the poster's mutex; guards m_mapCtrlReq and changes of m_devCtrlupdSta.
class CLockGuard
{
public:
    explicit CLockGuard(CAppPost& app) : m_app(app) { m_app.Lock(); }
    ~CLockGuard() { m_app.Unlock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CAppPost& m_app;
};

// Takes the first message of any type, without waiting.
bool receive(int queue, RequestMessage& message)
{
    return queue >= 0 && msgrcv(queue, &message, kRequestTextBytes, 0, IPC_NOWAIT) >= 0;
}

void record_request(CAppPost& app, const RequestMessage& message)
{
    const int sid = requested_sid(message.wParam);
    VKLOG_TRACE("%s %s line=%d msg.type=%d,msg.wParam=%X,msg.lParam=%X,iSid=%d\r\n", kSource,
                "ProcMsg", kLineProcMsgReceived, static_cast<int>(message.type),
                static_cast<unsigned>(message.wParam), static_cast<unsigned>(message.lParam), sid);
    const CLockGuard lock(app);
    app.m_mapCtrlReq[sid] = 1;
    app.m_devCtrlupdSta = 1;
}

void post_request(CAppPost& app, int sid)
{
    const auto device = app.m_mapSidTbl.find(sid);
    if (device == app.m_mapSidTbl.end())
    {
        VKLOG_TRACE("%s %s line=%d iSid=%d Err!!!\r\n", kSource, "PostMsgrecv", kLineMsgrecvUnknown,
                    sid);
        return;
    }
    VKLOG_TRACE("%s %s line=%d iSid=%d doPost\r\n", kSource, "PostMsgrecv", kLineMsgrecvPost, sid);
    app.PostNormal(sid, device->second.c_str());
    pause_ms(kPassPauseMs);
}

} // namespace

// The caller outlives whatever is thrown there
// (memory); the request is lost then.
void poll_requests(CAppPost& app)
try
{
    RequestMessage message{};
    if (receive(app.m_msgCtrlid, message) && message.type == kRequestMessageType)
    {
        record_request(app, message);
    }
}
catch (...)
{
    VKLOG_TRACE("[CAppPost::ProcMsg] exception\r\n");
}

void* CAppPost::ProcMsgRun1(void* arg)
{
    if (arg != nullptr)
    {
        static_cast<CAppPost*>(arg)->ProcMsg();
    }
    VKLOG_TRACE("CAppPost thread_run exit: %ld\r\n", 0L);
    return nullptr;
}

void CAppPost::ProcMsg()
{
    for (;;)
    {
        poll_requests(*this);
        pause_ms(kPollPauseMs);
    }
}

void CAppPost::PostMsgrecv()
{
    VKLOG_TRACE("%s %s line=%d m_devCtrlupdSta=%d \r\n", kSource, "PostMsgrecv", kLineMsgrecvEnter,
                m_devCtrlupdSta.load());
    // The requests stay recorded on purpose: once made, a request is repeated at every pick-up.
    {
        const CLockGuard lock(*this);
        m_devCtrlupdSta = 0;
        m_mapCtrlPost = m_mapCtrlReq;
    }

    for (auto& [sid, flag] : m_mapCtrlPost)
    {
        VKLOG_TRACE("%s %s line=%d iSID=%d ctrl sta=%d\r\n", kSource, "PostMsgrecv",
                    kLineMsgrecvEntry, sid, flag);
        if (flag == 1)
        {
            flag = 0;
            post_request(*this, sid);
        }
    }
    m_mapCtrlPost.clear();
}

int CAppPost::Lock()
{
    return pthread_mutex_lock(&m_mutex);
}

int CAppPost::Unlock()
{
    return pthread_mutex_unlock(&m_mutex);
}

void CAppPost::endProcMsg()
{
    VKLOG_TRACE("%s %s line=%d \r\n", kSource, "endProcMsg", kLineEndProcMsg);
}
