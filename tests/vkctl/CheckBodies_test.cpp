// Findings about the bodies that would be posted now.

#include <gmock/gmock.h>

#include "CheckTest.h"

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
             "tmp/dbDat0.db3: warning: tbUpsItem.ValStr holds \"%\" (SID 1001: \"%\", and 3 "
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
    };
}

std::vector<CheckCase> encoding_cases()
{
    const std::string smile = "data: update tbSM set Name='机房😀' where SID=1001";
    return {
        {"character-lost",
         {"POST/Encoding=GBK", smile},
         "tmp/dbDat0.db3: warning: tbSM.Name holds \"😀\" (SID 1001: \"机房😀\"), which GBK cannot "
         "express: the body is cut there",
         {"POST/Encoding=GB18030", smile}},
        {"character-lost",
         {"POST/Encoding=GBK", "POST/DeptName=😀"},
         "vkApp.ini:N: warning: GBK cannot express \"😀\", which this file or the daemon itself "
         "puts into a body (of the kind host): it is cut there",
         {"POST/DeptName=😀"}},
        {"text-not-utf8",
         {"data: update tbSM set Name=cast(x'BBFAB7BF' as text) where SID=1001"},
         "tmp/dbDat0.db3: warning: tbSM.Name holds text that is not UTF-8 (SID 1001): it is posted "
         "as it is",
         {"data: update tbSM set Name=cast(x'E69CBAE688BF' as text) where SID=1001"}},
        {"character-lost",
         {"POST/Encoding=GBK",
          "data: update tbSM set Name=cast(x'41BBFAB7BF' as text) where SID=1001"},
         "tmp/dbDat0.db3: warning: tbSM.Name holds byte BB, which is no UTF-8 (SID 1001: "
         "\"A\xBB\xFA\xB7\xBF\"), which GBK cannot express: the body is cut there",
         {"data: update tbSM set Name=cast(x'41BBFAB7BF' as text) where SID=1001"}},
    };
}

} // namespace

std::vector<CheckCase> body_cases()
{
    return joined({form_cases(), size_cases(), encoding_cases()});
}

TEST(CheckBodiesTest, AnEncodingThatFitsNoBodyIsToldOnce)
{
    for (const char* encoding : {"POST/Encoding=", "POST/Encoding=UTF-16", "POST/Encoding=IBM037"})
    {
        EXPECT_EQ(CCheckedHost({encoding}).Check("character-lost"), "") << encoding;
        EXPECT_NE(CCheckedHost({encoding}).Check("encoding-unfit"), "") << encoding;
    }
}
