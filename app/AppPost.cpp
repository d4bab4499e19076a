// Construction, start-up and release of the poster: database library, queues, libcurl and the
// request thread.
#include "app/AppPost.h"

#include <cerrno>
#include <curl/curl.h>
#include <dlfcn.h>
#include <sys/msg.h>
#include <unistd.h>

#include "app/AlarmSignal.h"
#include "app/AppPostConfig.h"
#include "app/AppPostQueue.h"
#include "app/AppRules.h"
#include "vkPub/vkLog.h"

namespace
{

// A library that throws where it should answer is taken at its word: not usable.
DbManager* ask_for_manager(DbManager* (*ask)())
try
{
    return ask();
}
catch (...)
{
    return nullptr;
}

// Looks both functions of the library up; the manager is asked for only when both are there.
void get_manager(CAppPost& app)
{
    app.m_pfnGetDbManager =
        reinterpret_cast<DbManager* (*)()>(dlsym(app.m_hDbLib, kDbManagerEntry));
    app.m_pfnFreeDbManager = reinterpret_cast<void (*)()>(dlsym(app.m_hDbLib, kDbReleaseEntry));
    if (app.m_pfnGetDbManager != nullptr && app.m_pfnFreeDbManager != nullptr)
    {
        app.m_pDbMngr = ask_for_manager(app.m_pfnGetDbManager);
    }
}

// The library goes away next, whatever it throws.
void call_release(void (*release)())
try
{
    release();
}
catch (...)
{
}

// Drops both databases and releases the library. The manager pointer is the caller's to clear.
void release_library(CAppPost& app)
{
    if (app.pDbAlm != nullptr) // the alarm routine may be looking at it
    {
        app.pDbAlm = nullptr;
    }
    app.pDb = nullptr;
    if (app.m_pfnFreeDbManager != nullptr)
    {
        call_release(app.m_pfnFreeDbManager);
    }
    if (app.m_hDbLib != nullptr)
    {
        dlclose(app.m_hDbLib);
        app.m_hDbLib = nullptr;
    }
}

DbDatabase* open_file(DbManager& manager, const char* path)
try
{
    return manager.OpenDb(path, 0);
}
catch (...)
{
    return nullptr;
}

// Whether there is plainly no such file; one that cannot be looked at may well be there.
bool is_missing(const char* path)
{
    return access(path, F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool is_usable(DbDatabase* db)
try
{
    return db != nullptr && db->Open(nullptr, 0);
}
catch (...)
{
    return false;
}

void open_databases(CAppPost& app)
{
    // RTLD_NODELETE: after a failed test the release function is called a second time by Free,
    // when the library is already unloaded; its code must still be there.
    app.m_hDbLib = dlopen(kDbLibrary, RTLD_NOW | RTLD_NODELETE);
    if (app.m_hDbLib == nullptr)
    {
        VKLOG_TRACE("dlopen %s error:%s\r\n", kDbLibrary, dlerror());
        return;
    }

    get_manager(app);
    if (app.m_pDbMngr != nullptr)
    {
        app.pDb = open_file(*app.m_pDbMngr, kDataDb);
        app.pDbAlm = open_file(*app.m_pDbMngr, kAlarmDb);
    }
    else
    {
        VKLOG_TRACE("libDb.mngr==NULL\r\n");
    }

    if (!is_usable(app.pDb))
    {
        release_library(app); // m_pDbMngr keeps its value on purpose: Free releases once more
        VKLOG_TRACE("pDb err\r\n");
        return;
    }
    // A host without alarms is an ordinary one; a library that cannot open its file is not.
    if (app.pDbAlm == nullptr && !is_missing(kAlarmDb))
    {
        VKLOG_TRACE("%s cannot be opened, alarms are not posted\r\n", kAlarmDb);
    }
}

void start_request_thread(CAppPost& app)
{
    if (pthread_create(&app.m_thProcMsg, nullptr, CAppPost::ProcMsgRun1, &app) != 0)
    {
        app.m_thProcMsg = 0;
        VKLOG_TRACE("Thread creation failed!");
        return;
    }
    pass_alarm_signals_to(app.m_thProcMsg);
}

} // namespace

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): m_szPostBuf is written before it is read
CAppPost::CAppPost()
{
    pthread_mutex_init(&m_mutex, nullptr);
}

CAppPost::~CAppPost()
{
    Free();
    // The request thread still runs, but finds no queue any more. What it recorded before that is
    // seen whole behind the mutex.
    pthread_mutex_lock(&m_mutex);
    m_mapCtrlReq.clear();
    pthread_mutex_unlock(&m_mutex);
    pthread_mutex_destroy(&m_mutex);
}

void CAppPost::Init()
try
{
    if (m_msgTrayid < 0)
    {
        m_msgTrayid = get_queue(kTrayQueueKey);
    }

    load_configuration(*this);
    open_databases(*this);

    m_msgCtrlid = get_queue(kRequestQueueKey);
    VKLOG_TRACE("msgget: m_msgCtrlid=%d\r\n", m_msgCtrlid.load());

    curl_global_init(CURL_GLOBAL_ALL);

    start_request_thread(*this); // last: it reads members that are set above
}
catch (...)
{
    // Memory. Half a start-up is none: without a data database the poster is not usable.
    pDb = nullptr;
    VKLOG_TRACE("vkAppPost init exception\r\n");
}

bool CAppPost::IsOk()
{
    return (!m_strUrl.empty() || !m_strAlmUrl.empty()) && pDb != nullptr;
}

void CAppPost::Free()
{
    endProcMsg();
    if (m_msgCtrlid >= 0)
    {
        msgctl(m_msgCtrlid, IPC_RMID, nullptr);
        m_msgCtrlid = -1;
    }
    if (m_pDbMngr != nullptr)
    {
        release_library(*this);
        m_pDbMngr = nullptr;
    }
    curl_global_cleanup();
}

const char* CAppPost::GetState(int state)
{
    return (this->*setting(state_setting(state)).text).c_str();
}
