// The rules that the daemon shares with its tools. That it goes by them is what the tests of its
// routines show.
#include "app/AppRules.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

using Texts = std::vector<std::string>;

class AppRules : public ::testing::Test
{
protected:
    void Set(const std::string& section, const std::string& key, const std::string& value)
    {
        ini.SetValue(section, key, value);
    }

    // The columns that are posted, counted from 0, as a text: "1 2 3".
    std::string Extension(int type, const std::string& table, int first, int columns)
    {
        std::string text;
        for (const ExtensionColumn& one : extension_columns(ini, type, table, first, columns))
        {
            text += (text.empty() ? "" : " ") + std::to_string(one.column) +
                    (one.is_posted ? "" : "!") + one.key;
        }
        return text;
    }

    // "key=url", as they come.
    static std::string Urls(const std::vector<ConfiguredUrl>& urls)
    {
        std::string text;
        for (const ConfiguredUrl& one : urls)
        {
            text += (text.empty() ? "" : " ") + one.key + "=" + one.url;
        }
        return text;
    }

    SimpleIni ini{""};
};

TEST_F(AppRules, ATableIsADeviceTableUnlessASectionNamesIt)
{
    Set("POST.Detail", "tbD", "1");
    Set("POST.General", "tbG", "60001");
    EXPECT_EQ(discovery_role(ini, "tbX"), DiscoveryRole::kDevice);
    EXPECT_EQ(discovery_role(ini, "tbD"), DiscoveryRole::kDetail);
    EXPECT_EQ(discovery_role(ini, "tbG"), DiscoveryRole::kGeneral);
    EXPECT_EQ(discovery_role(ini, "tbg"), DiscoveryRole::kDevice);
}

TEST_F(AppRules, ATableInBothSectionsIsADetailTable)
{
    Set("POST.Detail", "tbX", "1");
    Set("POST.General", "tbX", "1");
    EXPECT_EQ(discovery_role(ini, "tbX"), DiscoveryRole::kDetail);
}

TEST_F(AppRules, ANumberBelowOneNamesNoTable)
{
    Set("POST.Detail", "tbX", "0");
    Set("POST.General", "tbX", "-1");
    EXPECT_EQ(discovery_role(ini, "tbX"), DiscoveryRole::kDevice);
}

TEST_F(AppRules, TablesOfNamesAreHiddenInWhateverCapitals)
{
    Set("POST.General", "TBsmX", "1");
    EXPECT_EQ(discovery_role(ini, "tbSM"), DiscoveryRole::kHidden);
    EXPECT_EQ(discovery_role(ini, "TBsmX"), DiscoveryRole::kHidden);
    EXPECT_EQ(discovery_role(ini, "tbS"), DiscoveryRole::kDevice);
}

TEST_F(AppRules, GeneralTablesHaveSidsFrom900)
{
    EXPECT_EQ(general_sid(0), 900);
    EXPECT_EQ(general_sid(2), 902);
}

TEST_F(AppRules, ADevicesColumnsBeginBehindTheTwelveLeadingOnes)
{
    EXPECT_EQ(device_columns(ini, "tbX", 15).first, 12);
    EXPECT_EQ(device_columns(ini, "tbX", 15).end, 15);
}

TEST_F(AppRules, AConfiguredNumberOfColumnsEndsThem)
{
    Set("POST.Master", "tbX.flds", "2");
    EXPECT_EQ(device_columns(ini, "tbX", 15).end, 14);
    EXPECT_EQ(device_columns(ini, "tbX", 13).end, 13);
    Set("POST.Master", "tbX.flds", "-1");
    EXPECT_EQ(device_columns(ini, "tbX", 15).end, 0);
    Set("POST.Master", "tbX.flds", "2147483647");
    EXPECT_EQ(device_columns(ini, "tbX", 15).end, 15);
}

TEST_F(AppRules, AGeneralTablesFirstColumnIsTheSecondUnlessConfigured)
{
    EXPECT_EQ(general_columns(ini, "tbG", 5).first, 1);
    EXPECT_EQ(general_columns(ini, "tbG", 5).end, 5);
    Set("POST.General", "tbG.0", "-3");
    EXPECT_EQ(general_columns(ini, "tbG", 5).first, -3);
}

