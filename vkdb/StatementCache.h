// Compiled statements of one connection, kept for the next query of the same text.
//
// Compiling costs several times what running a query for one device's row does, and the next
// device's differs in its number alone. So that number becomes a parameter, wherever the statement
// provably gives the same (bindable_integer), and a statement that has been run is kept, with the
// names of its columns, for the next one. A statement in use is not shared.
//
// Bounded: kStatements, from which one goes by chance when another comes: a sweep asks for the same
// queries in turn, and where there are more of them than places, the one not used for longest is
// the one that is wanted next. None longer or larger than kTextBytes and kStatementBytes is kept,
// nor one that failed or is no "select".
// A schema that changed: SQLite compiles a kept statement anew at its first step, which the names
// notice, and says there what it would say of the text.
// Owned by the connection, and gone before its handle. Failure: CSqliteFailure; giving back never
// fails. Threads: as the connection.
#pragma once

#include "vkdb/ColumnNames.h"
#include "vkdb/Sqlite.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vkdb
{

class CStatementCache;

// A compiled statement, from one query to the next.
struct CCompiled
{
    std::string text; // with the parameter
    CStatement stmt;
    CColumnNames names;  // none before the first run
    int reprepared = -1; // how often SQLite had compiled it anew when the names were read
    bool is_measured = false;
    bool keep = true;
};

// A statement on loan; goes back at the latest with this object, which must not outlive the cache.
class CStatementLease
{
public:
    CStatementLease() = default;
    CStatementLease(CStatementCache& cache, std::unique_ptr<CCompiled> compiled)
        : m_pCache(&cache), m_compiled(std::move(compiled))
    {
    }
    CStatementLease(const CStatementLease&) = delete;
    CStatementLease& operator=(const CStatementLease&) = delete;
    CStatementLease(CStatementLease&& other) noexcept = default;
    CStatementLease& operator=(CStatementLease&& other) noexcept;
    ~CStatementLease() { reset(); }

    // Null when there is none, or the text held no statement.
    sqlite3_stmt* get() const { return m_compiled ? m_compiled->stmt.get() : nullptr; }
    explicit operator bool() const { return get() != nullptr; }

    // Ends the run, and with it its read lock, and gives the statement back.
    void reset();

    // The names of the columns of the result under way. There must be a statement; after its
    // first step only, where a table that changed is noticed. Valid until reset. CSqliteFailure
    // when memory runs out over them.
    const CColumnNames& Names();

private:
    CStatementCache* m_pCache = nullptr;
    std::unique_ptr<CCompiled> m_compiled;
};

class CStatementCache
{
public:
    static constexpr size_t kStatements = 32;
    static constexpr size_t kTextBytes = 1000;
    static constexpr int kStatementBytes = 64 * 1024;

    explicit CStatementCache(sqlite3* db);

    // The first statement of the text, ready to run; nothing when the text holds none.
    CStatementLease Take(const char* sql);

    size_t Kept() const { return m_vKept.size(); }

private:
    friend class CStatementLease;

    CStatementLease TakeBound(int value);
    CStatementLease Compile(const char* sql);
    std::unique_ptr<CCompiled> FindKept();
    void GiveBack(std::unique_ptr<CCompiled> compiled);

    sqlite3* m_pDb;
    std::string m_strText;                           // what is looked for
    std::vector<std::unique_ptr<CCompiled>> m_vKept; // the one used last is the last one
    std::minstd_rand m_draw;                         // who goes; the same in each run
};

} // namespace vkdb
