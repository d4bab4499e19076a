// Findings about section POST and about sections and keys that nothing reads.

#include <gmock/gmock.h>

#include <climits>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckNames.h"

using namespace vkctl;
using testing::HasSubstr;

namespace
{

std::vector<CheckCase> unread_cases()
{
    return {
        {"section-unread",
         {"+[post.do]\nCount=3\n"},
         "vkApp.ini:N: warning: nothing reads section [post.do]; did you mean POST.DO?",
         {"+[POST.DO]\nCount=3\n[POST.Ext.257]\n"}},
        {"section-unread",
         {"+[257.tbExtUps]\n1=3\n"},
         "vkApp.ini:N: warning: nothing reads section [257.tbExtUps]: its list of columns counts "
         "only while [POST.Ext.257] says tbExtUps=0",
         {"POST.Ext.257/tbExtUps=0", "+[257.tbExtUps]\n1=3\n"}},
        {"key-unread",
         {"POST/Dealy=100"},
         "vkApp.ini:N: warning: nothing reads Dealy in section [POST]; did you mean Delay?",
         {"POST/Url1=http://a/"}},
        {"key-unread",
         {"^Dept=ROOM-02\n"},
         "vkApp.ini:N: warning: nothing reads Dept: it stands in front of the first section; move "
         "it below [POST]",
         {"^; Dept=ROOM-02\n"}},
        {"key-unread",
         {"^\xEF\xBB\xBF"
          "Dept=ROOM-02\n"},
         "vkApp.ini:N: warning: nothing reads Dept: it stands in front of the first section; move "
         "it below [POST]",
         {"^\xEF\xBB\xBF; Dept=ROOM-02\n"}},
        {"key-unread",
         {"write vkApp.ini ; of the host\nUrl=http://a/\nDelay=9\n"},
         "vkApp.ini:N: warning: nothing reads Url: it stands in front of the first section; move "
         "it below [POST]",
         {"write vkApp.ini ; of the host\n [POST]\nUrl=http://a/\n"}},
        {"key-unread",
         {"POST.DO/count=3"},
         "vkApp.ini:N: warning: nothing reads count in section [POST.DO]; did you mean Count?",
         {"POST.DO/Count=2"}},
    };
}

std::vector<CheckCase> number_cases()
{
    return {
        {"integer-invalid",
         {"POST/Delay=5s"},
         "vkApp.ini:N: warning: Delay \"5s\" is no number: it is taken as 5; write digits only",
         {"POST/Delay= 5 ; s"}},
        {"integer-invalid",
         {"POST/Timeout=fast"},
         "vkApp.ini:N: warning: Timeout \"fast\" is no number: it is taken as 0, and not as the "
         "default; write digits only",
         {"POST/Timeout"}},
        {"integer-invalid",
         {"POST/ReTbls=99999999999"},
         "vkApp.ini:N: warning: ReTbls 99999999999 is beyond 32 bits: it is taken as 2147483647; "
         "write digits only",
         {"POST/ReTbls=2147483647"}},
        {"integer-invalid",
         {"POST.DO/Start="},
         "vkApp.ini:N: warning: Start is empty: it is taken as 0, and not as the default; write "
         "digits only",
         {"POST.DO/Start=09"}},
        {"value-range",
         {"POST/Timeout=0"},
         "vkApp.ini:N: warning: Timeout=0: a transfer has no limit, and one server that never "
         "answers stops the daemon for good; write seconds from 1 up",
         {"POST/Timeout=1"}},
        {"value-range",
         {"POST/Timeout=-1"},
         "vkApp.ini:N: warning: Timeout=-1: 15 is taken instead; write seconds from 1 up",
         {"POST/Timeout=2147483"}},
        {"value-range",
         {"POST/Timeout=2147484"},
         "vkApp.ini:N: warning: Timeout=2147484: 2147483 is taken instead, that is 24 days",
         {"POST/Timeout"}},
        {"value-range",
         {"POST/Delay=0"},
         "vkApp.ini:N: warning: Delay=0: one sweep follows the other without a pause; write "
         "milliseconds, such as 5000",
         {"POST/Delay=1"}},
        {"value-range",
         {"POST/ReTbls=-1"},
         "vkApp.ini:N: warning: ReTbls=-1: the tables are searched anew on every working pass; "
         "write 0 for never",
         {"POST/ReTbls=1"}},
        {"value-range",
         {"POST/maxURLs=1001"},
         "vkApp.ini:N: warning: maxURLs=1001: 1000 are read, each with two log lines; write how "
         "many URLs there are",
         {"POST/maxURLs=1000"}},
        {"value-range",
         {"POST.DO/Count=-1"},
         "vkApp.ini:N: warning: Count=-1: no output is posted; write 0 to say so",
         {"POST.DO/Count=0"}},
    };
}

std::vector<CheckCase> text_setting_cases()
{
    return {
        {"head-format-refused",
         {"POST/Fmt0=suid=%s&sid=%s"},
         "vkApp.ini:N: error: Fmt0 is refused and the default is used: conversion 2 is \"%s\", a "
         "number (%d) is expected",
         {"POST/Fmt0=suid=%-8s&sid=%05d&share=100%%"}},
        {"head-short",
         {"POST/Fmt0=suid=%s"},
         "vkApp.ini:N: warning: Fmt0 takes fewer than two values: no body says which device it is "
         "of; begin it with suid=%s&sid=%d",
         {"POST/Fmt0=suid=%s&sid=%d"}},
        {"encoding-unknown",
         {"POST/Encoding=GKB"},
         "vkApp.ini:N: error: iconv does not know the encoding GKB: the bodies are posted in "
         "UTF-8; 'iconv -l' lists the known ones",
         {"POST/Encoding=gb18030"}},
        {"encoding-unfit",
         {"POST/Encoding=UTF-16"},
         "vkApp.ini:N: error: in UTF-16 letters, \"&\" and \"=\" are other bytes than in ASCII: no "
         "receiver finds the pairs, and a zero byte ends the body; write UTF-8, GBK or GB18030",
         {"POST/Encoding=GBK"}},
        {"encoding-unfit",
         {"POST/Encoding="},
         "vkApp.ini:N: error: Encoding is empty, which is the daemon's own locale, usually ASCII: "
         "every body is cut at its first other character; write Encoding=UTF-8, or remove the line",
         {"POST/Encoding"}},
        {"value-unescaped",
         {"POST/DeptName=A&B 100%"},
         "vkApp.ini:N: warning: DeptName holds \"&\" and \"%\": nothing is escaped, so the "
         "receiver may split the value there or read it differently; write other characters",
         {"POST/DeptName=A/B: 100?"}},
    };
}

std::vector<CheckCase> lost_cases()
{
    const std::string gbk = "POST/Encoding=GBK";
    const std::string cut = " holds \"✅\", which GBK cannot express: a body is cut there; write "
                            "other characters, or Encoding=UTF-8 or GB18030";
    return {
        {"character-lost",
         {gbk, "POST/State3=恢复✅"},
         "vkApp.ini:N: warning: State3" + cut,
         {"POST/Encoding=GB18030", "POST/State3=恢复✅"}},
        {"character-lost",
         {gbk, "POST/DeptName=✅"},
         "vkApp.ini:N: warning: DeptName" + cut,
         {gbk, "POST/DeptName=\xBB\xFA\xB7\xBF"}},
        {"character-lost",
         {gbk, "POST/Fmt0=✅=%s&sid=%d"},
         "vkApp.ini:N: warning: Fmt0" + cut,
         {gbk, "POST/Fmt0=✅=%s&sid=%s"}},
        {"character-lost",
         {gbk, "POST.General/tbGenPort.Name=✅"},
         "vkApp.ini:N: warning: tbGenPort.Name" + cut,
         {gbk, "POST.General/tbGenPort.Name=✅", "POST.General/tbGenPort=0"}},
        {"character-lost",
         {gbk, "data: update tbUps set Run=1", "POST.xFld/257.Run3=✅"},
         "vkApp.ini:N: warning: the text of 257.Run3" + cut,
         {gbk, "POST.xFld/257.Run=0", "POST.xFld/257.Run3=✅"}},
    };
}

} // namespace

