// Copying one row: the conversions are SQLite's.
#include "vkdb/RowBuffer.h"

#include <array>
#include <charconv>
#include <cstring>

namespace vkdb
{

namespace
{

constexpr std::size_t kKeptBytes = 64 * 1024;

} // namespace

void CRowBuffer::Clear(std::size_t nColumns) noexcept
{
    if (m_vText.capacity() + m_vCell.capacity() * sizeof(CCell) > kKeptBytes)
    {
        std::vector<CCell>().swap(m_vCell);
        std::vector<char>().swap(m_vText);
    }
    m_nColumns = nColumns;
    m_vCell.clear();
    m_vText.clear();
}

bool CRowBuffer::Append(sqlite3_stmt* pStmt)
{
    for (int i = 0; i < static_cast<int>(m_nColumns); ++i)
    {
        const int nType = sqlite3_column_type(pStmt, i);
        const int nValue = sqlite3_column_int(pStmt, i);
        std::size_t iText = kEmpty;
        if (nType == SQLITE_INTEGER)
        {
            iText = AddInteger(sqlite3_column_int64(pStmt, i));
        }
        else if (nType != SQLITE_NULL)
        {
            const void* pText = sqlite3_column_text(pStmt, i);
            if (pText == nullptr && sqlite3_errcode(sqlite3_db_handle(pStmt)) == SQLITE_NOMEM)
            {
                return false;
            }
            const char* szText = pText != nullptr ? static_cast<const char*>(pText) : "";
            iText = AddText(szText, szText + std::strlen(szText));
        }
        m_vCell.push_back({iText, nValue});
    }
    return true;
}

std::size_t CRowBuffer::AddText(const char* pBegin, const char* pEnd)
{
    if (pBegin == pEnd)
    {
        return kEmpty;
    }
    const std::size_t iText = m_vText.size();
    m_vText.insert(m_vText.end(), pBegin, pEnd);
    m_vText.push_back('\0');
    return iText;
}

// What SQLite's own conversion gives, without its allocation.
std::size_t CRowBuffer::AddInteger(sqlite3_int64 nValue)
{
    std::array<char, 24> aDigits = {};
    const auto end = std::to_chars(aDigits.data(), aDigits.data() + aDigits.size(), nValue);
    return AddText(aDigits.data(), end.ptr);
}

} // namespace vkdb
