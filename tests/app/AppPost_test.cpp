// The poster from construction to release: every setting and its default, the order of start-up,
// each way in which it fails, and what Free undoes. The database library is a stub; queues,
// threads and libcurl are the test's own.
#include "app/AppPost.h"

#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <sys/msg.h>
#include <sys/resource.h>

#include "app/AppHeadFormat.h"
#include "app/AppText.h"
#include "tests/support/Recorder.h"
#include "tests/support/stublibs/StubLibrary.h"
#include "tests/support/TempDir.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Texts = std::vector<std::string>;

constexpr char kDlopenError[] = "dlopen ./libvkdb.so error:./libvkdb.so: cannot open shared "
                                "object file: No such file or directory\r\n";

void add_event(const std::string& event)
{
    Recorder::Get().Add(event);
}

// What the system answers, and what it was asked for.
struct SystemScript
{
    int tray_queue = 11;
    int request_queue = 12;
    int thread_result = 0;
    const void* thread_argument = nullptr;
    pthread_t alarm_thread = 0; // that alarm signals are passed on to
};
SystemScript script;

// The real function behind one that this program defines.
template <class Function> Function next_of(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

StubScript stub_script;

void stub_called(const char* call)
{
    add_event(call);
}

void pass_alarm_signals_to(pthread_t thread)
{
    script.alarm_thread = thread;
}

extern "C"
{
    int msgget(key_t key, int flags) noexcept
    {
        EXPECT_EQ(flags, IPC_CREAT | IPC_NOWAIT | 0666);
        add_event(format_text("msgget %#x", static_cast<unsigned>(key)));
        return key == 0x9000 ? script.tray_queue : script.request_queue;
    }

    int msgctl(int queue, int command, msqid_ds* /*buffer*/) noexcept
    {
        EXPECT_EQ(command, IPC_RMID);
        add_event("remove queue " + std::to_string(queue));
        return 0;
    }

    int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                       void* argument) noexcept
    {
        EXPECT_EQ(attributes, nullptr);
        EXPECT_EQ(entry, &CAppPost::ProcMsgRun1);
        add_event("pthread_create");
        *thread = 77;
        script.thread_argument = argument;
        return script.thread_result;
    }

    // The loader knows a library by its name: the full one tells those of two tests apart.
    void* dlopen(const char* path, int mode) noexcept
    {
        EXPECT_EQ(mode & RTLD_NOW, RTLD_NOW);
        add_event(std::string("dlopen ") + path);
        std::error_code missing;
        const std::string full = std::filesystem::canonical(path, missing);
        return next_of<void* (*)(const char*, int)>("dlopen")(missing ? path : full.c_str(), mode);
    }

    int dlclose(void* library) noexcept
    {
        EXPECT_NE(library, nullptr);
        add_event("dlclose");
        return next_of<int (*)(void*)>("dlclose")(library);
    }
}

namespace
{

class AppPostTest : public ::testing::Test
{
protected:
    AppPostTest()
    {
        rec.Clear();
        script = {};
        stub_script = {};
        app = std::make_unique<CAppPost>();
    }
    ~AppPostTest() override { app.reset(); }

    // The lines of section POST; then a start-up.
    void InitWith(const std::string& lines)
    {
        write_file("vkApp.ini", "[POST]\n" + lines);
        app->Init();
    }

    // A stub at ./libvkdb.so.
    static void Library(const char* file) { std::filesystem::copy_file(file, "libvkdb.so"); }
    static void Library() { Library(VK_STUB_FULL); }

    // A start-up with that library, then what happened from the loading of it to the next step.
    std::vector<std::string> LoadEvents(const char* file = VK_STUB_FULL)
    {
        Library(file);
        InitWith("Url=http://h/\n");
        return rec.Between("dlopen", "msgget 0x9500");
    }

    // What Free does now.
    std::vector<std::string> FreeEvents()
    {
        rec.Clear();
        app->Free();
        return rec.Events();
    }

