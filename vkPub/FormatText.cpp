#include "vkPub/FormatText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

// One conversion: "%-5.3ld" is flags "-", width "5", precision ".3" and the letter d.
struct Conversion
{
    std::string spec; // "%", flags, width and precision
    char letter = '\0';
    size_t end = 0; // where the text goes on
};

bool is_one_of(char c, const char* set)
{
    return c != '\0' && std::strchr(set, c) != nullptr;
}

// Takes a width or precision: digits, or "*", whose argument reads 0.
void take_number(std::string_view format, size_t& at, std::string& spec)
{
    if (at < format.size() && format[at] == '*')
    {
        ++at;
        return;
    }
    while (at < format.size() && is_one_of(format[at], "0123456789"))
    {
        spec += format[at++];
    }
}

Conversion read_conversion(std::string_view format, size_t at)
{
    Conversion found;
    found.spec = "%";
    for (++at; at < format.size() && is_one_of(format[at], "-+ #0'I"); ++at)
    {
        found.spec += format[at];
    }
    take_number(format, at, found.spec);
    if (at < format.size() && format[at] == '$') // "%1$d": the position, then flags and width
    {
        found.spec = "%";
        ++at;
        take_number(format, at, found.spec);
    }
    if (at < format.size() && format[at] == '.')
    {
        found.spec += '.';
        take_number(format, ++at, found.spec);
    }
    while (at < format.size() && is_one_of(format[at], "hlLqjzt"))
    {
        ++at; // 0 is 0 in every size
    }
    if (at < format.size())
    {
        found.letter = format[at++];
    }
    found.end = at;
    return found;
}

// What the conversion prints, into a buffer of that size; the length as snprintf tells it.
int print(const Conversion& conversion, char* out, size_t size)
{
    const std::string spec = conversion.spec + conversion.letter;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (is_one_of(conversion.letter, "diouxX"))
    {
        return std::snprintf(out, size, spec.c_str(), 0);
    }
    if (is_one_of(conversion.letter, "eEfFgGaA"))
    {
        return std::snprintf(out, size, spec.c_str(), 0.0);
    }
    if (conversion.letter == 'p')
    {
        return std::snprintf(out, size, spec.c_str(), static_cast<void*>(nullptr));
    }
    const std::string text = conversion.spec + "s";
    return std::snprintf(out, size, text.c_str(), "");
#pragma GCC diagnostic pop
}

bool append_value(std::string& text, const Conversion& conversion, size_t limit)
{
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
        else if (is_one_of(found.letter, "diouxXeEfFgGaApsS"))
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
