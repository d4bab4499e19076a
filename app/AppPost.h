// CAppPost, the poster: reads the host's databases and posts what it finds.
//
// What it is: the one object that owns everything the daemon knows. Constructed before main runs,
// Init once, then Run for ever, or Free after a failed start-up; the destructor calls Free again.
// Ownership: the manager and both database objects belong to the database library and are
// released through its FreeDbManager; everything else is a member.
// Units: m_iTimeout in seconds, m_iDelay in milliseconds.
// Failure: nothing is reported to callers but what a function's comment says. A device, row or
// table that fails is logged and retried or skipped, and the next one follows.
// Threads: the main thread does everything but two things. The request thread (ProcMsg) only
// reads the request queue. OnAlmIns runs whole inside a signal handler. Members are grouped by
// who may touch them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <pthread.h>
#include <string>
#include <vector>

#include "common/SimpleIni.h"
#include "db/DbInterface.h"

// libcurl's write callback: userdata is the poster. Returns size * nmemb, so that a reply never
// ends a transfer.
size_t _PostOnWrite(void* ptr, size_t size, size_t nmemb, void* userdata);

// Where the main cycle stands between two passes.
struct CRunState
{
    int nPostType = 0;       // next step: 0 devices, 1 general tables, 2 DI/DO, 3 cameras, 4 host,
                             // 5 requests
    int64_t nowMs = 0;       // wall clock of this pass
    int64_t lastSweepMs = 0; // wall clock of the pass that ended the last sweep; 0, or one that is
                             // still to come: due at once
    int64_t passCount = 0;   // passes since the last reset; puts an idle pass between two steps
    int64_t reTblsCount = 0; // due passes since the tables were last discovered
};

class CAppPost
{
public:
    static constexpr size_t kPostBufBytes = 102400;

    CAppPost();
    ~CAppPost();
    CAppPost(const CAppPost&) = delete;
    CAppPost& operator=(const CAppPost&) = delete;

    // --- Start-up and release -------------------------------------------------------------

    // Reads vkApp.ini, loads ./libvkdb.so, opens both databases and both queues, initialises
    // libcurl and starts the request thread. Ask IsOk() for the outcome; nothing is thrown.
    void Init();

    // True when the poster has a URL to post to and a data database to read from.
    bool IsOk();

    // Removes the request queue and releases databases, library and libcurl. May be called again.
    void Free();

    // The configured text of a state number: State1 to State3 for 1 to 3, State0 for any other.
    // Valid as long as the configuration is, that is for the whole run.
    const char* GetState(int state);

    // --- Main cycle -----------------------------------------------------------------------

    void Run();                 // never returns
    void Run(CRunState& state); // one pass of the cycle, which Run() repeats for ever

    // --- Discovery ------------------------------------------------------------------------

    // Rebuilds the catalogue of tables, devices, inputs and cameras. Database failures are logged
    // and tried again; lack of memory may be thrown, and leaves the catalogue unfinished.
    void GetTbls();

    // --- Posting: each reads its kind of data and posts a body for each item ---------------

    void PostNormal();  // one body per device
    void PostGeneral(); // one body per row of each general table
    void PostDio();     // one body per digital input and per digital output
    void PostCam();     // one body per camera
    void PostOther();   // one body of host status

    // Posts device iSid alone, composed in a buffer of its own. -1 when stbl is null, else 0.
    int PostNormal(int iSid, const char* stbl);

    // Append a device's detail rows, or the columns of an extension table, at position iPos of
    // m_szPostBuf or of pBuf (kPostBufBytes long). The result is the number of bytes appended.
    int PostDetail(int iPos, std::string table, int sid);
    int PostDetail(int iPos, std::string sTbl, int iSid, char* pBuf);
    int PostExt(int iPos, int type, std::string table, int first);
    int PostExt(int iPos, int iType, std::string sKey, int iVal, char* pBuf);

    // Posts every alarm not yet sent and marks each as sent. Runs inside the signal handler.
    void OnAlmIns();

    // Renders column iFld of the current row for a device of type iType: its name, and its text
    // by the value tables of POST.xFld, empty when there is nothing to post. Database exceptions
    // pass to the caller.
    void GetQryFld(int iqry, int iFld, int iType, std::string& sName, std::string& sVal);

    // --- Transport ------------------------------------------------------------------------

    // Posts msg (null: m_szPostBuf) to url (null or empty: the configured URL or URLs). 1 when a
    // transfer was made, whatever became of it, else 0.
    int DoPost(const char* msg, const char* url);

