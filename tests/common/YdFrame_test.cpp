// The "~" frames of YD/T 1363.3: built, checked, and read.
#include "common/BufHelper.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

// Version 21, address 01, group 60.
std::string frame(unsigned char cmd, Bytes info)
{
    std::string out(18 + 2 * info.size() + 2, '?');
    const int length = CBufHelper::YdCmd(out.data(), 0x01, 0x60, cmd, 0x21, info.data(),
                                         static_cast<int>(info.size()));
    EXPECT_EQ(out.substr(static_cast<size_t>(length)), std::string("\0?", 2));
    return out.substr(0, static_cast<size_t>(length));
}

int check(const std::string& frame)
{
    return CBufHelper::YdChk(reinterpret_cast<const unsigned char*>(frame.data()),
                             static_cast<int>(frame.size()));
}

// A frame of the text between "~" and the checksum, with the checksum that it needs.
std::string sealed(const std::string& text)
{
    unsigned int sum = 0;
    for (const char c : text)
    {
        sum += static_cast<unsigned char>(c);
    }
    const std::string digits = "0123456789ABCDEF";
    std::string checksum;
    for (int shift = 12; shift >= 0; shift -= 4)
    {
        checksum += digits[(0x10000 - sum) >> shift & 0xF];
    }
    return "~" + text + checksum + "\r";
}

TEST(YdCmd, FrameWithoutInfo)
{
    EXPECT_EQ(frame(0x42, {}), "~210160420000FDB0\r");
}

TEST(YdCmd, VersionIsTheLastArgumentAndTheFirstField)
{
    char out[20];
    EXPECT_EQ(CBufHelper::YdCmd(out, 0x01, 0x40, 0x47, 0x20, nullptr, 0), 18);
    EXPECT_STREQ(out, "~200140470000FDAE\r");
}

TEST(YdCmd, FrameWithOneInfoByte)
{
    EXPECT_EQ(frame(0x42, {0x01}), "~21016042E00201FD38\r");
}

TEST(YdCmd, FrameWithAFloat)
{
    EXPECT_EQ(frame(0x00, {0x00, 0x00, 0x5C, 0x43}), "~21016000800800005C43FC07\r");
}

// Length word of 2n characters: the check makes the sum of the four digits a multiple of 16.
TEST(YdCmd, LengthWord)
{
    EXPECT_EQ(frame(0x42, Bytes(7)).substr(9, 4), "200E");
    EXPECT_EQ(frame(0x42, Bytes(8)).substr(9, 4), "F010");
    EXPECT_EQ(frame(0x42, Bytes(127)).substr(9, 4), "30FE");
    EXPECT_EQ(frame(0x42, Bytes(128)).substr(9, 4), "F100");
    EXPECT_EQ(frame(0x42, Bytes(2047)).substr(9, 4), "4FFE");
}

TEST(YdCmd, DigitsAreUpperCase)
{
    EXPECT_EQ(frame(0xAB, {0xCD, 0xEF}).substr(0, 17), "~210160ABC004CDEF");
}

TEST(YdCmd, TakesElevenBitsOfTheLength)
{
    Bytes info(2048, 0x11);
    char out[4200];
    EXPECT_EQ(CBufHelper::YdCmd(out, 1, 2, 3, 4, info.data(), 2048), 18);
    EXPECT_EQ(CBufHelper::YdCmd(out, 1, 2, 3, 4, info.data(), 2049), 20);
    EXPECT_EQ(CBufHelper::YdCmd(out, 1, 2, 3, 4, info.data(), -1), 18 + 2 * 2047);
}

// 4094 characters "F" of 70 each leave 16 bits: the sum is kept to them.
TEST(YdCmd, ChecksumIsKeptTo16Bits)
{
    const std::string longest = frame(0x42, Bytes(2047, 0xFF));
    const unsigned int head = 0x32 + 0x31 + 0x30 + 0x31 + 0x36 + 0x30 + 0x34 + 0x32; // 21016042
    const unsigned int word = 0x34 + 0x46 + 0x46 + 0x45;                             // 4FFE
    const unsigned int sum = head + word + 4094 * 0x46;
    EXPECT_EQ(CBufHelper::HexVal(longest.data() + 13 + 4094, 4), (0x50000 - sum) & 0xFFFF);
}

