// Units of work and queries by index.
#include "vkdb/Database.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vkdb
{

namespace
{

constexpr int kShortRead = -2; // Open's mode; every other one reads and writes

const char* text_or_empty(const char* szText)
{
    return szText != nullptr ? szText : "";
}

// The column's position in the query's result; throws when the result lacks it.
int column_of(CQuery& query, const char* szName)
{
    const int iColumn = query.Names().Find(text_or_empty(szName));
    if (iColumn < 0)
    {
        const std::string strMessage = std::string("no such column: ") + text_or_empty(szName);
        throw CppSQLite3Exception(SQLITE_ERROR, strMessage.c_str());
    }
    return iColumn;
}

// Lets the connection find out whether it is stale.
void meet_damage(CConnection& conn)
{
    try
    {
        conn.CheckUsable();
    }
    catch (const CSqliteFailure&) // another one is being told
    {
    }
}

} // namespace

CDatabase::CDatabase(std::string strPath, int nBusyMs, Policy policy)
    : m_strPath(std::move(strPath)), m_nBusyMs(nBusyMs), m_policy(policy), m_strTarget(m_strPath),
      m_access(AccessOf(0))
{
    try
    {
        Connect();
    }
    catch (const CSqliteFailure&) // connects later, see the header
    {
    }
    catch (const std::bad_alloc&)
    {
    }
}

Access CDatabase::AccessOf(int mode) const
{
    if (m_policy == Policy::kNoTouch)
    {
        return Access::kNoTouch;
    }
    return mode == kShortRead ? Access::kReadOnly : Access::kReadWrite;
}

bool CDatabase::Open(const char* path, int mode)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_strTarget = path != nullptr ? path : m_strPath;
    m_access = AccessOf(mode);
    try
    {
        WithTries(
            [this]
            {
                Connect();
                m_conn->CheckUsable();
            });
    }
    catch (const CSqliteFailure&)
    {
        return false; // the reason comes with the first query, see the header
    }
    return true;
}

int CDatabase::Close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (CQuery& query : m_aQuery)
    {
        if (query.IsOpen() && query.IsMine())
        {
            query.End();
        }
    }
    if (m_conn)
    {
        m_conn->Rollback();
    }
    if (m_conn && m_conn->IsStale())
    {
        m_conn
            .reset(); // now: the next unit may be long in coming, and a lock would stay until then
    }
    return 0;
}

int CDatabase::Exec(const char* sql)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    try
    {
        StayConnected();
        return m_conn->Exec(text_or_empty(sql));
    }
    catch (const CSqliteFailure& failure)
    {
        throw failure.Exception();
    }
}

int CDatabase::QryExec(const char* sql, int iqry)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const int iPicked = PickIndex(iqry);
    return iPicked < 0 ? -1 : StartQuery(iPicked, text_or_empty(sql));
}

int CDatabase::StartQuery(int iqry, const char* szSql)
{
    CQuery& query = m_aQuery[static_cast<std::size_t>(iqry)];
    try
    {
        WithTries(
            [&]
            {
                StayConnected();
                query.Start(m_conn, szSql);
            });
    }
    catch (const CSqliteFailure& failure)
    {
        if (failure.IsPassing())
        {
            return -1;
        }
        throw failure.Exception();
    }
    return iqry;
}

// -1 when the wanted index does not exist or none is free.
int CDatabase::PickIndex(int iqry) const
{
    if (iqry >= 0)
    {
        return iqry < kQueries ? iqry : -1;
    }
    const auto* pFree = std::find_if(m_aQuery.begin(), m_aQuery.end(),
                                     [](const CQuery& query) { return !query.IsOpen(); });
    return pFree == m_aQuery.end() ? -1 : static_cast<int>(pFree - m_aQuery.begin());
}