TEST_F(AppRules, AnExtensionHasItsNumberOfColumnsFromTheFirst)
{
    Set("POST.Ext.5", "tbE.flds", "5");
    EXPECT_EQ(Extension(5, "tbE", 2, 10), "1 2 3 4 5");
    EXPECT_EQ(Extension(5, "tbE", 2, 4), "1 2 3");
    EXPECT_EQ(Extension(5, "tbE", 2147483647, 4), "");
}

TEST_F(AppRules, AnExtensionWithoutANumberOfColumnsHasNone)
{
    EXPECT_EQ(Extension(5, "tbE", 2, 10), "");
    Set("POST.Ext.5", "tbE.flds", "-1");
    EXPECT_EQ(Extension(5, "tbE", 2, 10), "");
}

TEST_F(AppRules, AListOfColumnsIsTakenInTheOrderOfItsNames)
{
    Set("POST.Ext.5", "tbE.flds", "6");
    for (const char* const line : {"a=5", "b=1", "c=6", "d=0", "e=x"})
    {
        Set("5.tbE", std::string(1, line[0]), line + 2);
    }
    EXPECT_EQ(Extension(5, "tbE", 0, 10), "4a 0b 5!c -1!d -1!e");
    EXPECT_EQ(Extension(5, "tbE", -2, 10), "4!a 0b 5!c -1!d -1!e");
    EXPECT_EQ(Extension(5, "tbE", 0, 3), "4!a 0b 5!c -1!d -1!e");
}

TEST_F(AppRules, AKeyWithTheMarkOfANumberIsNoExtension)
{
    EXPECT_TRUE(is_extension_key("tbE"));
    EXPECT_FALSE(is_extension_key("tbE.flds"));
    EXPECT_FALSE(is_extension_key("tbE.fldsX"));
}

TEST_F(AppRules, OutputColumnsHaveTwoDigitsAtLeast)
{
    EXPECT_EQ(output_column(9), "D09");
    EXPECT_EQ(output_column(100), "D100");
    EXPECT_EQ(output_column(-1), "D-1");
    EXPECT_EQ(output_name(2), "DO2");
}

TEST_F(AppRules, TheDetailModesAreSeven)
{
    Texts modes;
    for (const DetailMode& mode : detail_modes())
    {
        modes.push_back(std::to_string(mode.mode));
    }
    EXPECT_EQ(modes, (Texts{"100", "101", "102", "103", "200", "201", "202"}));
    EXPECT_EQ(detail_mode_list(), "100 to 103 and 200 to 202");
    EXPECT_EQ(find_detail_mode(1), nullptr);
    EXPECT_EQ(find_detail_mode(104), nullptr);
}

TEST_F(AppRules, ADetailModeNamesTheColumnsThatItReads)
{
    const auto columns = [](int number)
    {
        const DetailMode* mode = find_detail_mode(number);
        return mode != nullptr ? detail_columns(*mode) : Texts();
    };
    EXPECT_EQ(columns(100), (Texts{"Addr", "State", "Vol", "Reg", "Tem"}));
    EXPECT_EQ(columns(101), (Texts{"Fld", "State", "V", "T"}));
    EXPECT_EQ(columns(102), (Texts{"Fld", "Vol", "Tem", "bSt"}));
    EXPECT_EQ(columns(103), (Texts{"Fld", "dat0"}));
    EXPECT_EQ(columns(200), (Texts{"ValStr", "Fld", "Val"}));
    EXPECT_EQ(columns(201), (Texts{"Val", "Fld"}));
    EXPECT_EQ(columns(202), (Texts{"Val", "Fld"}));
}

TEST_F(AppRules, KindsOneToFourAreMadeOfTexts)
{
    EXPECT_FALSE(is_text_kind(0));
    EXPECT_TRUE(is_text_kind(1));
    EXPECT_TRUE(is_text_kind(4));
    EXPECT_FALSE(is_text_kind(5));
    EXPECT_FALSE(is_text_kind(-1));
    EXPECT_EQ(field_bits(1), 0);
    EXPECT_EQ(field_bits(2), 8);
    EXPECT_EQ(field_bits(4), 24);
    EXPECT_EQ(field_bits(5), 0);
}

