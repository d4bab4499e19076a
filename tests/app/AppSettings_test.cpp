// The table of settings: what it says of names, defaults and ranges, and that the daemon loads by
// it.
#include "app/AppSettings.h"

#include <gtest/gtest.h>

#include <climits>

#include "app/AppPost.h"

namespace
{

using Id = SettingId;

// The id of the row that reads a key; kCount for none.
Id reader(const std::string& section, const std::string& key)
{
    const Setting* row = find_setting(section, key);
    return row != nullptr ? row->id : Id::kCount;
}

TEST(AppSettings, EveryRowHasItsNameItsDefaultAndAWordAboutIt)
{
    for (const Setting& row : all_settings())
    {
        EXPECT_STRNE(row.section, "");
        EXPECT_STRNE(row.key, "");
        EXPECT_NE(row.standard, nullptr) << row.key;
        EXPECT_STRNE(row.does, "") << row.key;
    }
}

TEST(AppSettings, EverySettingOfThePosterIsKeptOrNumbered)
{
    for (const Setting& row : all_settings())
    {
        const bool is_kept = row.text != nullptr || row.number != nullptr || row.shared != nullptr;
        const bool is_numbered = row.id == Id::kUrlN || row.id == Id::kAlmUrlN;
        EXPECT_EQ(is_kept || is_numbered, std::string(row.section) == "POST") << row.key;
    }
}

TEST(AppSettings, NoDefaultIsOutOfItsRange)
{
    for (const Setting& row : all_settings())
    {
        EXPECT_EQ(setting_range(row.id, standard_number(row.id)), nullptr) << row.key;
    }
}

TEST(AppSettings, APlaceIsFilledIn)
{
    EXPECT_EQ(setting_place(Id::kDelay).section, "POST");
    EXPECT_EQ(setting_place(Id::kDelay).key, "Delay");
    EXPECT_EQ(setting_place(Id::kUrlN, "7").key, "Url7");
    EXPECT_EQ(setting_place(Id::kExtFlds, "tbExtUps", 257).section, "POST.Ext.257");
    EXPECT_EQ(setting_place(Id::kExtFlds, "tbExtUps", 257).key, "tbExtUps.flds");
    EXPECT_EQ(setting_place(Id::kFieldKind, "Run", 257).key, "257.Run");
}

TEST(AppSettings, ANameWithAngleBracketsIsTakenAsItIs)
{
    EXPECT_EQ(setting_place(Id::kMasterFlds, "tb<type>").key, "tb<type>.flds");
}

TEST(AppSettings, AValueIsTheFilesOrTheDefault)
{
    SimpleIni ini("");
    EXPECT_EQ(setting_number(ini, Id::kDoCount), 3);
    EXPECT_EQ(setting_text(ini, Id::kDept), "xxx");
    ini.SetValue("POST.DO", "Count", "12 of them");
    ini.SetValue("POST", "Dept", "");
    EXPECT_EQ(setting_number(ini, Id::kDoCount), 12);
    EXPECT_EQ(setting_text(ini, Id::kDept), "");
}

TEST(AppSettings, ANumberThatIsNoneIsZeroAndNotTheDefault)
{
    SimpleIni ini("");
    ini.SetValue("POST.DO", "Start", "D09");
    EXPECT_EQ(setting_number(ini, Id::kDoStart), 0);
}

TEST(AppSettings, ATimeLimitThatLibcurlWouldRefuseIsReplaced)
{
    EXPECT_EQ(taken_number(Id::kTimeout, INT_MIN), 15);
    EXPECT_EQ(taken_number(Id::kTimeout, -1), 15);
    EXPECT_EQ(taken_number(Id::kTimeout, 0), 0);
    EXPECT_EQ(taken_number(Id::kTimeout, 2147483), 2147483);
    EXPECT_EQ(taken_number(Id::kTimeout, 2147484), 2147483);
}

TEST(AppSettings, ARangeSaysWhatComesOfIt)
{
    const SettingRange* range = setting_range(Id::kTimeout, -1);
    ASSERT_NE(range, nullptr);
    EXPECT_EQ(range_effect(*range), "15 is taken instead; write seconds from 1 up");
    range = setting_range(Id::kDelay, 0);
    ASSERT_NE(range, nullptr);
    EXPECT_EQ(range_effect(*range),
              "one sweep follows the other without a pause; write milliseconds, such as 5000");
}

TEST(AppSettings, AnOrdinaryNumberHasNoRange)
{
    EXPECT_EQ(setting_range(Id::kTimeout, 1), nullptr);
    EXPECT_EQ(setting_range(Id::kMaxUrls, 1000), nullptr);
    EXPECT_EQ(setting_range(Id::kDoStart, -1), nullptr);
}

TEST(AppSettings, APatternTakesWhatStandsForIt)
{
    EXPECT_TRUE(fits_pattern("Url<n>", "Url12"));
    EXPECT_TRUE(fits_pattern("POST.Ext.<type>", "POST.Ext.-1"));
    EXPECT_TRUE(fits_pattern("<type>.<table>", "257.tb.Ext"));
    EXPECT_TRUE(fits_pattern("<table>.flds", "tbA.flds.flds"));
}

TEST(AppSettings, APatternTakesNumbersOnlyAsTheDaemonSpellsThem)
{
    for (const char* name : {"Url", "Url0", "Url01", "Url+1", "Url-1", "Url1 ", "url1", "Url1x"})
    {
        EXPECT_FALSE(fits_pattern("Url<n>", name)) << name;
    }
    EXPECT_FALSE(fits_pattern("POST.Ext.<type>", "POST.Ext.0257"));
    EXPECT_FALSE(fits_pattern("POST.Ext.<type>", "POST.Ext.4294967297"));
    EXPECT_FALSE(fits_pattern("<table>.flds", ".flds"));
}

TEST(AppSettings, AKeyIsReadByItsRow)
{
    EXPECT_EQ(reader("POST", "Timeout"), Id::kTimeout);
    EXPECT_EQ(reader("POST", "AlmUrl3"), Id::kAlmUrlN);
    EXPECT_EQ(reader("POST.General", "tbG.0"), Id::kGeneralFirst);
    EXPECT_EQ(reader("POST.General", "tbG.Name"), Id::kGeneralName);
    EXPECT_EQ(reader("POST.General", "tbG"), Id::kGeneralType);
    EXPECT_EQ(reader("POST.Ext.257", "tbE.flds"), Id::kExtFlds);
    EXPECT_EQ(reader("257.tbE", "any"), Id::kExtColumn);
}

TEST(AppSettings, AKeyThatNothingReadsHasNoRow)
{
    EXPECT_EQ(reader("POST", "timeout"), Id::kCount);
    EXPECT_EQ(reader("POST", "State4"), Id::kCount);
    EXPECT_EQ(reader("Post", "Timeout"), Id::kCount);
    EXPECT_EQ(reader("", "Timeout"), Id::kCount);
    EXPECT_EQ(reader("POST.DO", "Delay"), Id::kCount);
}

} // namespace
