// The poster on the real database library and real SQLite files: from tables to bodies.
#include <algorithm>
#include <dlfcn.h>

#include "tests/support/PosterTest.h"
#include "tests/vkdb/DbFile.h"

namespace
{

constexpr char kRoom[] = R"(
    create table tbSM (SID integer primary key, Kind int, Type int, Name text, Note text, Tag1 int,
                       ASubSys int, State int, DataMode int, SerDef text);
    create table tbUps (SID int, Type int, Port int, Addr int, State int, ErrCnt int,
                        DateUpd text, DateOk text, Tem real, Run int, Alm int, Memo text);
    create table tbBatt (SID int, Fld int, dat0 int);
    create table tbBrand (Type int, Maker text, Model text);
    create table tbLog (Id int, What text, Count int);
    create table tbSubSysDetail (SID int, SIDD int, Fld int, Type int, State int, LastUpd text);
    create table tbDio (SID int, Type int, DateUpd text, D09 int, D10 int, D11 int);
    insert into tbSM values (101, 1, 5, 'UPS-1', '', 0, 2, 0, 1, ''),
        (102, 1, 5, 'UPS-2', '', 4, 2, 0, 1, ''), (31, 1, 8, 'Door', '', 3, 4, 0, 1, ''),
        (40, 3072, 12, 'Cam-1', '', 0, 4, 0, 1, 'rtsp://10.0.0.1/a&b=c'),
        (41, 3072, 12, 'Cam-off', '', 0, 4, 1, 1, '');
    insert into tbUps values
        (101, 5, 1, 1, 0, 0, '2024-05-01 12:00:00', '', 25.5, 1, 3, null),
        (102, 5, 1, 2, -1, 0, '2024-05-01 12:00:00', '', 26.0, 0, 0, 'out of service');
    insert into tbBatt values (101, 1, 215), (101, 2, -3), (102, 1, 999);
    insert into tbBrand values (5, 'Volt & Co', 'V-5');
    insert into tbLog values (1, 'door opened', 2), (2, 'door closed', null);
    insert into tbSubSysDetail values (31, 9, 4, 8, 1, '2024-05-01 11:00:00'),
        (9, 9, 0, 8, 1, 'self');
    insert into tbDio values (1, 20, '2024-05-01 10:00:00', 1, 0, 1);)";

constexpr char kAlarms[] = R"(
    create table tbSMAlarm (DID integer primary key, SID int, Type int, Alm int, LastUpd text,
                            AlmBrief text, AlmMask int, AlmImg text, AFld int);
    insert into tbSMAlarm values (7, 101, 1024, 4, 'T7', 'cleared', 65, null, null),
        (3, 999, 2304, 0, 'T3', '门 open', 0, 'a.jpg', 0), (5, 101, 256, 0, 'T5', 'old', 0, '', 1);)";

class RealDbTest : public PosterTest
{
protected:
    void SetUp() override
    {
        m_lib = dlopen(VKDB_LIBRARY, RTLD_NOW | RTLD_NODELETE);
        ASSERT_NE(m_lib, nullptr) << dlerror();
        const auto get = reinterpret_cast<DbManager* (*)()>(dlsym(m_lib, "GetDbManager"));
        app.pDb = get()->OpenDb(room.Path().c_str(), 0);
        app.pDbAlm = get()->OpenDb(alarms.Path().c_str(), 0);
        ASSERT_TRUE(app.pDb != nullptr && app.pDb->Open(nullptr, 0));
        Ini("POST.xFld", {"5.Run=1", "5.Runx=unknown", "5.Run1=running", "5.Alm=2",
                          "5.Alm0=low voltage", "5.Alm1=over temperature"});
        Ini("POST.Detail", {"tbBatt=103", "tbBrand=1"});
        Ini("POST.General", {"tbLog=30", "tbLog.Name=log", "tbDio=31", "tbSubSysDetail=32"});
        Ini("POST.Ext.5", {"tbBrand=2", "tbBrand.flds=2"});
        Ini("POST.Master", {"tbUps=tbBatt"});
    }
    void TearDown() override
    {
        reinterpret_cast<void (*)()>(dlsym(m_lib, "FreeDbManager"))();
        dlclose(m_lib);
        EXPECT_EQ(RetryPauses(), retry_pauses);
    }

    // All pauses but those that lie between two bodies.
    std::vector<int> RetryPauses() const
    {
        std::vector<int> pauses = rec.Pauses();
        pauses.erase(std::remove(pauses.begin(), pauses.end(), 20), pauses.end());
        return pauses;
    }
    std::vector<int> retry_pauses; // what a test expects of them: nothing is tried again

    CDbFile room{kRoom};
    CDbFile alarms{kAlarms};

private:
    void* m_lib = nullptr;
};

} // namespace

TEST_F(RealDbTest, DiscoversTheRoom)
{
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps"));
    EXPECT_THAT(app.m_vGenTbls, ElementsAre("tbLog", "tbSubSysDetail", "tbDio"));
    EXPECT_THAT(app.m_mapSidTbl, ElementsAre(Pair(101, "tbUps"), Pair(102, "tbUps")));
    EXPECT_THAT(app.m_mapSmName,
                ElementsAre(Pair(31, "Door"), Pair(40, "Cam-1"), Pair(41, "Cam-off"),
                            Pair(101, "UPS-1"), Pair(102, "UPS-2")));
    EXPECT_THAT(app.m_vDiSid, ElementsAre(31));
    EXPECT_THAT(app.m_vCamSid, ElementsAre(40));
}

