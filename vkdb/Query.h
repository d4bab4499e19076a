// One query: the running statement, its column names and the rows read so far.
//
// Rows are read ahead, so that a caller that takes long over a row (posts it over the network)
// does not keep writers out of the database meanwhile: Start reads a first few rows, the first
// Next the rest. With the last row read the statement ends, and with it the database's read lock.
// Only a result larger than kReadAheadBytes keeps its lock while the caller walks it. Either way
// the rows of one query are one state of the database.
//
// For its caller all that is as if each row were read when it is asked for. A failure behind some
// rows waits until the caller steps onto the row that could not be read. Before that the statement
// is run again, if the failure may have passed: what the caller has seen must come again as it was,
// so that his rows stay one state of the database.
//
// Owns statement and rows; shares the connection until End. Start, Next and End use the connection
// (the caller holds the database object's mutex); everything else touches only the query's own
// memory. A text or name stays valid until Next, End or Start.
// Failure: Start and Next throw CSqliteFailure, or std::bad_alloc. A query whose Next failed has no
// more rows.
#pragma once

#include "vkdb/ColumnNames.h"
#include "vkdb/Connection.h"
#include "vkdb/RowBuffer.h"
#include "vkdb/RowDigest.h"

#include <exception>
#include <memory>
#include <thread>

namespace vkdb
{

class CQuery
{
public:
    // What Start reads at least at once, if there are as many rows: little, since some callers
    // want the first row of a long result and no more.
    static constexpr size_t kFirstRows = 64;
    static constexpr size_t kFirstBytes = 64 * 1024;
    static constexpr size_t kReadAheadBytes = 4 * 1024 * 1024;
    static constexpr int kReadTries = 3; // of rows that follow the first

    // Runs a statement that returns rows, up to its first row. On failure the query is not open.
    void Start(std::shared_ptr<CConnection> conn, const char* sql);

    // Steps to the next row. Harmless past the last one.
    void Next();

    // Ends the query and gives everything back. Harmless when it is not open.
    void End();

    bool IsOpen() const { return m_conn != nullptr; }

    // The thread whose unit of work the query belongs to.
    bool IsMine() const { return m_owner == std::this_thread::get_id(); }

    bool AtEnd() const { return m_iRow >= m_rows.Rows(); }
    CColumnNames& Names() { return m_names; }

    // The current row's cell; 0 and the empty text when there is no such row or column.
    int Int(int column) const;
    const char* Text(int column) const;

private:
    bool HasCell(int column) const;
    void ReadFirst(const char* sql);
    void ReadRows(size_t max_rows, size_t max_bytes);
    bool ReadAgain(size_t max_rows, size_t max_bytes);
    bool SkipSeen(const CRowDigest& seen, bool& has_row);
    void Fill(CRowBuffer& rows, size_t max_rows, size_t max_bytes);
    bool FirstStep();

    std::shared_ptr<CConnection> m_conn; // null when the query is not open
    CStatementLease m_stmt;              // null as soon as no more rows will be read
    CColumnNames m_names;
    CRowDigest m_gone;            // the rows before those of m_rows
    CRowBuffer m_rows;            // read and kept
    size_t m_iRow = 0;            // the current row, in m_rows
    std::exception_ptr m_failure; // of the row behind m_rows; null: none so far
    std::thread::id m_owner;
};

} // namespace vkdb
