// Rows copied out of a running statement.
//
// Owns the copies: a cell's text stays in place until the next Append or Clear. Every cell is kept
// both as SQLite's text of the value and as its integer, so reading one costs an index. One thread
// at a time.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vkdb
{

class CRowBuffer
{
public:
    // Empties the buffer for rows of nColumns columns; keeps a moderate amount of memory. Needs
    // none: a query can be freed when there is no more.
    void Clear(std::size_t nColumns) noexcept;

    // Copies the statement's current row. False when memory ran out while SQLite converted it,
    // std::bad_alloc when it ran out here: the rows before it are whole, none can follow.
    bool Append(sqlite3_stmt* pStmt);

    std::size_t Columns() const { return m_nColumns; }

    // A row of which only a part was copied does not count.
    std::size_t Rows() const { return m_nColumns == 0 ? 0 : m_vCell.size() / m_nColumns; }

    // Memory that the rows take, in bytes.
    std::size_t Bytes() const { return m_vText.size() + m_vCell.size() * sizeof(CCell); }

    // The row and the column must exist.
    int Int(std::size_t iRow, std::size_t iColumn) const { return Cell(iRow, iColumn).nValue; }
    const char* Text(std::size_t iRow, std::size_t iColumn) const
    {
        const std::size_t iText = Cell(iRow, iColumn).iText;
        return iText == kEmpty ? "" : &m_vText[iText];
    }

private:
    static constexpr std::size_t kEmpty = SIZE_MAX;

    struct CCell
    {
        std::size_t iText; // where its text begins in m_vText; kEmpty: nowhere
        int nValue;
    };

    const CCell& Cell(std::size_t iRow, std::size_t iColumn) const
    {
        return m_vCell[iRow * m_nColumns + iColumn];
    }
    std::size_t AddText(const char* pBegin, const char* pEnd);
    std::size_t AddInteger(sqlite3_int64 nValue);

    std::size_t m_nColumns = 0;
    std::vector<CCell> m_vCell; // row after row
    std::vector<char> m_vText;  // the texts, each with its NUL
};

} // namespace vkdb
