#include <gmock/gmock.h>

#include <cctype>
#include <set>
#include <sstream>

#include "common/SimpleIni.h"
#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"
#include "vkctl/room/RoomTexts.h"

using namespace vkctl;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char kExample[] = VK_EXAMPLES "/vkApp.ini";
constexpr char kText[] = "; head\n[A]\n; what x is\nx=1\n\n[B]\nx=2\n";

std::set<std::string> keys(SimpleIni& ini, const std::string& section)
{
    std::set<std::string> names;
    for (auto key = ini.beginKey(section); key != ini.endKey(section); ++key)
    {
        names.insert(*key);
    }
    return names;
}

} // namespace

TEST(RoomIniTest, SetReplacesTheValueInItsSectionOnly)
{
    EXPECT_EQ(set_ini_value(kText, "A", "x", "9"), "; head\n[A]\n; what x is\nx=9\n\n[B]\nx=2\n");
    EXPECT_EQ(set_ini_value(kText, "B", "x", "9"), "; head\n[A]\n; what x is\nx=1\n\n[B]\nx=9\n");
}

TEST(RoomIniTest, SetAddsAKeyThatIsMissing)
{
    EXPECT_EQ(set_ini_value(kText, "A", "y", "9"),
              "; head\n[A]\n; what x is\nx=1\n\ny=9\n[B]\nx=2\n");
    EXPECT_EQ(set_ini_value(kText, "B", "y", "9"),
              "; head\n[A]\n; what x is\nx=1\n\n[B]\nx=2\ny=9\n");
}

TEST(RoomIniTest, SetRefusesWhatAnIniFileCannotHold)
{
    EXPECT_THROW(set_ini_value(kText, "A", "x", "a;b"), CCliError);
    EXPECT_THROW(set_ini_value(kText, "A", "x", "a#b"), CCliError);
    EXPECT_THROW(set_ini_value(kText, "A", "x", "a\nb"), CCliError);
    EXPECT_THROW(set_ini_value(kText, "C", "x", "1"), CCliError);
}

TEST(RoomIniTest, ARoomWithoutOptionsHasTheExampleAsItIs)
{
    EXPECT_EQ(room_ini_text({}), read_file(kExample));
    EXPECT_EQ(ini_template(), read_file(kExample));
}

TEST(RoomIniTest, TheExampleNamesEverySetting)
{
    SimpleIni ini(kExample);
    EXPECT_THAT(keys(ini, "POST"),
                testing::ElementsAre("AlmUrl", "AlmUrl1", "CA", "Delay", "Dept", "DeptName",
                                     "Encoding", "Fmt0", "ReTbls", "State0", "State1", "State2",
                                     "State3", "Timeout", "Url", "Url1", "maxURLs"));
    EXPECT_THAT(keys(ini, "POST.DO"), testing::ElementsAre("Count", "Start"));
}

TEST(RoomIniTest, TheExampleSaysWhatItStates)
{
    SimpleIni ini(kExample);
    EXPECT_EQ(ini.GetValue("POST", "Url", ""), "http://127.0.0.1:8080/data");
    EXPECT_EQ(ini.GetValue<int>("POST", "Delay", 0), 5000);
    EXPECT_EQ(ini.GetValue<int>("POST", "maxURLs", 0), 2);
    EXPECT_EQ(ini.GetValue("POST", "Fmt0", ""),
              "suid=%s&sid=%d&stype=%d&stag1=%d&sname=%s&subsys=%d&dtupd=%s&state=%s");
    EXPECT_EQ(ini.GetValue("POST", "DeptName", ""), "一号机房动环监控主机");
    EXPECT_EQ(ini.GetValue("POST.General", "tbGenPort.Name", ""), "采集端口");
    EXPECT_EQ(ini.GetValue("POST.xFld", "1025.Alm15", ""), "维护到期");
}

