// Modbus frames: requests in RTU and ASCII form, requests with data, and one form as the other.
#include "common/BufHelper.h"

#include <gmock/gmock.h>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;
using Bytes = std::vector<unsigned char>;

constexpr unsigned char kUntouched = 0xEE;

// A request that carries data. What ModBusCmdN leaves alone is cut off.
Bytes request(unsigned char func, unsigned short reg, unsigned short count, Bytes data)
{
    Bytes buf(9 + data.size() + 1, kUntouched);
    const int length = CBufHelper::ModBusCmdN(buf.data(), 0x11, func, reg, count, data.data());
    EXPECT_EQ(buf.at(static_cast<size_t>(length)), kUntouched);
    buf.resize(static_cast<size_t>(length));
    return buf;
}

Bytes request_without_data(unsigned char func, unsigned short reg, unsigned short count)
{
    Bytes buf(16, kUntouched);
    const int length = CBufHelper::ModBusCmdN(buf.data(), 0x11, func, reg, count, nullptr);
    buf.resize(static_cast<size_t>(length));
    return buf;
}

std::string ascii_of(const Bytes& rtu)
{
    std::string ascii(2 * rtu.size() + 5, '?');
    const int characters =
        CBufHelper::ModBusRtu2Ascii(rtu.data(), ascii.data(), static_cast<unsigned>(rtu.size()));
    return ascii.substr(0, static_cast<size_t>(characters));
}

// The RTU frame, or nothing when it was refused. The buffer is as large as the contract asks for.
Bytes rtu_of(const std::string& ascii)
{
    Bytes rtu(ascii.size() / 2, kUntouched);
    const int length =
        CBufHelper::ModBusAscii2Rtu(ascii.data(), rtu.data(), static_cast<unsigned>(ascii.size()));
    rtu.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return rtu;
}

int ascii_2_rtu(const std::string& ascii)
{
    unsigned char rtu[64];
    return CBufHelper::ModBusAscii2Rtu(ascii.data(), rtu, static_cast<unsigned>(ascii.size()));
}

TEST(ModBusCmd, WritesEightBytes)
{
    unsigned char buf[9] = {0, 0, 0, 0, 0, 0, 0, 0, kUntouched};
    EXPECT_EQ(CBufHelper::ModBusCmd(buf, 1, 3, 0, 1), 8);
    EXPECT_THAT(buf, ElementsAre(0x01, 0x03, 0x00, 0x00, 0x00, 0x01, 0x84, 0x0A, kUntouched));
}

TEST(ModBusCmd, RegisterAndCountAreBigEndian)
{
    unsigned char buf[8];
    CBufHelper::ModBusCmd(buf, 0x11, 3, 0x6B, 3);
    EXPECT_THAT(buf, ElementsAre(0x11, 0x03, 0x00, 0x6B, 0x00, 0x03, 0x76, 0x87));
    CBufHelper::ModBusCmd(buf, 0xFF, 0xFF, 0x1234, 0xABCD);
    EXPECT_THAT(Bytes(buf, buf + 6), ElementsAre(0xFF, 0xFF, 0x12, 0x34, 0xAB, 0xCD));
}

TEST(ModBusCmdAscii, WritesSeventeenCharactersAndANul)
{
    unsigned char out[19];
    out[18] = kUntouched;
    EXPECT_EQ(CBufHelper::ModBusCmdAscii(out, 1, 3, 0, 1), 17);
    EXPECT_EQ(std::string(out, out + 18), std::string(":010300000001FB\r\n\0", 18));
    EXPECT_EQ(out[18], kUntouched);
}

TEST(ModBusCmdAscii, DigitsAreUpperCase)
{
    unsigned char out[18];
    CBufHelper::ModBusCmdAscii(out, 0xAB, 0xCD, 0xEF01, 0x2345);
    EXPECT_EQ(std::string(out, out + 15), ":ABCDEF01234530");
}

