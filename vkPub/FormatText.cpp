#include "vkPub/FormatText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

// Wide enough to be too long for every text, and yet an int.
constexpr size_t kMostDigits = 1U << 30;

constexpr char kIntegers[] = "diouxX";
constexpr char kFloats[] = "eEfFgGaA";

// One conversion: "%-5.3ld" is flags "-", width 5, precision 3 and the letter d.
struct Conversion
{
    std::string flags;
    size_t width = 0;
    size_t precision = 0;
    bool has_precision = false;
    char letter = '\0';
    size_t end = 0; // where the text goes on
};

bool is_one_of(char c, const char* set)
{
    return c != '\0' && std::strchr(set, c) != nullptr;
}

// Reads a format character by character; '\0' behind its end.
class CFormatReader
{
public:
    CFormatReader(std::string_view format, size_t at) : m_format(format), m_at(at) {}

    char Now() const { return m_at < m_format.size() ? m_format[m_at] : '\0'; }
    size_t At() const { return m_at; }
    char Take()
    {
        const char c = Now();
        m_at = std::min(m_at + 1, m_format.size());
        return c;
    }

    bool Skip(char c)
    {
        const bool there = Now() == c;
        m_at += there ? 1 : 0;
        return there;
    }

    // A number, kMostDigits at most.
    size_t Number()
    {
        size_t number = 0;
        while (is_one_of(Now(), "0123456789"))
        {
            number = std::min(number * 10 + static_cast<size_t>(Take() - '0'), kMostDigits);
        }
        return number;
    }

    // "1$", the place of an argument; what else begins with a digit stays.
    void SkipPosition()
    {
        const size_t before = m_at;
        Number();
        if (!Skip('$'))
        {
            m_at = before;
        }
    }

    // A width or precision: digits, or "*", whose argument reads 0.
    size_t NumberOrArgument()
    {
        if (!Skip('*'))
        {
            return Number();
        }
        SkipPosition();
        return 0;
    }

private:
    std::string_view m_format;
    size_t m_at;
};

// An empty text is empty and a short zero "0" in every precision. Asking printf for a million
// digits that it then takes off would cost milliseconds at each place in the file.
bool shows_precision(const Conversion& conversion)
{
    if (is_one_of(conversion.letter, "gG"))
    {
        return conversion.flags.find('#') != std::string::npos;
    }
    return is_one_of(conversion.letter, kIntegers) || is_one_of(conversion.letter, kFloats);
}

Conversion read_conversion(std::string_view format, size_t at)
{
    Conversion found;
    CFormatReader in(format, at + 1);
    in.SkipPosition();
    while (is_one_of(in.Now(), "-+ #0'I"))
    {
        found.flags += in.Take();
    }
    found.width = in.NumberOrArgument();
    found.has_precision = in.Skip('.');
    if (found.has_precision)
    {
        found.precision = in.NumberOrArgument();
    }
    while (is_one_of(in.Now(), "hlLqjzZt"))
    {
        in.Take(); // 0 is 0 in every size
    }
    found.letter = in.Take();
    found.end = in.At();
    if (!shows_precision(found))
    {
        found.precision = 0;
    }
    return found;
}

// "%" with flags, width and precision.
std::string spec_of(const Conversion& conversion)
{
    std::string spec = "%" + conversion.flags;
    if (conversion.width != 0)
    {
        spec += std::to_string(conversion.width);
    }
    if (conversion.has_precision)
    {
        spec += "." + std::to_string(conversion.precision);
    }
    return spec;
}

// What the conversion prints, into a buffer of that size; the length as snprintf tells it.
int print(const Conversion& conversion, char* out, size_t size)
{
    const std::string spec = spec_of(conversion) + conversion.letter;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (is_one_of(conversion.letter, kIntegers))
    {
        return std::snprintf(out, size, spec.c_str(), 0);
    }
    if (is_one_of(conversion.letter, kFloats))
    {
        return std::snprintf(out, size, spec.c_str(), 0.0);
    }
    if (conversion.letter == 'p')
    {
        return std::snprintf(out, size, spec.c_str(), static_cast<void*>(nullptr));
    }
    const std::string text = spec_of(conversion) + "s";
    return std::snprintf(out, size, text.c_str(), "");
#pragma GCC diagnostic pop
}

bool is_value(char letter)
{
    return is_one_of(letter, kIntegers) || is_one_of(letter, kFloats) || is_one_of(letter, "psS");
}

bool append_value(std::string& text, const Conversion& conversion, size_t limit)
{
    if (conversion.width >= limit || conversion.precision >= limit)
    {
        return false; // not even tried: printf takes memory for every digit of a precision
    }
    const int length = print(conversion, nullptr, 0);
    if (length < 0 || text.size() + static_cast<size_t>(length) >= limit)
    {
        return false;
    }
    const size_t before = text.size();
    text.resize(before + static_cast<size_t>(length) + 1);
    print(conversion, text.data() + before, static_cast<size_t>(length) + 1);
    text.resize(before + static_cast<size_t>(length));
    return true;
}

} // namespace

bool append_formatted(std::string& text, std::string_view format, size_t limit)
{
    for (size_t at = 0; at < format.size();)
    {
        const size_t percent = std::min(format.find('%', at), format.size());
        text += format.substr(at, percent - at);
        if (percent == format.size())
        {
            break;
        }
        const Conversion found = read_conversion(format, percent);
        at = found.end;
        if (found.letter == '%')
        {
            text += '%';
        }
        else if (is_value(found.letter))
        {
            if (!append_value(text, found, limit))
            {
                return false;
            }
        }
        else if (!is_one_of(found.letter, "ncCm") && found.letter != '\0')
        {
            text += format.substr(percent, found.end - percent);
        }
    }
    return text.size() < limit;
}
