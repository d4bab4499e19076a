// Mixing the cells of rows into one number.
#include "vkdb/RowDigest.h"

#include <functional>
#include <string_view>

namespace vkdb
{

void CRowDigest::Add(const CRowBuffer& rows, size_t row_count)
{
    constexpr size_t kFactor = 0x9e3779b1U; // odd: loses nothing
    for (size_t row = 0; row < row_count; ++row)
    {
        for (size_t column = 0; column < rows.Columns(); ++column)
        {
            const std::string_view text = rows.Text(row, column);
            m_nHash = m_nHash * kFactor + std::hash<std::string_view>()(text);
            m_nHash = m_nHash * kFactor + static_cast<size_t>(rows.Int(row, column));
        }
    }
    m_nRows += row_count;
}

} // namespace vkdb
