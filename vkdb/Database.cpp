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

const char* text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

// The column's position in the query's result; throws when the result lacks it.
int column_of(CQuery& query, const char* name)
{
    const int column = query.Names().Find(text_or_empty(name));
    if (column < 0)
    {
        const std::string message = std::string("no such column: ") + text_or_empty(name);
        throw CppSQLite3Exception(SQLITE_ERROR, message.c_str());
    }
    return column;
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

CDatabase::CDatabase(std::string path, int busy_ms, Policy policy)
    : m_strPath(std::move(path)), m_nBusyMs(busy_ms), m_policy(policy), m_strTarget(m_strPath),
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
    const int picked = PickIndex(iqry);
    return picked < 0 ? -1 : StartQuery(picked, text_or_empty(sql));
}

int CDatabase::StartQuery(int iqry, const char* sql)
{
    CQuery& query = m_aQuery[static_cast<size_t>(iqry)];
    try
    {
        WithTries(
            [&]
            {
                StayConnected();
                query.Start(m_conn, sql);
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
    const auto* unused = std::find_if(m_aQuery.begin(), m_aQuery.end(),
                                      [](const CQuery& query) { return !query.IsOpen(); });
    return unused == m_aQuery.end() ? -1 : static_cast<int>(unused - m_aQuery.begin());
}

// Null when no query is open under the index.
CQuery* CDatabase::OpenQuery(int iqry)
{
    if (iqry < 0 || iqry >= kQueries)
    {
        return nullptr;
    }
    CQuery& query = m_aQuery[static_cast<size_t>(iqry)];
    return query.IsOpen() ? &query : nullptr;
}

bool CDatabase::QryEof(int iqry)
{
    const CQuery* query = OpenQuery(iqry);
    return query == nullptr || query->AtEnd();
}

void CDatabase::QryNext(int iqry)
{
    CQuery* query = OpenQuery(iqry);
    if (query == nullptr)
    {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    try
    {
        query->Next();
    }
    catch (const CSqliteFailure& failure)
    {
        throw failure.Exception();
    }
}

void CDatabase::QryFree(int iqry)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (CQuery* query = OpenQuery(iqry))
    {
        query->End();
    }
}

int CDatabase::QryFldCount(int iqry)
{
    CQuery* query = OpenQuery(iqry);
    return query == nullptr ? 0 : query->Names().Count();
}

const char* CDatabase::QryFldName(int iqry, int column)
{
    CQuery* query = OpenQuery(iqry);
    return query == nullptr ? "" : query->Names().Name(column);
}

int CDatabase::QryGetIntAt(int iqry, int column)
{
    const CQuery* query = OpenQuery(iqry);
    return query == nullptr ? 0 : query->Int(column);
}

int CDatabase::QryGetInt(int iqry, const char* fld)
{
    CQuery* query = OpenQuery(iqry);
    return query == nullptr ? 0 : query->Int(column_of(*query, fld));
}

const char* CDatabase::QryGetStrAt(int iqry, int column)
{
    const CQuery* query = OpenQuery(iqry);
    return query == nullptr ? "" : query->Text(column);
}

const char* CDatabase::QryGetStr(int iqry, const char* fld)
{
    CQuery* query = OpenQuery(iqry);
    return query == nullptr ? "" : query->Text(column_of(*query, fld));
}

// Does the work, and does it again at once while that may help.
template <class Work> void CDatabase::WithTries(Work work)
{
    for (int attempt = 1; attempt < kTries; ++attempt)
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
