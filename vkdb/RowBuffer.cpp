// Copying one row: the conversions are SQLite's.
#include "vkdb/RowBuffer.h"

#include <array>
#include <charconv>
#include <cstring>

namespace vkdb
{

namespace
{

constexpr size_t kKeptBytes = 64 * 1024;

} // namespace

void CRowBuffer::Clear(size_t column_count) noexcept
{
    if (m_vText.capacity() + m_vCell.capacity() * sizeof(CCell) > kKeptBytes)
    {
        std::vector<CCell>().swap(m_vCell);
        std::vector<char>().swap(m_vText);
    }
    m_nColumns = column_count;
    m_vCell.clear();
    m_vText.clear();
}

bool CRowBuffer::Append(sqlite3_stmt* stmt)
{
    for (int i = 0; i < static_cast<int>(m_nColumns); ++i)
    {
        const int type = sqlite3_column_type(stmt, i);
        const int value = sqlite3_column_int(stmt, i);
        size_t text_at = kEmpty;
        if (type == SQLITE_INTEGER)
        {
            text_at = AddInteger(sqlite3_column_int64(stmt, i));
        }
        else if (type != SQLITE_NULL)
        {
            const void* raw = sqlite3_column_text(stmt, i);
            if (raw == nullptr && sqlite3_errcode(sqlite3_db_handle(stmt)) == SQLITE_NOMEM)
            {
                return false;
            }
            const char* text = raw != nullptr ? static_cast<const char*>(raw) : "";
            text_at = AddText(text, text + std::strlen(text));
        }
        m_vCell.push_back({text_at, value});
    }
    return true;
}

size_t CRowBuffer::AddText(const char* begin, const char* end)
{
    if (begin == end)
    {
        return kEmpty;
    }
    const size_t text_at = m_vText.size();
    m_vText.insert(m_vText.end(), begin, end);
    m_vText.push_back('\0');
    return text_at;
}

// What SQLite's own conversion gives, without its allocation.
size_t CRowBuffer::AddInteger(sqlite3_int64 value)
{
    std::array<char, 24> digits = {};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return AddText(digits.data(), end.ptr);
}

} // namespace vkdb
