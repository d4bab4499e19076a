// What a sample room's databases hold: every table and column that the forwarder reads, under the
// rules that make discovery quick, with content worth posting.

#include <gmock/gmock.h>

#include <set>

#include "common/SimpleIni.h"
#include "tests/vkctl/VkctlTest.h"

using namespace vkctl;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace
{

// The tables in which devices are searched, in the order of the catalogue.
std::vector<std::string> device_tables(const CTestRoom& room)
{
    SimpleIni ini(room.Ini());
    std::vector<std::string> tables;
    for (const std::string& name :
         room.Rows("select name from sqlite_master where type='table' and not name like 'tbSM%'"))
    {
        if (ini.GetValue<int>("POST.Detail", name, 0) < 1 &&
            ini.GetValue<int>("POST.General", name, 0) < 1)
        {
            tables.push_back(name);
        }
    }
    return tables;
}

std::vector<std::string> columns(const CTestRoom& room, const std::string& table)
{
    return room.Rows("select name from pragma_table_info('" + table + "')");
}

std::vector<std::string> columns_of_query(const std::string& database, const std::string& sql)
{
    return query_rows(database, sql); // throws when a table or a column is missing
}

} // namespace

TEST(RoomDatabaseTest, TheFilesFollowTheSchemaInExamples)
{
    const std::string schema = read_file(std::string(VK_EXAMPLES) + "/schema.sql");
    EXPECT_NE(schema.find(schema_of(kDataDatabase)), std::string::npos);
    EXPECT_NE(schema.find(schema_of(kAlarmDatabase)), std::string::npos);
    EXPECT_THAT(schema_of(kDataDatabase), Not(testing::HasSubstr("CREATE TABLE tbSMAlarm")));
    EXPECT_THAT(schema_of(kAlarmDatabase), testing::HasSubstr("CREATE TABLE tbSMAlarm"));
    EXPECT_THAT(schema_of("tmp/other.db3"), IsEmpty());
}

TEST(RoomDatabaseTest, EveryStatementOfTheSchemaIsInARoom)
{
    const CTestRoom room;
    std::vector<std::string> made = room.Rows("select sql from sqlite_master where sql<>''");
    const auto alarms = query_rows(room.Alarms(), "select sql from sqlite_master where sql<>''");
    made.insert(made.end(), alarms.begin(), alarms.end());
    const std::string schema = read_file(std::string(VK_EXAMPLES) + "/schema.sql");
    for (const std::string& sql : made)
    {
        EXPECT_NE(schema.find(sql + ";"), std::string::npos) << sql;
    }
    EXPECT_THAT(made, SizeIs(23));
}

TEST(RoomDatabaseTest, OnlyDeviceTablesAreSearchedForDevices)
{
    EXPECT_THAT(device_tables(CTestRoom()),
                ElementsAre("tbUps", "tbAirCon", "tbBattery", "tbBatteryB", "tbBatteryC",
                            "tbTempHum", "tbMeter", "tbTempChain"));
}

TEST(RoomDatabaseTest, DeviceTablesBeginWithTheEightLeadingColumns)
{
    const CTestRoom room;
    for (const std::string& table : device_tables(room))
    {
        auto names = columns(room, table);
        ASSERT_GT(names.size(), 8U) << table;
        names.resize(8);
        EXPECT_THAT(names, ElementsAre("SID", "Type", "Port", "Addr", "State", "ErrCnt", "DateUpd",
                                       "DateOk"))
            << table;
    }
}

TEST(RoomDatabaseTest, DeviceColumnsDoNotRepeatTheNamesOfTheJoinedOnes)
{
    const CTestRoom room;
    for (const std::string& table : device_tables(room))
    {
        for (const char* joined : {"Name", "Note", "Tag1", "ASubSys"})
        {
            EXPECT_THAT(columns(room, table), Not(Contains(joined))) << table;
        }
    }
}