TEST(ModBusCmdN, WriteCoilsCarriesABitForEach)
{
    EXPECT_THAT(request(15, 0x13, 10, {0xCD, 0x01}),
                ElementsAre(0x11, 0x0F, 0x00, 0x13, 0x00, 0x0A, 0x02, 0xCD, 0x01, 0xBF, 0x0B));
}

TEST(ModBusCmdN, LastByteOfCoilsIsRoundedUp)
{
    EXPECT_THAT(request(15, 0x13, 8, {0xFF}),
                ElementsAre(0x11, 0x0F, 0x00, 0x13, 0x00, 0x08, 0x01, 0xFF, 0x3A, 0x1A));
    EXPECT_THAT(request(15, 0x13, 9, {0xFF, 0x01}),
                ElementsAre(0x11, 0x0F, 0x00, 0x13, 0x00, 0x09, 0x02, 0xFF, 0x01, 0xAA, 0x2F));
}

TEST(ModBusCmdN, WriteRegistersCarriesTwoBytesForEach)
{
    EXPECT_THAT(
        request(16, 1, 2, {0x00, 0x0A, 0x01, 0x02}),
        ElementsAre(0x11, 0x10, 0x00, 0x01, 0x00, 0x02, 0x04, 0x00, 0x0A, 0x01, 0x02, 0xC6, 0xF0));
}

TEST(ModBusCmdN, WithoutDataTheCountOfAWriteIsZero)
{
    EXPECT_THAT(request_without_data(15, 0x13, 10),
                ElementsAre(0x11, 0x0F, 0x00, 0x13, 0x00, 0x00, 0x00, 0x1E, 0x7A));
    EXPECT_THAT(request_without_data(16, 1, 2),
                ElementsAre(0x11, 0x10, 0x00, 0x01, 0x00, 0x00, 0x00, 0x19, 0x6D));
}

TEST(ModBusCmdN, CountZeroCarriesNothing)
{
    EXPECT_THAT(request(16, 1, 0, {}),
                ElementsAre(0x11, 0x10, 0x00, 0x01, 0x00, 0x00, 0x00, 0x19, 0x6D));
}

TEST(ModBusCmdN, OtherFunctionsCarryNoData)
{
    const auto frame = ElementsAre(0x11, 0x06, 0x00, 0x01, 0x00, 0x03, 0x9A, 0x9B);
    EXPECT_THAT(request_without_data(6, 1, 3), frame);
    EXPECT_THAT(request(6, 1, 3, {0x55, 0x55}), frame);
}

TEST(ModBusCmdN, NullBufferIsRefused)
{
    unsigned char data[2] = {};
    EXPECT_EQ(CBufHelper::ModBusCmdN(nullptr, 1, 16, 0, 1, data), 0);
}

// 125 registers: 257 bytes before the CRC, more than CBufHelper::crc16 takes at once.
TEST(ModBusCmdN, CrcCoversAFrameOfMoreThan255Bytes)
{
    const Bytes frame = request(16, 0, 125, Bytes(250, 0x5A));
    ASSERT_EQ(frame.size(), 259U);
    EXPECT_EQ(frame[6], 0xFA);
    EXPECT_THAT(Bytes(frame.end() - 2, frame.end()), ElementsAre(0x57, 0x41));
}

TEST(ModBusCmdN, ByteCountIsKeptToEightBitsAndTheDataIsNot)
{
    Bytes data(256);
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(0));
    const Bytes registers = request(16, 0, 128, data);
    ASSERT_EQ(registers.size(), 265U);
    EXPECT_EQ(registers[6], 0x00);
    EXPECT_THAT(Bytes(registers.begin() + 7, registers.end() - 2), ElementsAreArray(data));

    const Bytes coils = request(15, 0, 2048, data);
    EXPECT_EQ(coils.size(), 265U);
    EXPECT_EQ(coils[6], 0x00);
}

TEST(ModBusRtu2Ascii, WritesWhatStandsBeforeTheCrcAndItsLrc)
{
    EXPECT_EQ(ascii_of({0x01, 0x03, 0x00, 0x00, 0x00, 0x01, 0x84, 0x0A}), ":010300000001FB\r\n");
    EXPECT_EQ(ascii_of({0xAB, 0x00, 0x00}), ":AB55\r\n");
}