    // Posts msg to all urls at once. 1 when at least one transfer came to its end, else 0.
    int DoPostEx(std::vector<std::string> urls, const char* msg);

    // Adds one transfer of abuf to url to the multi handle cm. url and abuf must outlive it.
    void initCurl(void* cm, const char* abuf, const char* url, void* userdata, int timeout);

    // Receives a piece of a server's reply, NUL-terminated; it is only logged. Returns 1.
    int OnPost(char* data, int len);

    // --- Queues ---------------------------------------------------------------------------

    static void* ProcMsgRun1(void* arg); // entry of the request thread; arg is the poster
    void ProcMsg();                      // its loop; never returns
    void endProcMsg();
    void PostMsgrecv(); // posts every requested device; main thread
    int Lock();         // result of pthread_mutex_lock
    int Unlock();       // result of pthread_mutex_unlock

    // Tells the tray process: (1,1) the cycle starts, (1,0) start-up failed, (0,1) alive. Never
    // waits; a report that cannot be queued is lost.
    void SendMsgToTray(int wParam, int lParam);

    // --- Database library: set by Init, main thread ----------------------------------------

    void* m_hDbLib = nullptr;
    DbManager* (*m_pfnGetDbManager)() = nullptr;
    void (*m_pfnFreeDbManager)() = nullptr;
    DbManager* m_pDbMngr = nullptr;
    DbDatabase* pDb = nullptr;    // "tmp/dbDat0.db3", main thread only
    DbDatabase* pDbAlm = nullptr; // "tmp/dbData.db3", alarm routine only

    // --- Configuration: set by Init, read by every thread afterwards ------------------------

    SimpleIni m_ini{""};       // vkApp.ini, kept for its POST.* sections
    std::string m_strUrl;      // Url
    std::string m_strAlmUrl;   // AlmUrl
    std::string m_strFmt0;     // Fmt0, known to take the eight values of a head
    std::string m_strDept;     // Dept
    std::string m_strDeptName; // DeptName
    std::string m_strSpare;    // no key fills it

    // --- Catalogue and body under construction: main thread ---------------------------------

    char m_szPostBuf[kPostBufBytes];
    int m_iTimeout = 0;
    std::atomic<int> m_iPostRow{0}; // record number that the transport logs; alarms log it too
    int m_iDelay = 0;
    int m_iReTbls = 0; // rediscovery after this many due passes and one; 0: never
    std::string m_strState0;
    std::string m_strState1;
    std::string m_strState2;
    std::string m_strState3;
    std::vector<std::string> m_vTbls;       // device tables, in the order of the schema
    std::vector<std::string> m_vGenTbls;    // general tables, same order
    std::map<int, std::string> m_mapSmName; // SID -> device name
    std::map<int, std::string> m_mapSidTbl; // SID -> device table
    std::map<int, int> m_mapCtrlReq;        // SID -> requested; guarded by m_mutex
    std::map<int, int> m_mapCtrlPost;       // the main thread's copy of it
    std::map<int, int> m_mapSidTry;         // SID -> failures in a row
    std::vector<int> m_vDiSid;
    std::vector<int> m_vDiTry; // failures in a row of each m_vDiSid
    std::vector<int> m_vCamSid;
    std::vector<int> m_vCamTry; // failures in a row of each m_vCamSid

    // --- Queues and the request thread -------------------------------------------------------

    int m_msgTrayid = -1;                // main thread
    std::atomic<int> m_msgCtrlid{-1};    // both threads
    int m_iProcMsgRun = 0;               // nothing sets it
    int m_iMaxURLs = 1;                  // maxURLs
    std::vector<std::string> m_vUrls;    // filled only when maxURLs is 2 or more
    std::vector<std::string> m_vAlmUrls; // likewise
    pthread_t m_thProcMsg = 0;
    std::atomic<int> m_devCtrlupdSta{0}; // 1: a request waits. Written under m_mutex, read freely
    pthread_mutex_t m_mutex{};           // guards m_mapCtrlReq and changes of m_devCtrlupdSta

    // --- Shared with the alarm routine, which may run on the request thread -------------------

    std::shared_ptr<const std::map<int, std::string>> m_pAlmNames; // atomic_load, atomic_store

    static std::string m_strCA;     // CA certificate file for https; empty: no verification
    static std::string m_sEncoding; // character encoding of posted bodies
};
