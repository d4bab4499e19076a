// What a host gets of the settings, its man pages and the example, held against the tables that the
// daemon goes by.
#include <gtest/gtest.h>

#include "app/AppQueues.h"
#include "app/AppRules.h"
#include "tests/app/Documents.h"

namespace
{

// --- packaging/man/vkApp.ini.5 -------------------------------------------------------------------

// A line ".BR a \" b\"" as it is read: "a b".
std::string without_fonts(const std::string& line)
{
    std::string text;
    bool is_quoted = false;
    for (const char c : line.substr(line.find(' ') + 1))
    {
        is_quoted = c == '"' ? !is_quoted : is_quoted;
        text += c == '"' || (c == ' ' && !is_quoted) ? "" : std::string(1, c);
    }
    return text;
}

// "\[u52A8]" as the character that it is, of three bytes of UTF-8.
std::string without_escapes(std::string text)
{
    for (size_t at = text.find("\\[u"); at != std::string::npos; at = text.find("\\[u"))
    {
        const unsigned long code = std::stoul(text.substr(at + 3, 4), nullptr, 16);
        const std::string character = {static_cast<char>(0xE0 | code >> 12),
                                       static_cast<char>(0x80 | (code >> 6 & 0x3F)),
                                       static_cast<char>(0x80 | (code & 0x3F))};
        text.replace(at, 8, character);
    }
    return text;
}

class ManPage : public ::testing::Test
{
protected:
    // The headings of its paragraphs, as they are read.
    Texts Headings() const
    {
        Texts headings;
        for (const std::string& line : lines_of(text))
        {
            if (line.compare(0, 4, ".BR ") == 0 || line.compare(0, 3, ".B ") == 0)
            {
                headings.push_back(without_escapes(without_fonts(line)));
            }
        }
        return headings;
    }

    // The heading that names a key; empty when there is none.
    std::string HeadingOf(const std::string& key) const
    {
        const Texts headings = Headings();
        const auto found =
            std::find_if(headings.begin(), headings.end(),
                         [&](const std::string& one)
                         { return has_word(one.substr(0, one.find("default")), key); });
        return found != headings.end() ? *found : "";
    }

    const std::string text = document("packaging/man/vkApp.ini.5");
};

TEST_F(ManPage, NamesEverySettingOfPostWithItsDefault)
{
    for (const Setting& row : all_settings())
    {
        if (is_of(row, "POST"))
        {
            const std::string heading = HeadingOf(shown_key(row));
            const size_t at = std::min(heading.find("default "), heading.size());
            EXPECT_NE(heading, "") << row.key;
            EXPECT_TRUE(row.id == SettingId::kFmt0 ||
                        has_word(heading.substr(at), shown_default(row)))
                << row.key << ": " << heading;
        }
    }
    EXPECT_TRUE(has(text, std::string("\n") + setting(SettingId::kFmt0).standard + "\n"));
}

TEST_F(ManPage, NamesNoSettingOfPostThatThereIsNot)
{
    const size_t begin = text.find(".SH SECTION POST\n");
    ASSERT_NE(begin, std::string::npos);
    const Texts lines = lines_of(text.substr(begin, text.find("\n.SH", begin + 1) - begin));
    for (size_t i = 0; i + 1 < lines.size(); ++i)
    {
        if (lines[i] == ".TP")
        {
            const std::string heading = without_fonts(lines[i + 1]);
            const std::string key = heading.substr(0, heading.find_first_of(", "));
            EXPECT_NE(find_setting("POST", key), nullptr) << key;
        }
    }
}

TEST_F(ManPage, TellsTheNumbersThatAreTakenInsteadOfOthers)
{
    for (const Setting& row : all_settings())
    {
        for (const SettingRange& range : row.ranges)
        {
            EXPECT_TRUE(!range.is_taken || has_word(text, std::to_string(range.taken)))
                << row.key << " " << range.taken;
        }
    }
}

TEST_F(ManPage, TellsTheRulesOfTables)
{
    EXPECT_TRUE(has(text, "modes " + detail_mode_list() + " its"));
    EXPECT_TRUE(has(text, std::string("counted from 0, default ") +
                              setting(SettingId::kGeneralFirst).standard));
    EXPECT_TRUE(
        has(text, std::string("outputs, default ") + setting(SettingId::kDoCount).standard));
    const std::string start = setting(SettingId::kDoStart).standard;
    EXPECT_TRUE(has(text, "default " + start + " for " + output_column(std::stoi(start))));
}

TEST(DaemonManPage, TellsTheQueues)
{
    const std::string text = document("packaging/man/vkAppPost.8");
    char keys[2][8];
    std::snprintf(keys[0], sizeof(keys[0]), "0x%X", static_cast<unsigned>(kRequestQueueKey));
    std::snprintf(keys[1], sizeof(keys[1]), "0x%X", static_cast<unsigned>(kTrayQueueKey));
    EXPECT_TRUE(has(text, std::string(".B ") + keys[0] + "\nRequests. A message of type " +
                              std::to_string(kRequestMessageType)));
    EXPECT_TRUE(has(text, std::string(".B ") + keys[1] +
                              "\nReports to the tray process, "
                              "messages of type " +
                              std::to_string(kTrayMessageType)));
    EXPECT_TRUE(has(document("docs/operation.md"),
                    std::string(keys[1]) + " is the tray's, " + keys[0] + " the requests'"));
}

// --- examples/vkApp.ini --------------------------------------------------------------------------

class ExampleConfiguration : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(ini.Load(std::string(VK_SOURCE_DIR) + "/examples/vkApp.ini"));
    }

    // The remark above a key, from "Default" on: several keys may share one.
    std::string RemarkOn(const std::string& section, const std::string& key) const
    {
        const Texts lines = lines_of(document("examples/vkApp.ini"));
        std::string remark;
        bool was_key = false;
        for (int i = 0; i < ini.GetLine(section, key) - 1; ++i)
        {
            const std::string& line = lines.at(static_cast<size_t>(i));
            const bool is_remark = line.compare(0, 1, ";") == 0;
            remark = is_remark && was_key ? "" : remark;
            remark += is_remark ? line.substr(1) + "\n" : "";
            was_key = !is_remark && !line.empty() && line[0] != '[';
        }
        const size_t at = remark.rfind("efault");
        return at == std::string::npos ? "" : remark.substr(at);
    }

    SimpleIni ini{""};
};

