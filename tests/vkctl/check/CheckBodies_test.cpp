// Findings about the bodies that would be posted now.

#include <gmock/gmock.h>

#include "tests/vkctl/check/CheckTest.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char kSplit[] =
    "nothing is escaped, so the receiver may split the value there or read it differently";

// An SQL text of n times "x", n even.
std::string long_text(int n)
{
    return "replace(hex(zeroblob(" + std::to_string(n / 2) + ")),'0','x')";
}

std::vector<CheckCase> form_cases()
{
    return {
        {"value-unescaped",
         {"data: update tbSM set Name='A&B' where SID=1001"},
         std::string("tmp/dbDat0.db3: warning: tbSM.Name holds \"&\" (SID 1001: \"A&B\"): ") +
             kSplit,
         {"data: update tbSM set Note='A&B' where SID=1001"}},
        {"value-unescaped",
         {"data: update tbUpsItem set ValStr='%' where Fld=1"},
         std::string(
             "tmp/dbDat0.db3: warning: tbUpsItem.ValStr holds \"%\" (SID 1001: \"%\", and 1 "
             "more): ") +
             kSplit,
         {"data: update tbUpsItem set Val='' , ValStr='' where Fld=1"}},
        {"value-unescaped",
         {"data: update tbUps set Run='a'||char(10) where SID=1001", "POST.xFld/257.Run=0"},
         std::string("tmp/dbDat0.db3: warning: tbUps.Run holds a line end (SID 1001: \"a?\"): ") +
             kSplit,
         {"data: update tbUps set Run='a'||char(10) where SID=1001"}},
        {"value-unescaped",
         {"alarms: update tbSMAlarm set AlmBrief='a=b+c' where DID=5"},
         std::string("tmp/dbData.db3: warning: tbSMAlarm.AlmBrief holds \"=\" and \"+\" (SID 1002: "
                     "\"a=b+c\"): ") +
             kSplit,
         {"alarms: update tbSMAlarm set AlmBrief='a=b+c' where DID=4"}},
    };
}

std::vector<CheckCase> head_cases()
{
    const std::string name = "data: update tbSM set Name='A&B' where SID=1002";
    const std::string hidden = "data: update tbAirCon set State=-1 where SID=1002";
    const std::string told =
        std::string("tmp/dbDat0.db3: warning: tbSM.Name holds \"&\" (SID 1002: \"A&B\"): ") +
        kSplit;
    return {
        {"value-unescaped", {name}, told, {"POST/Fmt0=suid=%s&sid=%d", name}},
        {"value-unescaped",
         {name, hidden},
         told,
         {name, hidden, "alarms: update tbSMAlarm set AFld=1"}},
        {"value-unescaped",
         {"POST/Fmt0=suid=%s&sid=%d",
          "alarms: update tbSMAlarm set Alm=4,LastUpd='a+b' where DID=5"},
         std::string(
             "tmp/dbData.db3: warning: tbSMAlarm.LastUpd holds \"+\" (SID 1002: \"a+b\"): ") +
             kSplit,
         {"POST/Fmt0=suid=%s&sid=%d", "alarms: update tbSMAlarm set LastUpd='a+b' where DID=5"}},
    };
}

// Names of devices that only alarms post: of the host's outputs, and of a device without a reading.
std::vector<CheckCase> alarm_name_cases()
{
    const std::string alarm =
        "alarms: insert into tbSMAlarm(DID,SID,Type,Alm,LastUpd,AlmBrief,AFld) "
        "values(100,1,3585,0,'2024','断电',0)";
    const std::string again =
        "alarms: insert into tbSMAlarm(DID,SID,Type,Alm,LastUpd,AlmBrief,AFld) "
        "values(101,1,3585,0,'2025','断电',0)";
    const std::string host = "data: update tbSM set Name='主机A&B' where SID=1";
    const std::string smile = "data: update tbSM set Name='主机😀' where SID=1";
    return {
        {"value-unescaped",
         {host, alarm, again},
         std::string("tmp/dbDat0.db3: warning: tbSM.Name holds \"&\" (SID 1: \"主机A&B\"): ") +
             kSplit,
         {host}},
        {"character-lost",
         {"POST/Encoding=GBK", smile, alarm},
         "tmp/dbDat0.db3: warning: tbSM.Name holds \"😀\" (SID 1: \"主机😀\"), which GBK cannot "
         "express: a body is cut there",
         {"POST/Encoding=GBK", smile}},
    };
}

