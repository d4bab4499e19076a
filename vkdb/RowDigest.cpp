// Mixing the cells of rows into one number.
#include "vkdb/RowDigest.h"

#include <functional>
#include <string_view>

namespace vkdb
{

void CRowDigest::Add(const CRowBuffer& rows, std::size_t nRows)
{
    constexpr std::size_t kFactor = 0x9e3779b1U; // odd: loses nothing
    for (std::size_t iRow = 0; iRow < nRows; ++iRow)
    {
        for (std::size_t iColumn = 0; iColumn < rows.Columns(); ++iColumn)
        {
            const std::string_view text = rows.Text(iRow, iColumn);
            m_nHash = m_nHash * kFactor + std::hash<std::string_view>()(text);
            m_nHash = m_nHash * kFactor + static_cast<std::size_t>(rows.Int(iRow, iColumn));
        }
    }
    m_nRows += nRows;
}

} // namespace vkdb
