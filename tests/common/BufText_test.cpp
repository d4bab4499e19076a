// Hexadecimal text: digits, values, and byte buffers as text and back.
#include "common/BufHelper.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;

constexpr unsigned char kUntouched = 0xEE;

// What BufFromStr writes; what it leaves alone is cut off.
std::vector<unsigned char> bytes_of(const char* text, int n)
{
    std::vector<unsigned char> out(32, kUntouched);
    const int written = CBufHelper::BufFromStr(out.data(), text, n);
    EXPECT_EQ(out.at(static_cast<size_t>(written)), kUntouched);
    out.resize(static_cast<size_t>(written));
    return out;
}

// AsciiStr2HexStr into a zeroed buffer: the groups.
std::vector<unsigned char> groups_of(const std::string& text)
{
    std::vector<unsigned char> out(text.size() + 2, 0);
    const int groups =
        CBufHelper::AsciiStr2HexStr(out.data(), text.data(), static_cast<int>(text.size()));
    out.resize(static_cast<size_t>(groups));
    return out;
}

struct Digits
{
    int count;
    std::string text; // with everything up to and including the NUL
};

Digits digits_of(std::vector<unsigned char> bytes, int separator)
{
    std::string out(3 * bytes.size() + 2, '?');
    const int n = static_cast<int>(bytes.size());
    bytes.push_back(0); // never a null pointer
    const int count = CBufHelper::HexStr2AsciiStr(out.data(), bytes.data(), n, separator);
    return {count, out.substr(0, out.find('\0'))};
}

std::string text_of(const std::vector<unsigned char>& bytes, char separator)
{
    return CBufHelper::BufToStr(bytes.data(), static_cast<int>(bytes.size()), separator);
}

TEST(Ascii2Hex, EveryDigitOfEitherCaseHasItsValue)
{
    const std::string upper = "0123456789ABCDEF";
    const std::string lower = "0123456789abcdef";
    for (size_t i = 0; i < 16; ++i)
    {
        EXPECT_EQ(CBufHelper::ascii2hex(upper[i]), i);
        EXPECT_EQ(CBufHelper::ascii2hex(lower[i]), i);
    }
}

TEST(Ascii2Hex, EveryOtherCharacterIsZero)
{
    const std::string digits = "123456789ABCDEFabcdef";
    for (int c = -128; c < 128; ++c)
    {
        if (digits.find(static_cast<char>(c)) == std::string::npos)
        {
            EXPECT_EQ(CBufHelper::ascii2hex(static_cast<char>(c)), 0) << c;
        }
    }
}

TEST(Hex2Ascii, EachHalfOfAByteIsOneUpperCaseDigit)
{
    const std::string digits = "0123456789ABCDEF";
    for (unsigned int b = 0; b < 256; ++b)
    {
        const auto byte = static_cast<unsigned char>(b);
        EXPECT_EQ(CBufHelper::hex2asciiHigh(byte), digits[b / 16]);
        EXPECT_EQ(CBufHelper::hex2asciiLow(byte), digits[b % 16]);
    }
}

TEST(HexVal, ReadsTheDigitsHighestFirst)
{
    EXPECT_EQ(CBufHelper::HexVal("12aB", 4), 0x12ABU);
    EXPECT_EQ(CBufHelper::HexVal("FFFFFFFF", 8), 0xFFFFFFFFU);
}

TEST(HexVal, ReadsNoMoreThanToldTo)
{
    EXPECT_EQ(CBufHelper::HexVal("1234", 2), 0x12U);
    EXPECT_EQ(CBufHelper::HexVal("1234", 0), 0U);
    EXPECT_EQ(CBufHelper::HexVal("1234", -1), 0U);
}

TEST(HexVal, StopsAtTheEndOfTheText)
{
    EXPECT_EQ(CBufHelper::HexVal("A", 4), 0xAU);
    EXPECT_EQ(CBufHelper::HexVal("", 4), 0U);
}

