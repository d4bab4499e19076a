// Hexadecimal text of CBufHelper.
#include "common/BufHelper.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace
{

char _hexchar(int nibble)
{
    return "0123456789ABCDEF"[nibble & 0xF];
}

// The value of each character as a digit, 0 for what is none. A table, since digits of data follow
// no pattern that a processor could guess branches by.
constexpr std::array<unsigned char, 256> digit_values()
{
    std::array<unsigned char, 256> values{};
    for (unsigned char digit = 0; digit < 10; ++digit)
    {
        values['0' + digit] = digit;
    }
    for (unsigned char digit = 10; digit < 16; ++digit)
    {
        values['A' + digit - 10] = digit;
        values['a' + digit - 10] = digit;
    }
    return values;
}
constexpr std::array<unsigned char, 256> kDigitValues = digit_values();

} // namespace

unsigned char CBufHelper::ascii2hex(char c)
{
    return kDigitValues[static_cast<unsigned char>(c)];
}

char CBufHelper::hex2asciiHigh(unsigned char b)
{
    return _hexchar(b >> 4);
}

char CBufHelper::hex2asciiLow(unsigned char b)
{
    return _hexchar(b);
}

unsigned int CBufHelper::HexVal(const char* s, int n)
{
    unsigned int value = 0;
    for (int i = 0; i < n && s[i] != '\0'; ++i)
    {
        value = value << 4 | ascii2hex(s[i]);
    }
    return value;
}

float CBufHelper::HexValF(const char* s)
{
    unsigned char bytes[4];
    for (unsigned char& byte : bytes)
    {
        byte = static_cast<unsigned char>(HexVal(s, 2));
        s += 2;
    }
    return fvFromBuf(bytes);
}

int CBufHelper::BufFromStr(unsigned char* out, const char* s, int n)
{
    if (s == nullptr)
    {
        return 0;
    }
    const int end = n == 0 ? static_cast<int>(std::strlen(s)) : n;
    int written = 0;
    for (int i = 0; i < end; i += 2)
    {
        out[written++] = static_cast<unsigned char>(HexVal(s + i, std::min(2, end - i)));
    }
    return written;
}

std::string CBufHelper::BufToStr(const unsigned char* bytes, int n, char separator)
{
    if (n <= 0)
    {
        return {};
    }
    const size_t step = separator != '\0' ? 3 : 2;
    std::string text(static_cast<size_t>(n) * step - (step - 2), separator);
    for (size_t i = 0; i < static_cast<size_t>(n); ++i)
    {
        text[step * i] = _hexchar(bytes[i]); // the low digit first, on purpose
        text[step * i + 1] = _hexchar(bytes[i] >> 4);
    }
    return text;
}

int CBufHelper::AsciiStr2HexStr(unsigned char* out, const char* text, int n)
{
    if (out == nullptr || text == nullptr)
    {
        return -1;
    }
    int group = 0;
    for (int i = 0; i < n; ++i)
    {
        if (text[i] == ' ')
        {
            ++group;
            continue;
        }
        out[group] = static_cast<unsigned char>(out[group] << 4 | ascii2hex(text[i]));
    }
    out[group + 1] = 0;
    return group + 1;
}

int CBufHelper::HexStr2AsciiStr(char* out, const unsigned char* bytes, int n, int separator)
{
    if (out == nullptr || bytes == nullptr)
    {
        return -1;
    }
    int written = 0;
    for (int i = 0; i < n; ++i)
    {
        out[written++] = hex2asciiHigh(bytes[i]);
        out[written++] = hex2asciiLow(bytes[i]);
        if (separator > 0)
        {
            out[written++] = static_cast<char>(separator);
        }
    }
    if (separator > 0 && written > 0) // none behind the last byte
    {
        --written;
    }
    out[written] = '\0';
    return written;
}