std::vector<CheckCase> name_cases()
{
    return {
        {"value-unescaped",
         {"data: alter table tbUps add column \"A&B\" default 7"},
         std::string("tmp/dbDat0.db3: warning: the name of column A&B of tbUps holds \"&\" (SID "
                     "1001: \"A&B\", and 1 more): ") +
             kSplit,
         {"data: alter table tbUps add column \"A&B\"", "data: update tbUps set Run='&'"}},
        {"value-unescaped",
         {"data: update tbAirItem set Fld='a=b' where rowid=2"},
         std::string("tmp/dbDat0.db3: warning: tbAirItem.Fld holds \"=\" (SID 1002: \"a=b\"): ") +
             kSplit,
         {"data: update tbUpsItem set Fld='a=b' where rowid=2"}},
        {"name-empty",
         {"data: update tbAirItem set Fld='',Val=8 where rowid=2"},
         "tmp/dbDat0.db3: warning: the body of SID 1002 has a pair without a name, \"=8\" from "
         "tbAirItem: no receiver knows what it is",
         {"data: update tbAirItem set Fld='',Val='' where rowid=2"}},
        {"name-twice",
         {"data: alter table tbExtUps rename column SysLoad to Load"},
         "tmp/dbDat0.db3: warning: the body of SID 1001 has two pairs named Load, the second of "
         "them from tbExtUps, and 1 more: most receivers keep one",
         {"data: alter table tbExtUps rename column SysLoad to load"}},
    };
}

std::vector<CheckCase> size_cases()
{
    return {
        {"body-full",
         {"data: update tbSM set Name=" + long_text(110000) + " where SID=1001"},
         "tmp/dbDat0.db3: warning: the body of SID 1001 (tbUps) does not hold everything: body of "
         "102400 bytes is full, left out 1: sname",
         {"data: update tbSM set Name=" + long_text(100000) + " where SID=1001"}},
        {"body-full",
         {"alarms: update tbSMAlarm set AlmBrief=" + long_text(2000) + " where DID=5"},
         "tmp/dbData.db3: warning: the body of SID 1002 (tbSMAlarm) does not hold everything: body "
         "of 2048 bytes is full, left out 1: title",
         {"alarms: update tbSMAlarm set AlmBrief=" + long_text(1500) + " where DID=5"}},
        {"body-full",
         {"data: alter table tbUps add column A", "data: alter table tbUps add column B",
          "data: update tbUps set A=" + long_text(101000) + ",B=" + long_text(2000) +
              " where SID=1001",
          "data: update tbUpsItem set Val=" + long_text(3000) + " where SID=1001 and Fld=2"},
         "tmp/dbDat0.db3: warning: the body of SID 1001 (tbUps) does not hold everything: body of "
         "102400 bytes is full, left out 1: B; left out 1: Fld2",
         {"data: alter table tbUps add column A",
          "data: update tbUps set A=" + long_text(98000) + " where SID=1001",
          "data: update tbUpsItem set Val=" + long_text(3000) + " where SID=1001 and Fld=2"}},
    };
}

