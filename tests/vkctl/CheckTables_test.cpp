// Findings about the tables that discovery meets and the fixed ones that the daemon reads.

#include "CheckTest.h"

namespace
{

constexpr char kDevices[] = "drop table tbAirCon; drop table tbBattery; drop table tbBatteryB;"
                            "drop table tbBatteryC; drop table tbTempHum; drop table tbMeter;"
                            "drop table tbTempChain";

const std::string kStall = "stalls the start of the daemon, and each new search, for 100 s";

std::vector<CheckCase> file_cases()
{
    return {
        {"database-unreadable",
         {"remove tmp/dbDat0.db3"},
         "tmp/dbDat0.db3: error: cannot be read: unable to open database file",
         {"data: pragma journal_mode=wal"}},
        {"database-unreadable",
         {"remove tmp/dbData.db3"},
         "tmp/dbData.db3: error: cannot be read: unable to open database file",
         {"remove tmp/dbData.db3", "POST/AlmUrl="}},
        {"database-unreadable",
         {"write tmp/dbData.db3 This text is long enough, but it is no database at all."},
         "tmp/dbData.db3: error: cannot be read: file is not a database",
         {"alarms: delete from tbSMAlarm"}},
        {"alarm-table",
         {"alarms: alter table tbSMAlarm drop column AlmImg"},
         "tmp/dbData.db3: error: tbSMAlarm has no column AlmImg: no alarm is posted",
         {"alarms: alter table tbSMAlarm drop column AlmImg", "POST/AlmUrl="}},
        {"alarm-table",
         {"alarms: drop table tbSMAlarm"},
         "tmp/dbData.db3: error: no alarm can be read: no such table: tbSMAlarm",
         {"alarms: alter table tbSMAlarm add column X"}},
    };
}

std::vector<CheckCase> required_cases()
{
    return {
        {"table-required",
         {"data: drop table tbSM"},
         "tmp/dbDat0.db3: error: there is no table tbSM: no device, input, output or camera can "
         "be posted, and the searches for names, inputs and cameras stall the start of the daemon, "
         "and each new search, for 300 s",
         {"data: alter table tbSM rename to x; create view tbSM as select * from x"}},
        {"table-required",
         {"data: alter table tbSM rename column Tag1 to X"},
         "tmp/dbDat0.db3: error: tbSM has no column Tag1: no device, input, output or camera can "
         "be posted, and the search for inputs " +
             kStall,
         {"data: alter table tbSM rename column LastUpd to X"}},
        {"table-required",
         {"data: alter table tbSM rename column Name to X"},
         "tmp/dbDat0.db3: error: tbSM has no column Name: no device, input, output or camera can "
         "be posted, and the searches for names, inputs and cameras stall the start of the daemon, "
         "and each new search, for 300 s",
         {"data: alter table tbSM rename column Name to NAME"}},
        {"table-required",
         {"data: update tbSM set DataMode=0; alter table tbSM rename column Name to X"},
         "tmp/dbDat0.db3: error: tbSM has no column Name: no device, input, output or camera can "
         "be posted, and the searches for names and inputs stall the start of the daemon, and each "
         "new search, for 200 s",
         {"data: update tbSM set DataMode=0"}},
        {"table-required",
         {"data: delete from tbSM"},
         "tmp/dbDat0.db3: error: tbSM has no row: the search for names " + kStall +
             ", and no device has a name",
         {"data: delete from tbSM where SID>1"}},
        {"table-required",
         {"data: alter table tbSM drop column DataMode"},
         "tmp/dbDat0.db3: error: tbSM has no column DataMode: no camera is found, and the search "
         "for them " +
             kStall,
         {"data: alter table tbSM drop column LastUpd"}},
        {"table-required",
         {"data: drop table tbSubSysDetail"},
         "tmp/dbDat0.db3: error: there is no table tbSubSysDetail: no digital input is found, and "
         "the search for them " +
             kStall + "; make the table, it may be empty",
         {"data: delete from tbSubSysDetail"}},
        {"table-required",
         {"data: alter table tbSubSysDetail rename column LastUpd to X"},
         "tmp/dbDat0.db3: error: tbSubSysDetail has no column LastUpd: each digital input fails "
         "three times a sweep, 2 s apart",
         {"data: alter table tbSubSysDetail add column DateUpd"}},
        {"table-required",
         {"data: alter table tbDio drop column DateUpd"},
         "tmp/dbDat0.db3: error: tbDio has no column DateUpd: no digital output is posted, and "
         "each "
         "sweep logs \"Post DO exception\"; make the table, it may be empty",
         {"data: alter table tbDio drop column State"}},
        {"no-device-table",
         {std::string("data: drop table tbUps;") + kDevices},
         "tmp/dbDat0.db3: error: there is no device table, which " + kStall +
             "; see the sections [POST.Detail] and [POST.General]",
         {std::string("data: ") + kDevices}},
    };
}

std::vector<CheckCase> search_cases()
{
    return {
        {"table-no-sid",
         {"data: create table tbLog(ID integer, Text text)"},
         "tmp/dbDat0.db3: error: tbLog has no column SID, which " + kStall +
             "; if it is no device table, list it in section [POST.Detail]: tbLog=1",
         {"data: create table tbLog(ID integer, Text text)", "POST.Detail/tbLog=1"}},
        {"table-no-sid",
         {"data: create table tbNew(sid integer primary key autoincrement, Type, State, DateUpd)"},
         "tmp/dbDat0.db3: error: sqlite_sequence has no column SID, which " + kStall +
             "; if it is no device table, list it in section [POST.Detail]: sqlite_sequence=1",
         {"data: create table tbNew(sid integer primary key, Type, State, DateUpd)"}},
        {"table-name",
         {"data: create table \"tb-Ups\"(SID, Type, State, DateUpd)"},
         "tmp/dbDat0.db3: error: the name tb-Ups does not stand in SQL without quotes (near \"-\": "
         "syntax error), which " +
             kStall + "; if it is no device table, list it in section [POST.Detail]: tb-Ups=1",
         {"data: create table \"tb_Ups$\"(SID, Type, State, DateUpd)"}},
        {"table-name",
         {"data: create table \"tb;x\"(SID, Type, State, DateUpd)"},
         "tmp/dbDat0.db3: error: the name tb;x does not stand in SQL without quotes (no such "
         "table: tb), which " +
             kStall + "; rename it: no key of vkApp.ini can hold that name",
         {"data: create table tbx(SID, Type, State, DateUpd)"}},
        {"table-hidden",
         {"data: create table tbSmoke(SID, Type, State, DateUpd)"},
         "tmp/dbDat0.db3: warning: tbSmoke is never posted as a device or general table: its name "
         "begins with tbSM, in whatever case; give it another name",
         {"data: create table tbSMLog(SID, Type, State, DateUpd);"
          "create table tbSensor(SID, Type, State, DateUpd)"}},
        {"device-columns",
         {"data: alter table tbTempHum drop column DateUpd"},
         "tmp/dbDat0.db3: error: tbTempHum has no column DateUpd: each of its devices fails three "
         "times a sweep, 2 s apart, and is not posted; if it is no device table, list it in "
         "section [POST.Detail]: tbTempHum=1",
         {"data: alter table tbTempHum drop column DateOk"}},
        {"device-layout",
         {"data: create table tbX(SID, Type, A, B, C, D, DateUpd, F, State)"},
         "tmp/dbDat0.db3: warning: State stands behind the eighth column of tbX: the first eight "
         "are taken for the head, so it is posted as a value, and a value among the eight is not",
         {"data: create table tbX(SID, Type, A, B, C, D, DateUpd, State, F)"}},
        {"device-layout",
         {"data: create table tbX(SID, Type, State, DateUpd, Val)"},
         "tmp/dbDat0.db3: note: tbX has no column behind the first eight, which are taken for the "
         "head: no value of it is posted",
         {"data: create table tbX(SID, Type, State, DateUpd, A, B, C, D, Val)"}},
    };
}

std::vector<CheckCase> place_cases()
{
    return {
        {"table-twice",
         {"data: alter table tbExtUps add column SID", "POST.Detail/tbExtUps"},
         "vkApp.ini:N: warning: tbExtUps extends the devices of type 257 and is searched for "
         "devices as well; list it in section [POST.Detail]: tbExtUps=1",
         {"data: alter table tbExtUps add column SID"}},
        {"table-twice",
         {"POST.Detail/tbExtUps", "POST.General/tbExtUps=60003"},
         "vkApp.ini:N: warning: tbExtUps extends the devices of type 257 and is posted as a "
         "general table as well; list it in section [POST.Detail]: tbExtUps=1",
         {"POST.General/tbExtUps=60003"}},
        {"table-twice",
         {"POST.Detail/tbDio"},
         "tmp/dbDat0.db3: warning: tbDio is posted as digital outputs and searched for devices as "
         "well; list it in section [POST.Detail]: tbDio=1",
         {"POST.Detail/tbDio=100"}},
        {"table-two-lists",
         {"POST.General/tbDio=7"},
         "vkApp.ini:N: warning: tbDio stands in [POST.Detail] too, which wins: it is no general "
         "table, and this line has no effect; remove one of them",
         {"POST.General/tbDio=7", "POST.Detail/tbDio"}},
        {"output-columns",
         {"POST.DO/Count=4"},
         "vkApp.ini:N: error: tbDio has no column D12, so none of the 4 outputs is posted, not "
         "even those that it has; see Start and Count",
         {"POST.DO/Count=4", "POST.DO/Start=8"}},
        {"output-row",
         {"data: delete from tbDio"},
         "tmp/dbDat0.db3: warning: tbDio has no row with SID 1: no digital output is posted; set "
         "Count=0 in section [POST.DO] if the host has none",
         {"data: delete from tbDio", "POST.DO/Count=0"}},
    };
}

} // namespace

