// CBufHelper: static helpers on text and byte buffers: character sets, hexadecimal text, byte
// orders, checksums, BCD, and the frames of two serial field protocols.
//
// No state and no instances; every function is reentrant and may be called from any thread.
// Ownership: buffers belong to the caller, who makes them large enough; what each function writes
// stands beside it. Nothing is thrown but by BufToStr when memory runs out.
// Hexadecimal digits are written in upper case and read in either.
#pragma once

#include <string>

class CBufHelper
{
public:
    CBufHelper() = delete;

    // --- Character sets -------------------------------------------------------------------

    // Converts the NUL-terminated input from one character set to another and returns the number
    // of bytes written; the output is not terminated and must have room for four bytes per input
    // byte. 0 when output or input is null. Where the pair of character sets is unknown the input
    // is copied as it is; where the input is invalid the output ends before the invalid place.
    static int conv_code(const char* to_charset, const char* from_charset, char* output,
                         char* input);

    // The same with a descriptor of libiconv_open and the input's length in bytes.
    static int conv_code(void* descriptor, char* output, char* input, int length);

    // --- Hexadecimal text -----------------------------------------------------------------

    // The value of a hexadecimal digit; 0 for any other character.
    static unsigned char ascii2hex(char c);

    // The upper or the lower four bits of a byte as one digit.
    static char hex2asciiHigh(unsigned char b);
    static char hex2asciiLow(unsigned char b);

    // The value of the first n characters of s, fewer when s ends before. A character that is no
    // digit counts as the digit 0. Beyond eight digits the upper ones are lost.
    static unsigned int HexVal(const char* s, int n);

    // The float whose four bytes stand in s as eight digits, the lowest-addressed byte first, in
    // the machine's own byte order.
    static float HexValF(const char* s);

    // Each two of the n characters of s (n of 0: all up to its NUL) become a byte; a last single
    // one becomes a byte of one digit. No separators; a NUL among the n characters ends only its
    // own pair. The result is the number of bytes written, (n + 1) / 2; 0 for a null s.
    static int BufFromStr(unsigned char* out, const char* s, int n);

    // The n bytes as text, with the separator between two bytes unless it is 0. On purpose each
    // byte is written LOW digit first: 0x1A becomes "A1". Empty for n of 0 and less.
    static std::string BufToStr(const unsigned char* bytes, int n, char separator);

    // Groups of digits, divided by single blanks, become bytes. The digits are shifted into what
    // the output holds, so zero it first: n + 2 bytes are enough. Writes a 0 byte behind the last
    // group and returns the number of groups; -1 when a pointer is null.
    static int AsciiStr2HexStr(unsigned char* out, const char* text, int n);

    // The n bytes as digits, high digit first, with the separator between two bytes when it is
    // above 0. Writes up to 3 * n + 1 characters with the NUL and returns the number of them
    // without it; -1 when a pointer is null.
    static int HexStr2AsciiStr(char* out, const unsigned char* bytes, int n, int separator);

    // --- Byte orders ------------------------------------------------------------------------
    // Four bytes (dw), two (wd), a float of four (fv) or a double of eight, from and to a buffer.
    // Big-endian, the most significant byte first, but for the names with L: those are
    // little-endian.

    static unsigned long dwFromBuf(const unsigned char* buf);
    static void dwToBuf(unsigned char* buf, unsigned long value); // the low 32 bits
    static unsigned long dwFromBufLH(const unsigned char* buf);
    static void dwToBufLH(unsigned char* buf, unsigned long value);
    static unsigned short wdFromBuf(const unsigned char* buf);
    static void wdToBuf(unsigned char* buf, unsigned short value);
    static unsigned short wdFromBufLH(const unsigned char* buf);
    static void wdToBufLH(unsigned char* buf, unsigned short value);

    // Floats do not follow the rule of the names, on purpose: fvFromBuf reads the machine's own
    // order (little-endian) and fvFromBufL the reverse, while fvToBuf writes big-endian. So
    // fvFromBuf undoes fvToBuf_L, and fvFromBufL undoes fvToBuf.
    static float fvFromBuf(const unsigned char* buf);
    static float fvFromBufL(const unsigned char* buf);
    static void fvToBuf(unsigned char* buf, float value);
    static void fvToBuf_L(unsigned char* buf, float value);
    static void fvToBuf_LF(unsigned char* buf, float value); // low word first, words big-endian
    static double doubleFromBuf(const unsigned char* buf);   // the machine's own order

