// Reading a result ahead of its caller.
#include "vkdb/Query.h"

#include <limits>

namespace vkdb
{

void CQuery::Start(std::shared_ptr<CConnection> conn, const char* szSql)
{
    End();
    m_conn = std::move(conn);
    m_owner = std::this_thread::get_id();
    try
    {
        ReadFirst(szSql);
    }
    catch (...)
    {
        End();
        throw;
    }
}

void CQuery::ReadFirst(const char* szSql)
{
    m_stmt = m_conn->Prepare(szSql);
    if (!m_stmt || sqlite3_column_count(m_stmt.get()) == 0)
    {
        throw CSqliteFailure(SQLITE_ERROR, "not a statement that returns rows");
    }

    // Names only after the first step: a table that changed since it was last read is noticed
    // there, and "select *" may have other columns afterwards.
    const bool bRow = Step();
    m_names.Load(m_stmt.get());
    m_rows.Clear(static_cast<std::size_t>(m_names.Count()));
    if (!bRow)
    {
        m_stmt.reset();
        return;
    }
    KeepRow();
    ReadRows(kFirstRows, kFirstBytes);
}

void CQuery::Next()
{
    if (AtEnd())
    {
        return;
    }
    ++m_iRow;
    if (!m_stmt)
    {
        return;
    }
    if (AtEnd())
    {
        m_rows.Clear(static_cast<std::size_t>(m_names.Count()));
        m_iRow = 0;
    }
    else if (m_bWalked)
    {
        return; // rows enough for now
    }
    m_bWalked = true;
    ReadRows(std::numeric_limits<std::size_t>::max(), kReadAheadBytes);
}

void CQuery::End()
{
    m_stmt.reset();
    m_conn.reset();
    m_names.Clear();
    m_rows.Clear(0);
    m_iRow = 0;
    m_bWalked = false;
}

// On failure the rows that came before are dropped, too: a part of a result must not look like
// the whole of it.
void CQuery::ReadRows(std::size_t nMaxRows, std::size_t nMaxBytes)
{
    try
    {
        while (m_rows.Rows() < nMaxRows && m_rows.Bytes() < nMaxBytes)
        {
            if (!Step())
            {
                m_stmt.reset();
                return;
            }
            KeepRow();
        }
    }
    catch (...)
    {
        m_stmt.reset();
        m_rows.Clear(0);
        throw;
    }
}

// False at the end of the result.
bool CQuery::Step()
{
    const int rc = sqlite3_step(m_stmt.get());
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
    {
        throw CSqliteFailure::Of(m_conn->Handle());
    }
    return rc == SQLITE_ROW;
}

void CQuery::KeepRow()
{
    if (!m_rows.Append(m_stmt.get()))
    {
        throw CSqliteFailure(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM));
    }
}

bool CQuery::HasCell(int iColumn) const
{
    return iColumn >= 0 && iColumn < m_names.Count() && !AtEnd();
}

int CQuery::Int(int iColumn) const
{
    return HasCell(iColumn) ? m_rows.Int(m_iRow, static_cast<std::size_t>(iColumn)) : 0;
}

const char* CQuery::Text(int iColumn) const
{
    return HasCell(iColumn) ? m_rows.Text(m_iRow, static_cast<std::size_t>(iColumn)) : "";
}

} // namespace vkdb