std::vector<CheckCase> setting_cases()
{
    return joined({unread_cases(), number_cases(), text_setting_cases(), lost_cases()});
}

TEST(CheckTextsTest, OfManyLostTextsTheFirstAreTold)
{
    const std::string lost = CCheckedHost({"POST/Encoding=ASCII"}).Check("character-lost");
    size_t told = 0;
    for (size_t at = 0; (at = lost.find("the text of ", at)) != std::string::npos; ++at)
    {
        ++told;
    }
    EXPECT_EQ(told, 5U);
    EXPECT_THAT(lost,
                HasSubstr("the text of 257.Run3 holds \"旁\", which ASCII cannot express: a "
                          "body is cut there (so it is with 78 more texts of [POST.xFld]); "));
}

TEST(CheckNamesTest, TheLikelyNameIsASlipAway)
{
    const std::vector<std::string> names = {"Delay", "Dept", "DeptName", "maxURLs"};
    EXPECT_EQ(likely_name("delay", names), "Delay");
    EXPECT_EQ(likely_name("Dlay", names), "Delay");
    EXPECT_EQ(likely_name("DepName", names), "DeptName");
    EXPECT_EQ(likely_name("max_urls", names), "maxURLs");
    EXPECT_EQ(likely_name("Interval", names), "");
    EXPECT_EQ(likely_name("x", {"y", "CA"}), "");
}

TEST(CheckNamesTest, NumbersAreReadAsTheDaemonReadsThem)
{
    EXPECT_EQ(integer_problem("12abc", 12), "\"12abc\" is no number: it is taken as 12");
    EXPECT_EQ(integer_problem("-99999999999999999999", INT_MIN),
              "-99999999999999999999 is beyond 32 bits: it is taken as -2147483648");
    for (const char* text : {"0", "-5", "+5", "007", "2147483647"})
    {
        EXPECT_EQ(integer_problem(text, std::stoi(text)), "") << text;
    }
}

TEST(CheckNamesTest, ALongListIsCutShort)
{
    EXPECT_EQ(shortened_list({"a"}, 1), "a");
    EXPECT_EQ(shortened_list({"a", "b"}, 2), "a and b");
    EXPECT_EQ(shortened_list({"a", "b"}, 7), "a, b and 5 more");
}