TEST(RoomDatabaseTest, ASidIsFoundInOneTableOnlyAndHasAName)
{
    const CTestRoom room;
    std::set<std::string> sids;
    for (const std::string& table : device_tables(room))
    {
        for (const std::string& sid : room.Rows("select SID from " + table))
        {
            EXPECT_TRUE(sids.insert(sid).second) << sid;
            EXPECT_THAT(room.Rows("select Name from tbSM where Name<>'' and SID=" + sid),
                        SizeIs(1));
        }
    }
    EXPECT_THAT(sids, SizeIs(20));
}

TEST(RoomDatabaseTest, TheDeviceQueryHasValuesFromColumnTwelveOn)
{
    const CTestRoom room;
    EXPECT_EQ(room.Value("select s.Name,s.Note,s.Tag1,s.ASubSys,x.* from tbUps x left join tbSM s "
                         "on s.SID=x.SID where x.SID=1001"),
              "UPS主机1#||2|1|1001|257|1|1|1|0|2024-05-01 08:00:00|2024-05-01 08:00:00|222.4|49.93|"
              "220.2|91.0|49.6|435.2|99|32.1|1|32");
}

TEST(RoomDatabaseTest, EveryDetailModeHasATableWithItsColumns)
{
    const CTestRoom room;
    for (const char* sql : {"select Addr,State,Vol,Reg,Tem from tbBatCell where SID=1003",
                            "select Fld,State,V,T from tbBatCellB where SID=1006",
                            "select Fld,Vol,Tem,bSt from tbBatCellC where SID=1007",
                            "select Fld,dat0 from tbTempPoint where SID=1008",
                            "select Fld,Val,ValStr from tbUpsItem where SID=1001",
                            "select Fld,Val from tbMeterLoop where SID=1005",
                            "select Fld,Val from tbAirItem where SID=1002"})
    {
        EXPECT_THAT(columns_of_query(room.Data(), sql), Not(IsEmpty())) << sql;
    }
}

TEST(RoomDatabaseTest, DetailRowsThatAreNotPostedArePresentToo)
{
    const CTestRoom room;
    EXPECT_EQ(room.Value("select count(*) from tbUpsItem where ValStr=''"), "2");
    EXPECT_EQ(room.Value("select count(*) from tbMeterLoop where Val=''"), "3");
    EXPECT_EQ(room.Value("select count(*) from tbAirItem where Val=''"), "4");
}

TEST(RoomDatabaseTest, ExtensionTablesHaveARowForTheirType)
{
    const CTestRoom room;
    EXPECT_EQ(room.Value("select * from tbExtUps where Type=257"),
              "257|2024-05-01 08:00:00|86.4|43.2|1");
    EXPECT_EQ(room.Value("select * from tbExtAir where Type=1025"),
              "1025|2024-05-01 08:00:00|21.3|33.8|3|1");
}

TEST(RoomDatabaseTest, GeneralTablesHaveRows)
{
    const CTestRoom room;
    EXPECT_THAT(room.Rows("select Item,Value from tbGenEnergy"),
                ElementsAre("PUE|1.42", "IT负载|86.4", "总负载|122.7"));
    EXPECT_THAT(room.Rows("select Port,Online from tbGenPort"),
                ElementsAre("1|1", "2|1", "3|1", "4|0"));
}

TEST(RoomDatabaseTest, InputsAreWiredToTheHostAndOneIsNot)
{
    const CTestRoom room;
    const std::string from =
        "select s.Name,s.Tag1,s.ASubSys,x.SID,x.Type,x.State,x.LastUpd,x.SIDD,x.Fld from "
        "tbSubSysDetail x left join tbSM s on s.SID=x.SID where x.SID<>x.SIDD";
    EXPECT_THAT(room.Rows(from), SizeIs(10));
    EXPECT_EQ(room.Value(from + " and x.SID=103"),
              "漏水检测1#|3|3|103|2305|0|2024-05-01 08:00:00|1|2");
    EXPECT_THAT(room.Rows(from + " and x.State<0"), SizeIs(1));
}

