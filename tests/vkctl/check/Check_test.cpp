// Every finding: what brings it about, what it says, and what nearly does and must not. And that
// every finding is tested and documented.

#include <gmock/gmock.h>

#include <regex>
#include <set>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckStart.h"
#include "vkctl/check/FindingIds.h"

namespace
{

std::vector<CheckCase> all_cases()
{
    return joined({start_cases(), text_cases(), setting_cases(), url_cases(), certificate_cases(),
                   table_cases(), device_cases(), detail_cases(), extension_cases(), field_cases(),
                   body_cases()});
}

std::set<std::string> all_ids()
{
    return {vkctl::kFindingIds.begin(), vkctl::kFindingIds.end()};
}

// "url-twice" as a test's name, with the case's number for those that have several.
std::string case_name(const testing::TestParamInfo<CheckCase>& info)
{
    return std::regex_replace(info.param.id, std::regex("-"), "_") + "_" +
           std::to_string(info.index);
}

class FindingTest : public testing::TestWithParam<CheckCase>
{
};

} // namespace

TEST_P(FindingTest, IsReportedWhereItIsAndNotWhereItNearlyIs)
{
    const CheckCase& one = GetParam();
    EXPECT_EQ(CCheckedHost(one.edits).Check(one.id), one.printed);
    EXPECT_EQ(CCheckedHost(one.near).Check(one.id), "");
}

INSTANTIATE_TEST_SUITE_P(All, FindingTest, testing::ValuesIn(all_cases()), case_name);

TEST(CheckTest, TheSampleRoomIsClean)
{
    EXPECT_EQ(CCheckedHost().Check(), "");
}

TEST(CheckTest, ARoomInAnotherEncodingIsClean)
{
    EXPECT_EQ(CCheckedHost({"POST/Encoding=GBK"}).Check(), "");
}

TEST(CheckTest, EveryFindingHasACase)
{
    std::set<std::string> tested(kServerFindings.begin(), kServerFindings.end());
    for (const CheckCase& one : all_cases())
    {
        tested.insert(one.id);
    }
    EXPECT_EQ(tested, all_ids());
}

TEST(CheckTest, EveryFindingHasItsParagraphAndEveryParagraphAFinding)
{
    const std::string text = read_file(VK_DOCS "/check.md");
    const std::regex heading("\n### `([a-z0-9-]+)`\n\n[^#\n]");
    std::set<std::string> documented;
    for (std::sregex_iterator at(text.begin(), text.end(), heading), end; at != end; ++at)
    {
        EXPECT_TRUE(documented.insert((*at)[1]).second) << (*at)[1];
    }
    EXPECT_EQ(documented, all_ids());
}

TEST(CheckTest, NothingOfTheHostIsChanged)
{
    const CCheckedHost host;
    const std::string ini = read_file(host.Path("vkApp.ini"));
    const std::string data = read_file(host.Path("tmp/dbDat0.db3"));
    const std::string alarms = read_file(host.Path("tmp/dbData.db3"));
    host.Findings();
    EXPECT_EQ(read_file(host.Path("vkApp.ini")), ini);
    EXPECT_EQ(read_file(host.Path("tmp/dbDat0.db3")), data);
    EXPECT_EQ(read_file(host.Path("tmp/dbData.db3")), alarms);
    EXPECT_EQ(host.Files(), (std::vector<std::string>{"libvkdb.so", "tmp/dbDat0.db3",
                                                      "tmp/dbData.db3", "vkApp.ini"}));
}

TEST(CheckTest, AWriteAheadLogIsLeftAsItIs)
{
    const CCheckedHost host({"data: pragma journal_mode=wal", "alarms: pragma journal_mode=wal"});
    const std::vector<std::string> before = host.Files();
    EXPECT_TRUE(host.Findings(true, CCheckedHost::kNewSqlite).Empty());
    EXPECT_EQ(host.Files(), before);
}

TEST(CheckTest, AWriteAheadLogIsSafeFromTheVersionOnThatMendsIt)
{
    for (const int version : {3007000, 3040001, 3051002})
    {
        EXPECT_TRUE(vkctl::has_unsafe_checkpoints(version)) << version;
    }
    for (const int version : {3051003, 3052000, 4000000})
    {
        EXPECT_FALSE(vkctl::has_unsafe_checkpoints(version)) << version;
    }
}
