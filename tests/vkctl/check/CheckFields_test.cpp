// Findings about kinds and texts of columns.

#include <gmock/gmock.h>

#include <map>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckFields.h"

using namespace vkctl;

namespace
{

std::vector<CheckCase> column_cases()
{
    const std::string huge(100000, 'y'); // whose every end might be a suffix
    return {
        {"type-unused",
         {"POST.xFld/9.Run=1", "POST.xFld/9.Runx=?"},
         "vkApp.ini:N: note: the keys of type 9 have no effect now: no device and no general table "
         "has it",
         {"POST.xFld/60001.Value=0"}},
        {"column-missing",
         {"POST.xFld/257.Rnu=1", "POST.xFld/257.Rnu10=10"},
         "vkApp.ini:N: warning: nothing reads 257.Rnu: no table with values of type 257 has a "
         "column Rnu; did you mean Run?",
         {"POST.xFld/257.Uin=0"}},
        {"column-missing",
         {"POST.xFld/60002.baud=0"},
         "vkApp.ini:N: warning: nothing reads 60002.baud: no table with values of type 60002 has a "
         "column baud; did you mean Baud?",
         {"POST.xFld/60002.Baud=0"}},
        {"column-missing",
         {"POST.xFld/257.Run-21474836480=x"},
         "vkApp.ini:N: warning: nothing reads 257.Run-21474836480: no table with values of type "
         "257 has a column Run-21474836480",
         {"POST.xFld/257.Run-2147483648=x"}},
        {"column-missing",
         {"POST.xFld/257." + huge + "=2"},
         "vkApp.ini:N: warning: nothing reads 257." + huge +
             ": no table with values of type 257 has a column " + huge,
         {"POST.xFld/257.Uin=0"}},
        {"column-not-posted",
         {"POST.xFld/257.State=0"},
         "vkApp.ini:N: warning: column State of tbUps is not posted as a value, so 257.State has "
         "no effect: it stands outside of the columns that are",
         {"POST.xFld/257.Uin=0"}},
        {"column-not-posted",
         {"POST.xFld/2049.HumRaw=0"},
         "vkApp.ini:N: warning: column HumRaw of tbTempHum is not posted as a value, so "
         "2049.HumRaw "
         "has no effect: it stands outside of the columns that are",
         {"POST.xFld/2049.HumRaw=0", "POST.Master/tbTempHum.flds=4"}},
        {"column-not-posted",
         {"POST.xFld/1025.Group2=0"},
         "vkApp.ini:N: warning: column Group2 of tbExtAir is not posted as a value, so 1025.Group2 "
         "has no effect: it stands outside of the columns that are",
         {"POST.xFld/1025.Group1=0"}},
    };
}

std::vector<CheckCase> key_cases()
{
    return {
        {"key-unread",
         {"POST.xFld/257.Run"},
         "vkApp.ini:N: warning: nothing reads 257.Run0: there is no 257.Run, which tells how "
         "column "
         "Run is rendered",
         {"POST.xFld/257.Run0"}},
        {"key-unread",
         {"POST.xFld/Run=1"},
         "vkApp.ini:N: warning: nothing reads Run in section [POST.xFld]: keys begin with a type "
         "and a dot, such as 257.Run",
         {"POST.xFld/257.Load=0"}},
        {"integer-invalid",
         {"POST.xFld/257.Run=text"},
         "vkApp.ini:N: warning: 257.Run \"text\" is no number: it is taken as 0, and not as the "
         "default; write digits only",
         {"POST.xFld/257.Run0=text"}},
        {"kind-unknown",
         {"POST.xFld/257.Run=5"},
         "vkApp.ini:N: warning: 257.Run=5 is no kind: the value is posted as stored; the kinds are "
         "0 to 4",
         {"POST.xFld/257.Run=4"}},
        {"key-ambiguous",
         {"data: alter table tbUps add column Run1 integer"},
         "vkApp.ini:N: warning: 257.Run1 is the kind of column Run1, and a text of column Run as "
         "well; one of the columns needs another name",
         {"data: alter table tbUps add column Run9 integer"}},
        {"value-unescaped",
         {"POST.xFld/257.Run1=A&B"},
         "vkApp.ini:N: warning: the text of 257.Run1 holds \"&\": nothing is escaped, so the "
         "receiver may split the value there or read it differently; write other characters",
         {"POST.xFld/257.Run1=A, B"}},
        {"value-unescaped",
         {"data: alter table tbUps add column Run1 integer", "POST.xFld/257.Run1=A&B"},
         "vkApp.ini:N: warning: the text of 257.Run1 holds \"&\": nothing is escaped, so the "
         "receiver may split the value there or read it differently; write other characters",
         {"POST.xFld/257.Run=0", "POST.xFld/257.Run1=A&B"}},
    };
}

std::vector<CheckCase> text_label_cases()
{
    const std::string drop = "data: update tbUps set Run=7 where SID=1001";
    const std::string hide = "data: update tbUps set State=-1 where SID=1001";
    return {
        {"fallback-missing",
         {"POST.xFld/257.Runx", drop},
         "vkApp.ini:N: warning: there is no 257.Runx for values without a text: the value is left "
         "out, now for 7",
         {drop}},
        {"fallback-missing",
         {"POST.xFld/257.Runx", drop, hide},
         "vkApp.ini:N: note: there is no 257.Runx for values without a text: such a value is left "
         "out; there is none now",
         {drop, hide}},
        {"fallback-missing",
         {"POST.xFld/257.Runx", "POST.xFld/257.Run7=", drop},
         "vkApp.ini:N: note: there is no 257.Runx for values without a text: such a value is left "
         "out; there is none now",
         {"POST.xFld/257.Runx=", drop}},
        {"value-not-integer",
         {"data: update tbUps set Run='on' where SID=1001"},
         "vkApp.ini:N: warning: tbUps.Run holds \"on\", and kind 1 reads numbers: it is taken as 0",
         {"data: update tbUps set Run='2' where SID=1001"}},
        {"value-not-integer",
         {"data: update tbUps set Run=printf('%.61c','z') where SID=1001"},
         "vkApp.ini:N: warning: tbUps.Run holds \"" + std::string(60, 'z') +
             "...\", and kind 1 reads numbers: it is taken as 0",
         {"data: update tbUps set Run='2' where SID=1001"}},
        {"value-not-integer",
         {"data: update tbUps set Run=''", "POST.xFld/257.Run0=off"},
         "vkApp.ini:N: warning: tbUps.Run holds no value in a row: it is taken as 0 and posted as "
         "\"off\"",
         {"data: update tbUps set Run=null", "POST.xFld/257.Run0="}},
        {"value-not-integer",
         {"data: update tbUps set Tem=1e20", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx=?"},
         "vkApp.ini:N: warning: tbUps.Tem holds \"1.0e+20\", and kind 1 reads numbers: it is taken "
         "as -1",
         {"data: update tbUps set Tem=1e2", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx=?"}},
        {"value-not-integer",
         {"data: update tbUps set Tem=9e999", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx=?"},
         "vkApp.ini:N: warning: tbUps.Tem holds \"Inf\", and kind 1 reads numbers: it is taken as "
         "-1",
         {"data: update tbUps set Tem=null", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx="}},
        {"value-not-integer",
         {"data: update tbUps set Run=4294967298 where SID=1001"},
         "vkApp.ini:N: warning: tbUps.Run holds \"4294967298\", and kind 1 reads numbers: it is "
         "taken as 2",
         {"data: update tbUps set Run=2 where SID=1001"}},
        {"value-not-integer",
         {"data: update tbUps set Tem=31.5", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx=?"},
         "vkApp.ini:N: warning: tbUps.Tem holds \"31.5\", and kind 1 reads numbers: it is taken as "
         "31",
         {"data: update tbUps set Tem=31", "POST.xFld/257.Tem=1", "POST.xFld/257.Temx=?"}},
    };
}

std::vector<CheckCase> width_cases()
{
    return {
        {"kind-narrow",
         {"data: update tbUps set Alm=256 where SID=1001"},
         "vkApp.ini:N: warning: tbUps.Alm holds 256 (SID 1001), which has bits beyond the 8 of "
         "kind 2: they are not posted; kind 3 has 16",
         {"data: update tbUps set Alm=255 where SID=1001"}},
        {"kind-narrow",
         {"data: update tbUps set Alm=-1"},
         "vkApp.ini:N: warning: tbUps.Alm holds -1 (SID 1001, and 1 more), which has bits beyond "
         "the 8 of kind 2: they are not posted; no kind has as many",
         {"data: update tbUps set Alm=-1", "POST.xFld/257.Alm=1", "POST.xFld/771.Alm=1"}},
        {"kind-narrow",
         {"data: update tbExtUps set SysLoad=65536", "POST.xFld/257.SysLoad=3"},
         "vkApp.ini:N: warning: tbExtUps.SysLoad holds 65536, which has bits beyond the 16 of kind "
         "3: they are not posted; kind 4 has 24",
         {"data: update tbExtUps set SysLoad=65535", "POST.xFld/257.SysLoad=3"}},
    };
}

std::vector<CheckCase> bit_label_cases()
{
    const std::string whole = "data: update tbUps set Alm=15 where SID=1001";
    const std::string bit3 = "data: update tbUps set Alm=8 where SID=1001";
    return {
        {"bit-label-unused",
         {"POST.xFld/257.Alm8=x"},
         "vkApp.ini:N: warning: 257.Alm8 is never asked for: 257.Alm is of kind 2, it has 8 bits, "
         "0 "
         "to 7, and the whole values 00, 0F, F0 and FF",
         {"POST.xFld/1025.Alm8=x"}},
        {"bit-label-unused",
         {"POST.xFld/257.Alm0f=x"},
         "vkApp.ini:N: warning: 257.Alm0f is never asked for: 257.Alm is of kind 2, it has 8 bits, "
         "0 to 7, and the whole values 00, 0F, F0 and FF",
         {"POST.xFld/257.Alm0F=x"}},
        {"bit-label-unused",
         {"POST.xFld/1025.Alm00=x"},
         "vkApp.ini:N: warning: 1025.Alm00 is never asked for: 1025.Alm is of kind 3, it has 16 "
         "bits, 0 to 15",
         {"POST.xFld/1025.Alm0=x"}},
        {"bit-label-unused",
         {"POST.xFld/257.Run01=x"},
         "vkApp.ini:N: warning: 257.Run01 is never asked for: 257.Run is of kind 1, texts are "
         "asked "
         "for by x and by the number without leading zeros",
         {"POST.xFld/257.Run-1=x"}},
        {"bit-label-unused",
         {"POST.xFld/257.Load=0", "POST.xFld/257.Load1=x"},
         "vkApp.ini:N: warning: 257.Load1 is never asked for: 257.Load is of kind 0, its values "
         "are "
         "posted as stored",
         {"POST.xFld/257.Load=1", "POST.xFld/257.Load1=x"}},
        {"bit-label-missing",
         {"POST.xFld/257.Alm3", bit3},
         "vkApp.ini:N: warning: there is no 257.Alm3: Alm is left out for SID 1001 of tbUps, which "
         "holds 8 now",
         {"POST.xFld/257.Alm3=", bit3}},
        {"bit-label-missing",
         {"POST.xFld/257.Alm3", "data: update tbUps set Alm=9 where SID=1001"},
         "vkApp.ini:N: warning: there is no 257.Alm3: Alm is posted without a text for it for SID "
         "1001 of tbUps, which holds 9 now",
         {"POST.xFld/257.Alm3=", "data: update tbUps set Alm=9 where SID=1001"}},
        {"bit-label-missing",
         {"POST.xFld/257.Alm0F", whole},
         "vkApp.ini:N: warning: there is no 257.Alm0F: Alm is left out for SID 1001 of tbUps, "
         "which holds 15 now",
         {"POST.xFld/257.Alm00", "data: update tbUps set Alm=0"}},
        {"bit-label-missing",
         {"POST.xFld/257.Alm0F", "POST.xFld/257.Alm3", "data: update tbUps set Alm=15",
          "data: update tbUps set Alm=9 where SID=1001"},
         "vkApp.ini:N: warning: there is no 257.Alm0F: Alm is left out for SID 1011 of tbUps, "
         "which holds 15 now\n"
         "vkApp.ini:N: warning: there is no 257.Alm3: Alm is posted without a text for it for SID "
         "1001 of tbUps, which holds 9 now",
         {"POST.xFld/257.Alm0F=", whole}},
    };
}

} // namespace

std::vector<CheckCase> field_cases()
{
    return joined(
        {column_cases(), key_cases(), text_label_cases(), width_cases(), bit_label_cases()});
}

TEST(CheckLabelsTest, EachKindAsksForItsOwnTexts)
{
    const std::map<int, std::vector<std::string>> asked = {{0, {}},
                                                           {1, {"x", "0", "-1", "2147483647"}},
                                                           {2, {"0", "7", "00", "0F", "F0", "FF"}},
                                                           {3, {"0", "15"}},
                                                           {4, {"0", "23"}}};
    for (const auto& [kind, suffixes] : asked)
    {
        for (const std::string& suffix : suffixes)
        {
            EXPECT_TRUE(is_asked_for(kind, suffix)) << kind << " " << suffix;
        }
    }
}

TEST(CheckLabelsTest, OtherTextsAreNeverAskedFor)
{
    const std::map<int, std::vector<std::string>> others = {
        {0, {"0", "x", "00"}},
        {1, {"00", "01", "X", "2147483648", "FF"}},
        {2, {"8", "-1", "x", "0f", "01"}},
        {3, {"16", "00", "FF", "x"}},
        {4, {"24", "0F"}}};
    for (const auto& [kind, suffixes] : others)
    {
        for (const std::string& suffix : suffixes)
        {
            EXPECT_FALSE(is_asked_for(kind, suffix)) << kind << " " << suffix;
        }
    }
}