TEST(RoomDatabaseTest, OutputsStandInTheFirstRowOfTheHost)
{
    EXPECT_EQ(
        CTestRoom().Value("select s.Name,x.Type,x.DateUpd,x.D09,x.D10,x.D11 from tbDio x left "
                          "join tbSM s on s.SID=x.SID where x.SID=1"),
        "主机开关量模块|3585|2024-05-01 08:00:00|0|1|0");
}

TEST(RoomDatabaseTest, CamerasAreKnownByKindStateAndMode)
{
    EXPECT_THAT(CTestRoom().Rows("select SID,Name,SerDef from tbSM where Kind=3072 and State=0 and "
                                 "DataMode=1"),
                ElementsAre("501|前门摄像机1#|192.168.1.20,8000,admin,1",
                            "502|后门摄像机1#|192.168.1.21,8000,admin,1",
                            "503|冷通道摄像机1#|192.168.1.22,8000,admin,1",
                            "504|配电间摄像机1#|192.168.1.23,8000,admin,1"));
}

TEST(RoomDatabaseTest, TwoAlarmsWaitToBeSent)
{
    const CTestRoom room;
    EXPECT_THAT(query_rows(room.Alarms(), "select DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg "
                                          "from tbSMAlarm where AFld is null or AFld<1 order by "
                                          "DID"),
                ElementsAre("5|1002|1025|0|2024-05-01 07:48:20|精密空调1# 滤网堵塞|68|",
                            "6|103|2305|0|2024-05-01 07:55:37|漏水检测1# 漏水|71|"));
}

TEST(RoomDatabaseTest, ANewRoomShowsAlarmsOfEachWidth)
{
    const CTestRoom room;
    for (const char* table : {"tbUps", "tbAirCon", "tbMeter"})
    {
        EXPECT_NE(room.Value(std::string("select sum(Alm) from ") + table + " where State=1"), "")
            << table;
    }
}

TEST(RoomDatabaseTest, ContentIsTheSameEveryTimeAndDiffersBySeed)
{
    const std::string all = "select group_concat(Uin||' '||Load) from tbUps";
    RoomContent other;
    other.seed = 7;
    EXPECT_EQ(CTestRoom().Value(all), CTestRoom().Value(all));
    EXPECT_NE(CTestRoom().Value(all), CTestRoom(other).Value(all));
}

TEST(RoomDatabaseTest, TheNumbersAskedForAreMade)
{
    RoomContent content;
    content.devices = 3000;
    content.inputs = 40;
    content.cameras = 9;
    const CTestRoom room(content);
    EXPECT_EQ(room.Value("select count(*) from tbSM"), "3050"); // and the host's module
    EXPECT_EQ(room.Value("select count(*) from tbSubSysDetail where SID<>SIDD"), "40");
    EXPECT_EQ(room.Value("select count(*) from tbSM where Kind=3072"), "9");
}

TEST(RoomDatabaseTest, NoInputsAndNoCamerasIsARoomToo)
{
    RoomContent content;
    content.devices = 1;
    content.inputs = 0;
    content.cameras = 0;
    EXPECT_EQ(CTestRoom(content).Value("select count(*) from tbSM"), "2");
}

TEST(RoomDatabaseTest, TheJournalIsAsAskedFor)
{
    RoomContent content;
    EXPECT_EQ(CTestRoom(content).Value("pragma journal_mode"), "delete");
    content.wal = true;
    EXPECT_EQ(CTestRoom(content).Value("pragma journal_mode"), "wal");
}

TEST(RoomDatabaseTest, InsertNamesItsColumns)
{
    EXPECT_EQ(insert_sql("tbX", {"A", "B"}), "insert into tbX(A,B) values(?,?)");
}