TEST(RoomIniTest, EveryExplanationStandsAboveASetting)
{
    // A value with a comment behind it would be cut there; comments belong on lines of their own.
    SimpleIni ini(kExample);
    for (auto section = ini.beginSection(); section != ini.endSection(); ++section)
    {
        for (const std::string& key : keys(ini, *section))
        {
            EXPECT_EQ(ini.GetComment(*section, key), "") << *section << " " << key;
        }
    }
}

TEST(RoomIniTest, EveryTableAndColumnThatTheExampleNamesIsInTheRoom)
{
    const CTestRoom room;
    SimpleIni ini(kExample);
    for (const char* section : {"POST.Detail", "POST.General", "POST.Master"})
    {
        for (const std::string& key : keys(ini, section))
        {
            const std::string table = key.substr(0, key.find('.'));
            EXPECT_EQ(room.Value("select count(*) from sqlite_master where name='" + table + "'"),
                      "1")
                << key;
        }
    }
}

TEST(RoomIniTest, EveryDetailTableOfADeviceHasAMode)
{
    SimpleIni ini(kExample);
    for (const DeviceKind& kind : device_kinds())
    {
        const std::string detail = ini.GetValue("POST.Master", kind.table, "");
        EXPECT_EQ(detail, kind.detail.name ? kind.detail.name : "") << kind.table;
        EXPECT_EQ(ini.GetValue<int>("POST.Detail", detail, 0), kind.detail.mode) << kind.table;
    }
}

TEST(RoomIniTest, EveryKindOfValueHasATextForEachOfItsNumbers)
{
    SimpleIni ini(kExample);
    for (const DeviceKind& kind : device_kinds())
    {
        for (const Column& column : kind.columns)
        {
            const std::string key = std::to_string(kind.type) + "." + column.name;
            const bool is_bits = column.kind == ColumnKind::kAlarmBits;
            const bool is_mode = column.kind == ColumnKind::kMode;
            const int first = is_bits ? 0 : static_cast<int>(column.base);
            const int count = static_cast<int>(column.swing) + (is_mode ? 1 : 0);
            for (int i = 0; (is_bits || is_mode) && i < count; ++i)
            {
                const std::string number = std::to_string(first + i);
                EXPECT_NE(ini.GetValue("POST.xFld", key + number, ""), "") << key << number;
            }
        }
    }
}

TEST(RoomIniTest, UrlsAreNumberedAndCounted)
{
    RoomIni room;
    room.urls = {"http://a/", "http://b/", "https://c/"};
    room.alarm_urls = {"http://d/"};
    CTempDir dir;
    write_file(dir.Path("x.ini"), room_ini_text(room));
    SimpleIni ini(dir.Path("x.ini"));
    EXPECT_EQ(ini.GetValue("POST", "Url", ""), "http://a/");
    EXPECT_EQ(ini.GetValue("POST", "Url1", ""), "http://b/");
    EXPECT_EQ(ini.GetValue("POST", "Url2", ""), "https://c/");
    EXPECT_EQ(ini.GetValue("POST", "AlmUrl", ""), "http://d/");
    EXPECT_EQ(ini.GetValue<int>("POST", "maxURLs", 0), 3);
}

TEST(RoomIniTest, OneAlarmUrlStillGetsAListToStandIn)
{
    RoomIni room;
    room.urls = {"http://a/"};
    room.alarm_urls = {"http://d/"};
    EXPECT_THAT(room_ini_text(room), HasSubstr("\nmaxURLs=2\n"));
}

TEST(RoomIniTest, SettingsGoToTheirKeys)
{
    RoomIni room;
    room.delay_ms = 200;
    room.timeout_s = 3;
    room.re_tbls = 8;
    room.encoding = "GBK";
    room.ca = "/etc/ca.pem";
    room.dept = "ROOM-77";
    const std::string text = room_ini_text(room);
    for (const char* line : {"\nDelay=200\n", "\nTimeout=3\n", "\nReTbls=8\n", "\nEncoding=GBK\n",
                             "\nCA=/etc/ca.pem\n", "\nDept=ROOM-77\n"})
    {
        EXPECT_THAT(text, HasSubstr(line));
    }
}
