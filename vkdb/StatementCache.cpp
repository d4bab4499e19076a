// Taking statements out and giving them back.
#include "vkdb/StatementCache.h"

#include "vkdb/BindableInteger.h"

#include <algorithm>
#include <cstring>

namespace vkdb
{

namespace
{

constexpr char kParameter[] = "?1";

// A "pragma" or an "explain" may hold what it tells since it was compiled, so only a "select" is
// kept; and none that is long.
bool may_be_kept(const char* szSql)
{
    return sqlite3_strnicmp(szSql, "select", 6) == 0 &&
           std::strlen(szSql) <= CStatementCache::kTextBytes;
}

int times_reprepared(sqlite3_stmt* pStmt)
{
    return sqlite3_stmt_status(pStmt, SQLITE_STMTSTATUS_REPREPARE, 0);
}

// Measured once, and again when SQLite has compiled it anew: that takes as long as running it.
bool is_small(CCompiled& compiled)
{
    constexpr int kKeepCount = 0;
    if (!compiled.bMeasured)
    {
        compiled.bMeasured = true;
        compiled.bKeep = sqlite3_stmt_status(compiled.stmt.get(), SQLITE_STMTSTATUS_MEMUSED,
                                             kKeepCount) <= CStatementCache::kStatementBytes;
    }
    return compiled.bKeep;
}

} // namespace

CStatementLease& CStatementLease::operator=(CStatementLease&& other) noexcept
{
    if (this != &other)
    {
        reset();
        m_pCache = other.m_pCache;
        m_compiled = std::move(other.m_compiled);
    }
    return *this;
}

void CStatementLease::reset()
{
    if (m_compiled)
    {
        m_pCache->GiveBack(std::move(m_compiled));
    }
}

const CColumnNames& CStatementLease::Names()
{
    CCompiled& compiled = *m_compiled;
    const int nReprepared = times_reprepared(compiled.stmt.get());
    if (nReprepared != compiled.nReprepared)
    {
        compiled.bMeasured = false;
        if (!compiled.names.Load(compiled.stmt.get())) // a value without its name is no value
        {
            compiled.bKeep = false;
            throw CSqliteFailure(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM));
        }
        compiled.nReprepared = nReprepared;
    }
    return compiled.names;
}

CStatementCache::CStatementCache(sqlite3* pDb) : m_pDb(pDb)
{
    m_vKept.reserve(kStatements + 1); // giving back takes no memory
}

CStatementLease CStatementCache::Take(const char* szSql)
{
    const std::size_t nLength = std::strlen(szSql);
    if (nLength > kTextBytes)
    {
        return Compile(szSql);
    }
    m_strText.assign(szSql, nLength);
    if (const auto integer = bindable_integer(m_strText))
    {
        m_strText.replace(integer->nBegin, integer->nEnd - integer->nBegin, kParameter);
        CStatementLease bound = TakeBound(integer->nValue);
        return bound ? std::move(bound) : Compile(szSql);
    }
    if (auto kept = FindKept())
    {
        return {*this, std::move(kept)};
    }
    return Compile(szSql);
}

// Of m_strText. Nothing when it cannot be compiled: the text as it stands has the error to tell.
CStatementLease CStatementCache::TakeBound(int nValue)
{
    auto compiled = FindKept();
    if (!compiled)
    {
        compiled = std::make_unique<CCompiled>();
        compiled->strText = m_strText;
        sqlite3_stmt* pRaw = nullptr;
        sqlite3_prepare_v3(m_pDb, m_strText.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &pRaw, nullptr);
        compiled->stmt.reset(pRaw);
    }
    if (!compiled->stmt || sqlite3_bind_int(compiled->stmt.get(), 1, nValue) != SQLITE_OK)
    {
        return {};
    }
    return {*this, std::move(compiled)};
}

CStatementLease CStatementCache::Compile(const char* szSql)
{
    const bool bKeep = may_be_kept(szSql);
    auto compiled = std::make_unique<CCompiled>();
    compiled->strText = bKeep ? szSql : "";
    compiled->bKeep = bKeep;
    sqlite3_stmt* pRaw = nullptr;
    const unsigned nFlags = bKeep ? SQLITE_PREPARE_PERSISTENT : 0;
    if (sqlite3_prepare_v3(m_pDb, szSql, -1, nFlags, &pRaw, nullptr) != SQLITE_OK)
    {
        throw CSqliteFailure::Of(m_pDb);
    }
    compiled->stmt.reset(pRaw);
    return {*this, std::move(compiled)};
}

// The kept statement of m_strText, which is then no longer kept; null when there is none.
std::unique_ptr<CCompiled> CStatementCache::FindKept()
{
    const auto found = std::find_if(m_vKept.rbegin(), m_vKept.rend(),
                                    [this](const std::unique_ptr<CCompiled>& kept)
                                    { return kept->strText == m_strText; });
    if (found == m_vKept.rend())
    {
        return nullptr;
    }
    std::unique_ptr<CCompiled> compiled = std::move(*found);
    m_vKept.erase(std::next(found).base());
    return compiled;
}

void CStatementCache::GiveBack(std::unique_ptr<CCompiled> compiled)
{
    sqlite3_stmt* const pStmt = compiled->stmt.get();
    const bool bSound = pStmt != nullptr && sqlite3_reset(pStmt) == SQLITE_OK;
    if (!bSound || !compiled->bKeep || !is_small(*compiled))
    {
        return;
    }
    sqlite3_clear_bindings(pStmt);
    m_vKept.push_back(std::move(compiled));
    if (m_vKept.size() > kStatements)
    {
        m_vKept.erase(m_vKept.begin() + static_cast<std::ptrdiff_t>(m_draw() % kStatements));
    }
}

} // namespace vkdb
