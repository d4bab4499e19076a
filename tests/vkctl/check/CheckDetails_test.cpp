// Findings about detail, general and extension tables.

#include "tests/vkctl/check/CheckTest.h"

namespace
{

std::vector<CheckCase> unread_cases()
{
    return {
        {"key-unread",
         {"POST.Detail/tbUpsitem=1"},
         "vkApp.ini:N: warning: there is no table tbUpsitem, so tbUpsitem in section [POST.Detail] "
         "has no effect; did you mean tbUpsItem?",
         {"POST.Detail/tbUpsitem=1",
          "data: create table tbUpsitem2(SID);"
          "drop table tbUpsItem; alter table tbUpsitem2 rename to "
          "tbUpsitem",
          "POST.Detail/tbUpsItem"}},
        {"key-unread",
         {"POST.Detail/TBUPSITEM=200"},
         "vkApp.ini:N: warning: there is no table TBUPSITEM, so TBUPSITEM in section [POST.Detail] "
         "has no effect; did you mean tbUpsItem?",
         {"POST.Detail/TBUPSITEM=200", "POST.Detail/tbUpsItem=1", "POST.Master/tbUps=TBUPSITEM"}},
        {"key-unread",
         {"POST.General/tbUps.0=1"},
         "vkApp.ini:N: warning: nothing reads tbUps.0: tbUps is no general table",
         {"POST.General/tbGenEnergy.0=2"}},
        {"key-unread",
         {"POST.General/tbGenPort.name=Foo"},
         "vkApp.ini:N: warning: there is no table tbGenPort.name, so tbGenPort.name in section "
         "[POST.General] has no effect; did you mean tbGenPort.Name?",
         {"POST.General/tbGenPort.Name=Foo"}},
        {"key-unread",
         {"POST.General/tbSwitch=0", "data: create table tbSwitch(SID,Type,State,DateUpd)"},
         "vkApp.ini:N: warning: tbSwitch=0 has no effect: the type of a general table is 1 or more",
         {"POST.General/tbSwitch=1", "data: create table tbSwitch(SID,Type,State,DateUpd)"}},
        {"key-unread",
         {"POST.Master/tbDio=tbUpsItem"},
         "vkApp.ini:N: warning: nothing reads tbDio in section [POST.Master]: tbDio is no device "
         "table",
         {"POST.Master/tbTempHum=tbUpsItem"}},
        {"key-unread",
         {"POST.Ext.257/tbExtAir.flds=3"},
         "vkApp.ini:N: warning: nothing reads tbExtAir.flds: section [POST.Ext.257] has no key "
         "tbExtAir",
         {"POST.Ext.257/tbExtUps.flds=2"}},
        {"integer-invalid",
         {"POST.General/tbGenPort=6OOO2"},
         "vkApp.ini:N: warning: tbGenPort \"6OOO2\" is no number: it is taken as 6; write digits "
         "only",
         {"POST.General/tbGenPort.name=Foo"}},
        {"integer-invalid",
         {"POST.Detail/tbUpsItem=2OO"},
         "vkApp.ini:N: warning: tbUpsItem \"2OO\" is no number: it is taken as 2; write digits "
         "only",
         {"POST.Detail/tbUpsItem=200 ; rows"}},
    };
}

std::vector<CheckCase> mode_cases()
{
    const std::string loose =
        "data: create table x as select * from tbBatCell; drop table tbBatCell; create table "
        "tbBatCell(SID,Addr,State,Vol,Reg,Tem); insert into tbBatCell select "
        "SID,Addr,State,Vol,Reg,Tem from x; drop table x;";
    return {
        {"detail-mode-unknown",
         {"POST.Detail/tbUpsItem=104"},
         "vkApp.ini:N: warning: tbUpsItem=104: nothing of it is appended to the devices of tbUps; "
         "the modes that append are 100 to 103 and 200 to 202",
         {"POST.Detail/tbUpsItem=201"}},
        {"detail-mode-unknown",
         {"POST.Detail/tbDio=5"},
         "vkApp.ini:N: warning: tbDio=5 is no mode that appends anything; write 1 if the table is "
         "only to be kept out of the search",
         {"POST.Detail/tbDio=100"}},
        {"detail-mode-unknown",
         {"POST.Detail/tbDio=0"},
         "vkApp.ini:N: warning: tbDio=0: a mode below 1 is none, and the table is searched for "
         "devices; write a mode, or 1 to keep it out of the search",
         {"POST.Detail/tbDio"}},
        {"detail-columns",
         {"POST.Detail/tbTempPoint=201"},
         "vkApp.ini:N: error: tbTempPoint has no column Val, which mode 201 reads: nothing of it "
         "is "
         "appended, and each device of tbTempChain that has rows in it stalls every sweep for 15 s",
         {"POST.Detail/tbTempPoint=201", "data: alter table tbTempPoint add column val"}},
        {"detail-columns",
         {"POST.Detail/TBUPSITEM=103", "POST.Detail/tbUpsItem=1", "POST.Master/tbUps=TBUPSITEM"},
         "vkApp.ini:N: error: tbUpsItem has no column dat0, which mode 103 reads: nothing of it is "
         "appended, and each device of tbUps that has rows in it stalls every sweep for 15 s",
         {"POST.Detail/TBUPSITEM=202", "POST.Detail/tbUpsItem=1", "POST.Master/tbUps=TBUPSITEM"}},
        {"value-not-integer",
         {"data: update tbBatCell set Vol=2.25 where Addr=1"},
         "vkApp.ini:N: warning: tbBatCell.Vol holds \"2.25\", and mode 100 prints integers: it is "
         "posted as 2",
         {"data: update tbBatCell set Vol=2.0 where Addr=1"}},
        {"value-not-integer",
         {"data: update tbBatCell set Vol=4294967303 where Addr=1"},
         "vkApp.ini:N: warning: tbBatCell.Vol holds \"4294967303\", and mode 100 prints integers: "
         "it is posted as 7",
         {"data: update tbBatCell set Vol=7 where Addr=1"}},
        {"value-not-integer",
         {loose + "update tbBatCell set SID=''||SID where SID=1003"},
         "vkApp.ini:N: warning: tbBatCell.SID holds \"1003\", \"1003\", \"1003\" and 21 more, "
         "stored "
         "as text: rows are asked for by an integer, and such a one is appended to no device; make "
         "the column an INTEGER, or set it to cast(SID as integer) there",
         {loose + "update tbBatCell set SID=SID+0 where SID=1003"}},
        {"value-not-integer",
         {"data: update tbBatCell set Vol=printf('%.61c','z') where Addr=1"},
         "vkApp.ini:N: warning: tbBatCell.Vol holds \"" + std::string(60, 'z') +
             "...\", and mode 100 prints integers: it is posted as 0",
         {"data: update tbBatCell set Vol='4000'"}},
        {"detail-unused",
         {"POST.Master/tbUps"},
         "vkApp.ini:N: warning: tbUpsItem=200, but no device table names it: nothing of it is "
         "posted; add TABLE=tbUpsItem to section [POST.Master], or write tbUpsItem=1",
         {"POST.Master/tbUps", "POST.Detail/tbUpsItem=1"}},
    };
}

std::vector<CheckCase> name_cases()
{
    const std::string items = "data: create table \"tb-Items\" as select * from tbUpsItem";
    const std::string extra = "data: create table \"tb-Ext\" as select * from tbExtUps";
    return {
        {"table-name",
         {"data: create table \"order\"(A, B)", "POST.General/order=60003"},
         "vkApp.ini:N: error: the name order does not stand in SQL without quotes (near \"order\": "
         "syntax error): none of its rows is posted; rename it",
         {"data: create table orders(A, B)", "POST.General/orders=60003"}},
        {"table-name",
         {items, "POST.Detail/tb-Items=200", "POST.Master/tbUps=tb-Items"},
         "vkApp.ini:N: error: the name tb-Items does not stand in SQL without quotes (near \"-\": "
         "syntax error): each device of tbUps stalls every sweep for 15 s; rename it",
         {items, "POST.Detail/tb-Items=1"}},
        {"table-name",
         {"data: create table \"tbUps old\" as select * from tbUpsItem",
          "POST.Detail/tbUps old=200", "POST.Master/tbUps=tbUps old"},
         "vkApp.ini:N: error: the name tbUps old does not stand in SQL without quotes (another "
         "table is read): nothing of it is appended to the devices of tbUps; rename it",
         {"data: create table tbUps_old as select * from tbUpsItem", "POST.Detail/tbUps_old=200",
          "POST.Master/tbUps=tbUps_old"}},
        {"table-name",
         {extra, "POST.Detail/tb-Ext=1", "POST.Ext.257/tb-Ext=3"},
         "vkApp.ini:N: error: the name tb-Ext does not stand in SQL without quotes (near \"-\": "
         "syntax error): nothing of it is appended to the devices of type 257; rename it",
         {extra, "POST.Detail/tb-Ext=1", "POST.Ext.257/`tb-Ext`=3"}},
    };
}

std::vector<CheckCase> master_cases()
{
    return {
        {"master-missing",
         {"data: drop table tbUpsItem"},
         "vkApp.ini:N: error: there is no table tbUpsItem: each device of tbUps stalls every sweep "
         "for 15 s",
         {"data: alter table tbUpsItem rename to x; create view tbUpsItem as select * from x",
          "POST.Detail/x=1"}},
        {"master-not-detail",
         {"POST.Master/tbUps=tbupsitem"},
         "vkApp.ini:N: error: tbupsitem is no detail table: nothing of it is appended to the "
         "devices of tbUps; give it a mode in section [POST.Detail]; did you mean tbUpsItem?",
         {"POST.Master/tbUps="}},
        {"master-not-detail",
         {"POST.Master/tbUps=tbTempHum"},
         "vkApp.ini:N: error: tbTempHum holds devices, which are posted themselves: nothing of it "
         "is appended to the devices of tbUps; name a detail table",
         {"POST.Master/tbTempHum=tbUpsItem"}},
        {"master-not-detail",
         {"POST.Master/tbUps=tbGenPort"},
         "vkApp.ini:N: error: tbGenPort is posted as a general table itself: nothing of it is "
         "appended to the devices of tbUps; name a detail table",
         {"POST.Master/tbUps=tbGenPort", "POST.Detail/tbGenPort=201"}},
        {"master-not-detail",
         {"POST.Detail/tbUpsItem"},
         "vkApp.ini:N: error: tbUpsItem is no detail table: nothing of it is appended to the "
         "devices of tbUps; give it a mode in section [POST.Detail]",
         {"POST.Detail/tbUpsItem=202"}},
        {"master-not-detail",
         {"POST.Master/tbUps=tbNo"},
         "vkApp.ini:N: error: there is no table tbNo: nothing of it is appended to the devices of "
         "tbUps",
         {"POST.Master/tbUps=tbUpsItem"}},
        {"master-not-detail",
         {"POST.Detail/tbUpsItem=yes"},
         "vkApp.ini:N: error: tbUpsItem has the mode 0 in section [POST.Detail]: nothing of it is "
         "appended to the devices of tbUps; the modes that append are 100 to 103 and 200 to 202",
         {"POST.Detail/tbUpsItem=201"}},
        {"master-columns",
         {"POST.Master/tbTempHum.flds=5"},
         "vkApp.ini:N: warning: tbTempHum.flds=5, but tbTempHum has 4 columns behind the first "
         "8: all of them are posted",
         {"POST.Master/tbTempHum.flds=4"}},
        {"master-columns",
         {"POST.Master/tbTempHum.flds=-1"},
         "vkApp.ini:N: warning: tbTempHum.flds=-1: no value of the table is posted; 0 posts all",
         {"POST.Master/tbTempHum.flds=0"}},
        {"general-column",
         {"POST.General/tbGenPort.0=5"},
         "vkApp.ini:N: warning: tbGenPort.0=5, but the last of the 5 columns of tbGenPort is "
         "number "
         "4: no value is posted",
         {"POST.General/tbGenPort.0=4"}},
        {"general-column",
         {"POST.General/tbGenPort.0=-1"},
         "vkApp.ini:N: warning: tbGenPort.0=-1: columns are counted from 0; all are posted",
         {"POST.General/tbGenPort.0"}},
        {"value-unescaped",
         {"POST.General/tbGenPort.Name=A+B"},
         "vkApp.ini:N: warning: tbGenPort.Name holds \"+\": nothing is escaped, so the receiver "
         "may "
         "split the value there or read it differently; write other characters",
         {"POST.General/tbGenPort.Name=A-B"}},
    };
}

std::vector<CheckCase> range_cases()
{
    return {
        {"extension-index",
         {"POST.Ext.257/tbExtUps=6"},
         "vkApp.ini:N: warning: tbExtUps=6, but tbExtUps has 5 columns: nothing is appended",
         {"POST.Ext.257/tbExtUps=5", "POST.Ext.257/tbExtUps.flds=1"}},
        {"extension-index",
         {"POST.Ext.257/tbExtUps.flds=4"},
         "vkApp.ini:N: warning: tbExtUps.flds=4, but from column 3 on tbExtUps has 3: these are "
         "appended",
         {"POST.Ext.257/tbExtUps.flds=2"}},
        {"extension-index",
         {"POST.Ext.257/tbExtUps.flds"},
         "vkApp.ini:N: warning: there is no tbExtUps.flds: nothing is appended; it tells how many "
         "columns are",
         {"POST.Ext.257/tbExtUps.flds=1"}},
        {"extension-index",
         {"POST.Ext.257/tbExtUps=0"},
         "vkApp.ini:N: warning: tbExtUps=0 refers to section [257.tbExtUps], which is not there: "
         "nothing is appended",
         {"POST.Ext.257/tbExtUps=0", "+[257.tbExtUps]\n1=2\n"}},
        {"extension-index",
         {"1025.tbExtAir/3=6"},
         "vkApp.ini:N: warning: 3=6 is left out, with a log line each time: tbExtAir and "
         "tbExtAir.flds allow the columns 1 to 5",
         {"1025.tbExtAir/3=6", "POST.Ext.1025/tbExtAir.flds=7"}},
    };
}

std::vector<CheckCase> row_cases()
{
    const std::string untyped = "data: drop table tbExtUps; create table tbExtUps(Type,DateUpd,"
                                "SysLoad,SysRate,SysMode); insert into tbExtUps(Type,DateUpd) "
                                "select ";
    return {
        {"extension-missing",
         {"data: drop table tbExtUps"},
         "vkApp.ini:N: error: there is no table tbExtUps: nothing of it is appended to the devices "
         "of type 257",
         {"data: alter table tbExtUps rename to tbextups2; alter table tbextups2 rename to "
          "tbextups",
          "POST.Detail/tbextups=1"}},
        {"extension-missing",
         {"POST.Ext.257/\"tb ext\"=3"},
         "vkApp.ini:N: error: there is no table \"tb ext\": nothing of it is appended to the "
         "devices of type 257",
         {"POST.Ext.257/\"tb ext\"=3", "POST.Ext.257/\"tb ext\".flds=1", "POST.Detail/tb ext=1",
          "data: create table \"tb ext\" as select * from tbExtUps"}},
        {"extension-missing",
         {"data: alter table tbExtUps rename column Type to Kind"},
         "vkApp.ini:N: error: tbExtUps has no column Type: nothing of it is appended to the "
         "devices "
         "of type 257",
         {"data: alter table tbExtUps rename column DateUpd to Kind"}},
        {"extension-empty",
         {"data: update tbExtUps set Type=258"},
         "vkApp.ini:N: warning: tbExtUps has no row with Type 257: nothing of it is appended",
         {"data: insert into tbExtUps(Type) values(258)"}},
        {"extension-empty",
         {untyped + "'257',''"},
         "vkApp.ini:N: warning: the Type 257 of tbExtUps is stored as text, and an integer is "
         "asked for: nothing of it is appended; make the column an INTEGER, or set it to cast(Type "
         "as integer) there",
         {untyped + "257,''"}},
        {"extension-rows",
         {"data: alter table tbExtUps rename to x; create table tbExtUps as select * from x union "
          "all select * from x; drop table x"},
         "vkApp.ini:N: warning: tbExtUps has 2 rows with Type 257: only the first is used, "
         "whichever that is",
         {"data: insert into tbExtUps(Type) values(258)"}},
        {"type-unused",
         {"+[POST.Ext.9]\ntbExtUps=3\ntbExtUps.flds=1\n"},
         "vkApp.ini:N: note: section [POST.Ext.9] has no effect now: no device has type 9",
         {"+[POST.Ext.771]\ntbExtUps=3\ntbExtUps.flds=1\n"}},
    };
}

} // namespace

std::vector<CheckCase> detail_cases()
{
    return joined({unread_cases(), mode_cases(), name_cases(), master_cases()});
}

std::vector<CheckCase> extension_cases()
{
    return joined({range_cases(), row_cases()});
}
