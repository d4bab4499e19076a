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
bool may_be_kept(const char* sql)
{
    return sqlite3_strnicmp(sql, "select", 6) == 0 &&
           std::strlen(sql) <= CStatementCache::kTextBytes;
}

int times_reprepared(sqlite3_stmt* stmt)
{
    return sqlite3_stmt_status(stmt, SQLITE_STMTSTATUS_REPREPARE, 0);
}

// Measured once, and again when SQLite has compiled it anew: that takes as long as running it.
bool is_small(CCompiled& compiled)
{
    constexpr int kKeepCount = 0;
    if (!compiled.is_measured)
    {
        compiled.is_measured = true;
        compiled.keep = sqlite3_stmt_status(compiled.stmt.get(), SQLITE_STMTSTATUS_MEMUSED,
                                            kKeepCount) <= CStatementCache::kStatementBytes;
    }
    return compiled.keep;
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
    const int reprepared = times_reprepared(compiled.stmt.get());
    if (reprepared != compiled.reprepared)
    {
        compiled.is_measured = false;
        if (!compiled.names.Load(compiled.stmt.get())) // a value without its name is no value
        {
            compiled.keep = false;
            throw CSqliteFailure(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM));
        }
        compiled.reprepared = reprepared;
    }
    return compiled.names;
}

CStatementCache::CStatementCache(sqlite3* db) : m_pDb(db)
{
    m_vKept.reserve(kStatements + 1); // giving back takes no memory
}

CStatementLease CStatementCache::Take(const char* sql)
{
    const size_t length = std::strlen(sql);
    if (length > kTextBytes)
    {
        return Compile(sql);
    }
    m_strText.assign(sql, length);
    if (const auto integer = bindable_integer(m_strText))
    {
        m_strText.replace(integer->begin, integer->end - integer->begin, kParameter);
        CStatementLease bound = TakeBound(integer->value);
        return bound ? std::move(bound) : Compile(sql);
    }
    if (auto kept = FindKept())
    {
        return {*this, std::move(kept)};
    }
    return Compile(sql);
}

// Of m_strText. Nothing when it cannot be compiled: the text as it stands has the error to tell.
CStatementLease CStatementCache::TakeBound(int value)
{
    auto compiled = FindKept();
    if (!compiled)
    {
        compiled = std::make_unique<CCompiled>();
        compiled->text = m_strText;
        sqlite3_stmt* raw = nullptr;
        sqlite3_prepare_v3(m_pDb, m_strText.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &raw, nullptr);
        compiled->stmt.reset(raw);
    }
    if (!compiled->stmt || sqlite3_bind_int(compiled->stmt.get(), 1, value) != SQLITE_OK)
    {
        return {};
    }
    return {*this, std::move(compiled)};
}

CStatementLease CStatementCache::Compile(const char* sql)
{
    const bool keep = may_be_kept(sql);
    auto compiled = std::make_unique<CCompiled>();
    compiled->text = keep ? sql : "";
    compiled->keep = keep;
    sqlite3_stmt* raw = nullptr;
    const unsigned flags = keep ? SQLITE_PREPARE_PERSISTENT : 0;
    if (sqlite3_prepare_v3(m_pDb, sql, -1, flags, &raw, nullptr) != SQLITE_OK)
    {
        throw CSqliteFailure::Of(m_pDb);
    }
    compiled->stmt.reset(raw);
    return {*this, std::move(compiled)};
}

// The kept statement of m_strText, which is then no longer kept; null when there is none.
std::unique_ptr<CCompiled> CStatementCache::FindKept()
{
    const auto found = std::find_if(m_vKept.rbegin(), m_vKept.rend(),
                                    [this](const std::unique_ptr<CCompiled>& kept)
                                    { return kept->text == m_strText; });
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
    sqlite3_stmt* const stmt = compiled->stmt.get();
    const bool is_sound = stmt != nullptr && sqlite3_reset(stmt) == SQLITE_OK;
    if (!is_sound || !compiled->keep || !is_small(*compiled))
    {
        return;
    }
    sqlite3_clear_bindings(stmt);
    m_vKept.push_back(std::move(compiled));
    if (m_vKept.size() > kStatements)
    {
        m_vKept.erase(m_vKept.begin() + static_cast<ptrdiff_t>(m_draw() % kStatements));
    }
}

} // namespace vkdb