TEST_F(AppRules, AValueAsksForItsTexts)
{
    EXPECT_EQ(field_suffixes(1, -7), (Texts{"-7"}));
    EXPECT_EQ(field_suffixes(2, 0x0F), (Texts{"0F"}));
    EXPECT_EQ(field_suffixes(2, 0), (Texts{"00"}));
    EXPECT_EQ(field_suffixes(2, 0x105), (Texts{"0", "2"}));
    EXPECT_EQ(field_suffixes(3, 0x0F), (Texts{"0", "1", "2", "3"}));
    EXPECT_EQ(field_suffixes(4, INT_MIN), Texts());
    EXPECT_EQ(field_suffixes(0, 3), Texts());
}

TEST_F(AppRules, AValueBecomesItsTexts)
{
    Set("POST.xFld", "5.Run1", "running");
    Set("POST.xFld", "5.Runx", "unknown");
    Set("POST.xFld", "5.Alm2", "hot");
    EXPECT_EQ(field_key(5, "Run"), "5.Run");
    EXPECT_EQ(field_text(ini, "5.Run", 1, 1), "running");
    EXPECT_EQ(field_text(ini, "5.Run", 1, 7), "unknown");
    EXPECT_EQ(field_text(ini, "5.Alm", 2, 5), "hot");
    EXPECT_EQ(field_text(ini, "5.Alm", 2, 12), "hot ");
    EXPECT_EQ(field_text(ini, "5.Alm", 1, 3), "");
}

TEST_F(AppRules, AStateWithoutATextOfItsOwnHasThatOfState0)
{
    EXPECT_EQ(state_setting(1), SettingId::kState1);
    EXPECT_EQ(state_setting(3), SettingId::kState3);
    EXPECT_EQ(state_setting(0), SettingId::kState0);
    EXPECT_EQ(state_setting(4), SettingId::kState0);
    EXPECT_EQ(state_setting(-1), SettingId::kState0);
}

TEST_F(AppRules, AnAlarmIsClearedByABit)
{
    EXPECT_TRUE(is_alarm_cleared(4));
    EXPECT_TRUE(is_alarm_cleared(-1));
    EXPECT_FALSE(is_alarm_cleared(3));
    EXPECT_EQ(alarm_state(true), 3);
    EXPECT_EQ(alarm_state(false), 1);
    EXPECT_EQ(alarm_class(0x12345), 0x23);
}

TEST_F(AppRules, AListHoldsTheKeysBelowMaxUrls)
{
    Set("POST", "maxURLs", "3");
    Set("POST", "Url", "u0");
    Set("POST", "Url2", "u2");
    Set("POST", "Url3", "u3");
    EXPECT_EQ(Urls(listed_keys(ini, UrlList::kData)), "Url=u0 Url1= Url2=u2");
    EXPECT_EQ(Urls(listed_keys(ini, UrlList::kAlarm)), "AlmUrl= AlmUrl1= AlmUrl2=");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kData)), "Url=u0 Url2=u2");
}

TEST_F(AppRules, WithOneUrlAtMostThereIsNoList)
{
    Set("POST", "Url", "u0");
    Set("POST", "Url1", "u1");
    Set("POST", "AlmUrl", "a0");
    EXPECT_EQ(Urls(listed_keys(ini, UrlList::kData)), "");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kData)), "Url=u0");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kAlarm)), "");
}

TEST_F(AppRules, OneNumberedUrlAloneIsNotPostedTo)
{
    Set("POST", "maxURLs", "3");
    Set("POST", "Url1", "u1");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kData)), "");
    Set("POST", "Url2", "u2");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kData)), "Url1=u1 Url2=u2");
}

TEST_F(AppRules, WithoutAlmUrlNoAlarmIsPosted)
{
    Set("POST", "maxURLs", "2");
    Set("POST", "AlmUrl1", "a1");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kAlarm)), "");
    Set("POST", "AlmUrl", "a0");
    EXPECT_EQ(Urls(posted_urls(ini, UrlList::kAlarm)), "AlmUrl=a0 AlmUrl1=a1");
}

TEST_F(AppRules, AThousandUrlsAreTheMost)
{
    Set("POST", "maxURLs", "1001");
    EXPECT_EQ(listed_keys(ini, UrlList::kData).back().key, "Url999");
}

TEST_F(AppRules, TablesThatCannotBeReadCostTheirTries)
{
    EXPECT_EQ(kDiscoveryStallS, 100);
    EXPECT_EQ(kDetailStallS, 15);
}

} // namespace
