// What docs/ says of settings and rules, held against the tables that the daemon goes by: who
// changes one changes the other.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "app/AppPost.h"
#include "app/AppQueues.h"
#include "app/AppRules.h"
#include "tests/app/Documents.h"

namespace
{

// --- docs/configuration.md -----------------------------------------------------------------------

class ConfigurationDocument : public ::testing::Test
{
protected:
    // The part of the document below a heading.
    std::string Below(const std::string& heading) const
    {
        const size_t at = text.find("## " + heading);
        return at == std::string::npos ? "" : text.substr(at, text.find("\n## ", at + 1) - at);
    }

    // "POST.Ext.<type>" for "`POST.Ext.`type", "<table>.flds" for "table`.flds`".
    static std::string Pattern(const std::string& cell)
    {
        std::string name = replaced(cell.substr(0, cell.find(" = ")), "`", "");
        name = replaced(name, "POST.Ext.type", "POST.Ext.<type>");
        return replaced(name, "table", "<table>");
    }

    const std::string text = document("docs/configuration.md");
};

TEST_F(ConfigurationDocument, NamesEverySettingOfPostWithItsDefault)
{
    std::map<std::string, std::string> defaults; // by key
    for (const Texts& row : table_rows(Below("Section `POST`")))
    {
        const Texts keys = quoted_words(row.at(0));
        const Texts values = quoted_words(row.at(1));
        for (size_t i = 0; i < keys.size(); ++i)
        {
            defaults[keys[i]] = i < values.size() ? values[i] : row.at(1);
        }
    }
    for (const Setting& row : all_settings())
    {
        const bool is_below = row.id == SettingId::kFmt0;
        if (is_of(row, "POST"))
        {
            EXPECT_EQ(defaults[shown_key(row)], is_below ? "below" : shown_default(row)) << row.key;
        }
    }
    EXPECT_TRUE(has(text, std::string("\n    ") + setting(SettingId::kFmt0).standard + "\n"));
}

TEST_F(ConfigurationDocument, NamesNoSettingOfPostThatThereIsNot)
{
    for (const Texts& row : table_rows(Below("Section `POST`")))
    {
        for (const std::string& key : quoted_words(row.at(0)))
        {
            EXPECT_NE(find_setting("POST", key), nullptr) << key;
        }
    }
}

TEST_F(ConfigurationDocument, TellsTheNumbersThatAreTakenInsteadOfOthers)
{
    for (const Texts& row : table_rows(Below("Section `POST`")))
    {
        for (const std::string& key : quoted_words(row.at(0)))
        {
            const Setting* setting = find_setting("POST", key);
            ASSERT_NE(setting, nullptr) << key;
            for (const SettingRange& range : setting->ranges)
            {
                EXPECT_TRUE(!range.is_taken || has_word(row.back(), std::to_string(range.taken)))
                    << key << " " << range.taken;
            }
        }
    }
}

TEST_F(ConfigurationDocument, NamesTheSettingsOfTheOtherSections)
{
    std::set<std::string> documented;
    for (const Texts& row : table_rows(Below("Which table is what")))
    {
        const std::string keys = row.at(1);
        for (const std::string& key : keys == "`Count`, `Start`" ? quoted_words(keys) : Texts{keys})
        {
            documented.insert(Pattern(row.at(0)) + " " + Pattern(key));
        }
    }
    std::set<std::string> known = {"section key"};
    for (const Setting& row : all_settings())
    {
        if (!is_of(row, "POST") && !is_of(row, kFieldSection) && row.id != SettingId::kExtColumn)
        {
            known.insert(std::string(row.section) + " " + row.key);
        }
    }
    EXPECT_EQ(documented, known);
}

TEST_F(ConfigurationDocument, TellsTheDefaultsOfTheOtherSections)
{
    const auto told = [&](SettingId id)
    {
        return setting(id).standard;
    };
    const std::string part = Below("Which table is what");
    EXPECT_TRUE(
        has(part, std::string("counted from 0; default ") + told(SettingId::kGeneralFirst)));
    EXPECT_TRUE(has(part, std::string("outputs (") + told(SettingId::kDoCount) + ")"));
    const std::string start = told(SettingId::kDoStart);
    EXPECT_TRUE(has(part, "first (" + start + ": `" + output_column(std::stoi(start)) + "`)"));
}

TEST_F(ConfigurationDocument, TellsTheRulesOfTables)
{
    EXPECT_TRUE(has(text, "begin with `" + std::string(kHiddenPrefix) + "`"));
    EXPECT_TRUE(has(text, "modes " + detail_mode_list() + " its"));
    EXPECT_TRUE(has(text, "the table's " + in_words(kLeadingColumns) + " leading ones"));
    EXPECT_TRUE(has(text, "stalls discovery for " + std::to_string(kDiscoveryStallS) + " seconds"));
    EXPECT_TRUE(has(text, std::to_string(CAppPost::kPostBufBytes) + " bytes of a body"));
    EXPECT_TRUE(has(text, "Below " + std::to_string(kFewestMaxUrls) + " both lists are empty"));
    EXPECT_TRUE(has(text, "unless " + in_words(static_cast<int>(kFewestInList)) +
                              " or more\nof the numbered ones") ||
                has(text, "unless " + in_words(static_cast<int>(kFewestInList)) +
                              " or more of the numbered ones"));
}

TEST_F(ConfigurationDocument, TellsTheKindsOfValues)
{
    const std::string bits = std::to_string(field_bits(2)) + ", " + std::to_string(field_bits(3)) +
                             " or " + std::to_string(field_bits(4));
    EXPECT_TRUE(has(text, "| 2, 3, 4 |")) << kLastFieldKind;
    EXPECT_TRUE(has(text, "the bits that are set, of " + bits));
    for (const int whole : {0x00, 0x0F, 0xF0, 0xFF})
    {
        const Texts suffixes = field_suffixes(2, whole);
        ASSERT_EQ(suffixes.size(), 1U);
        EXPECT_TRUE(has(text, "`" + suffixes[0] + "`")) << suffixes[0];
        EXPECT_TRUE(has_word(text, std::to_string(whole)));
    }
    EXPECT_EQ(kLastFieldKind, 4);
}

// --- docs/wire-format.md -------------------------------------------------------------------------

TEST(WireFormatDocument, TellsTheDetailModesOfNumbers)
{
    const std::string text = document("docs/wire-format.md");
    for (const DetailMode& mode : detail_modes())
    {
        std::string row = "| " + std::to_string(mode.mode) + " | ";
        for (const DetailPair& pair : mode.pairs)
        {
            row += pair.name != nullptr ? std::string("&") + pair.name + "`n`=.." : "";
        }
        if (mode.layout == DetailLayout::kNumbers)
        {
            row.insert(row.find('&'), "`");
            row += "`, integer";
        }
        EXPECT_TRUE(has(text, row)) << row;
    }
}

TEST(WireFormatDocument, TellsWhereGeneralTablesBegin)
{
    const std::string first = std::to_string(general_sid(0));
    EXPECT_TRUE(has(document("docs/wire-format.md"), "`sid` is " + first + " plus"));
    EXPECT_TRUE(has(document("examples/vkApp.ini"), "under a SID from " + first + " up"));
}

} // namespace