    void ExpectNoDatabase() const
    {
        EXPECT_EQ(app->pDb, nullptr);
        EXPECT_EQ(app->pDbAlm, nullptr);
        EXPECT_EQ(app->m_hDbLib, nullptr);
        EXPECT_FALSE(app->IsOk());
    }

    CTempDir dir;
    Recorder& rec = Recorder::Get();
    std::unique_ptr<CAppPost> app;
};

const std::string kEnd = "log AppPost endProcMsg line=2390 \r\n";

} // namespace

// --- Construction -------------------------------------------------------------------------------

TEST_F(AppPostTest, ANewPosterHasNothing)
{
    ExpectNoDatabase();
    EXPECT_EQ(app->m_pfnGetDbManager, nullptr);
    EXPECT_EQ(app->m_pfnFreeDbManager, nullptr);
    EXPECT_EQ(app->m_pDbMngr, nullptr);
    EXPECT_EQ(app->m_msgTrayid, -1);
    EXPECT_EQ(app->m_msgCtrlid, -1);
    EXPECT_EQ(app->m_iProcMsgRun, 0);
    EXPECT_EQ(app->m_iMaxURLs, 1);
    EXPECT_EQ(app->m_thProcMsg, 0U);
    EXPECT_EQ(app->m_devCtrlupdSta, 0);
}

TEST_F(AppPostTest, ANewPosterHasEmptyTextsAndLists)
{
    EXPECT_EQ(app->m_strUrl + app->m_strAlmUrl + app->m_strFmt0 + app->m_strDept, "");
    EXPECT_EQ(app->m_strDeptName + app->m_strSpare, "");
    EXPECT_THAT(app->m_vTbls, IsEmpty());
    EXPECT_THAT(app->m_vGenTbls, IsEmpty());
    EXPECT_THAT(app->m_mapSidTbl, IsEmpty());
    EXPECT_THAT(app->m_mapCtrlReq, IsEmpty());
    EXPECT_THAT(app->m_vUrls, IsEmpty());
    EXPECT_THAT(app->m_vAlmUrls, IsEmpty());
}

TEST_F(AppPostTest, ConstructionAsksTheSystemForNothing)
{
    EXPECT_THAT(rec.Events(), IsEmpty());
}

// --- Settings -----------------------------------------------------------------------------------

TEST_F(AppPostTest, WithoutAFileEveryTextHasItsDefault)
{
    app->Init();
    EXPECT_EQ(app->m_strUrl, "");
    EXPECT_EQ(app->m_strAlmUrl, "");
    EXPECT_EQ(app->m_strFmt0, "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&"
                              "state=%s");
    EXPECT_EQ(app->m_strDept, "xxx");
    EXPECT_EQ(app->m_strDeptName, "动环监控主机");
    EXPECT_EQ(CAppPost::m_sEncoding, "UTF-8");
    EXPECT_EQ(CAppPost::m_strCA, "");
}

TEST_F(AppPostTest, WithoutAFileEveryNumberAndStateHasItsDefault)
{
    app->Init();
    EXPECT_EQ(app->m_iTimeout, 15);
    EXPECT_EQ(app->m_iDelay, 5000);
    EXPECT_EQ(app->m_iReTbls, 0);
    EXPECT_EQ(app->m_iMaxURLs, 1);
    EXPECT_STREQ(app->GetState(0), "0");
    EXPECT_STREQ(app->GetState(1), "1");
    EXPECT_STREQ(app->GetState(2), "2");
    EXPECT_STREQ(app->GetState(3), "3");
}

