// What identifies a sequence of rows without keeping them.
//
// Made from what a caller can see of the rows, the text and the integer of every cell. Two equal
// digests are two equal sequences, but for a chance of one in 2^32 or less. One thread at a time.
#pragma once

#include "vkdb/RowBuffer.h"

#include <cstddef>

namespace vkdb
{

class CRowDigest
{
public:
    // Appends the first row_count rows of the buffer to the sequence; it must have them.
    void Add(const CRowBuffer& rows, size_t row_count);

    size_t Rows() const { return m_nRows; }

    bool operator==(const CRowDigest& other) const
    {
        return m_nRows == other.m_nRows && m_nHash == other.m_nHash;
    }

private:
    size_t m_nRows = 0;
    size_t m_nHash = 0;
};

} // namespace vkdb