TEST(HexVal, CharacterThatIsNoDigitCountsAsZero)
{
    EXPECT_EQ(CBufHelper::HexVal("1G", 2), 0x10U);
    EXPECT_EQ(CBufHelper::HexVal("G1", 2), 0x01U);
    EXPECT_EQ(CBufHelper::HexVal(" 1 2", 4), 0x0102U);
}

TEST(HexVal, KeepsTheLastEightDigits)
{
    EXPECT_EQ(CBufHelper::HexVal("123456789", 9), 0x23456789U);
}

TEST(HexValF, ReadsTheLowestAddressedByteFirst)
{
    EXPECT_EQ(CBufHelper::HexValF("0000803F"), 1.0F);
    EXPECT_EQ(CBufHelper::HexValF("00005C43"), 220.0F);
    EXPECT_EQ(CBufHelper::HexValF("0000c8c2"), -100.0F);
}

TEST(HexValF, ReadsEightDigitsAndNoMore)
{
    EXPECT_EQ(CBufHelper::HexValF("0000803F5"), 1.0F);
}

TEST(BufFromStr, TwoCharactersAreAByte)
{
    EXPECT_THAT(bytes_of("01abFF", 6), ElementsAre(0x01, 0xAB, 0xFF));
}

TEST(BufFromStr, LengthZeroMeansTheWholeText)
{
    EXPECT_THAT(bytes_of("01AB", 0), ElementsAre(0x01, 0xAB));
    EXPECT_THAT(bytes_of("", 0), ElementsAre());
}

TEST(BufFromStr, OddLengthEndsWithAByteOfOneDigit)
{
    EXPECT_THAT(bytes_of("01A", 0), ElementsAre(0x01, 0x0A));
    EXPECT_THAT(bytes_of("01A", 3), ElementsAre(0x01, 0x0A));
    EXPECT_THAT(bytes_of("01AB", 3), ElementsAre(0x01, 0x0A));
}

TEST(BufFromStr, TakesNoMoreThanToldTo)
{
    EXPECT_THAT(bytes_of("01AB", 2), ElementsAre(0x01));
    EXPECT_THAT(bytes_of("01AB", -1), ElementsAre());
}

TEST(BufFromStr, EndOfTextAmongTheCharactersEndsOnlyItsPair)
{
    EXPECT_THAT(bytes_of("01\0\0AB", 6), ElementsAre(0x01, 0x00, 0xAB));
    EXPECT_THAT(bytes_of("1\0AB", 4), ElementsAre(0x01, 0xAB));
}

TEST(BufFromStr, KnowsNoSeparators)
{
    EXPECT_THAT(bytes_of("01 AB", 0), ElementsAre(0x01, 0x0A, 0x0B));
}

TEST(BufFromStr, NullTextWritesNothing)
{
    EXPECT_THAT(bytes_of(nullptr, 4), ElementsAre());
}

TEST(BufToStr, WritesTheLowDigitFirst)
{
    EXPECT_EQ(text_of({0x1A}, '\0'), "A1");
    EXPECT_EQ(text_of({0x01, 0xAB}, '\0'), "10BA");
}

TEST(BufToStr, SeparatorStandsBetweenTwoBytesOnly)
{
    EXPECT_EQ(text_of({0x01, 0xAB}, ':'), "10:BA");
    EXPECT_EQ(text_of({0x01, 0xAB, 0xCD}, ' '), "10 BA DC");
    EXPECT_EQ(text_of({0x01}, ':'), "10");
}

TEST(BufToStr, NoBytesAreTheEmptyText)
{
    const unsigned char byte = 0x01;
    EXPECT_EQ(CBufHelper::BufToStr(&byte, 0, '\0'), "");
    EXPECT_EQ(CBufHelper::BufToStr(&byte, 0, ':'), "");
    EXPECT_EQ(CBufHelper::BufToStr(&byte, -1, ':'), "");
}

TEST(AsciiStr2HexStr, BlanksDivideTheGroups)
{
    EXPECT_THAT(groups_of("01 AB"), ElementsAre(0x01, 0xAB));
    EXPECT_THAT(groups_of("1 aB ff"), ElementsAre(0x01, 0xAB, 0xFF));
}

