// Findings about the identifiers of devices, inputs and cameras, and about their integers.

#include "tests/vkctl/check/CheckTest.h"

namespace
{

const std::string kAdd = "data: insert into tbTempHum(SID,Type,State,DateUpd) values";

const std::string kCamera = "(a camera: Kind=3072 and State=0 and DataMode=1)";

const std::string kTaken = "0 is the host's own status, 1 are its outputs, from 900 up are the "
                           "general tables; choose another SID";

// Columns that keep a number as the text that it was given as.
const std::string kLooseInputs =
    "data: create table x(SID,SIDD,Fld,Type,State,LastUpd); insert into x select * from "
    "tbSubSysDetail; drop table tbSubSysDetail; alter table x rename to tbSubSysDetail;";

std::vector<CheckCase> row_cases()
{
    const std::string make = "data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F);"
                             "insert into tbSM(SID,Kind,Type,Name) values(7,1,1,'A'),(8,1,1,'B');"
                             "insert into tbX(SID,State) values";
    return {
        {"sid-twice",
         {kAdd + "(1001,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbUps stands in tbTempHum too, and is posted from "
         "there only",
         {kAdd + "(7001,2049,0,'')"}},
        {"sid-twice",
         {kAdd + "(1001,2049,0,''),(1011,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbUps stand in tbTempHum too, and are "
         "posted from there only",
         {kAdd + "(7001,2049,0,''),(7002,2049,0,'')"}},
        {"sid-twice",
         {kAdd + "(1001,2049,-1,'')"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbUps stands in tbTempHum too, with a State below "
         "0, so it is not posted",
         {kAdd + "(7001,2049,-1,'')"}},
        {"sid-twice",
         {"data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F); insert into tbX(SID,State) "
          "values(4294968297,0)"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbUps stands in tbX too, in a form that is read as "
         "this number and never found again, so it is not posted",
         {"data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F); insert into tbX(SID,State) "
          "values(4294968297,0); update tbUps set State=-1 where SID=1001"}},
        {"sid-twice",
         {"data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F); insert into tbX(SID,State) "
          "values('1001',0),('1011',0)"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbUps stand in tbX too, in a form that is "
         "read as these numbers and never found again, so they are not posted",
         {"data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F); insert into tbX(SID,State) "
          "values('10010',0)"}},
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
         {kLooseInputs + "delete from tbSM where SID=104"},
         "tmp/dbDat0.db3: warning: SID 104 of tbSubSysDetail has no name in tbSM: sname is posted "
         "empty",
         {kLooseInputs + "update tbSubSysDetail set State='-1' where SID=104;"
                         "delete from tbSM where SID=104"}},
        {"device-unnamed",
         {kLooseInputs + "delete from tbSM where SID in (104,105)",
          "data: update tbSubSysDetail set SID='105' where SID=105"},
         "tmp/dbDat0.db3: warning: SID 104 of tbSubSysDetail has no name in tbSM: sname is posted "
         "empty",
         {kLooseInputs + "update tbSubSysDetail set SID='104' where SID=104;"
                         "delete from tbSM where SID=104"}},
        {"device-unnamed",
         {"data: update tbSM set Name='' where SID in (select SID from tbUps)"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbUps have no name in tbSM: "
         "sname is posted empty",
         {"data: update tbSM set Note=''"}},
    };
}

std::vector<CheckCase> taken_cases()
{
    const std::string input = "data: update tbSubSysDetail set SID=";
    const std::string camera = "data: update tbSM set Kind=3072,State=0,DataMode=";
    return {
        {"sid-taken",
         {kAdd + "(901,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 901 of tbTempHum is posted for something else as well: " +
             kTaken,
         {kAdd + "(902,2049,0,'')"}},
        {"sid-taken",
         {kAdd + "(1,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 1 of tbTempHum is posted for something else as well: " +
             kTaken,
         {kAdd + "(1,2049,0,'')", "POST.DO/Count=0"}},
        {"sid-taken",
         {"POST.Detail/tbDio", kAdd + "(1,2049,0,'')"},
         "tmp/dbDat0.db3: warning: SID 1 of tbTempHum is posted for something else as well: " +
             kTaken,
         {"POST.Detail/tbDio"}},
        {"sid-taken",
         {"POST.Detail/tbSubSysDetail", input + "900 where SID=101"},
         "tmp/dbDat0.db3: warning: SID 900 of tbSubSysDetail is posted for something else as "
         "well: " +
             kTaken,
         {"POST.Detail/tbSubSysDetail"}},
        {"sid-taken",
         {input + "900 where SID=101"},
         "tmp/dbDat0.db3: warning: SID 900 of tbSubSysDetail is posted for something else as "
         "well: " +
             kTaken,
         {input + "899 where SID=101"}},
        {"sid-taken",
         {input + "1001 where SID=101"},
         "tmp/dbDat0.db3: warning: SID 1001 of tbSubSysDetail is posted for tbUps as well; choose "
         "another SID",
         {input + "1001,State=-1 where SID=101"}},
        {"sid-taken",
         {"data: update tbSM set SID=0 where SID=501"},
         "tmp/dbDat0.db3: warning: SID 0 of tbSM " + kCamera +
             " is posted for something "
             "else as well: " +
             kTaken,
         {"data: update tbSM set SID=0,DataMode=0 where SID=501"}},
        {"sid-taken",
         {camera + "1 where SID in (1001,1011)"},
         "tmp/dbDat0.db3: warning: SIDs 1001 and 1011 of tbSM " + kCamera +
             " are posted for "
             "tbUps as well; choose another SID",
         {camera + "0 where SID in (1001,1011)"}},
        {"sid-taken",
         {input + "501 where SID=101"},
         "tmp/dbDat0.db3: warning: SID 501 of tbSM " + kCamera +
             " is posted for "
             "tbSubSysDetail as well; choose another SID",
         {input + "501 where SID=101", "data: update tbSM set State=1 where SID=501"}},
    };
}

// A row of this table has no SID that is made to fit.
const std::string kUntyped = "data: create table tbX(SID,Type,A,B,State,D,DateUpd,E,F);"
                             "insert into tbX(SID,Type,State) values";
const std::string kNeverPosted =
    ": a SID is an integer of 32 bits, and a row without one is never posted";

std::vector<CheckCase> integer_cases()
{
    return {
        {"value-not-integer",
         {"data: update tbUps set State='alarm'"},
         "tmp/dbDat0.db3: warning: tbUps.State of SID 1001 holds \"alarm\", which is no integer "
         "of 32 bits: it is read as 0",
         {"data: update tbUps set State='1'"}},
        {"value-not-integer",
         {"data: update tbUps set Type='UPS' where SID=1011"},
         "tmp/dbDat0.db3: warning: tbUps.Type of SID 1011 holds \"UPS\", which is no integer of "
         "32 bits: it is read as 0",
         {"data: update tbUps set Type='UPS',State=-1 where SID=1011"}},
        {"value-not-integer",
         {"data: update tbUps set Type=null where SID=1011"},
         "tmp/dbDat0.db3: warning: tbUps.Type of SID 1011 holds nothing: it is read as 0",
         {"data: update tbUps set Type=null,State=-1 where SID=1011"}},
        {"value-not-integer",
         {"data: update tbUps set State=1e20 where SID=1011"},
         "tmp/dbDat0.db3: warning: tbUps.State of SID 1011 holds \"1.0e+20\", which is no integer "
         "of 32 bits: it is read as -1",
         {"data: update tbUps set State=1e0 where SID=1011"}},
        {"value-not-integer",
         {"data: create table x as select * from tbSM; drop table tbSM; create table tbSM(SID,Kind,"
          "Type,Name,Note,Tag1,ASubSys,State,DataMode,SerDef,LastUpd); insert into tbSM select "
          "SID,Kind,Type,Name,Note,Tag1,ASubSys,State,DataMode,SerDef,LastUpd from x; drop table x;"
          "update tbSM set SID=''||SID where SID=501"},
         "tmp/dbDat0.db3: warning: tbSM.SID holds \"501\", stored as text: rows are asked for by "
         "an integer, and such a one is never posted; make the column an INTEGER, or set it to "
         "cast(SID as integer) there",
         {"data: update tbSM set SID=''||SID where SID=501"}},
        {"value-not-integer",
         {"data: update tbUps set Type=4294967553 where SID=1011"},
         "tmp/dbDat0.db3: warning: tbUps.Type of SID 1011 holds \"4294967553\", which is no "
         "integer of 32 bits: it is read as 257",
         {"data: update tbUps set Type=257.0"}},
        {"value-not-integer",
         {"data: update tbSubSysDetail set State='on' where SID<103"},
         "tmp/dbDat0.db3: warning: tbSubSysDetail.State of SID 101 holds \"on\", which is no "
         "integer of 32 bits: it is read as 0",
         {"data: update tbSubSysDetail set State='on' where SID=SIDD"}},
        {"value-not-integer",
         {"data: update tbUps set SID=5000000000 where SID=1011"},
         "tmp/dbDat0.db3: warning: tbUps.SID holds \"5000000000\"" + kNeverPosted,
         {"data: update tbUps set SID=2147483647 where SID=1011"}},
        {"value-not-integer",
         {kUntyped + "('abc',1,0),('07',1,0),(null,1,0),(7.5,1,0)"},
         "tmp/dbDat0.db3: warning: tbX.SID holds \"abc\", \"07\", \"\" and 1 more" + kNeverPosted,
         {kUntyped + "(7,1,0),(8.0,1,0)"}},
        {"value-not-integer",
         {kUntyped + "('7',1,0),('-2147483648',1,0)"},
         "tmp/dbDat0.db3: warning: tbX.SID holds \"7\" and \"-2147483648\", stored as text: rows "
         "are asked for by an integer, and such a one is never posted; make the column an INTEGER, "
         "or set it to cast(SID as integer) there",
         {kUntyped + "(7,1,0),(-2147483648,1,0)"}},
        {"value-not-integer",
         {kUntyped + "('2147483648',1,0)"},
         "tmp/dbDat0.db3: warning: tbX.SID holds \"2147483648\"" + kNeverPosted,
         {kUntyped + "(2147483647,1,0)"}},
        {"value-not-integer",
         {kUntyped + "(printf('%.59cäöü','z'),1,0)"},
         "tmp/dbDat0.db3: warning: tbX.SID holds \"" + std::string(59, 'z') + "...\"" +
             kNeverPosted,
         {kUntyped + "(8,1,0)"}},
        {"value-not-integer",
         {"data: update tbUps set State=printf('%.61c','z')"},
         "tmp/dbDat0.db3: warning: tbUps.State of SID 1001 holds \"" + std::string(60, 'z') +
             "...\", which is no integer of 32 bits: it is read as 0",
         {"data: update tbUps set State='0'"}},
        {"sid-twice",
         {kUntyped + "(7,1,0),('abc',1,0),('abd',1,0),(7.0,1,0)"},
         "tmp/dbDat0.db3: warning: SID 7 stands in several rows of tbX: only the first is posted",
         {kUntyped + "('abc',1,0),('abd',1,0)"}},
    };
}

} // namespace

std::vector<CheckCase> device_cases()
{
    return joined({row_cases(), taken_cases(), integer_cases()});
}
