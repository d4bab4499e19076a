// Byte orders, checksums, BCD and bits.
#include "common/BufHelper.h"

#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <string>
#include <vector>

#include "common/Crc.h"

namespace
{

using testing::ElementsAre;
using Bytes = std::vector<unsigned char>;

constexpr unsigned char kUntouched = 0xEE;

// What a writer of size bytes writes.
template <typename Writer> Bytes written(size_t size, Writer write)
{
    Bytes buf(size + 1, kUntouched);
    write(buf.data());
    EXPECT_EQ(buf.back(), kUntouched);
    buf.pop_back();
    return buf;
}

Bytes ascii(const std::string& text)
{
    return {text.begin(), text.end()};
}

unsigned short crc16(Bytes bytes)
{
    return CBufHelper::crc16(bytes.data(), static_cast<unsigned char>(bytes.size()));
}

unsigned short crc16x(Bytes bytes)
{
    return CBufHelper::crc16x(bytes.data(), static_cast<unsigned char>(bytes.size()));
}

unsigned int crc32(Bytes bytes)
{
    return CBufHelper::crc32_mpeg_2(bytes.data(), bytes.size());
}

const unsigned char kFour[] = {0x12, 0x34, 0xAB, 0xCD};

TEST(ByteOrder, FourBytesAreReadBothWays)
{
    EXPECT_EQ(CBufHelper::dwFromBuf(kFour), 0x1234ABCDUL);
    EXPECT_EQ(CBufHelper::dwFromBufLH(kFour), 0xCDAB3412UL);
}

TEST(ByteOrder, HighestBitOfFourBytesIsNoSign)
{
    const unsigned char buf[] = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(CBufHelper::dwFromBuf(buf), 0xFFFFFFFFUL);
    EXPECT_EQ(CBufHelper::dwFromBufLH(buf), 0xFFFFFFFFUL);
}

TEST(ByteOrder, FourBytesAreWrittenBothWays)
{
    const auto big = [](unsigned char* buf)
    {
        CBufHelper::dwToBuf(buf, 0x1234ABCD);
    };
    const auto little = [](unsigned char* buf)
    {
        CBufHelper::dwToBufLH(buf, 0x1234ABCD);
    };
    EXPECT_THAT(written(4, big), ElementsAre(0x12, 0x34, 0xAB, 0xCD));
    EXPECT_THAT(written(4, little), ElementsAre(0xCD, 0xAB, 0x34, 0x12));
}

TEST(ByteOrder, OnlyTheLow32BitsAreWritten)
{
    const unsigned long value = 0x99999999'12345678UL;
    const auto big = [&](unsigned char* buf)
    {
        CBufHelper::dwToBuf(buf, value);
    };
    const auto little = [&](unsigned char* buf)
    {
        CBufHelper::dwToBufLH(buf, value);
    };
    EXPECT_THAT(written(4, big), ElementsAre(0x12, 0x34, 0x56, 0x78));
    EXPECT_THAT(written(4, little), ElementsAre(0x78, 0x56, 0x34, 0x12));
}

TEST(ByteOrder, TwoBytesAreReadBothWays)
{
    EXPECT_EQ(CBufHelper::wdFromBuf(kFour + 2), 0xABCD);
    EXPECT_EQ(CBufHelper::wdFromBufLH(kFour + 2), 0xCDAB);
}

TEST(ByteOrder, TwoBytesAreWrittenBothWays)
{
    const auto big = [](unsigned char* buf)
    {
        CBufHelper::wdToBuf(buf, 0xABCD);
    };
    const auto little = [](unsigned char* buf)
    {
        CBufHelper::wdToBufLH(buf, 0xABCD);
    };
    EXPECT_THAT(written(2, big), ElementsAre(0xAB, 0xCD));
    EXPECT_THAT(written(2, little), ElementsAre(0xCD, 0xAB));
}

// 1.0 is 3F800000, -6.25 is C0C80000, 0.15625 is 3E200000.
TEST(FloatCodec, FvFromBufReadsTheMachinesOrder)
{
    const unsigned char one[] = {0x00, 0x00, 0x80, 0x3F};
    const unsigned char negative[] = {0x00, 0x00, 0xC8, 0xC0};
    EXPECT_EQ(CBufHelper::fvFromBuf(one), 1.0F);
    EXPECT_EQ(CBufHelper::fvFromBuf(negative), -6.25F);
}

TEST(FloatCodec, FvFromBufLReadsBigEndian)
{
    const unsigned char one[] = {0x3F, 0x80, 0x00, 0x00};
    const unsigned char fraction[] = {0x3E, 0x20, 0x00, 0x00};
    EXPECT_EQ(CBufHelper::fvFromBufL(one), 1.0F);
    EXPECT_EQ(CBufHelper::fvFromBufL(fraction), 0.15625F);
}

TEST(FloatCodec, FvToBufWritesBigEndian)
{
    const auto write = [](unsigned char* buf)
    {
        CBufHelper::fvToBuf(buf, 1.0F);
    };
    EXPECT_THAT(written(4, write), ElementsAre(0x3F, 0x80, 0x00, 0x00));
}

TEST(FloatCodec, FvToBufAndFvFromBufAreNoPair)
{
    unsigned char buf[4];
    CBufHelper::fvToBuf(buf, 1.0F);
    EXPECT_NE(CBufHelper::fvFromBuf(buf), 1.0F);
    EXPECT_EQ(CBufHelper::fvFromBufL(buf), 1.0F);
}

TEST(FloatCodec, FvToBufLWritesLittleEndian)
{
    const auto write = [](unsigned char* buf)
    {
        CBufHelper::fvToBuf_L(buf, -6.25F);
    };
    EXPECT_THAT(written(4, write), ElementsAre(0x00, 0x00, 0xC8, 0xC0));
}

TEST(FloatCodec, FvToBufLfWritesTheLowWordFirst)
{
    float value = 0;
    const unsigned int bits = 0x12345678;
    std::memcpy(&value, &bits, sizeof(value));
    const auto write = [&](unsigned char* buf)
    {
        CBufHelper::fvToBuf_LF(buf, value);
    };
    EXPECT_THAT(written(4, write), ElementsAre(0x56, 0x78, 0x12, 0x34));
}

TEST(FloatCodec, DoubleFromBufReadsTheMachinesOrder)
{
    const unsigned char one[] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F};
    const unsigned char negative[] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x19, 0xC0};
    EXPECT_EQ(CBufHelper::doubleFromBuf(one), 1.0);
    EXPECT_EQ(CBufHelper::doubleFromBuf(negative), -6.25);
}