TEST_F(AppPostTest, EveryTextIsRead)
{
    InitWith("Url=http://h/\nAlmUrl=http://a/\nFmt0=sid=%s&n=%d\nDept=D1\nDeptName=机房\n"
             "Encoding=GBK\nCA=/etc/ca.pem\n");
    EXPECT_EQ(app->m_strUrl, "http://h/");
    EXPECT_EQ(app->m_strAlmUrl, "http://a/");
    EXPECT_EQ(app->m_strFmt0, "sid=%s&n=%d");
    EXPECT_EQ(app->m_strDept, "D1");
    EXPECT_EQ(app->m_strDeptName, "机房");
    EXPECT_EQ(CAppPost::m_sEncoding, "GBK");
    EXPECT_EQ(CAppPost::m_strCA, "/etc/ca.pem");
}

TEST_F(AppPostTest, EveryNumberIsRead)
{
    InitWith("Timeout=7\nDelay=250\nReTbls=3\nmaxURLs=2\n");
    EXPECT_EQ(app->m_iTimeout, 7);
    EXPECT_EQ(app->m_iDelay, 250);
    EXPECT_EQ(app->m_iReTbls, 3);
    EXPECT_EQ(app->m_iMaxURLs, 2);
}

TEST_F(AppPostTest, AnEmptyOrNonNumericNumberIsZeroAndNotTheDefault)
{
    InitWith("Timeout=\nDelay=soon\nReTbls=\nmaxURLs=\n");
    EXPECT_EQ(app->m_iTimeout, 0);
    EXPECT_EQ(app->m_iDelay, 0);
    EXPECT_EQ(app->m_iMaxURLs, 0);
}

TEST_F(AppPostTest, AnEmptyTextIsNotTheDefault)
{
    InitWith("Dept=\nDeptName=\nState0=\nEncoding=\n");
    EXPECT_EQ(app->m_strDept + app->m_strDeptName + CAppPost::m_sEncoding, "");
    EXPECT_STREQ(app->GetState(0), "");
}

TEST_F(AppPostTest, SettingsOfOtherSectionsAreNotRead)
{
    write_file("vkApp.ini", "Url=http://none/\n[Post]\nUrl=http://none/\n");
    app->Init();
    EXPECT_EQ(app->m_strUrl, "");
}

TEST_F(AppPostTest, TheOtherSectionsStayAtHand)
{
    InitWith("[POST.xFld]\n5.Run=1\n");
    EXPECT_EQ(app->m_ini.GetValue("POST.xFld", "5.Run", "?"), "1");
}

TEST_F(AppPostTest, StateTextsAreByNumberAndState0IsForAllOthers)
{
    InitWith("State0=none\nState1=ok\nState2=warn\nState3=bad\n");
    EXPECT_STREQ(app->GetState(0), "none");
    EXPECT_STREQ(app->GetState(1), "ok");
    EXPECT_STREQ(app->GetState(2), "warn");
    EXPECT_STREQ(app->GetState(3), "bad");
    EXPECT_STREQ(app->GetState(7), "none");
    EXPECT_STREQ(app->GetState(-1), "none");
}

TEST_F(AppPostTest, TheSettingsAreLogged)
{
    InitWith("Url=http://h/\nAlmUrl=http://a/\nDept=D1\nTimeout=7\nDelay=250\nEncoding=GBK\n");
    EXPECT_EQ(rec.Logs().front(), "msg=11 POST url=http://h/ almurl=http://a/ dept=D1 timeout=7s "
                                  "delay=250ms encoding=GBK\n");
}

TEST_F(AppPostTest, AFmt0ThatPrintfMustNotSeeIsRefused)
{
    InitWith("Fmt0=suid=%s&x=%n\n");
    EXPECT_EQ(app->m_strFmt0, kDefaultFmt0);
    EXPECT_THAT(rec.Logs()[0], StartsWith("Fmt0 refused, default used: "));
    EXPECT_THAT(rec.Logs()[0], HasSubstr("%n"));
    EXPECT_THAT(rec.Logs()[1], StartsWith("msg=11 POST"));
}