// Null when no query is open under the index.
CQuery* CDatabase::OpenQuery(int iqry)
{
    if (iqry < 0 || iqry >= kQueries)
    {
        return nullptr;
    }
    CQuery& query = m_aQuery[static_cast<std::size_t>(iqry)];
    return query.IsOpen() ? &query : nullptr;
}

bool CDatabase::QryEof(int iqry)
{
    const CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr || pQuery->AtEnd();
}

void CDatabase::QryNext(int iqry)
{
    CQuery* pQuery = OpenQuery(iqry);
    if (pQuery == nullptr)
    {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    try
    {
        pQuery->Next();
    }
    catch (const CSqliteFailure& failure)
    {
        throw failure.Exception();
    }
}

void CDatabase::QryFree(int iqry)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (CQuery* pQuery = OpenQuery(iqry))
    {
        pQuery->End();
    }
}

int CDatabase::QryFldCount(int iqry)
{
    CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? 0 : pQuery->Names().Count();
}

const char* CDatabase::QryFldName(int iqry, int iFld)
{
    CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? "" : pQuery->Names().Name(iFld);
}

int CDatabase::QryGetIntAt(int iqry, int iFld)
{
    const CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? 0 : pQuery->Int(iFld);
}

int CDatabase::QryGetInt(int iqry, const char* fld)
{
    CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? 0 : pQuery->Int(column_of(*pQuery, fld));
}

const char* CDatabase::QryGetStrAt(int iqry, int iFld)
{
    const CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? "" : pQuery->Text(iFld);
}

const char* CDatabase::QryGetStr(int iqry, const char* fld)
{
    CQuery* pQuery = OpenQuery(iqry);
    return pQuery == nullptr ? "" : pQuery->Text(column_of(*pQuery, fld));
}

// Does the work, and does it again at once while that may help.
template <class Work> void CDatabase::WithTries(Work work)
{
    for (int nTry = 1; nTry < kTries; ++nTry)
    {
        try
        {
            work();
            return;
        }
        catch (const CSqliteFailure& failure)
        {
            if (!MayWorkNow(failure))
            {
                throw;
            }
        }
        catch (const std::bad_alloc&) // may be there again
        {
        }
    }
    work();
}

// True when another try, which connects anew where the connection is stale, may end otherwise. It
// will not when a fresh connection has met the same damage.
bool CDatabase::MayWorkNow(const CSqliteFailure& failure)
{
    if (ConnectAfter(failure) || failure.IsAccident())
    {
        return true;
    }
    if (m_conn && failure.Code() == SQLITE_ERROR)
    {
        // "No such table" is also what SQLite says when it cannot read the file to look again.
        meet_damage(*m_conn);
    }
    return m_conn && m_conn->IsStale() && m_conn->HasServed();
}

// A unit of work stays on its connection.
void CDatabase::StayConnected()
{
    if (!m_conn || m_conn->IsStale())
    {
        Connect();
        m_conn->ReadCatalogue();
    }
}

// Keeps the connection while it serves; queries that still run on an old one keep that.
void CDatabase::Connect()
{
    if (m_conn && m_conn->Serves(m_strTarget, m_access))
    {
        return;
    }
    m_conn.reset();
    m_conn = std::make_shared<CConnection>(m_strTarget, m_access, m_nBusyMs);
}

// Connects anew when that may help after a reader's failure; false when it will not. A reader that
// must not repair just looks again: a writer that came or went takes its files with it.
bool CDatabase::ConnectAfter(const CSqliteFailure& failure)
{
    const Access had = m_conn ? m_conn->GetAccess() : Access::kReadWrite;
    if ((had != Access::kReadOnly && had != Access::kNoTouch) || !failure.NeedsRepair())
    {
        return false;
    }
    const Access wanted = had == Access::kReadOnly ? Access::kRepair : Access::kNoTouch;
    m_conn.reset();
    m_conn = std::make_shared<CConnection>(m_strTarget, wanted, m_nBusyMs);
    return true;
}

} // namespace vkdb
