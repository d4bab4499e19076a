#include "app/AppBodyWriter.h"

#include <algorithm>
#include <cstring>

#include "vkPub/vkLog.h"

namespace
{

constexpr int kNamesShown = 5; // in the line about what was left out
constexpr size_t kNameShownBytes = 48;

} // namespace

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

void CBodyWriter::LeaveOut(const char* group, BodyPart part, const PartSource& source)
{
    body_left_out(part, source, LeftOut::kNoRoom);
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

void CBodyWriter::Pair(const std::string& name, const std::string& value, const PartSource& source)
{
    if (value.empty())
    {
        body_left_out(BodyPart::kPair, source, LeftOut::kEmpty);
        return;
    }
    Field(name, value, source);
}

void CBodyWriter::Field(const std::string& name, const std::string& value, const PartSource& source)
{
    const size_t before = m_pos;
    if (!Put("&", 1) || !Put(name.data(), name.size()) || !Put("=", 1) ||
        !Put(value.data(), value.size()))
    {
        m_pos = before;
        m_buffer[m_pos] = '\0';
        LeaveOut(name.c_str(), BodyPart::kPair, source);
        return;
    }
    body_part(BodyPart::kPair, m_buffer + before, m_pos - before, source);
}

void CBodyWriter::Group(const std::string& pairs, const PartSource& source)
{
    if (!Put(pairs.data(), pairs.size()))
    {
        LeaveOut(pairs.c_str(), BodyPart::kGroup, source);
        return;
    }
    body_part(BodyPart::kGroup, m_buffer + m_pos - pairs.size(), pairs.size(), source);
}

// Where Head stands in the format, and which value comes next.
struct CBodyWriter::HeadCursor
{
    const std::string& format;
    size_t at = 0;
    size_t arg = 0;
};

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
        const CConversion conversion = read_conversion(format, percent);
        const std::string value = head_value(conversion, head, cursor.arg++);
        fits = fits && Put(value.data(), value.size());
        cursor.at += conversion.text.size();
    }
    return fits;
}

void CBodyWriter::Head(const std::string& format, const CHead& head)
{
    body_begun(head);
    HeadCursor cursor{format};
    bool needs_no_separator = false; // what came before was left out
    while (cursor.at < format.size())
    {
        const size_t group = cursor.at;
        const size_t before = m_pos;
        const size_t first = cursor.arg;
        if (needs_no_separator && format[group] == '&')
        {
            ++cursor.at;
        }
        const bool fits = HeadGroup(cursor, head);
        const PartSource source{PartOrigin::kHead, head.rows, nullptr,
                                static_cast<int>(cursor.arg - first)};
        if (!fits)
        {
            m_pos = before;
            m_buffer[m_pos] = '\0';
            LeaveOut(format.c_str() + group, BodyPart::kHead, source);
            needs_no_separator = needs_no_separator || group == 0;
            continue;
        }
        needs_no_separator = false;
        body_part(BodyPart::kHead, m_buffer + before, m_pos - before, source);
    }
}
