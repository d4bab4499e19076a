// Serial frames of CBufHelper: Modbus in its RTU and ASCII forms, and the "~" frames of
// YD/T 1363.3.
#include "common/BufHelper.h"

#include <cstdio>
#include <cstring>

#include "common/Crc.h"

namespace
{

constexpr int kRtuHeadBytes = 6; // address, function, register, count
constexpr unsigned char kWriteCoils = 15;
constexpr unsigned char kWriteRegisters = 16;

constexpr int kYdHeadChars = 13; // "~" to the length word
constexpr int kYdTailChars = 5;  // checksum and CR
constexpr int kYdShortest = kYdHeadChars + kYdTailChars;
constexpr int kYdLengthAt = 9;

// Writes a byte as two digits, the high one first.
template <typename Char> Char* put_hex(Char* out, unsigned char byte)
{
    *out++ = static_cast<Char>(CBufHelper::hex2asciiHigh(byte));
    *out++ = static_cast<Char>(CBufHelper::hex2asciiLow(byte));
    return out;
}

// The ASCII form of count bytes: ":", their digits, their LRC, CR LF. Returns the end.
template <typename Char> Char* put_ascii(Char* out, const unsigned char* bytes, unsigned int count)
{
    *out++ = ':';
    for (unsigned int i = 0; i < count; ++i)
    {
        out = put_hex(out, bytes[i]);
    }
    out = put_hex(out, CBufHelper::ModBusAsciiLRC(bytes, count));
    *out++ = '\r';
    *out++ = '\n';
    return out;
}

// Appends the CRC of the first length bytes, low byte first. Not by CBufHelper::crc16, whose
// length ends at 255: a frame may carry more.
int put_crc(unsigned char* buf, int length)
{
    CBufHelper::wdToBufLH(buf + length, crc16_modbus(buf, static_cast<size_t>(length)));
    return length + 2;
}

bool is_hex(unsigned char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// The length word of that many info characters: four bits of check over twelve of length.
unsigned int length_word(unsigned int chars)
{
    const unsigned int nibbles = (chars >> 8 & 0xF) + (chars >> 4 & 0xF) + (chars & 0xF);
    return ((0 - nibbles) & 0xF) << 12 | (chars & 0xFFF);
}

unsigned int frame_checksum(const unsigned char* text, int length)
{
    return (0 - CBufHelper::sum(text, length)) & 0xFFFF;
}

// Where a frame ends: one behind its CR, or at len when it has none. -1 when a character before
// that is no digit.
int frame_end(const unsigned char* frame, int len)
{
    for (int i = 1; i < len; ++i)
    {
        if (frame[i] == '\r')
        {
            return i + 1;
        }
        if (!is_hex(frame[i]))
        {
            return -1;
        }
    }
    return len;
}

} // namespace

int CBufHelper::ModBusCmd(unsigned char* buf, unsigned char addr, unsigned char func,
                          unsigned short reg, unsigned short count)
{
    buf[0] = addr;
    buf[1] = func;
    wdToBuf(buf + 2, reg);
    wdToBuf(buf + 4, count);
    return put_crc(buf, kRtuHeadBytes);
}

int CBufHelper::ModBusCmdAscii(unsigned char* out, unsigned char addr, unsigned char func,
                               unsigned short reg, unsigned short count)
{
    unsigned char rtu[kRtuHeadBytes + 2];
    ModBusCmd(rtu, addr, func, reg, count);
    unsigned char* end = put_ascii(out, rtu, kRtuHeadBytes);
    *end = '\0';
    return static_cast<int>(end - out);
}

int CBufHelper::ModBusCmdN(unsigned char* buf, unsigned char addr, unsigned char func,
                           unsigned short reg, unsigned short count, unsigned char* data)
{
    if (buf == nullptr)
    {
        return 0;
    }
    const bool writes = func == kWriteCoils || func == kWriteRegisters;
    if (writes && data == nullptr)
    {
        count = 0;
    }
    ModBusCmd(buf, addr, func, reg, count);
    int length = kRtuHeadBytes;
    if (writes)
    {
        const int bytes = func == kWriteCoils ? (count + 7) / 8 : count * 2;
        buf[length++] = static_cast<unsigned char>(bytes & 0xFF);
        if (bytes > 0)
        {
            std::memcpy(buf + length, data, static_cast<size_t>(bytes));
        }
        length += bytes;
    }
    return put_crc(buf, length);
}

int CBufHelper::ModBusRtu2Ascii(const unsigned char* rtu, char* ascii, unsigned int len)
{
    if (len < 2)
    {
        return 0;
    }
    return static_cast<int>(put_ascii(ascii, rtu, len - 2) - ascii);
}

int CBufHelper::ModBusAscii2Rtu(const char* ascii, unsigned char* rtu, unsigned int len)
{
    int bytes = 0;
    for (unsigned int i = 1; i + 2 < len; i += 2)
    {
        rtu[bytes++] = static_cast<unsigned char>(HexVal(ascii + i, 2));
    }
    if (bytes == 0)
    {
        return -1;
    }
    const int lrc_at = bytes - 1;
    if (rtu[lrc_at] != ModBusAsciiLRC(rtu, static_cast<unsigned int>(lrc_at)))
    {
        return -1;
    }
    const unsigned short crc = crc16_modbus(rtu, static_cast<size_t>(bytes));
    wdToBufLH(rtu + lrc_at, crc);
    return bytes + 1;
}

unsigned char CBufHelper::ModBusAsciiLRC(const unsigned char* buf, unsigned int length)
{
    unsigned int total = 0;
    for (unsigned int i = 0; i < length; ++i)
    {
        total += buf[i];
    }
    return static_cast<unsigned char>((0 - total) & 0xFF);
}

int CBufHelper::YdCmd(char* out, unsigned char addr, unsigned char group, unsigned char cmd,
                      unsigned char ver, unsigned char* info, int len)
{
    const int bytes = info != nullptr ? len & 0x7FF : 0;
    std::sprintf(out, "~%02X%02X%02X%02X%04X", ver, addr, group, cmd,
                 length_word(static_cast<unsigned int>(2 * bytes)));
    char* end = out + kYdHeadChars;
    for (int i = 0; i < bytes; ++i)
    {
        end = put_hex(end, info[i]);
    }
    const auto* text = reinterpret_cast<const unsigned char*>(out + 1);
    std::sprintf(end, "%04X\r", frame_checksum(text, static_cast<int>(end - out) - 1));
    return static_cast<int>(end - out) + kYdTailChars;
}

int CBufHelper::YdChk(const unsigned char* frame, int len)
{
    if (frame == nullptr || len < kYdShortest)
    {
        return 1;
    }
    if (frame[0] != '~')
    {
        return 2;
    }
    len = frame_end(frame, len);
    if (len < 0)
    {
        return 3;
    }
    if (len < kYdShortest)
    {
        return 4;
    }

    const auto* text = reinterpret_cast<const char*>(frame);
    const unsigned int word = HexVal(text + kYdLengthAt, 4);
    if ((word & 0xFF) != static_cast<unsigned int>(len - kYdShortest))
    {
        return 5;
    }
    if (word != length_word(word & 0xFFF))
    {
        return 6;
    }
    if (frame_checksum(frame + 1, len - kYdTailChars - 1) != HexVal(text + len - kYdTailChars, 4))
    {
        return 7;
    }
    return 0;
}

int CBufHelper::YdDatLen(const char* frame, int len)
{
    if (frame == nullptr || len < kYdShortest)
    {
        return -1;
    }
    return static_cast<int>(HexVal(frame + kYdLengthAt, 4) & 0xFFF);
}

int CBufHelper::YdIdxF(unsigned char field, unsigned char lead, unsigned char flag)
{
    const int base = flag != 0 ? kYdHeadChars + 2 : kYdHeadChars;
    const int value = field > lead ? field - lead - 1 : 0;
    return base + 2 * (lead + 4 * value);
}

float CBufHelper::YdDatF(const char* frame, unsigned char field, unsigned char lead,
                         unsigned char flag)
{
    return HexValF(frame + YdIdxF(field, lead, flag));
}