TEST_F(ExampleConfiguration, HoldsEverySettingOfPostAndOfTheOutputs)
{
    for (const Setting& row : all_settings())
    {
        EXPECT_TRUE((!is_of(row, "POST") && !is_of(row, "POST.DO")) ||
                    ini.GetLine(row.section, shown_key(row)) > 0)
            << row.key;
    }
}

TEST_F(ExampleConfiguration, HoldsNoKeyThatNothingReads)
{
    for (auto section = ini.beginSection(); section != ini.endSection(); ++section)
    {
        for (auto key = ini.beginKey(*section); key != ini.endKey(*section); ++key)
        {
            EXPECT_NE(find_setting(*section, *key), nullptr) << *section << " " << *key;
        }
    }
}

TEST_F(ExampleConfiguration, TellsEveryDefault)
{
    for (const Setting& row : all_settings())
    {
        const std::string key = shown_key(row);
        if ((is_of(row, "POST") || is_of(row, "POST.DO")) && row.id != SettingId::kFmt0)
        {
            const std::string remark = RemarkOn(row.section, key);
            EXPECT_TRUE(has_word(remark, shown_default(row))) << key << ": " << remark;
        }
    }
    EXPECT_TRUE(has(RemarkOn("POST", "Fmt0"), "as here"));
    EXPECT_EQ(ini.GetValue("POST", "Fmt0", ""), setting(SettingId::kFmt0).standard);
    EXPECT_TRUE(has_word(RemarkOn("POST.General", "tbGenEnergy.0"),
                         setting(SettingId::kGeneralFirst).standard));
}

TEST_F(ExampleConfiguration, TellsTheNumbersThatAreTakenInsteadOfOthers)
{
    const std::string text = document("examples/vkApp.ini");
    for (const Setting& row : all_settings())
    {
        for (const SettingRange& range : row.ranges)
        {
            EXPECT_TRUE(!range.is_taken || has_word(text, std::to_string(range.taken)))
                << row.key << " " << range.taken;
        }
    }
}

TEST_F(ExampleConfiguration, TellsTheDetailModes)
{
    const std::string text = document("examples/vkApp.ini");
    for (const DetailMode& mode : detail_modes())
    {
        EXPECT_TRUE(has(text, "  " + std::to_string(mode.mode) + "  ")) << mode.mode;
    }
}

} // namespace