TEST(AsciiStr2HexStr, NoTextIsOneGroupOfZero)
{
    EXPECT_THAT(groups_of(""), ElementsAre(0x00));
}

TEST(AsciiStr2HexStr, EveryBlankBeginsAGroup)
{
    EXPECT_THAT(groups_of(" 1  2 "), ElementsAre(0x00, 0x01, 0x00, 0x02, 0x00));
}

TEST(AsciiStr2HexStr, LongGroupKeepsItsLastTwoDigits)
{
    EXPECT_THAT(groups_of("123"), ElementsAre(0x23));
}

TEST(AsciiStr2HexStr, CharacterThatIsNoDigitCountsAsZero)
{
    EXPECT_THAT(groups_of("1G G1"), ElementsAre(0x10, 0x01));
}

TEST(AsciiStr2HexStr, OldLowDigitBecomesTheHighDigitOfAShortGroup)
{
    unsigned char out[] = {0x5C, 0x00, kUntouched};
    EXPECT_EQ(CBufHelper::AsciiStr2HexStr(out, "1", 1), 1);
    EXPECT_THAT(out, ElementsAre(0xC1, 0x00, kUntouched));
}

TEST(AsciiStr2HexStr, BlankMovesOnAndShiftsNothing)
{
    unsigned char out[] = {0x00, 0x0A, 0x00, kUntouched};
    EXPECT_EQ(CBufHelper::AsciiStr2HexStr(out, "12 3", 4), 2);
    EXPECT_THAT(out, ElementsAre(0x12, 0xA3, 0x00, kUntouched));
}

TEST(AsciiStr2HexStr, WritesAZeroBehindTheLastGroupAndNothingElse)
{
    unsigned char out[] = {0x00, 0x00, 0x77, kUntouched};
    EXPECT_EQ(CBufHelper::AsciiStr2HexStr(out, "01 AB", 5), 2);
    EXPECT_THAT(out, ElementsAre(0x01, 0xAB, 0x00, kUntouched));
}

TEST(AsciiStr2HexStr, NullPointersAreRefused)
{
    unsigned char out[4] = {};
    EXPECT_EQ(CBufHelper::AsciiStr2HexStr(nullptr, "01", 2), -1);
    EXPECT_EQ(CBufHelper::AsciiStr2HexStr(out, nullptr, 2), -1);
}

TEST(HexStr2AsciiStr, WritesTheHighDigitFirst)
{
    const Digits digits = digits_of({0x01, 0xAB}, 0);
    EXPECT_EQ(digits.count, 4);
    EXPECT_EQ(digits.text, "01AB");
}

TEST(HexStr2AsciiStr, SeparatorStandsBetweenTwoBytesOnly)
{
    const Digits digits = digits_of({0x01, 0xAB}, ' ');
    EXPECT_EQ(digits.count, 5);
    EXPECT_EQ(digits.text, "01 AB");
}

TEST(HexStr2AsciiStr, SeparatorThatIsADigitIsTakenOffOnce)
{
    const Digits digits = digits_of({0x01, 0xAA}, 'A');
    EXPECT_EQ(digits.count, 5);
    EXPECT_EQ(digits.text, "01AAA");
}

TEST(HexStr2AsciiStr, SeparatorBelowZeroIsNone)
{
    EXPECT_EQ(digits_of({0x01, 0xAB}, -1).text, "01AB");
}

TEST(HexStr2AsciiStr, NoBytesAreTheEmptyText)
{
    EXPECT_EQ(digits_of({}, 0).count, 0);
    EXPECT_EQ(digits_of({}, ' ').count, 0);
    EXPECT_EQ(digits_of({}, ' ').text, "");
}

TEST(HexStr2AsciiStr, NullPointersAreRefused)
{
    char out[4] = {};
    const unsigned char byte = 0;
    EXPECT_EQ(CBufHelper::HexStr2AsciiStr(nullptr, &byte, 1, 0), -1);
    EXPECT_EQ(CBufHelper::HexStr2AsciiStr(out, nullptr, 1, 0), -1);
}

} // namespace