TEST_F(AppPostTest, AFmt0OfWrongTypesIsRefused)
{
    InitWith("Fmt0=sid=%d\n");
    EXPECT_EQ(app->m_strFmt0, kDefaultFmt0);
    EXPECT_THAT(rec.Logs()[0], HasSubstr("%d"));
}

// --- URL lists ----------------------------------------------------------------------------------

TEST_F(AppPostTest, UrlListsBeginWithTheMainUrls)
{
    InitWith("maxURLs=3\nUrl=http://0/\nUrl1=http://1/\nUrl2=http://2/\nUrl3=http://3/\n"
             "AlmUrl=http://a/\nAlmUrl1=http://b/\n");
    EXPECT_THAT(app->m_vUrls, ElementsAre("http://0/", "http://1/", "http://2/"));
    EXPECT_THAT(app->m_vAlmUrls, ElementsAre("http://a/", "http://b/"));
}

TEST_F(AppPostTest, EachNumberedUrlIsLoggedAlsoWhenItIsEmpty)
{
    InitWith("maxURLs=3\nUrl=http://0/\nUrl2=http://2/\nAlmUrl1=http://b/\n");
    EXPECT_EQ(rec.Between("log Url1", "dlopen"),
              (Texts{"log Url1= \n", "log AlmUrl1=http://b/ \n", "log Url2=http://2/ \n",
                     "log AlmUrl2= \n"}));
    EXPECT_THAT(app->m_vUrls, ElementsAre("http://0/", "http://2/"));
}

TEST_F(AppPostTest, AnEmptyMainUrlIsNotInTheList)
{
    InitWith("maxURLs=2\nUrl1=http://1/\n");
    EXPECT_THAT(app->m_vUrls, ElementsAre("http://1/"));
    EXPECT_THAT(app->m_vAlmUrls, IsEmpty());
}

TEST_F(AppPostTest, UrlListsStayEmptyBelowTwo)
{
    for (const char* number : {"1", "0", "-3", "many"})
    {
        InitWith(std::string("maxURLs=") + number + "\nUrl=http://0/\nUrl1=http://1/\n");
        EXPECT_THAT(app->m_vUrls, IsEmpty()) << number;
        EXPECT_THAT(app->m_vAlmUrls, IsEmpty()) << number;
    }
    EXPECT_EQ(rec.CountStarting("log Url1"), 0);
}

TEST_F(AppPostTest, AnAbsurdNumberOfUrlsIsBounded)
{
    InitWith("maxURLs=2000000000\nUrl999=http://last/\nUrl1000=http://beyond/\n");
    EXPECT_THAT(app->m_vUrls, ElementsAre("http://last/"));
    EXPECT_THAT(rec.Logs(), Contains("maxURLs=2000000000 is too large, 1000 are read\n"));
    EXPECT_EQ(rec.CountStarting("log Url"), 999);
}

TEST_F(AppPostTest, AThousandUrlsAreNotTooMany)
{
    InitWith("maxURLs=1000\nUrl999=http://last/\n");
    EXPECT_THAT(app->m_vUrls, ElementsAre("http://last/"));
    EXPECT_THAT(rec.Logs(), Not(Contains(HasSubstr("too large"))));
}

// --- Start-up -----------------------------------------------------------------------------------

TEST_F(AppPostTest, StartsUpInOrder)
{
    Library();
    InitWith("Url=http://h/\nmaxURLs=2\n");
    EXPECT_EQ(rec.Events(),
              (Texts{"msgget 0x9000",
                     "log msg=11 POST url=http://h/ almurl= dept=xxx timeout=15s "
                     "delay=5000ms encoding=UTF-8\n",
                     "log Url1= \n", "log AlmUrl1= \n", "dlopen ./libvkdb.so", "GetDbManager",
                     "OpenDb(tmp/dbDat0.db3,0)", "OpenDb(tmp/dbData.db3,0)", "data Open(NULL,0)",
                     "msgget 0x9500", "log msgget: m_msgCtrlid=12\r\n", "curl_global_init(3)",
                     "pthread_create"}));
}