TEST(ModBusRtu2Ascii, LooksNotAtTheCrc)
{
    EXPECT_EQ(ascii_of({0x11, 0x03, 0x00, 0x6B, 0x00, 0x03, 0xEE, 0xEE}), ":1103006B00037E\r\n");
}

TEST(ModBusRtu2Ascii, CrcAloneIsAFrameWithoutBytes)
{
    EXPECT_EQ(ascii_of({0x84, 0x0A}), ":00\r\n");
}

TEST(ModBusRtu2Ascii, LessThanACrcIsNothing)
{
    EXPECT_EQ(ascii_of({0x84}), "");
    EXPECT_EQ(ascii_of({}), "");
}

// The CRC 4BE0 covers the LRC byte FB too, which it then overwrites.
TEST(ModBusAscii2Rtu, CrcCoversTheLrcByte)
{
    EXPECT_THAT(rtu_of(":010300000001FB\r\n"),
                ElementsAre(0x01, 0x03, 0x00, 0x00, 0x00, 0x01, 0x4B, 0xE0));
}

TEST(ModBusAscii2Rtu, ReadsDigitsOfEitherCase)
{
    EXPECT_EQ(rtu_of(":1103006b00037e\r\n"), rtu_of(":1103006B00037E\r\n"));
    EXPECT_EQ(rtu_of(":1103006b00037e\r\n").size(), 8U);
}

TEST(ModBusAscii2Rtu, WrongLrcIsRefused)
{
    EXPECT_EQ(ascii_2_rtu(":010300000001FA\r\n"), -1);
    EXPECT_EQ(ascii_2_rtu(":010300000002FB\r\n"), -1);
}

TEST(ModBusAscii2Rtu, FirstAndLastTwoCharactersAreNotLookedAt)
{
    EXPECT_EQ(ascii_2_rtu("?010300000001FB??"), 8);
}

TEST(ModBusAscii2Rtu, CharacterThatIsNoDigitCountsAsZero)
{
    EXPECT_EQ(rtu_of(":G10300000001FB\r\n"), rtu_of(":010300000001FB\r\n"));
}

TEST(ModBusAscii2Rtu, LrcAloneIsAFrame)
{
    EXPECT_THAT(rtu_of(":00\r\n"), ElementsAre(0xBF, 0x40));
    EXPECT_EQ(ascii_2_rtu(":01\r\n"), -1);
}

TEST(ModBusAscii2Rtu, TooShortForAnLrcIsRefused)
{
    for (const char* text : {"", ":", ":\r", ":\r\n"})
    {
        EXPECT_EQ(ascii_2_rtu(text), -1) << text;
    }
}

// A single digit before CR LF makes a pair with the CR, which counts as 0.
TEST(ModBusAscii2Rtu, SingleDigitIsPairedWithWhatFollows)
{
    EXPECT_THAT(rtu_of(":0\r\n"), ElementsAre(0xBF, 0x40));
}

// 299 bytes and their LRC E2, more than CBufHelper::crc16 takes at once.
TEST(ModBusAscii2Rtu, CrcCoversAFrameOfMoreThan255Bytes)
{
    std::string ascii = ":";
    for (int i = 0; i < 299; ++i)
    {
        ascii += "5A";
    }
    const Bytes rtu = rtu_of(ascii + "E2\r\n");
    ASSERT_EQ(rtu.size(), 301U);
    EXPECT_THAT(Bytes(rtu.end() - 3, rtu.end()), ElementsAre(0x5A, 0xF9, 0x6A));
}

TEST(ModBusAsciiLrc, IsTheSameAsLrc)
{
    const unsigned char buf[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x01};
    EXPECT_EQ(CBufHelper::ModBusAsciiLRC(buf, 6), 0xFB);
    EXPECT_EQ(CBufHelper::ModBusAsciiLRC(buf, 2), CBufHelper::lrc(buf, 2));
    EXPECT_EQ(CBufHelper::ModBusAsciiLRC(buf, 0), 0x00);
}

} // namespace