TEST_F(RealDbTest, TableWithBlanksAndQuotesIsGivenUpAlone)
{
    // Its name goes into the query as it is: ten tries, 10 s apart, then the next table.
    CWriter(room.Path())
        .Sql("create table \"tb 'odd\" (SID); insert into \"tb 'odd\" values(3);"
             "create table tbNext as select * from tbUps where SID=102;"
             "update tbNext set SID=31, State=0");
    retry_pauses.assign(10, 10000);
    app.GetTbls();
    EXPECT_THAT(app.m_vTbls, ElementsAre("tbUps", "tb 'odd", "tbNext"));
    EXPECT_THAT(app.m_mapSidTbl,
                ElementsAre(Pair(31, "tbNext"), Pair(101, "tbUps"), Pair(102, "tbUps")));
    EXPECT_EQ(rec.CountStarting("log [CAppPost::GetTbls] read sid exception: 1 "), 10);
    EXPECT_EQ(rec.Count("log Read Tables Error! Try Count: 10\n"), 1);
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(), ElementsAre(StartsWith("suid=xxx&sid=31&stype=5&stag1=3&sname=Door&"),
                                          StartsWith("suid=xxx&sid=101&")));
}

TEST_F(RealDbTest, PostsADeviceWithExtensionAndDetailRows)
{
    app.GetTbls();
    app.PostNormal();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=101&stype=5&stag1=0&sname=UPS-1&subsys=2"
                            "&dtupd=2024-05-01 12:00:00&state=0&Tem=25.5&Run=running"
                            "&Alm=low voltage over temperature&Maker=Volt & Co&Model=V-5"
                            "&Tem1=215&Tem2=-3"));
}

// The names' table comes first in the result, so what it says counts, in whatever case it says so.
TEST_F(RealDbTest, TagOfTheNamesTableWinsOverADevicesOwn)
{
    room.Sql("alter table tbSM rename column Tag1 to tag1; update tbSM set tag1=6 where SID=101;"
             "alter table tbUps add column Tag1 int default 77;"
             "alter table tbUps add column NAME text default 'other';"
             "alter table tbUps add column Last int default 5");
    EXPECT_EQ(app.PostNormal(101, "tbUps"), 0);
    EXPECT_THAT(rec.Bodies(),
                ElementsAre(StartsWith("suid=xxx&sid=101&stype=5&stag1=6&sname=UPS-1&subsys=2")));
    EXPECT_THAT(rec.Bodies(), ElementsAre(HasSubstr("&Tag1=77&NAME=other&Last=5")));
}

TEST_F(RealDbTest, PostsTheSameOnDemand)
{
    EXPECT_EQ(app.PostNormal(101, "tbUps"), 0);
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=101&stype=5&stag1=0&sname=UPS-1&subsys=2"
                            "&dtupd=2024-05-01 12:00:00&state=0&Tem=25.5&Run=running"
                            "&Alm=low voltage over temperature&Maker=Volt & Co&Model=V-5"
                            "&Tem1=215&Tem2=-3"));
}

TEST_F(RealDbTest, PostsTheRowsOfAGeneralTable)
{
    app.m_vGenTbls = {"tbLog"};
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=900&stype=30&stag1=0&sname=log&subsys=0"
                            "&dtupd=2024-05-01 12:00:00&state=0&What=door opened&Count=2",
                            "suid=xxx&sid=900&stype=30&stag1=0&sname=log&subsys=0"
                            "&dtupd=2024-05-01 12:00:00&state=0&What=door closed"));
}

TEST_F(RealDbTest, PostsInputsAndOutputs)
{
    app.GetTbls();
    app.PostDio();
    const std::string output = "&subsys=0&dtupd=2024-05-01 10:00:00&state=";
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=31&stype=8&stag1=3&sname=Door&subsys=4"
                            "&dtupd=2024-05-01 11:00:00&state=1&psid=9&pfld=4",
                            "suid=xxx&sid=1&stype=20&stag1=0&sname=DO0" + output + "1&DoState=1",
                            "suid=xxx&sid=1&stype=20&stag1=1&sname=DO1" + output + "0&DoState=0",
                            "suid=xxx&sid=1&stype=20&stag1=2&sname=DO2" + output + "1&DoState=1"));
}

TEST_F(RealDbTest, PostsACamera)
{
    app.GetTbls();
    app.PostCam();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=40&stype=12&stag1=0&sname=Cam-1&subsys=4"
                            "&dtupd=2024-05-01 12:00:00&state=0&info=rtsp://10.0.0.1/a&b=c"));
}

TEST_F(RealDbTest, PostsTheAlarmsNotYetSentAndMarksThem)
{
    app.GetTbls();
    app.m_strAlmUrl = "u";
    app.m_vAlmUrls = {"u"};
    app.OnAlmIns();
    app.OnAlmIns();
    EXPECT_THAT(rec.Bodies(),
                ElementsAre("suid=xxx&sid=999&stype=2304&stag1=0&sname=&subsys=11&dtupd=T3&state=1"
                            "&level=次要&title=门 open&suggestion=&location=&datainfo="
                            "&recovertime=&AlmImg=a.jpg",
                            "suid=xxx&sid=101&stype=1024&stag1=0&sname=UPS-1&subsys=4&dtupd=T7"
                            "&state=3&level=重要&title=cleared&suggestion= 声光 POST&location="
                            "&datainfo=&recovertime=T7&AlmImg="));
    EXPECT_EQ(CWriter(alarms.Path()).Value("select sum(AFld) from tbSMAlarm"), 3);
}

TEST_F(RealDbTest, TableThatIsGoneIsLoggedWithSqlitesMessage)
{
    app.m_vGenTbls = {"tbGone", "tbLog"};
    app.PostGeneral();
    EXPECT_THAT(rec.Bodies(), SizeIs(2));
    app.PostNormal(101, "tbGone");
    EXPECT_EQ(rec.Logs().back(),
              "[CAppPost::PostNormal] db exception: 1 no such table: tbGone\r\n");
}
