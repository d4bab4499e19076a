#include <gmock/gmock.h>

#include <fstream>

#include "vkctl/base/CliError.h"
#include "vkctl/receive/ReceiveBody.h"

using namespace vkctl;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{

// A body with the usual head and what follows it.
std::string body(const std::string& sid, const std::string& rest, const std::string& subsys = "1")
{
    return "suid=xxx&sid=" + sid + "&stype=257&stag1=" + (subsys == "0" ? "0" : "2") +
           "&sname=UPS主机1#&subsys=" + subsys + "&dtupd=2024-05-01 08:00:00&state=正常" + rest;
}

BodyKind kind_of(const std::string& text)
{
    return classify(parse_body(text));
}

// One of examples/bodies/bodies.txt.
struct BodyExample
{
    std::string name;
    std::string body;
    std::string meant; // the kind, then the pairs, one a line
};

std::vector<BodyExample> read_examples()
{
    std::vector<BodyExample> examples;
    std::ifstream in(VK_EXAMPLES "/bodies/bodies.txt");
    for (std::string line; std::getline(in, line);)
    {
        const std::string key = line.substr(0, line.find(": "));
        const std::string value = line.size() > key.size() ? line.substr(key.size() + 2) : "";
        if (key == "name")
        {
            examples.push_back({value, "", ""});
        }
        else if (key == "body")
        {
            examples.back().body = value;
        }
        else if (key == "kind" || key == "pair")
        {
            examples.back().meant += value + "\n";
        }
    }
    return examples;
}

} // namespace

TEST(ParseBodyTest, PairsComeInTheirOrder)
{
    EXPECT_THAT(parse_body("b=2&a=1&b=3"),
                ElementsAre(Pair("b", "2"), Pair("a", "1"), Pair("b", "3")));
}

TEST(ParseBodyTest, AValueKeepsBlanksEqualsSignsAndPercents)
{
    EXPECT_THAT(parse_body("a= x = y &b=%41+1"),
                ElementsAre(Pair("a", " x = y "), Pair("b", "%41+1")));
}

TEST(ParseBodyTest, AnAmpersandWithoutANameBehindItBelongsToTheValue)
{
    EXPECT_THAT(parse_body("a=R&D&b=1"), ElementsAre(Pair("a", "R&D"), Pair("b", "1")));
    EXPECT_THAT(parse_body("a=1&&b=2"), ElementsAre(Pair("a", "1&"), Pair("b", "2")));
}

TEST(ParseBodyTest, EmptyAndBareBodiesAreTaken)
{
    EXPECT_THAT(parse_body(""), IsEmpty());
    EXPECT_THAT(parse_body("hello"), ElementsAre(Pair("hello", "")));
    EXPECT_THAT(parse_body("info="), ElementsAre(Pair("info", "")));
}

TEST(FindValueTest, TheFirstOfARepeatedNameIsFound)
{
    const auto pairs = parse_body("a=1&a=2");
    ASSERT_NE(find_value(pairs, "a"), nullptr);
    EXPECT_EQ(*find_value(pairs, "a"), "1");
    EXPECT_EQ(find_value(pairs, "b"), nullptr);
}

TEST(ClassifyTest, DevicesAreWhatHasASidAndNothingSpecial)
{
    EXPECT_EQ(kind_of(body("1001", "&Uin=221.0")), BodyKind::kDevice);
    EXPECT_EQ(kind_of(body("1001", "")), BodyKind::kDevice);
}

TEST(ClassifyTest, ADeviceMayHaveColumnsNamedAsInOtherKinds)
{
    EXPECT_EQ(kind_of(body("1001", "&Tem=1&info=x")), BodyKind::kDevice);
    EXPECT_EQ(kind_of(body("1001", "&level=2&psid=4&cpu1=5")), BodyKind::kDevice);
}

TEST(ClassifyTest, ADeviceMayHaveASidOfTheGeneralRange)
{
    EXPECT_EQ(kind_of(body("905", "&Tem=1")), BodyKind::kDevice);
}

TEST(ClassifyTest, GeneralRowsHaveASidFromNineHundredAndNoSubsystem)
{
    EXPECT_EQ(kind_of(body("900", "&Item=PUE", "0")), BodyKind::kGeneral);
    EXPECT_EQ(kind_of(body("1000", "&Item=PUE", "0")), BodyKind::kDevice);
}

TEST(ClassifyTest, InputsNameTheirDeviceAndField)
{
    EXPECT_EQ(kind_of(body("101", "&psid=1&pfld=0")), BodyKind::kInput);
}

TEST(ClassifyTest, OutputsHaveTheirState)
{
    EXPECT_EQ(kind_of(body("1", "&DoState=0", "0")), BodyKind::kOutput);
}

TEST(ClassifyTest, CamerasHaveNothingButInfoBehindTheHead)
{
    EXPECT_EQ(kind_of(body("501", "&info=192.168.1.20,8000")), BodyKind::kCamera);
    EXPECT_EQ(kind_of(body("501", "&info=")), BodyKind::kCamera);
    EXPECT_EQ(kind_of(body("501", "&info=rtsp://a/?x=1&y=2")), BodyKind::kCamera);
    EXPECT_EQ(kind_of("id=501&info=x"), BodyKind::kCamera);
}

TEST(ClassifyTest, TheHostTellsLoadAndMemory)
{
    EXPECT_EQ(kind_of(body("0", "&cpu1=157&cpu5=1&cpu15=5&memtotal=1&memfree=1", "0")),
              BodyKind::kHost);
}

TEST(ClassifyTest, AlarmsHaveLevelTitleAndRecovery)
{
    EXPECT_EQ(kind_of(body("1001", "&level=严重&title=市电异常&suggestion= 声光&location=&datainfo="
                                   "&recovertime=&AlmImg=")),
              BodyKind::kAlarm);
}

TEST(ClassifyTest, WhatHasNoSidIsOther)
{
    EXPECT_EQ(kind_of(""), BodyKind::kOther);
    EXPECT_EQ(kind_of("hello=1"), BodyKind::kOther);
}

TEST(ClassifyTest, TheExamplesAreReadAsTheyAreMeant)
{
    const std::vector<BodyExample> examples = read_examples();
    EXPECT_GE(examples.size(), 20U);
    for (const BodyExample& example : examples)
    {
        const auto pairs = parse_body(example.body);
        std::string read = std::string(kind_name(classify(pairs))) + "\n";
        for (const Field& pair : pairs)
        {
            read += pair.first + "=" + pair.second + "\n";
        }
        EXPECT_EQ(read, example.meant) << example.name;
    }
}

TEST(ToUtf8Test, GbkBecomesUtf8)
{
    EXPECT_EQ(to_utf8("\xB8\xE6\xBE\xAF=1", "GBK"), "告警=1");
}

TEST(ToUtf8Test, WhatIsNoCharacterIsReplaced)
{
    EXPECT_EQ(to_utf8("a\xFFz", "UTF-8"), "a\uFFFDz");
    EXPECT_EQ(to_utf8("\xE5\x91", "UTF-8"), "\uFFFD\uFFFD");
}

TEST(ToUtf8Test, LongTextsAreWhole)
{
    std::string text;
    for (int i = 0; i < 10000; ++i)
    {
        text += "空调";
    }
    EXPECT_EQ(to_utf8(text, "UTF-8"), text);
}

TEST(ToUtf8Test, AnUnknownEncodingIsRefused)
{
    EXPECT_THROW(to_utf8("", "NO-SUCH"), CCliError);
    EXPECT_THROW(to_utf8("", "GBK//IGNORE"), CCliError);
}