TEST_F(AppPostTest, AfterAGoodStartUpEverythingIsHeld)
{
    Library();
    InitWith("Url=http://h/\n");
    EXPECT_TRUE(app->IsOk());
    EXPECT_NE(app->m_hDbLib, nullptr);
    EXPECT_NE(app->m_pDbMngr, nullptr);
    EXPECT_NE(app->pDbAlm, nullptr);
    EXPECT_NE(app->pDbAlm, app->pDb);
    EXPECT_EQ(app->m_msgTrayid, 11);
    EXPECT_EQ(app->m_msgCtrlid, 12);
    EXPECT_EQ(app->m_thProcMsg, 77U);
    EXPECT_EQ(script.thread_argument, app.get());
    EXPECT_EQ(script.alarm_thread, 77U);
}

TEST_F(AppPostTest, ATrayQueueThatIsThereIsNotAskedForAgain)
{
    app->m_msgTrayid = 0; // the system's first
    app->Init();
    EXPECT_EQ(rec.Count("msgget 0x9000"), 0);
    EXPECT_THAT(rec.Logs().front(), StartsWith("msg=0 POST"));
}

TEST_F(AppPostTest, WithoutQueuesStartUpGoesOn)
{
    script.tray_queue = -1;
    script.request_queue = -1;
    Library();
    InitWith("Url=http://h/\n");
    EXPECT_TRUE(app->IsOk());
    EXPECT_THAT(rec.Logs(), Contains("msgget: m_msgCtrlid=-1\r\n"));
    EXPECT_EQ(FreeEvents(), (Texts{kEnd, "FreeDbManager", "dlclose", "curl_global_cleanup"}));
}

TEST_F(AppPostTest, WithoutTheRequestThreadStartUpGoesOn)
{
    script.thread_result = EAGAIN;
    Library();
    InitWith("Url=http://h/\n");
    EXPECT_TRUE(app->IsOk());
    EXPECT_EQ(app->m_thProcMsg, 0U);
    EXPECT_EQ(script.alarm_thread, 0U);
    EXPECT_EQ(rec.Events().back(), "log Thread creation failed!");
}

TEST_F(AppPostTest, EitherUrlAndTheDataDatabaseMakeItUsable)
{
    Library();
    InitWith("AlmUrl=http://a/\n");
    EXPECT_TRUE(app->IsOk());
}

TEST_F(AppPostTest, WithoutAnyMainUrlItIsNotUsable)
{
    Library();
    InitWith("maxURLs=2\nUrl1=http://1/\n");
    EXPECT_THAT(app->m_vUrls, SizeIs(1)); // the lists do not count
    EXPECT_NE(app->pDb, nullptr);
    EXPECT_FALSE(app->IsOk());
}

// --- Failing start-ups --------------------------------------------------------------------------

TEST_F(AppPostTest, WithoutTheLibraryTheRestIsStartedAllTheSame)
{
    InitWith("Url=http://h/\n");
    ExpectNoDatabase();
    EXPECT_EQ(rec.Between("dlopen", "none"),
              (Texts{"dlopen ./libvkdb.so", std::string("log ") + kDlopenError, "msgget 0x9500",
                     "log msgget: m_msgCtrlid=12\r\n", "curl_global_init(3)", "pthread_create"}));
    EXPECT_EQ(FreeEvents(), (Texts{kEnd, "remove queue 12", "curl_global_cleanup"}));
}

TEST_F(AppPostTest, AFileThatIsNoLibraryIsReportedWithTheLoadersText)
{
    write_file("libvkdb.so", "not a library, but long enough for the header of one: ...........");
    InitWith("Url=http://h/\n");
    ExpectNoDatabase();
    EXPECT_EQ(rec.CountStarting("log dlopen ./libvkdb.so error:"), 1);
    EXPECT_THAT(rec.Logs(), Contains(HasSubstr("invalid ELF header\r\n")));
}

