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
    // Empties the buffer for rows of column_count columns; keeps a moderate amount of memory. Needs
    // none: a query can be freed when there is no more.
    void Clear(size_t column_count) noexcept;

    // Copies the statement's current row. False when memory ran out while SQLite converted it,
    // std::bad_alloc when it ran out here: the rows before it are whole, none can follow.
    bool Append(sqlite3_stmt* stmt);

    size_t Columns() const { return m_nColumns; }

    // A row of which only a part was copied does not count.
    size_t Rows() const { return m_nColumns == 0 ? 0 : m_vCell.size() / m_nColumns; }

    // Memory that the rows take, in bytes.
    size_t Bytes() const { return m_vText.size() + m_vCell.size() * sizeof(CCell); }

    // The row and the column must exist.
    int Int(size_t row, size_t column) const { return Cell(row, column).value; }
    const char* Text(size_t row, size_t column) const
    {
        const size_t text_at = Cell(row, column).text_at;
        return text_at == kEmpty ? "" : &m_vText[text_at];
    }

private:
    static constexpr size_t kEmpty = SIZE_MAX;

    struct CCell
    {
        size_t text_at; // where its text begins in m_vText; kEmpty: nowhere
        int value;
    };

    const CCell& Cell(size_t row, size_t column) const
    {
        return m_vCell[row * m_nColumns + column];
    }
    size_t AddText(const char* begin, const char* end);
    size_t AddInteger(sqlite3_int64 value);

    size_t m_nColumns = 0;
    std::vector<CCell> m_vCell; // row after row
    std::vector<char> m_vText;  // the texts, each with its NUL
};

} // namespace vkdb
