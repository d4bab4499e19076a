// Byte orders, checksums, BCD and bits of CBufHelper.
#include "common/BufHelper.h"

#include <cstdint>
#include <cstring>

#include "common/Crc.h"

namespace
{

uint32_t bits_of(float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

} // namespace

unsigned long CBufHelper::dwFromBuf(const unsigned char* buf)
{
    return static_cast<unsigned long>(wdFromBuf(buf)) << 16 | wdFromBuf(buf + 2);
}

void CBufHelper::dwToBuf(unsigned char* buf, unsigned long value)
{
    wdToBuf(buf, static_cast<unsigned short>(value >> 16 & 0xFFFF));
    wdToBuf(buf + 2, static_cast<unsigned short>(value & 0xFFFF));
}

unsigned long CBufHelper::dwFromBufLH(const unsigned char* buf)
{
    return static_cast<unsigned long>(wdFromBufLH(buf + 2)) << 16 | wdFromBufLH(buf);
}

void CBufHelper::dwToBufLH(unsigned char* buf, unsigned long value)
{
    wdToBufLH(buf, static_cast<unsigned short>(value & 0xFFFF));
    wdToBufLH(buf + 2, static_cast<unsigned short>(value >> 16 & 0xFFFF));
}

unsigned short CBufHelper::wdFromBuf(const unsigned char* buf)
{
    return static_cast<unsigned short>(buf[0] << 8 | buf[1]);
}

void CBufHelper::wdToBuf(unsigned char* buf, unsigned short value)
{
    buf[0] = static_cast<unsigned char>(value >> 8);
    buf[1] = static_cast<unsigned char>(value & 0xFF);
}

unsigned short CBufHelper::wdFromBufLH(const unsigned char* buf)
{
    return static_cast<unsigned short>(buf[1] << 8 | buf[0]);
}

void CBufHelper::wdToBufLH(unsigned char* buf, unsigned short value)
{
    buf[0] = static_cast<unsigned char>(value & 0xFF);
    buf[1] = static_cast<unsigned char>(value >> 8);
}

float CBufHelper::fvFromBuf(const unsigned char* buf)
{
    float value = 0;
    std::memcpy(&value, buf, sizeof(value));
    return value;
}

float CBufHelper::fvFromBufL(const unsigned char* buf)
{
    const unsigned char reversed[4] = {buf[3], buf[2], buf[1], buf[0]};
    return fvFromBuf(reversed);
}

void CBufHelper::fvToBuf(unsigned char* buf, float value)
{
    dwToBuf(buf, bits_of(value));
}

void CBufHelper::fvToBuf_L(unsigned char* buf, float value)
{
    dwToBufLH(buf, bits_of(value));
}

void CBufHelper::fvToBuf_LF(unsigned char* buf, float value)
{
    wdToBuf(buf, static_cast<unsigned short>(bits_of(value) & 0xFFFF));
    wdToBuf(buf + 2, static_cast<unsigned short>(bits_of(value) >> 16));
}

double CBufHelper::doubleFromBuf(const unsigned char* buf)
{
    double value = 0;
    std::memcpy(&value, buf, sizeof(value));
    return value;
}

unsigned int CBufHelper::sum(const unsigned char* buf, int length)
{
    unsigned int total = 0;
    for (int i = 0; i < length; ++i)
    {
        total += buf[i];
    }
    return total & 0xFFFF; // once for all: what is lost above 32 bits is above 16 too
}

unsigned char CBufHelper::lrc(const unsigned char* buf, int length)
{
    return static_cast<unsigned char>((0 - sum(buf, length)) & 0xFF);
}

unsigned char CBufHelper::Xor(const unsigned char* buf, int length)
{
    unsigned char all = 0;
    for (int i = 0; i < length; ++i)
    {
        all = static_cast<unsigned char>(all ^ buf[i]);
    }
    return all;
}

unsigned short CBufHelper::crc16(unsigned char* buf, unsigned char length)
{
    return crc16_modbus(buf, length);
}

unsigned short CBufHelper::crc16x(unsigned char* buf, unsigned char length)
{
    return crc16_xmodem(buf, length);
}

unsigned int CBufHelper::crc32_mpeg_2(unsigned char* buf, unsigned long length)
{
    return crc32_mpeg2(buf, length);
}

unsigned char CBufHelper::BCD2HEX(unsigned char b)
{
    return static_cast<unsigned char>((b >> 4) * 10 + (b & 0xF));
}

unsigned short CBufHelper::HEX2BCD(unsigned char v)
{
    return static_cast<unsigned short>(v / 100 << 8 | v / 10 % 10 << 4 | v % 10);
}

int CBufHelper::GetBitState(const unsigned char* buf, unsigned int len, unsigned int bit)
{
    return bit / 8 < len ? buf[bit / 8] >> bit % 8 & 1 : 0;
}