std::vector<CheckCase> encoding_cases()
{
    const std::string smile = "data: update tbSM set Name='机房😀' where SID=1001";
    const std::string alarming = "data: update tbSM set Name='空调😀' where SID=1002";
    return {
        {"character-lost",
         {"POST/Encoding=GBK", smile},
         "tmp/dbDat0.db3: warning: tbSM.Name holds \"😀\" (SID 1001: \"机房😀\"), which GBK cannot "
         "express: a body is cut there",
         {"POST/Encoding=GB18030", smile}},
        {"character-lost",
         {"POST/Encoding=GBK", alarming},
         "tmp/dbDat0.db3: warning: tbSM.Name holds \"😀\" (SID 1002: \"空调😀\"), which GBK cannot "
         "express: a body is cut there",
         {"POST/Encoding=GB18030", alarming}},
        {"character-lost",
         {"POST/Encoding=GBK", "POST/State0=⚠", "data: update tbTempHum set Hum='5⚠'"},
         "vkApp.ini:N: warning: State0 holds \"⚠\", which GBK cannot express: a body is cut there; "
         "write other characters, or Encoding=UTF-8 or GB18030\n"
         "tmp/dbDat0.db3: warning: tbTempHum.Hum holds \"⚠\" (SID 1004: \"5⚠\", and 4 more), which "
         "GBK cannot express: a body is cut there",
         {"POST/Encoding=GBK", "data: update tbTempHum set HumRaw='5⚠'"}},
        {"character-lost",
         {"POST/Encoding=GBK", "data: alter table tbUps add column \"😀\" default 7"},
         "tmp/dbDat0.db3: warning: the name of column 😀 of tbUps holds \"😀\" (SID 1001: \"😀\", and "
         "1 more), which GBK cannot express: a body is cut there",
         {"POST/Encoding=GBK", "data: alter table tbUps add column \"😀\""}},
        {"text-not-utf8",
         {"data: update tbSM set Name=cast(x'BBFAB7BF' as text) where SID=1001"},
         "tmp/dbDat0.db3: warning: tbSM.Name holds text that is not UTF-8 (SID 1001): it is posted "
         "as it is",
         {"data: update tbSM set Name=cast(x'E69CBAE688BF' as text) where SID=1001"}},
        {"character-lost",
         {"POST/Encoding=GBK",
          "data: update tbSM set Name=cast(x'41BBFAB7BF' as text) where SID=1001"},
         "tmp/dbDat0.db3: warning: tbSM.Name holds byte BB, which is no UTF-8 (SID 1001: "
         "\"A\xBB\xFA\xB7\xBF\"), which GBK cannot express: a body is cut there",
         {"data: update tbSM set Name=cast(x'41BBFAB7BF' as text) where SID=1001"}},
    };
}

} // namespace

std::vector<CheckCase> body_cases()
{
    return joined({form_cases(), head_cases(), alarm_name_cases(), name_cases(), size_cases(),
                   encoding_cases()});
}

TEST(CheckBodiesTest, AnEncodingThatFitsNoBodyIsToldOnce)
{
    for (const char* encoding : {"POST/Encoding=", "POST/Encoding=UTF-16", "POST/Encoding=IBM037"})
    {
        EXPECT_EQ(CCheckedHost({encoding}).Check("character-lost"), "") << encoding;
        EXPECT_NE(CCheckedHost({encoding}).Check("encoding-unfit"), "") << encoding;
    }
}

TEST(CheckBodiesTest, TheDaemonsOwnWordsAreToldWhereTheEncodingStands)
{
    const std::string own = "vkApp.ini:N: warning: ASCII cannot express \"动\", which the daemon "
                            "itself puts into a body (of the kind host): it is cut there";
    for (const char* untold : {"POST/Note=动", "POST.xFld/9999.Alm1=动", "POST.xFld/257.Note1=动"})
    {
        EXPECT_THAT(
            CCheckedHost({"POST/Encoding=ASCII", "POST/DeptName", untold}).Check("character-lost"),
            HasSubstr(own))
            << untold;
    }
    EXPECT_THAT(CCheckedHost({"POST/Encoding=ASCII", "POST/DeptName"}).Check("character-lost"),
                HasSubstr(own));
}

TEST(CheckBodiesTest, ACharacterThatIsToldOfATextIsNotToldAsTheDaemonsOwn)
{
    for (const char* told : {"POST/Dept=动", "POST/State2=动", "POST.General/tbGenPort.Name=动",
                             "POST.xFld/257.Run9=动"})
    {
        const std::string lost =
            CCheckedHost({"POST/Encoding=ASCII", "POST/DeptName", told}).Check("character-lost");
        EXPECT_THAT(lost, Not(HasSubstr("the daemon itself"))) << told;
    }
    EXPECT_THAT(CCheckedHost({"POST/Encoding=ASCII"}).Check("character-lost"),
                Not(HasSubstr("the daemon itself")));
}