TEST(YdCmd, WithoutInfoTheLengthIsZero)
{
    char out[20];
    EXPECT_EQ(CBufHelper::YdCmd(out, 0x01, 0x60, 0x42, 0x21, nullptr, 5), 18);
    EXPECT_STREQ(out, "~210160420000FDB0\r");
}

TEST(YdChk, ValidFramesGiveZero)
{
    EXPECT_EQ(check("~210160420000FDB0\r"), 0);
    EXPECT_EQ(check("~21016042E00201FD38\r"), 0);
    EXPECT_EQ(check("~21016000800800005C43FC07\r"), 0);
}

TEST(YdChk, LongestFrameThatEightBitsCanSay)
{
    EXPECT_EQ(check(frame(0x42, Bytes(127))), 0);
}

TEST(YdChk, LowerCaseDigitIsADigitAndCountsAsItStands)
{
    EXPECT_EQ(check(sealed("21016042E0020a")), 0);
    EXPECT_EQ(check("~21016042E0020aFD28\r"), 7); // the checksum of 0A, off by the case
}

TEST(YdChk, ChecksumMayBeOfEitherCase)
{
    EXPECT_EQ(check("~21016042e00201fd18\r"), 0); // e for E takes 32 off the checksum
}

TEST(YdChk, Code1TooShort)
{
    EXPECT_EQ(check("~210160420000FDB\r"), 1);
    EXPECT_EQ(check(""), 1);
    EXPECT_EQ(CBufHelper::YdChk(nullptr, 18), 1);
}

TEST(YdChk, Code1ComesBeforeCode2)
{
    EXPECT_EQ(check("210160420000FDB0\r"), 1);
}

TEST(YdChk, Code2FirstCharacter)
{
    EXPECT_EQ(check("?210160420000FDB0\r"), 2);
    EXPECT_EQ(check("?21016042000?FDB0\r"), 2);
}

TEST(YdChk, Code3NotHexadecimal)
{
    EXPECT_EQ(check("~21016042000GFDB0\r"), 3);
    EXPECT_EQ(check("~2101604200 0FDB0\r"), 3);
    EXPECT_EQ(check("~210160420000FDB0\n"), 3);
    EXPECT_EQ(check("~~10160420000FDB0\r"), 3);
    EXPECT_EQ(check(std::string("~2101604200\0"
                                "0FDB0\r",
                                18)),
              3);
}

TEST(YdChk, WhatStandsBehindTheFirstCarriageReturnIsNotLookedAt)
{
    EXPECT_EQ(check("~210160420000FDB0\r\n~?"), 0);
}

TEST(YdChk, Code4TooShortUpToTheCarriageReturn)
{
    EXPECT_EQ(check("~210160420000FDB\r\r"), 4);
    EXPECT_EQ(check("~\r0000000000000000000"), 4);
}

TEST(YdChk, Code5LengthOfTheWordIsNotTheFrames)
{
    EXPECT_EQ(check(sealed("21016042E00200FF")), 5); // says 2, holds 4
    EXPECT_EQ(check(sealed("21016042E002")), 5);     // says 2, holds none
}

TEST(YdChk, Code5ComesBeforeCodes6And7)
{
    EXPECT_EQ(check("~2101604200020000000\r"), 5);
}

// 256 characters are 00 in the low eight bits of the word.
TEST(YdChk, Code5EveryFrameOfMoreThan255InfoCharacters)
{
    EXPECT_EQ(check(frame(0x42, Bytes(128))), 5);
    EXPECT_EQ(check(frame(0x42, Bytes(2047))), 5);
}

TEST(YdChk, UpperFourLengthBitsAreNotCompared)
{
    EXPECT_EQ(check(sealed("21016042D10201")), 0); // says 0x102, holds 2
}

