#include "app/AppHeadFormat.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "app/AppText.h"

namespace
{

constexpr char kArgTypes[] = "sdddsdss"; // the eight values of a head
constexpr size_t kArgs = sizeof(kArgTypes) - 1;
constexpr size_t kLongestNumber = 5; // digits of a width or precision

// Goes past a run of digits; false when the run is too long to be meant.
bool skip_number(const std::string& format, size_t& pos)
{
    const size_t start = pos;
    pos = std::min(format.find_first_not_of("0123456789", pos), format.size());
    return pos - start <= kLongestNumber;
}

// Whether C has an integer of that size. A head's numbers are written as the int that they are.
bool is_integer_size(const std::string& size)
{
    static constexpr const char* kSizes[] = {"", "hh", "h", "l", "ll", "j", "z", "t"};
    return std::find(std::begin(kSizes), std::end(kSizes), size) != std::end(kSizes);
}

bool conversion_takes(const CConversion& conversion, char type)
{
    if (conversion.letter == '\0')
    {
        return false;
    }
    if (type == 's')
    {
        return conversion.letter == 's' && conversion.size.empty();
    }
    return std::strchr("diuoxX", conversion.letter) != nullptr && is_integer_size(conversion.size);
}

int head_number(const CHead& head, size_t arg)
{
    switch (arg)
    {
    case 1:
        return head.sid;
    case 2:
        return head.stype;
    case 3:
        return head.stag1;
    default:
        return head.subsys;
    }
}

const char* head_text(const CHead& head, size_t arg)
{
    switch (arg)
    {
    case 0:
        return head.suid;
    case 4:
        return head.sname;
    case 6:
        return head.dtupd;
    default:
        return head.state;
    }
}

} // namespace

CConversion read_conversion(const std::string& format, size_t at)
{
    CConversion found;
    size_t pos = std::min(format.find_first_not_of("-+ #0", at + 1), format.size());
    found.sane = skip_number(format, pos);
    if (pos < format.size() && format[pos] == '.')
    {
        ++pos;
        found.sane = skip_number(format, pos) && found.sane;
    }
    found.plain = format.substr(at, pos - at);
    const size_t letter = std::min(format.find_first_not_of("hljzt", pos), format.size());
    found.size = format.substr(pos, letter - pos);
    pos = letter;
    if (pos < format.size())
    {
        found.letter = format[pos];
        found.plain += found.letter;
        ++pos;
    }
    found.text = format.substr(at, pos - at);
    return found;
}

std::string head_format_problem(const std::string& format)
{
    size_t taken = 0;
    for (size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at))
    {
        if (format.compare(at, 2, "%%") == 0)
        {
            at += 2;
            continue;
        }
        const CConversion found = read_conversion(format, at);
        if (taken >= kArgs)
        {
            return "\"" + found.text + "\" is one conversion too many, there are eight values";
        }
        const char type = kArgTypes[taken];
        if (!found.sane)
        {
            return format_text("conversion %zu is \"%s\", its width or precision is too large",
                               taken + 1, found.text.c_str());
        }
        if (!conversion_takes(found, type))
        {
            return format_text("conversion %zu is \"%s\", a %s is expected", taken + 1,
                               found.text.c_str(), type == 's' ? "text (%s)" : "number (%d)");
        }
        ++taken;
        at += found.text.size();
    }
    return {};
}

std::string head_value(const CConversion& conversion, const CHead& head, size_t arg)
{
    const bool text = kArgTypes[arg] == 's';
    if (conversion.plain == "%s")
    {
        return head_text(head, arg);
    }
    if (conversion.plain == "%d")
    {
        return std::to_string(head_number(head, arg));
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return text ? format_text(conversion.plain.c_str(), head_text(head, arg))
                : format_text(conversion.plain.c_str(), head_number(head, arg));
#pragma GCC diagnostic pop
}