TEST(FloatCodec, BuffersNeedNoAlignment)
{
    const unsigned char odd[] = {0xEE, 0x00, 0x00, 0x80, 0x3F, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
    EXPECT_EQ(CBufHelper::fvFromBuf(odd + 1), 1.0F);
    EXPECT_EQ(CBufHelper::doubleFromBuf(odd + 5), 1.0);
}

TEST(Sum, AddsTheBytes)
{
    const unsigned char buf[] = {0x01, 0x03, 0xFF};
    EXPECT_EQ(CBufHelper::sum(buf, 3), 0x103U);
    EXPECT_EQ(CBufHelper::sum(buf, 0), 0U);
    EXPECT_EQ(CBufHelper::sum(buf, -1), 0U);
}

TEST(Sum, IsKeptTo16Bits)
{
    const Bytes buf(258, 0xFF); // 258 * 255 is 65790
    EXPECT_EQ(CBufHelper::sum(buf.data(), 257), 65535U);
    EXPECT_EQ(CBufHelper::sum(buf.data(), 258), 254U);
}

TEST(Lrc, IsTheTwosComplementOfTheByteSum)
{
    const unsigned char buf[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x01, 0xFB};
    EXPECT_EQ(CBufHelper::lrc(buf, 2), 0xFC);
    EXPECT_EQ(CBufHelper::lrc(buf, 6), 0xFB);
    EXPECT_EQ(CBufHelper::lrc(buf, 7), 0x00);
    EXPECT_EQ(CBufHelper::lrc(buf, 0), 0x00);
}

TEST(Xor, CombinesAllBytes)
{
    const unsigned char buf[] = {0x01, 0x02, 0xF0};
    EXPECT_EQ(CBufHelper::Xor(buf, 3), 0xF3);
    EXPECT_EQ(CBufHelper::Xor(buf, 0), 0x00);
}

TEST(Crc, PublishedCheckValues)
{
    EXPECT_EQ(crc16(ascii("123456789")), 0x4B37);
    EXPECT_EQ(crc16x(ascii("123456789")), 0x31C3);
    EXPECT_EQ(crc32(ascii("123456789")), 0x0376E6E7U);
}

TEST(Crc, NoBytesGiveTheInitialValue)
{
    EXPECT_EQ(crc16({}), 0xFFFF);
    EXPECT_EQ(crc16x({}), 0x0000);
    EXPECT_EQ(crc32({}), 0xFFFFFFFFU);
}

// Eight shifts of the initial value, worked out apart from the code.
TEST(Crc, OneZeroByte)
{
    EXPECT_EQ(crc16({0x00}), 0x40BF);
    EXPECT_EQ(crc16x({0x00}), 0x0000);
    EXPECT_EQ(crc32({0x00}), 0x4E08BFB4U);
}

TEST(Crc, OfModbusRequests)
{
    EXPECT_EQ(crc16({0x01, 0x03, 0x00, 0x00, 0x00, 0x01}), 0x0A84);
    EXPECT_EQ(crc16({0x11, 0x03, 0x00, 0x6B, 0x00, 0x03}), 0x8776);
}

// The CRC over a message and its own CRC, in the order that goes with it, is the residue 0.
TEST(Crc, OverMessageAndCrcIsZero)
{
    EXPECT_EQ(crc16(ascii("123456789\x37\x4B")), 0);
    EXPECT_EQ(crc16x(ascii("123456789\x31\xC3")), 0);
    EXPECT_EQ(crc32(ascii("123456789\x03\x76\xE6\xE7")), 0U);
}

TEST(Crc, LengthOf16BitCrcsReaches255)
{
    Bytes bytes(256, 0x5A);
    EXPECT_EQ(CBufHelper::crc16(bytes.data(), 255), crc16_modbus(bytes.data(), 255));
    EXPECT_NE(CBufHelper::crc16(bytes.data(), 255), crc16_modbus(bytes.data(), 256));
}

TEST(Bcd, TwoDigitsBecomeANumber)
{
    EXPECT_EQ(CBufHelper::BCD2HEX(0x00), 0);
    EXPECT_EQ(CBufHelper::BCD2HEX(0x25), 25);
    EXPECT_EQ(CBufHelper::BCD2HEX(0x99), 99);
}

TEST(Bcd, DigitsAboveNineAreNotRefused)
{
    EXPECT_EQ(CBufHelper::BCD2HEX(0x1A), 20);
    EXPECT_EQ(CBufHelper::BCD2HEX(0xFF), 165);
}

TEST(Bcd, NumberBecomesThreeDigits)
{
    EXPECT_EQ(CBufHelper::HEX2BCD(0), 0x000);
    EXPECT_EQ(CBufHelper::HEX2BCD(9), 0x009);
    EXPECT_EQ(CBufHelper::HEX2BCD(40), 0x040);
    EXPECT_EQ(CBufHelper::HEX2BCD(100), 0x100);
    EXPECT_EQ(CBufHelper::HEX2BCD(255), 0x255);
}

TEST(Bcd, EveryNumberUpTo99ComesBack)
{
    for (unsigned char number = 0; number < 100; ++number)
    {
        const unsigned short bcd = CBufHelper::HEX2BCD(number);
        EXPECT_EQ(CBufHelper::BCD2HEX(static_cast<unsigned char>(bcd)), number);
    }
}

TEST(GetBitState, CountsFromTheLeastSignificantBitOfTheFirstByte)
{
    const unsigned char buf[] = {0x01, 0x82}; // bits 0, 9 and 15
    std::vector<unsigned int> set;
    for (unsigned int bit = 0; bit < 16; ++bit)
    {
        if (CBufHelper::GetBitState(buf, 2, bit) == 1)
        {
            set.push_back(bit);
        }
    }
    EXPECT_THAT(set, ElementsAre(0U, 9U, 15U));
}

TEST(GetBitState, BitBeyondTheBufferIsZeroAndNotRead)
{
    const Bytes buf(2, 0xFF); // on the heap: a sanitizer sees a read behind it
    EXPECT_EQ(CBufHelper::GetBitState(buf.data(), 2, 16), 0);
    EXPECT_EQ(CBufHelper::GetBitState(buf.data(), 2, std::numeric_limits<unsigned int>::max()), 0);
    EXPECT_EQ(CBufHelper::GetBitState(nullptr, 0, 0), 0);
}

} // namespace
