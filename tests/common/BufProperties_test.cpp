// What holds for all inputs, tried on many random ones. The seeds are fixed: a failure comes again.
#include "common/BufHelper.h"

#include <cstring>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <vector>

#include "common/Crc.h"

namespace
{

using testing::ElementsAreArray;
using Bytes = std::vector<unsigned char>;

constexpr int kRounds = 3000;

class CRandom
{
public:
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_engine() % limit); }
    unsigned int Bits() { return static_cast<unsigned int>(m_engine()); }
    unsigned char Byte() { return static_cast<unsigned char>(Below(256)); }

    Bytes Some(unsigned int least, unsigned int most)
    {
        Bytes bytes(least + Below(most - least + 1));
        for (unsigned char& byte : bytes)
        {
            byte = Byte();
        }
        return bytes;
    }

private:
    std::mt19937 m_engine{20240229};
};

class BufProperties : public testing::Test
{
protected:
    CRandom random;
};

std::string digits_of(const Bytes& bytes, int separator)
{
    std::string text(3 * bytes.size() + 1, '?');
    const int count = CBufHelper::HexStr2AsciiStr(text.data(), bytes.data(),
                                                  static_cast<int>(bytes.size()), separator);
    return text.substr(0, static_cast<size_t>(count));
}

Bytes bytes_of(const std::string& digits)
{
    Bytes bytes(digits.size() / 2);
    const int count =
        CBufHelper::BufFromStr(bytes.data(), digits.data(), static_cast<int>(digits.size()));
    EXPECT_EQ(static_cast<size_t>(count), bytes.size());
    return bytes;
}

float float_of(unsigned int bits)
{
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

unsigned int bits_of(float value)
{
    unsigned int bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

std::string yd_frame(Bytes info)
{
    std::string frame(18 + 2 * info.size() + 1, '?');
    const int length = CBufHelper::YdCmd(frame.data(), 0x01, 0x60, 0x42, 0x21, info.data(),
                                         static_cast<int>(info.size()));
    return frame.substr(0, static_cast<size_t>(length));
}

int yd_check(const std::string& frame)
{
    return CBufHelper::YdChk(reinterpret_cast<const unsigned char*>(frame.data()),
                             static_cast<int>(frame.size()));
}

// Another upper-case digit in the place of the one at `at`.
std::string damaged(std::string text, size_t at, unsigned int by)
{
    const std::string digits = "0123456789ABCDEF";
    text[at] = digits[(digits.find(text[at]) + 1 + by) % 16];
    return text;
}

// Eight shifts for each byte, as the polynomials are defined.
unsigned int shift_down(const Bytes& bytes, unsigned int crc, unsigned int polynomial)
{
    for (const unsigned char byte : bytes)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = (crc & 1) != 0 ? crc >> 1 ^ polynomial : crc >> 1;
        }
    }
    return crc;
}

unsigned int shift_up(const Bytes& bytes, unsigned int crc, unsigned int polynomial, int width)
{
    const unsigned int top = 1U << (width - 1);
    for (const unsigned char byte : bytes)
    {
        crc ^= static_cast<unsigned int>(byte) << (width - 8);
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = (crc & top) != 0 ? crc << 1 ^ polynomial : crc << 1;
        }
    }
    return crc & (top | (top - 1));
}

TEST_F(BufProperties, DigitsComeBackAsTheirBytes)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes bytes = random.Some(1, 80);
        EXPECT_EQ(bytes_of(digits_of(bytes, 0)), bytes);
    }
}

TEST_F(BufProperties, GroupsComeBackAsTheirBytes)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes bytes = random.Some(1, 80);
        const std::string text = digits_of(bytes, ' ');
        Bytes back(text.size() + 2, 0);
        const int count =
            CBufHelper::AsciiStr2HexStr(back.data(), text.data(), static_cast<int>(text.size()));
        back.resize(static_cast<size_t>(count));
        EXPECT_EQ(back, bytes);
    }
}