std::vector<CheckCase> table_cases()
{
    return joined({file_cases(), required_cases(), search_cases(), place_cases()});
}

std::vector<CheckCase> device_cases()
{
    const std::string add = "data: insert into tbTempHum(SID,Type,State,DateUpd) values";
    const std::string make = "data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F);"
                             "insert into tbSM(SID,Kind,Type,Name) values(7,1,1,'A'),(8,1,1,'B');"
                             "insert into tbX(SID,State) values";
    return {
        {"sid-twice",
         {add + "(1001,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbUps stands in tbTempHum too, and is posted from "
         "there only",
         {add + "(7001,2049,0,'')"}},
        {"sid-twice",
         {add + "(1001,2049,0,''),(1011,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbUps stand in tbTempHum too, and are "
         "posted from there only",
         {add + "(7001,2049,0,''),(7002,2049,0,'')"}},
        {"sid-twice",
         {make + "(7,0),(7,0),(7,0)"},
         "tmp/dbDat0.db3: warning: SID 7 stands in several rows of tbX: only the first is posted",
         {make + "(7,0)"}},
        {"sid-twice",
         {make + "(7,0),(7,0)"},
         "tmp/dbDat0.db3: warning: SID 7 stands in several rows of tbX: only the first is posted",
         {make + "(7,0),(8,0)"}},
        {"sid-twice",
         {"data: alter table tbSM rename to x; create table tbSM as select * from x"
          " union all select * from x where SID in (101,102); drop table x"},
         "tmp/dbDat0.db3: warning: SIDs 101 and 102 stand in several rows of tbSM: the name is "
         "that "
         "of the last, place and tag are those of the first",
         {"data: alter table tbSM rename to x; create table tbSM as select * from x; drop table "
          "x"}},
        {"sid-taken",
         {add + "(901,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 901 of tbTempHum is posted for something else as well: 0 is "
         "the host's own status, from 900 up are the general tables; choose another SID",
         {add + "(902,2049,0,'')"}},
        {"device-unnamed",
         {"data: delete from tbSM where SID=1001"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbUps has no name in tbSM: sname is posted empty",
         {"data: delete from tbSM where SID=1001; update tbUps set State=-1 where SID=1001"}},
        {"device-unnamed",
         {"data: update tbSM set Name='' where SID=101"},
         "tmp/dbDat0.db3: warning: SID 101 of tbSubSysDetail has no name in tbSM: sname is posted "
         "empty",
         {"data: update tbSM set Name='' where SID=101;"
          "update tbSubSysDetail set State=-1"}},
        {"device-unnamed",
         {"data: update tbSM set Name='' where SID in (select SID from tbUps)"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbUps have no name in tbSM: "
         "sname is posted empty",
         {"data: update tbSM set Note=''"}},
    };
}