TEST_F(AppPostTest, ALibraryWithoutItsFunctionsIsUnloaded)
{
    EXPECT_EQ(LoadEvents(VK_STUB_EMPTY), (Texts{"dlopen ./libvkdb.so", "log libDb.mngr==NULL\r\n",
                                                "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
    EXPECT_EQ(FreeEvents(), (Texts{kEnd, "remove queue 12", "curl_global_cleanup"}));
}

TEST_F(AppPostTest, WithoutTheReleaseFunctionTheManagerIsNotAskedFor)
{
    EXPECT_EQ(LoadEvents(VK_STUB_NO_FREE), (Texts{"dlopen ./libvkdb.so", "log libDb.mngr==NULL\r\n",
                                                  "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, WithoutTheManagersFunctionTheReleaseIsCalled)
{
    EXPECT_EQ(LoadEvents(VK_STUB_NO_GET), (Texts{"dlopen ./libvkdb.so", "log libDb.mngr==NULL\r\n",
                                                 "FreeDbManager", "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, WithoutAManagerTheReleaseIsCalledOnce)
{
    stub_script.manager = false;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "log libDb.mngr==NULL\r\n",
                     "FreeDbManager", "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
    EXPECT_EQ(FreeEvents(), (Texts{kEnd, "remove queue 12", "curl_global_cleanup"}));
}

TEST_F(AppPostTest, WithoutTheDataDatabaseStartUpFailsAlthoughTheAlarmDatabaseIsThere)
{
    stub_script.data_db = false;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "OpenDb(tmp/dbDat0.db3,0)",
                     "OpenDb(tmp/dbData.db3,0)", "FreeDbManager", "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, ADataDatabaseThatCannotBeOpenedFailsStartUp)
{
    stub_script.data_open = false;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "OpenDb(tmp/dbDat0.db3,0)",
                     "OpenDb(tmp/dbData.db3,0)", "data Open(NULL,0)", "FreeDbManager", "dlclose",
                     "log pDb err\r\n"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, AfterAFailedTestTheLibraryIsReleasedOnceMoreButNotUnloadedAgain)
{
    stub_script.data_open = false;
    LoadEvents();
    EXPECT_NE(app->m_pDbMngr, nullptr); // kept on purpose
    EXPECT_EQ(FreeEvents(),
              (Texts{kEnd, "remove queue 12", "FreeDbManager", "curl_global_cleanup"}));
    EXPECT_EQ(app->m_pDbMngr, nullptr);
}

TEST_F(AppPostTest, WithoutTheAlarmDatabaseStartUpIsGood)
{
    stub_script.alarm_db = false;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "OpenDb(tmp/dbDat0.db3,0)",
                     "OpenDb(tmp/dbData.db3,0)", "data Open(NULL,0)"}));
    EXPECT_TRUE(app->IsOk());
    EXPECT_EQ(app->pDbAlm, nullptr);
}

// --- Release ------------------------------------------------------------------------------------

TEST_F(AppPostTest, FreeRemovesTheQueueBeforeTheLibraryGoes)
{
    LoadEvents();
    EXPECT_EQ(FreeEvents(),
              (Texts{kEnd, "remove queue 12", "FreeDbManager", "dlclose", "curl_global_cleanup"}));
    ExpectNoDatabase();
    EXPECT_EQ(app->m_pDbMngr, nullptr);
    EXPECT_EQ(app->m_msgCtrlid, -1);
}

TEST_F(AppPostTest, FreeLeavesTheTrayQueueAlone)
{
    LoadEvents();
    EXPECT_THAT(FreeEvents(), Not(Contains("remove queue 11")));
    EXPECT_EQ(app->m_msgTrayid, 11);
}

TEST_F(AppPostTest, FreeMayBeCalledAgain)
{
    LoadEvents();
    app->Free();
    EXPECT_EQ(FreeEvents(), (Texts{kEnd, "curl_global_cleanup"}));
}

TEST_F(AppPostTest, TheDestructorReleasesToo)
{
    LoadEvents();
    rec.Clear();
    app.reset();
    EXPECT_EQ(rec.Events(),
              (Texts{kEnd, "remove queue 12", "FreeDbManager", "dlclose", "curl_global_cleanup"}));
}

TEST_F(AppPostTest, AQueueWithIdentifierZeroIsRemoved)
{
    script.request_queue = 0;
    LoadEvents();
    EXPECT_THAT(FreeEvents(), Contains("remove queue 0"));
}

// --- A library that throws ----------------------------------------------------------------------

TEST_F(AppPostTest, ALibraryWhoseManagersFunctionThrowsCannotBeUsed)
{
    stub_script.throws = StubThrows::kGet;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "log libDb.mngr==NULL\r\n",
                     "FreeDbManager", "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
    EXPECT_EQ(app->m_pDbMngr, nullptr);
}

TEST_F(AppPostTest, AReleaseFunctionThatThrowsIsCalledAndTheLibraryUnloaded)
{
    LoadEvents();
    stub_script.throws = StubThrows::kFree;
    EXPECT_EQ(FreeEvents(),
              (Texts{kEnd, "remove queue 12", "FreeDbManager", "dlclose", "curl_global_cleanup"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, AReleaseFunctionThatThrowsAfterAFailedTestEndsNothing)
{
    stub_script.data_open = false;
    stub_script.throws = StubThrows::kFree;
    LoadEvents();
    ExpectNoDatabase();
    EXPECT_THAT(FreeEvents(), Contains("FreeDbManager"));
}

TEST_F(AppPostTest, ADataDatabaseWhoseMakingThrowsIsNone)
{
    stub_script.throws = StubThrows::kOpenData;
    EXPECT_EQ(LoadEvents(),
              (Texts{"dlopen ./libvkdb.so", "GetDbManager", "OpenDb(tmp/dbDat0.db3,0)",
                     "OpenDb(tmp/dbData.db3,0)", "FreeDbManager", "dlclose", "log pDb err\r\n"}));
    ExpectNoDatabase();
}

TEST_F(AppPostTest, ADataDatabaseWhoseTestThrowsIsNone)
{
    stub_script.throws = StubThrows::kOpen;
    EXPECT_EQ(LoadEvents().back(), "log pDb err\r\n");
    ExpectNoDatabase();
}

// --- The alarm database -------------------------------------------------------------------------

namespace
{

constexpr char kNoAlarms[] = "log tmp/dbData.db3 cannot be opened, alarms are not posted\r\n";

} // namespace

TEST_F(AppPostTest, AnAlarmDatabaseThatIsNotThereIsNotLogged)
{
    stub_script.alarm_db = false;
    EXPECT_EQ(LoadEvents().back(), "data Open(NULL,0)");
    EXPECT_TRUE(app->IsOk());
}

TEST_F(AppPostTest, AnAlarmDatabaseWithoutItsFolderIsNotLogged)
{
    write_file("tmp", "a file");
    stub_script.alarm_db = false;
    EXPECT_EQ(LoadEvents().back(), "data Open(NULL,0)");
}

TEST_F(AppPostTest, AnAlarmDatabaseThatCannotBeLookedAtIsLogged)
{
    std::filesystem::create_directory("tmp");
    std::filesystem::create_symlink("dbData.db3", "tmp/dbData.db3"); // to itself
    stub_script.alarm_db = false;
    EXPECT_EQ(LoadEvents().back(), kNoAlarms);
}

TEST_F(AppPostTest, AnAlarmDatabaseThatIsThereAndCannotBeOpenedIsLogged)
{
    std::filesystem::create_directory("tmp");
    write_file("tmp/dbData.db3", "");
    stub_script.alarm_db = false;
    EXPECT_EQ(LoadEvents().back(), kNoAlarms);
    EXPECT_TRUE(app->IsOk());
}

TEST_F(AppPostTest, AnAlarmDatabaseWhoseMakingThrowsIsLoggedWhenItsFileIsThere)
{
    std::filesystem::create_directory("tmp");
    write_file("tmp/dbData.db3", "");
    stub_script.throws = StubThrows::kOpenAlarm;
    EXPECT_EQ(LoadEvents().back(), kNoAlarms);
    EXPECT_TRUE(app->IsOk());
    EXPECT_EQ(app->pDbAlm, nullptr);
}

TEST_F(AppPostTest, WithoutADataDatabaseTheAlarmDatabaseIsNotLogged)
{
    std::filesystem::create_directory("tmp");
    write_file("tmp/dbData.db3", "");
    stub_script.alarm_db = false;
    stub_script.data_open = false;
    EXPECT_EQ(LoadEvents().back(), "log pDb err\r\n");
}

// --- A configuration that cannot be read --------------------------------------------------------

TEST_F(AppPostTest, AConfigurationIsReadAgainAndThenWhole)
{
    std::filesystem::create_directory("vkApp.ini"); // can be opened and not be read
    rec.on_pause = [](int)
    {
        std::filesystem::remove("vkApp.ini");
        write_file("vkApp.ini", "[POST]\nUrl=http://h/\n");
    };
    app->Init();
    EXPECT_EQ(app->m_strUrl, "http://h/");
    EXPECT_THAT(rec.Pauses(), ElementsAre(200));
    EXPECT_THAT(rec.Logs().front(), StartsWith("msg=11 POST url=http://h/ "));
}

TEST_F(AppPostTest, AConfigurationThatLackOfDescriptorsKeepsShutIsReadAgain)
{
    write_file("vkApp.ini", "[POST]\nUrl=http://h/\n");
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{0, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    rec.on_pause = [&](int)
    {
        setrlimit(RLIMIT_NOFILE, &usual);
    };
    app->Init();
    EXPECT_EQ(app->m_strUrl, "http://h/");
    EXPECT_THAT(rec.Pauses(), ElementsAre(200));
}

TEST_F(AppPostTest, AConfigurationThatLeadsNowhereIsLikeNone)
{
    std::filesystem::create_symlink("nowhere", "vkApp.ini");
    app->Init();
    EXPECT_THAT(rec.Pauses(), IsEmpty());
    EXPECT_THAT(rec.Logs().front(), StartsWith("msg=11 POST url= almurl= "));
}

TEST_F(AppPostTest, AConfigurationThatStaysUnreadableIsSaidAndNotUsable)
{
    std::filesystem::create_directory("vkApp.ini");
    Library();
    app->Init();
    EXPECT_THAT(rec.Pauses(), ElementsAre(200, 200));
    EXPECT_EQ(rec.Logs().front(), "vkApp.ini cannot be read: Is a directory\r\n");
    EXPECT_THAT(rec.Logs()[1], StartsWith("msg=11 POST url= almurl= "));
    EXPECT_FALSE(app->IsOk());
}

TEST_F(AppPostTest, AConfigurationThatCannotBeOpenedIsNotReadAgain)
{
    app->Init();
    EXPECT_THAT(rec.Pauses(), IsEmpty());
    EXPECT_THAT(rec.Logs().front(), StartsWith("msg=11 POST url= almurl= "));
}

// --- Lock ---------------------------------------------------------------------------------------

TEST_F(AppPostTest, LockAndUnlockReturnTheMutexResult)
{
    EXPECT_EQ(app->Lock(), 0);
    EXPECT_EQ(pthread_mutex_trylock(&app->m_mutex), EBUSY);
    EXPECT_EQ(app->Unlock(), 0);
    EXPECT_EQ(pthread_mutex_trylock(&app->m_mutex), 0);
    EXPECT_EQ(app->Unlock(), 0);
}