TEST_F(BufProperties, BufToStrTurnsEachByteRound)
{
    for (int i = 0; i < kRounds; ++i)
    {
        Bytes bytes = random.Some(1, 80);
        const std::string text =
            CBufHelper::BufToStr(bytes.data(), static_cast<int>(bytes.size()), '\0');
        for (unsigned char& byte : bytes)
        {
            byte = static_cast<unsigned char>(byte << 4 | byte >> 4);
        }
        EXPECT_EQ(bytes_of(text), bytes);
    }
}

TEST_F(BufProperties, NumbersComeBackFromTheirBytes)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const unsigned int value = random.Bits();
        const auto word = static_cast<unsigned short>(value & 0xFFFF);
        unsigned char buf[4];
        CBufHelper::dwToBuf(buf, value);
        EXPECT_EQ(CBufHelper::dwFromBuf(buf), value);
        CBufHelper::dwToBufLH(buf, value);
        EXPECT_EQ(CBufHelper::dwFromBufLH(buf), value);
        CBufHelper::wdToBuf(buf, word);
        EXPECT_EQ(CBufHelper::wdFromBuf(buf), word);
        CBufHelper::wdToBufLH(buf, word);
        EXPECT_EQ(CBufHelper::wdFromBufLH(buf), word);
    }
}

// Bit for bit: a float may be no number. A signalling one may be made quiet on its way.
TEST_F(BufProperties, FloatsComeBackThroughTheirTwoPairs)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const float value = float_of(random.Bits() | 0x00400000);
        unsigned char buf[4];
        CBufHelper::fvToBuf(buf, value);
        EXPECT_EQ(bits_of(CBufHelper::fvFromBufL(buf)), bits_of(value));
        CBufHelper::fvToBuf_L(buf, value);
        EXPECT_EQ(bits_of(CBufHelper::fvFromBuf(buf)), bits_of(value));
        CBufHelper::fvToBuf_LF(buf, value);
        const unsigned int high = CBufHelper::wdFromBuf(buf + 2);
        EXPECT_EQ(high << 16 | CBufHelper::wdFromBuf(buf), bits_of(value));
    }
}

TEST_F(BufProperties, TablesGiveWhatShiftsGive)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes bytes = random.Some(0, 600);
        EXPECT_EQ(crc16_modbus(bytes.data(), bytes.size()), shift_down(bytes, 0xFFFF, 0xA001));
        EXPECT_EQ(crc16_xmodem(bytes.data(), bytes.size()), shift_up(bytes, 0, 0x1021, 16));
        EXPECT_EQ(crc32_mpeg2(bytes.data(), bytes.size()),
                  shift_up(bytes, 0xFFFFFFFF, 0x04C11DB7, 32));
    }
}

TEST_F(BufProperties, PublicCrcsAreThoseOfTheTables)
{
    for (int i = 0; i < kRounds; ++i)
    {
        Bytes bytes = random.Some(1, 255);
        const auto length = static_cast<unsigned char>(bytes.size());
        EXPECT_EQ(CBufHelper::crc16(bytes.data(), length), crc16_modbus(bytes.data(), length));
        EXPECT_EQ(CBufHelper::crc16x(bytes.data(), length), crc16_xmodem(bytes.data(), length));
        EXPECT_EQ(CBufHelper::crc32_mpeg_2(bytes.data(), length),
                  crc32_mpeg2(bytes.data(), length));
    }
}

TEST_F(BufProperties, LrcMakesTheSumZero)
{
    for (int i = 0; i < kRounds; ++i)
    {
        Bytes bytes = random.Some(0, 600);
        const auto length = static_cast<int>(bytes.size());
        const unsigned char lrc = CBufHelper::lrc(bytes.data(), length);
        EXPECT_EQ(CBufHelper::ModBusAsciiLRC(bytes.data(), static_cast<unsigned>(length)), lrc);
        bytes.push_back(lrc);
        EXPECT_EQ(CBufHelper::sum(bytes.data(), length + 1) & 0xFF, 0U);
    }
}

