// The column names of one result, and the look-up of a column by its name.
//
// Owns copies of the names; they stay until the next Load. The look-up table is made with them and
// copied with them, so a Find costs one hash of the name and one comparison, whatever the number
// of columns. One thread at a time.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vkdb
{

class CColumnNames
{
public:
    // Takes over the names of a statement's result. False when memory ran out for one, which is
    // empty then.
    bool Load(sqlite3_stmt* stmt);
    void Clear();

    // True when the statement's result has these names, in this order.
    bool AreThoseOf(sqlite3_stmt* stmt) const;

    int Count() const { return static_cast<int>(m_vStart.size()); }

    // The name as SQLite reports it; the empty text beyond the result. Never null.
    const char* Name(int column) const;

    // The first column of that name in the result's order; the case of ASCII letters does not
    // count, as for column names in SQL. -1 when there is none.
    int Find(const char* name);

private:
    void BuildIndex();

    std::string m_strNames;        // the names, each with its NUL
    std::vector<size_t> m_vStart;  // per column: where its name begins
    std::vector<uint16_t> m_vHash; // open addressing: column + 1, 0 is free; size 2^n
};

} // namespace vkdb
