// Findings about the tables that discovery meets and the fixed ones that the daemon reads.

#include "tests/vkctl/check/CheckTest.h"

namespace
{

constexpr char kDevices[] = "drop table tbAirCon; drop table tbBattery; drop table tbBatteryB;"
                            "drop table tbBatteryC; drop table tbTempHum; drop table tbMeter;"
                            "drop table tbTempChain";

const std::string kNoFile = "No such file or directory; start the process that makes it, or name "
                            "the host's directory";

const std::string kUnmarked =
    "it cannot be marked as sent, so it is posted anew at each signal, and "
    "the alarms behind it never are; give it a DID of its own";

const std::string kCheckpoints =
    ", and SQLite 3.40.1 can damage it when two connections checkpoint at the same instant; the "
    "daemon never does, so leave it to one process of the host, or install SQLite 3.51.3 or later";

const std::string kStall = "stalls the start of the daemon, and each new search, for 100 s";

std::vector<CheckCase> file_cases()
{
    const std::string view =
        "alarms: alter table tbSMAlarm rename to x; create view tbSMAlarm as select * from x";
    const std::string unsent = "alarms: update tbSMAlarm set AFld=DID<>6";
    const std::string pass = ": it is posted anew at each signal, and the alarms behind it never "
                             "are; let the trigger pass updates of AFld";
    return {
        {"database-unreadable",
         {"remove tmp/dbDat0.db3"},
         "tmp/dbDat0.db3: error: cannot be read: " + kNoFile,
         {"data: pragma journal_mode=wal"}},
        {"database-unreadable",
         {"remove tmp/dbData.db3"},
         "tmp/dbData.db3: error: cannot be read: " + kNoFile,
         {"remove tmp/dbData.db3", "POST/AlmUrl="}},
        {"database-unreadable",
         {"write tmp/dbData.db3 This text is long enough, but it is no database at all."},
         "tmp/dbData.db3: error: cannot be read: file is not a database; put a sound copy in its "
         "place",
         {"alarms: delete from tbSMAlarm"}},
        {"database-unreadable",
         {"write tmp/dbDat0.db3-journal of a writer that crashed"},
         "tmp/dbDat0.db3: error: cannot be read: a process crashed in the middle of a write "
         "(attempt to write a readonly database); the next one that writes puts it in order",
         {"write tmp/dbDat0.db3-journal "}},
        {"database-wal-reset",
         {"data: pragma journal_mode=wal"},
         "tmp/dbDat0.db3: note: has a write-ahead log" + kCheckpoints,
         {"alarms: pragma journal_mode=wal", "POST/AlmUrl="}},
        {"database-wal-reset",
         {"alarms: pragma journal_mode=wal"},
         "tmp/dbData.db3: note: has a write-ahead log" + kCheckpoints,
         {"data: pragma journal_mode=persist"}},
        {"alarm-table",
         {"alarms: alter table tbSMAlarm drop column AlmImg"},
         "tmp/dbData.db3: error: tbSMAlarm has no column AlmImg: no alarm is posted",
         {"alarms: alter table tbSMAlarm drop column AlmImg", "POST/AlmUrl="}},
        {"alarm-table",
         {"alarms: drop table tbSMAlarm"},
         "tmp/dbData.db3: error: no alarm can be read: no such table: tbSMAlarm",
         {"alarms: alter table tbSMAlarm add column X"}},
        {"alarm-table",
         {view},
         "tmp/dbData.db3: error: no alarm can be marked as sent (cannot modify tbSMAlarm because "
         "it is a view): the first is posted anew at each signal, and those behind it never are; "
         "make tbSMAlarm a plain table",
         {view, "alarms: create trigger t instead of update on tbSMAlarm begin update x set "
                "AFld=new.AFld where DID=old.DID; end"}},
        {"alarm-table",
         {unsent, "alarms: create trigger t before update on tbSMAlarm when old.DID=6 begin select "
                  "raise(abort,'not by hand'); end"},
         "tmp/dbData.db3: error: a trigger refuses that the alarm with DID 6 is marked as sent "
         "(not "
         "by hand)" +
             pass,
         {unsent, "alarms: create table own(n); create trigger t after update on tbSMAlarm begin "
                  "insert into own values(new.DID); end"}},
        {"alarm-table",
         {unsent, "alarms: create trigger t after update on tbSMAlarm begin update tbSMAlarm set "
                  "AFld=0 where DID=new.DID; end"},
         "tmp/dbData.db3: error: a trigger refuses that the alarm with DID 6 is marked as sent (it "
         "is undone)" +
             pass,
         {"alarms: update tbSMAlarm set AFld=1", "alarms: create trigger t before update on "
                                                 "tbSMAlarm begin select raise(ignore); end"}},
    };
}

std::vector<CheckCase> alarm_cases()
{
    const std::string untyped = "alarms: alter table tbSMAlarm rename to x; create table tbSMAlarm("
                                "SID,Type,Alm,LastUpd,AlmBrief,AlmMask,AlmImg,AFld,DID); "
                                "insert into tbSMAlarm select 1001,257,0,'','',0,'',0,";
    const std::string loose = "alarms: create table x as select * from tbSMAlarm; drop table "
                              "tbSMAlarm; alter table x rename to tbSMAlarm; update tbSMAlarm set ";
    return {
        {"alarm-did",
         {loose + "DID=7,AFld=null where DID in (4,5)"},
         "tmp/dbData.db3: error: DID 7 stands in several alarms that are not sent yet: one is "
         "posted, and all are marked as sent; make DID the primary key",
         {loose + "DID=7,AFld=DID-4 where DID in (4,5)"}},
        {"alarm-did",
         {loose + "DID=null where DID=6"},
         "tmp/dbData.db3: error: an alarm has no DID: " + kUnmarked,
         {loose + "DID=null,AFld=1 where DID=6"}},
        {"alarm-did",
         {untyped + "''||DID from x where DID=6"},
         "tmp/dbData.db3: error: the DID 6 of an alarm is stored as text: it cannot be marked as "
         "sent, so it is posted anew at each signal, and the alarms behind it never are; make the "
         "column an INTEGER, or set it to cast(DID as integer) there",
         {untyped + "DID from x where DID=6"}},
        {"alarm-did",
         {untyped + "printf('%.61c','z') from x where DID=6"},
         "tmp/dbData.db3: error: the DID " + std::string(60, 'z') +
             "... of an alarm is no 32-bit integer: " + kUnmarked,
         {untyped + "6.0 from x where DID=6"}},
        {"alarm-did",
         {"alarms: update tbSMAlarm set DID=5000000000,AFld=0 where DID=6"},
         "tmp/dbData.db3: error: the DID 5000000000 of an alarm is no 32-bit integer: " + kUnmarked,
         {"alarms: update tbSMAlarm set DID=2147483647,AFld=0 where DID=6"}},
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
         "3 times a sweep, 2 s apart",
         {"data: alter table tbSubSysDetail add column DateUpd"}},
        {"table-required",
         {"data: alter table tbDio drop column DateUpd"},
         "tmp/dbDat0.db3: error: tbDio has no column DateUpd: no digital output is posted, and "
         "each sweep logs \"Post DO exception\"",
         {"data: alter table tbDio drop column DateUpd", "POST.DO/Count=0"}},
        {"table-required",
         {"data: drop table tbDio"},
         "tmp/dbDat0.db3: error: there is no table tbDio: no digital output is posted, and each "
         "sweep logs \"Post DO exception\"; make the table, it may be empty",
         {"data: alter table tbDio drop column State"}},
        {"table-required",
         {"data: drop table tbDio", "POST.DO/Count=0"},
         "tmp/dbDat0.db3: note: there is no table tbDio: each sweep logs \"Post DO exception\"; "
         "make the table, it may be empty",
         {"data: delete from tbDio", "POST.DO/Count=0"}},
        {"table-required",
         {"data: alter table tbSubSysDetail rename column SIDD to X"},
         "tmp/dbDat0.db3: error: tbSubSysDetail has no column SIDD: no digital input is found, and "
         "the search for them " +
             kStall,
         {"data: delete from tbSubSysDetail"}},
        {"table-unreadable",
         {"data: create index ix on tbUps(SID); pragma writable_schema=1; update sqlite_master set "
          "rootpage=(select rootpage from sqlite_master where name='ix') where name='tbUps'"},
         "tmp/dbDat0.db3: error: tbUps cannot be read (database disk image is malformed; put a "
         "sound copy in its place): what it holds is posted in part or not at all",
         {"data: create index ix on tbUps(SID)"}},
        {"table-unreadable",
         {"data: alter table tbDio rename to x; create view tbDio as select * from x; drop table "
          "x"},
         "tmp/dbDat0.db3: error: tbDio cannot be read (no such table: main.x): what it holds is "
         "posted in part or not at all",
         {"data: create table x(SID, Type, State, DateUpd); create view tbOwn as select * from x;"
          "drop table x"}},
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
        {"table-name",
         {"data: create table \"tbUps old\" as select * from tbUps"},
         "tmp/dbDat0.db3: error: the name tbUps old does not stand in SQL without quotes (another "
         "table is read): its own devices are not found, and those of that table fail 3 times "
         "a sweep, 2 s apart, and are not posted, unless it was made later; if it is no device "
         "table, list it in section [POST.Detail]: tbUps old=1",
         {"data: create table \"tbUps old\" as select * from tbUps", "POST.Detail/tbUps old=1"}},
        {"table-hidden",
         {"data: create table tbSmoke(SID, Type, State, DateUpd)"},
         "tmp/dbDat0.db3: warning: tbSmoke is never posted as a device or general table: its name "
         "begins with tbSM, in whatever case; give it another name",
         {"data: create table tbSMLog(SID, Type, State, DateUpd);"
          "create table tbSensor(SID, Type, State, DateUpd)"}},
        {"table-hidden",
         {"POST.General/tbSM=60009"},
         "tmp/dbDat0.db3: warning: tbSM is never posted as a device or general table: its name "
         "begins with tbSM, in whatever case; remove its lines from vkApp.ini",
         {"data: alter table tbSM rename to x; alter table x rename to TBSM"}},
        {"device-columns",
         {"data: alter table tbTempHum drop column DateUpd"},
         "tmp/dbDat0.db3: error: tbTempHum has no column DateUpd: each of its devices fails 3 "
         "times a sweep, 2 s apart, and is not posted; if it is no device table, list it in "
         "section [POST.Detail]: tbTempHum=1",
         {"data: alter table tbTempHum drop column DateOk"}},
        {"device-layout",
         {"data: create table tbX(SID, Type, A, B, C, D, DateUpd, F, State)"},
         "tmp/dbDat0.db3: warning: State stands behind column 8 of tbX: the first 8 "
         "are taken for the head, so it is posted as a value, and a value among the first is not",
         {"data: create table tbX(SID, Type, A, B, C, D, DateUpd, State, F)"}},
        {"device-layout",
         {"data: create table tbX(SID, Type, State, DateUpd, Val)"},
         "tmp/dbDat0.db3: note: tbX has no column behind the first 8, which are taken for the "
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
        {"table-twice",
         {"POST.Detail/tbSubSysDetail", "POST.General/tbSubSysDetail=60009"},
         "tmp/dbDat0.db3: warning: tbSubSysDetail is posted as digital inputs and posted as a "
         "general table as well; list it in section [POST.Detail]: tbSubSysDetail=1",
         {"POST.General/tbSubSysDetail=60009"}},
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
    return joined({file_cases(), alarm_cases(), required_cases(), search_cases(), place_cases()});
}