TEST(YdChk, Code6LengthCheck)
{
    EXPECT_EQ(check(sealed("21016042D00201")), 6);
    EXPECT_EQ(check(sealed("210160421000")), 6);
}

TEST(YdChk, Code6ComesBeforeCode7)
{
    EXPECT_EQ(check("~21016042D002010000\r"), 6);
}

TEST(YdChk, Code7Checksum)
{
    EXPECT_EQ(check("~21016042E00201FD39\r"), 7);
    EXPECT_EQ(check("~21016042E00202FD38\r"), 7);
    EXPECT_EQ(check("~20016042E00201FD38\r"), 7);
}

// Without a CR the whole length is the frame, and a digit stands in the CR's place.
TEST(YdChk, MissingCarriageReturnIsNotMissed)
{
    EXPECT_EQ(check("~210160420000FDB00"), 0);
}

TEST(YdDatLen, LowTwelveBitsOfTheLengthWord)
{
    EXPECT_EQ(CBufHelper::YdDatLen("~210160420000FDB0\r", 18), 0);
    EXPECT_EQ(CBufHelper::YdDatLen("~21016042E00201FD38\r", 20), 2);
    EXPECT_EQ(CBufHelper::YdDatLen("~210160424FFEFDB0\r", 18), 0xFFE);
    EXPECT_EQ(CBufHelper::YdDatLen("~21016042ffffFDB0\r", 18), 0xFFF);
}

TEST(YdDatLen, NullAndShortFramesAreRefused)
{
    EXPECT_EQ(CBufHelper::YdDatLen(nullptr, 18), -1);
    EXPECT_EQ(CBufHelper::YdDatLen("~210160420000FDB0\r", 17), -1);
    EXPECT_EQ(CBufHelper::YdDatLen("", 0), -1);
}

TEST(YdIdxF, FirstValueStandsBehindTheHead)
{
    EXPECT_EQ(CBufHelper::YdIdxF(1, 0, 0), 13);
    EXPECT_EQ(CBufHelper::YdIdxF(2, 0, 0), 21);
}

TEST(YdIdxF, FlagIsOneMoreByteBefore)
{
    EXPECT_EQ(CBufHelper::YdIdxF(1, 0, 1), 15);
    EXPECT_EQ(CBufHelper::YdIdxF(1, 0, 255), 15);
}

TEST(YdIdxF, ValuesCountFromBehindTheLeadingItems)
{
    EXPECT_EQ(CBufHelper::YdIdxF(4, 3, 0), 19);
    EXPECT_EQ(CBufHelper::YdIdxF(6, 3, 0), 35);
    EXPECT_EQ(CBufHelper::YdIdxF(6, 3, 1), 37);
}

TEST(YdIdxF, FieldAmongTheLeadingItemsMeansTheFirstValue)
{
    EXPECT_EQ(CBufHelper::YdIdxF(0, 0, 0), 13);
    EXPECT_EQ(CBufHelper::YdIdxF(3, 3, 0), 19);
    EXPECT_EQ(CBufHelper::YdIdxF(1, 3, 0), 19);
}

TEST(YdIdxF, LastPlaces)
{
    EXPECT_EQ(CBufHelper::YdIdxF(255, 0, 0), 2045);
    EXPECT_EQ(CBufHelper::YdIdxF(255, 255, 1), 525);
}

TEST(YdDatF, ReadsTheValueAtItsPlace)
{
    // A flag byte, one leading item, then 220.0, 1.0 and -100.0.
    const std::string answer = frame(
        0x00, {0x11, 0x05, 0x00, 0x00, 0x5C, 0x43, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0xC8, 0xC2});
    EXPECT_EQ(CBufHelper::YdDatF(answer.data(), 2, 1, 1), 220.0F);
    EXPECT_EQ(CBufHelper::YdDatF(answer.data(), 3, 1, 1), 1.0F);
    EXPECT_EQ(CBufHelper::YdDatF(answer.data(), 4, 1, 1), -100.0F);
}

} // namespace