TEST_F(BufProperties, RequestInAsciiFormIsTheRtuRequestTurnedIntoIt)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const unsigned char addr = random.Byte();
        const unsigned char func = random.Byte();
        const auto reg = static_cast<unsigned short>(random.Below(0x10000));
        const auto count = static_cast<unsigned short>(random.Below(0x10000));
        unsigned char rtu[8];
        unsigned char direct[18];
        char turned[17];
        CBufHelper::ModBusCmd(rtu, addr, func, reg, count);
        ASSERT_EQ(CBufHelper::ModBusCmdAscii(direct, addr, func, reg, count), 17);
        ASSERT_EQ(CBufHelper::ModBusRtu2Ascii(rtu, turned, 8), 17);
        EXPECT_EQ(std::memcmp(direct, turned, 17), 0);
    }
}

// What stands before the checksum comes back; the new CRC covers the LRC byte too.
TEST_F(BufProperties, RtuComesBackFromAsciiUpToItsChecksum)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes rtu = random.Some(3, 400);
        std::string ascii(2 * rtu.size() + 1, '?');
        Bytes back(rtu.size());
        const int length = CBufHelper::ModBusRtu2Ascii(rtu.data(), ascii.data(),
                                                       static_cast<unsigned>(rtu.size()));
        ASSERT_EQ(
            CBufHelper::ModBusAscii2Rtu(ascii.data(), back.data(), static_cast<unsigned>(length)),
            static_cast<int>(rtu.size()));
        Bytes covered(rtu.begin(), rtu.end() - 2);
        EXPECT_THAT(Bytes(back.begin(), back.end() - 2), ElementsAreArray(covered));
        covered.push_back(CBufHelper::lrc(covered.data(), static_cast<int>(covered.size())));
        EXPECT_EQ(CBufHelper::wdFromBufLH(back.data() + back.size() - 2),
                  crc16_modbus(covered.data(), covered.size()));
    }
}

TEST_F(BufProperties, OneWrongDigitOfAnAsciiFrameIsNoticed)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes rtu = random.Some(3, 100);
        std::string ascii(2 * rtu.size() + 1, '?');
        CBufHelper::ModBusRtu2Ascii(rtu.data(), ascii.data(), static_cast<unsigned>(rtu.size()));
        const size_t at = 1 + random.Below(static_cast<unsigned>(ascii.size()) - 3);
        const std::string wrong = damaged(ascii, at, random.Below(15));
        Bytes back(wrong.size() / 2);
        EXPECT_EQ(CBufHelper::ModBusAscii2Rtu(wrong.data(), back.data(),
                                              static_cast<unsigned>(wrong.size())),
                  -1);
    }
}

TEST_F(BufProperties, YdFrameIsValidAndHoldsItsInfo)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const Bytes info = random.Some(1, 127);
        const std::string frame = yd_frame(info);
        ASSERT_EQ(yd_check(frame), 0);
        const int characters = CBufHelper::YdDatLen(frame.data(), static_cast<int>(frame.size()));
        ASSERT_EQ(static_cast<size_t>(characters), 2 * info.size());
        EXPECT_EQ(bytes_of(frame.substr(13, static_cast<size_t>(characters))), info);
    }
}

TEST_F(BufProperties, OneWrongDigitOfAYdFrameIsNoticed)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const std::string frame = yd_frame(random.Some(1, 127));
        const size_t at = 1 + random.Below(static_cast<unsigned>(frame.size()) - 2);
        EXPECT_NE(yd_check(damaged(frame, at, random.Below(15))), 0);
    }
}

TEST_F(BufProperties, YdValuesAreReadWhereTheyWereWritten)
{
    for (int i = 0; i < kRounds; ++i)
    {
        const auto lead = static_cast<unsigned char>(random.Below(8));
        const unsigned int flag = random.Below(2);
        const unsigned int values = 1 + random.Below(20);
        const unsigned int chosen = random.Below(values);
        Bytes info(flag + lead + 4 * values);
        const float value = static_cast<float>(random.Below(100000)) / 8;
        CBufHelper::fvToBuf_L(info.data() + flag + lead + 4 * chosen, value);
        const auto field = static_cast<unsigned char>(lead + 1 + chosen);
        EXPECT_EQ(CBufHelper::YdDatF(yd_frame(info).data(), field, lead,
                                     static_cast<unsigned char>(flag)),
                  value);
    }
}

} // namespace
