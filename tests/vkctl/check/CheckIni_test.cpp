// Findings about vkApp.ini as a text.

#include <gmock/gmock.h>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckIni.h"

using namespace vkctl;

std::vector<CheckCase> text_cases()
{
    return {
        {"file-unreadable",
         {"remove vkApp.ini"},
         "vkApp.ini: error: cannot be read: the daemon would take every default, have no URL and "
         "end; start vkctl in the host's directory, or name it",
         {"write vkApp.ini [POST]\nUrl=http://a/\n"}},
        {"file-bom",
         {"write vkApp.ini \xEF\xBB\xBF[POST]\nUrl=http://a/\n"},
         "vkApp.ini:N: error: the file begins with a byte order mark, so [POST] is no section "
         "header: its keys are not read; save the file without one",
         {"^\xEF\xBB\xBF; a remark\n"}},
        {"section-indented",
         {"+ [POST.DO]\n"},
         "vkApp.ini:N: error: [POST.DO] does not begin in the first column, so it is a key and no "
         "section header: the keys below it stay in section [POST.xFld]; remove the blanks in "
         "front of it",
         {"+[ POST.DO ]\n Count = 3\n"}},
        {"section-indented",
         {"write vkApp.ini  [POST]\nUrl=http://a/\n"},
         "vkApp.ini:N: error: [POST] does not begin in the first column, so it is a key and no "
         "section header: the keys below it stand in no section; remove the blanks in front of it",
         {"write vkApp.ini ; [POST]\nUrl=http://a/\n"}},
        {"line-without-value",
         {"POST/Timeout", "POST/Delay=5000\nTimeout 15"},
         "vkApp.ini:N: warning: \"Timeout 15\" has no \"=\": it is a key with an empty value; "
         "write Timeout 15=value, or a \";\" in the first column",
         {"POST/CA=", "POST/Delay=5000\n;Timeout 15"}},
        {"key-empty",
         {"POST.Ext.257/tbExtUps=3\n  ; the columns"},
         "vkApp.ini:N: warning: the line begins with blanks: a key without a name, and in section "
         "[POST.Ext.257] the daemon takes each key for a table or column; remove the line, or "
         "begin it with \";\"",
         {"POST/Delay=5000\n  ; milliseconds", "POST.Ext.257/tbExtUps=3\n; the columns\n\n"}},
        {"key-empty",
         {"POST/Delay=5000\n=7"},
         "vkApp.ini:N: warning: nothing stands in front of the \"=\": a key without a name, which "
         "nothing reads; remove the line, or begin it with \";\"",
         {"POST/Delay=5000\n\n\n"}},
        {"key-twice",
         {"^[POST]\nDelay=9\n"},
         "vkApp.ini:N: warning: Delay stands again in line N, which counts; this line has no "
         "effect: remove one of them",
         {"+[POST.DO]\nDelay=9\n"}},
        {"value-cut",
         {"POST/Dept=ROOM#1"},
         "vkApp.ini:N: warning: \"#\" begins a comment, also here: the value of Dept is \"ROOM\"; "
         "no value can hold it, so write another character, or a blank in front of a comment",
         {"POST/Dept=ROOM #1"}},
        {"value-cut",
         {"POST/Dept=#1"},
         "vkApp.ini:N: warning: \"#\" begins a comment, also here: the value of Dept is \"\"; "
         "no value can hold it, so write another character, or a blank in front of a comment",
         {"POST/Dept= ; none"}},
        {"text-not-utf8",
         {"POST/DeptName=\xBB\xFA\xB7\xBF"},
         "vkApp.ini:N: warning: the text of DeptName is not UTF-8: it would be posted as it is, or "
         "cut there where Encoding asks for another one; save the file as UTF-8",
         {"POST/DeptName=机房"}},
        {"text-not-utf8",
         {"POST/Dept=\xBB\xFA", "POST/DeptName=\xBB\xFA", "POST/State0=\xB7\xBF"},
         "vkApp.ini:N: warning: the text of Dept (and 2 more lines) is not UTF-8: it would be "
         "posted as it is, or cut there where Encoding asks for another one; save the file as "
         "UTF-8",
         {"POST/Dept=A"}},
    };
}

TEST(CheckIniTest, ALineEndOfAnotherSystemIsNone)
{
    CCheckedHost host;
    std::string text = read_file(host.Path("vkApp.ini"));
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
    {
        text.replace(at, 1, "\r\n");
    }
    write_file(host.Path("vkApp.ini"), text);
    EXPECT_EQ(host.Check(), "");
}

TEST(CheckIniTest, Utf8IsToldFromOtherBytes)
{
    EXPECT_TRUE(is_utf8("A\xC3\xBC\xE6\x9C\xBA\xF0\x9F\x98\x80"));
    for (const char* text :
         {"\x80", "\xC0\xAF", "\xE6\x9C", "\xF5\x80\x80\x80", "\xBB\xFA\xB7\xBF"})
    {
        EXPECT_FALSE(is_utf8(text)) << text;
    }
}