    // --- Checksums --------------------------------------------------------------------------

    static unsigned int sum(const unsigned char* buf, int length);  // of the bytes, 16 bits
    static unsigned char lrc(const unsigned char* buf, int length); // two's complement of the sum
    static unsigned char Xor(const unsigned char* buf, int length); // of all bytes

    // CRC-16/MODBUS: initial value 0xFFFF, reflected polynomial 0xA001. At most 255 bytes.
    static unsigned short crc16(unsigned char* buf, unsigned char length);

    // CRC-16/XMODEM: initial value 0, polynomial 0x1021, not reflected. At most 255 bytes.
    static unsigned short crc16x(unsigned char* buf, unsigned char length);

    // CRC-32/MPEG-2: initial value 0xFFFFFFFF, polynomial 0x04C11DB7, not reflected.
    static unsigned int crc32_mpeg_2(unsigned char* buf, unsigned long length);

    // --- BCD and bits -------------------------------------------------------------------------

    static unsigned char BCD2HEX(unsigned char b);  // 0x25 gives 25; not checked
    static unsigned short HEX2BCD(unsigned char v); // 255 gives 0x255

    // Bit number bit of a buffer of len bytes, 0 the least significant of the first byte; 0 for a
    // bit beyond the buffer.
    static int GetBitState(const unsigned char* buf, unsigned int len, unsigned int bit);

    // --- Modbus -------------------------------------------------------------------------------

    // Writes an RTU request of 8 bytes: address, function, first register, count, CRC. Returns 8.
    static int ModBusCmd(unsigned char* buf, unsigned char addr, unsigned char func,
                         unsigned short reg, unsigned short count);

    // Writes the same request in ASCII form, 17 characters and a NUL. Returns 17.
    static int ModBusCmdAscii(unsigned char* out, unsigned char addr, unsigned char func,
                              unsigned short reg, unsigned short count);

    // Writes an RTU request that may carry data: functions 15 (count coils) and 16 (count
    // registers) take it from data, count / 8 rounded up or count * 2 bytes; without data their
    // count is 0. Returns the frame's length, 9 and the data at most; 0 when buf is null.
    static int ModBusCmdN(unsigned char* buf, unsigned char addr, unsigned char func,
                          unsigned short reg, unsigned short count, unsigned char* data);

    // An RTU frame of len bytes with its CRC in ASCII form, without NUL: 2 * (len - 2) + 5
    // characters, which is also the result; 0 when len is below 2.
    static int ModBusRtu2Ascii(const unsigned char* rtu, char* ascii, unsigned int len);

    // An ASCII frame of len characters, ":" to CR LF, in RTU form. Returns its length, len / 2 at
    // most; -1 when the LRC is wrong or there is none (what was decoded is in rtu then). On purpose
    // the CRC covers the LRC byte, which it then overwrites.
    static int ModBusAscii2Rtu(const char* ascii, unsigned char* rtu, unsigned int len);

    static unsigned char ModBusAsciiLRC(const unsigned char* buf, unsigned int length);

    // --- The "~" frames of YD/T 1363.3 --------------------------------------------------------
    // "~", version, address, group, command, length word, info, checksum, CR; see docs/helpers.md.

    // Writes a frame with len AND 0x7FF info bytes, and a NUL. Returns its length without the NUL,
    // 18 and twice the info bytes.
    static int YdCmd(char* out, unsigned char addr, unsigned char group, unsigned char cmd,
                     unsigned char ver, unsigned char* info, int len);

    // Checks a frame. 0: valid. 1: null or too short. 2: no "~". 3: not hexadecimal. 4: too short
    // up to the CR. 5: length wrong; on purpose only the low 8 of its 12 bits are compared with
    // the frame's, so a frame with more than 255 info characters has this. 6: length check wrong.
    // 7: checksum wrong.
    static int YdChk(const unsigned char* frame, int len);

    // Number of info characters as the length word says; the frame may hold fewer, see YdChk. -1
    // when frame is null or len below 18.
    static int YdDatLen(const char* frame, int len);

    // Where in a frame the four-byte value number field stands, when the info begins with lead
    // one-byte items, after one more byte when flag is not 0, and values count from lead + 1.
    static int YdIdxF(unsigned char field, unsigned char lead, unsigned char flag);

    // That value as a float, its lowest-addressed byte first. The frame must reach to its end.
    static float YdDatF(const char* frame, unsigned char field, unsigned char lead,
                        unsigned char flag);
};
