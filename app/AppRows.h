// The rows of one query.
#pragma once

#include <string>

#include "db/DbInterface.h"

// Starts a query, steps through its rows and gives it back.
//
// Borrows the database, which must outlive it. Columns are found by name or by number (from 0).
// Failure: exceptions of the database pass to the caller; the query stays open then, and the
// destructor frees it without a further word, since the failure that led there is being handled.
// Where and when a query is freed is part of the behaviour: who goes on after a query calls Free,
// and where an exception ends up the object stands outside of the handler, which comes first.
// One thread: that of its database.
class CRows
{
public:
    // What becomes of a query that is still open at the end of this object.
    enum class AtEnd
    {
        kFreed,
        kLeft // open, to whoever handles the failure
    };

    explicit CRows(DbDatabase& db, AtEnd at_end = AtEnd::kFreed) : m_db(db), m_atEnd(at_end) {}
    ~CRows();
    CRows(const CRows&) = delete;
    CRows& operator=(const CRows&) = delete;

    // Starts the query. False when it cannot be started now.
    bool Open(const std::string& sql);

    bool IsOpen() const { return m_iqry >= 0; }
    int Index() const { return m_iqry; } // the database's; negative: its answer, or none yet

    bool End() const { return m_db.QryEof(m_iqry); } // no current row
    void Next() { m_db.QryNext(m_iqry); }

    // Of the current row. Texts are never null, and valid until Next and Free.
    int Int(const char* column) const { return m_db.QryGetInt(m_iqry, column); }
    const char* Str(const char* column) const;

    int Columns() const { return m_db.QryFldCount(m_iqry); }

    // Gives the query back. What the database throws leaves it open.
    void Free();
    void FreeQuietly(); // if it is open; what the database throws says nothing new

    DbDatabase& Db() const { return m_db; }

private:
    DbDatabase& m_db;
    AtEnd m_atEnd;
    int m_iqry = -1;
};
