// Reading a result ahead of its caller.
#include "vkdb/Query.h"

#include <limits>
#include <utility>

namespace vkdb
{

namespace
{

bool may_have_passed(const std::exception_ptr& failure)
{
    try
    {
        std::rethrow_exception(failure);
    }
    catch (const CSqliteFailure& e)
    {
        return e.IsPassing() || e.IsAccident();
    }
    catch (...) // memory ran out, and may be there again
    {
        return true;
    }
}

} // namespace

void CQuery::Start(std::shared_ptr<CConnection> conn, const char* sql)
{
    End();
    m_conn = std::move(conn);
    m_owner = std::this_thread::get_id();
    try
    {
        ReadFirst(sql);
    }
    catch (...)
    {
        End();
        throw;
    }
}

void CQuery::ReadFirst(const char* sql)
{
    m_stmt = m_conn->Take(sql);
    if (!m_stmt || sqlite3_column_count(m_stmt.get()) == 0)
    {
        throw CSqliteFailure(SQLITE_ERROR, "not a statement that returns rows");
    }

    // Names only after the first step: a table that changed since it was last read is noticed
    // there, and "select *" may have other columns afterwards.
    const bool has_row = FirstStep();
    m_names = m_stmt.Names();
    m_rows.Clear(static_cast<size_t>(m_names.Count()));
    if (!has_row)
    {
        m_stmt.reset();
        return;
    }
    CConnection::KeepRow(m_rows, m_stmt.get());
    ReadRows(kFirstRows, kFirstBytes);
}

void CQuery::Next()
{
    if (AtEnd())
    {
        return;
    }
    ++m_iRow;
    if (m_stmt)
    {
        if (AtEnd())
        {
            m_gone.Add(m_rows, m_rows.Rows());
            m_iRow = 0;
            m_rows.Clear(static_cast<size_t>(m_names.Count()));
        }
        ReadRows(std::numeric_limits<size_t>::max(), kReadAheadBytes);
    }
    if (AtEnd() && m_failure)
    {
        std::rethrow_exception(m_failure);
    }
}

void CQuery::End()
{
    m_stmt.reset();
    m_conn.reset();
    m_names.Clear();
    m_gone = {};
    m_rows.Clear(0);
    m_iRow = 0;
    m_failure = nullptr;
}

// Throws nothing: a failure stays behind the rows that came before it.
void CQuery::ReadRows(size_t max_rows, size_t max_bytes)
{
    try
    {
        Fill(m_rows, max_rows, max_bytes);
        return;
    }
    catch (...)
    {
        m_failure = std::current_exception();
    }
    for (int attempt = 1; attempt < kReadTries && may_have_passed(m_failure); ++attempt)
    {
        if (ReadAgain(max_rows, max_bytes))
        {
            m_failure = nullptr;
            return;
        }
    }
    m_stmt.reset();
}

// Runs the statement from its beginning and reads what the caller has not seen. False when that
// failed, or when he has seen other rows than there are now: the rows read before stay then.
bool CQuery::ReadAgain(size_t max_rows, size_t max_bytes)
{
    try
    {
        CRowDigest seen = m_gone;
        seen.Add(m_rows, m_iRow);
        sqlite3_reset(m_stmt.get()); // gives the failure once more
        bool has_row = FirstStep();
        if ((has_row && !m_names.AreThoseOf(m_stmt.get())) || !SkipSeen(seen, has_row))
        {
            return false;
        }
        CRowBuffer unseen;
        unseen.Clear(static_cast<size_t>(m_names.Count()));
        if (has_row)
        {
            CConnection::KeepRow(unseen, m_stmt.get());
            Fill(unseen, max_rows, max_bytes);
        }
        else
        {
            m_stmt.reset();
        }
        m_gone = seen;
        m_rows = std::move(unseen);
        m_iRow = 0;
        return true;
    }
    catch (...) // the first failure is the one to tell
    {
        return false;
    }
}

// Steps from the first row to the one that the caller has not seen; has_row: there is a current
// one. False when the rows before it are others than those that he has seen.
bool CQuery::SkipSeen(const CRowDigest& seen, bool& has_row)
{
    CRowDigest found;
    CRowBuffer row;
    for (; has_row && found.Rows() < seen.Rows(); has_row = m_conn->Step(m_stmt.get()))
    {
        row.Clear(static_cast<size_t>(m_names.Count()));
        CConnection::KeepRow(row, m_stmt.get());
        found.Add(row, 1);
    }
    return found == seen;
}

void CQuery::Fill(CRowBuffer& rows, size_t max_rows, size_t max_bytes)
{
    while (rows.Rows() < max_rows && rows.Bytes() < max_bytes)
    {
        if (!m_conn->Step(m_stmt.get()))
        {
            m_stmt.reset();
            return;
        }
        CConnection::KeepRow(rows, m_stmt.get());
    }
}

// False at the end of the result.
bool CQuery::FirstStep()
{
    m_conn->BeginRead();
    const bool has_row = m_conn->Step(m_stmt.get());
    m_conn->NoticeChange();
    return has_row;
}

bool CQuery::HasCell(int column) const
{
    return column >= 0 && column < m_names.Count() && !AtEnd();
}

int CQuery::Int(int column) const
{
    return HasCell(column) ? m_rows.Int(m_iRow, static_cast<size_t>(column)) : 0;
}

const char* CQuery::Text(int column) const
{
    return HasCell(column) ? m_rows.Text(m_iRow, static_cast<size_t>(column)) : "";
}

} // namespace vkdb
