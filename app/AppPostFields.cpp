// Form bodies: the head from Fmt0, the pairs of the mapped columns, and the writer that keeps
// both inside their buffer.
#include "app/AppInternal.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "vkPub/vkLog.h"

namespace
{

constexpr char kFieldSection[] = "POST.xFld";
constexpr char kArgTypes[] = "sdddsdss"; // the eight values of a head
constexpr size_t kArgs = sizeof(kArgTypes) - 1;
constexpr size_t kLongestNumber = 5; // digits of a width or precision
constexpr int kNamesShown = 5;       // in the line about what was left out
constexpr size_t kNameShownBytes = 48;

// One conversion of a format: "%-5.3ld" is flags "-", width, precision, size and the letter.
struct Conversion
{
    std::string text;  // from "%" to the letter
    std::string plain; // the same without its size: the numbers of a head are all int
    std::string size;  // "l" and the like
    char letter = '\0';
    bool sane = true; // no "*", no position, no endless width
};

// Goes past a run of digits; false when the run is too long to be meant.
bool skip_number(const std::string& format, size_t& pos)
{
    const size_t start = pos;
    pos = std::min(format.find_first_not_of("0123456789", pos), format.size());
    return pos - start <= kLongestNumber;
}

Conversion read_conversion(const std::string& format, size_t at)
{
    Conversion found;
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

// Whether C has an integer of that size. A head's numbers are written as the int that they are.
bool is_integer_size(const std::string& size)
{
    static constexpr const char* kSizes[] = {"", "hh", "h", "l", "ll", "j", "z", "t"};
    return std::find(std::begin(kSizes), std::end(kSizes), size) != std::end(kSizes);
}

bool conversion_takes(const Conversion& conversion, char type)
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

// One bit of a value has its own label; a bit without one still separates.
std::string bit_labels(const SimpleIni& ini, const std::string& key, int value, int bits)
{
    std::string text;
    for (int bit = 0; bit < bits; ++bit)
    {
        if ((static_cast<unsigned>(value) >> bit & 1U) == 0)
        {
            continue;
        }
        if (!text.empty())
        {
            text += ' ';
        }
        text += ini.GetValue(kFieldSection, key + std::to_string(bit), "");
    }
    return text;
}

bool is_whole_byte(int value)
{
    return value == 0x00 || value == 0x0F || value == 0xF0 || value == 0xFF;
}

} // namespace

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
        const Conversion found = read_conversion(format, at);
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

CBodyWriter::CBodyWriter(char* buffer, size_t size, int iPos)
    : m_buffer(buffer), m_size(size), m_start(static_cast<size_t>(iPos)), m_pos(m_start)
{
    m_buffer[m_pos] = '\0';
}

bool CBodyWriter::Put(const char* text, size_t length)
{
    if (length >= m_size - m_pos)
    {
        return false;
    }
    std::memcpy(m_buffer + m_pos, text, length);
    m_pos += length;
    m_buffer[m_pos] = '\0';
    return true;
}

void CBodyWriter::LeaveOut(const char* group)
{
    if (m_leftOut < kNamesShown)
    {
        const char* name = *group == '&' ? group + 1 : group;
        const size_t length = std::min(std::strcspn(name, "="), kNameShownBytes);
        m_leftOutNames += (m_leftOut > 0 ? ", " : "") + std::string(name, length);
    }
    ++m_leftOut;
}

void CBodyWriter::LogLeftOut(const char* what, int number) const
{
    if (m_leftOut > 0)
    {
        VKLOG_TRACE("   %s=%d: body of %zu bytes is full, left out %d: %s%s\n", what, number,
                    m_size, m_leftOut, m_leftOutNames.c_str(),
                    m_leftOut > kNamesShown ? ", ..." : "");
    }
}

void CBodyWriter::Pair(const std::string& name, const std::string& value)
{
    if (!value.empty())
    {
        Field(name, value);
    }
}

void CBodyWriter::Field(const std::string& name, const std::string& value)
{
    const size_t before = m_pos;
    if (!Put("&", 1) || !Put(name.data(), name.size()) || !Put("=", 1) ||
        !Put(value.data(), value.size()))
    {
        m_pos = before;
        m_buffer[m_pos] = '\0';
        LeaveOut(name.c_str());
        return;
    }
    body_part(BodyPart::kPair, m_buffer + before, m_pos - before);
}

void CBodyWriter::Group(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(m_buffer + m_pos, m_size - m_pos, format, args);
    if (length >= 0 && static_cast<size_t>(length) < m_size - m_pos)
    {
        m_pos += static_cast<size_t>(length);
        body_part(BodyPart::kGroup, m_buffer + m_pos - length, static_cast<size_t>(length));
    }
    else
    {
        m_buffer[m_pos] = '\0';
        char shown[kNameShownBytes + 2] = "";
        std::vsnprintf(shown, sizeof(shown), format, again);
        LeaveOut(shown);
    }
    va_end(again);
    va_end(args);
}

// Where Head stands in the format, and which value comes next.
struct CBodyWriter::HeadCursor
{
    const std::string& format;
    size_t at = 0;
    size_t arg = 0;
};

namespace
{

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

// The next value, formatted as its conversion says. The format passed head_format_problem, so
// the conversion takes this value and nothing else.
std::string head_value(const Conversion& conversion, const CHead& head, size_t arg)
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

} // namespace

// Writes the format up to the next "&" behind its first character. False when it does not fit;
// the cursor moves on all the same.
bool CBodyWriter::HeadGroup(HeadCursor& cursor, const CHead& head)
{
    const std::string& format = cursor.format;
    const size_t end = std::min(format.find('&', cursor.at + 1), format.size());
    bool fits = true;
    while (cursor.at < end)
    {
        const size_t percent = std::min(format.find('%', cursor.at), end);
        fits = fits && Put(format.data() + cursor.at, percent - cursor.at);
        cursor.at = percent;
        if (percent == end)
        {
            break;
        }
        if (format.compare(percent, 2, "%%") == 0)
        {
            fits = fits && Put("%", 1);
            cursor.at += 2;
            continue;
        }
        const Conversion conversion = read_conversion(format, percent);
        const std::string value = head_value(conversion, head, cursor.arg++);
        fits = fits && Put(value.data(), value.size());
        cursor.at += conversion.text.size();
    }
    return fits;
}

void CBodyWriter::Head(const std::string& format, const CHead& head)
{
    HeadCursor cursor{format};
    bool needsNoSeparator = false; // what came before was left out
    while (cursor.at < format.size())
    {
        const size_t group = cursor.at;
        const size_t before = m_pos;
        if (needsNoSeparator && format[group] == '&')
        {
            ++cursor.at;
        }
        if (!HeadGroup(cursor, head))
        {
            m_pos = before;
            m_buffer[m_pos] = '\0';
            LeaveOut(format.c_str() + group);
            needsNoSeparator = needsNoSeparator || group == 0;
            continue;
        }
        needsNoSeparator = false;
        body_part(BodyPart::kHead, m_buffer + before, m_pos - before);
    }
}

void CAppPost::GetQryFld(int iqry, int iFld, int iType, std::string& sName, std::string& sVal)
{
    sName = text_or_empty(pDb->QryFldName(iqry, iFld));
    sVal.clear();
    const std::string key = std::to_string(iType) + "." + sName;
    const int kind = m_ini.GetValue<int>(kFieldSection, key, 0);

    if (kind < 1 || kind > 4)
    {
        sVal = text_or_empty(pDb->QryGetStrAt(iqry, iFld));
        return;
    }
    const int value = pDb->QryGetIntAt(iqry, iFld);
    if (kind == 1)
    {
        const std::string fallback = m_ini.GetValue(kFieldSection, key + "x", "");
        sVal = m_ini.GetValue(kFieldSection, key + std::to_string(value), fallback);
    }
    else if (kind == 2 && is_whole_byte(value))
    {
        // A whole byte's text wins over the labels of its bits, also when there is none.
        sVal = m_ini.GetValue(kFieldSection,
                              key + format_text("%02X", static_cast<unsigned>(value)), "");
    }
    else
    {
        sVal = bit_labels(m_ini, key, value, (kind - 1) * 8);
    }
}

CHead row_head(CAppPost& app, int iqry, const char* dtupd)
{
    DbDatabase& db = *app.pDb;
    return {app.m_strDept.c_str(),
            db.QryGetInt(iqry, "SID"),
            db.QryGetInt(iqry, "Type"),
            db.QryGetInt(iqry, "Tag1"),
            text_or_empty(db.QryGetStr(iqry, "Name")),
            db.QryGetInt(iqry, "ASubSys"),
            dtupd,
            app.GetState(db.QryGetInt(iqry, "State"))};
}

void append_columns(CAppPost& app, CBodyWriter& body, int iqry, int type, int first, int end)
{
    std::string name;
    std::string value;
    for (int column = std::max(first, 0); column < end; ++column)
    {
        app.GetQryFld(iqry, column, type, name, value);
        body.Pair(name, value);
    }
}
