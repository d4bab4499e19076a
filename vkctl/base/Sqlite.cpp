#include "vkctl/base/Sqlite.h"

#include "vkctl/base/CliError.h"

namespace vkctl
{

namespace
{

// How long a statement waits for another process that holds the file. The host's own processes
// write in transactions of milliseconds.
constexpr int kLockWaitMs = 5000;

[[noreturn]] void fail(const CSqliteFile& file)
{
    throw CCliError(file.Path() + ": " + sqlite3_errmsg(file.Handle()));
}

void check(const CSqliteFile& file, int code)
{
    if (code != SQLITE_OK)
    {
        fail(file);
    }
}

int open_flags(CSqliteFile::Mode mode)
{
    switch (mode)
    {
    case CSqliteFile::Mode::kCreate:
        return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    case CSqliteFile::Mode::kUpdate:
        return SQLITE_OPEN_READWRITE;
    default:
        return SQLITE_OPEN_READONLY;
    }
}

} // namespace

CSqliteFile::CSqliteFile(const std::string& path, Mode mode) : m_strPath(path)
{
    sqlite3* db = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &db, open_flags(mode), nullptr);
    m_pDb.reset(db); // also after a failure there is a handle, which holds the message
    if (code != SQLITE_OK)
    {
        throw CCliError(path + ": " + (db ? sqlite3_errmsg(db) : sqlite3_errstr(code)));
    }
    sqlite3_busy_timeout(db, kLockWaitMs);
}

void CSqliteFile::Exec(const std::string& sql)
{
    check(*this, sqlite3_exec(Handle(), sql.c_str(), nullptr, nullptr, nullptr));
}

CStatement::CStatement(CSqliteFile& file, const std::string& sql) : m_file(file)
{
    sqlite3_stmt* stmt = nullptr;
    check(file, sqlite3_prepare_v2(file.Handle(), sql.c_str(), -1, &stmt, nullptr));
    m_pStmt.reset(stmt);
}

void CStatement::Bind(int index, long long value)
{
    check(m_file, sqlite3_bind_int64(m_pStmt.get(), index, value));
}

void CStatement::Bind(int index, double value)
{
    check(m_file, sqlite3_bind_double(m_pStmt.get(), index, value));
}

void CStatement::Bind(int index, const std::string& value)
{
    const int length = static_cast<int>(value.size());
    check(m_file, sqlite3_bind_text(m_pStmt.get(), index, value.data(), length, SQLITE_TRANSIENT));
}

void CStatement::BindNull(int index)
{
    check(m_file, sqlite3_bind_null(m_pStmt.get(), index));
}

bool CStatement::Step()
{
    const int code = sqlite3_step(m_pStmt.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
    {
        fail(m_file);
    }
    return code == SQLITE_ROW;
}

void CStatement::Run()
{
    while (Step())
    {
    }
    check(m_file, sqlite3_reset(m_pStmt.get()));
}

int CStatement::Int(int column) const
{
    return sqlite3_column_int(m_pStmt.get(), column);
}

std::string CStatement::Text(int column) const
{
    const unsigned char* text = sqlite3_column_text(m_pStmt.get(), column);
    const int length = sqlite3_column_bytes(m_pStmt.get(), column);
    return text ? std::string(text, text + length) : std::string();
}

CTransaction::CTransaction(CSqliteFile& file) : m_file(file)
{
    // Immediate: a writer that starts with a read could be refused at its first write.
    m_file.Exec("begin immediate");
}

CTransaction::~CTransaction()
{
    if (m_bOpen)
    {
        // A failure here leaves nothing to undo: SQLite has rolled back by itself.
        sqlite3_exec(m_file.Handle(), "rollback", nullptr, nullptr, nullptr);
    }
}

void CTransaction::Commit()
{
    m_file.Exec("commit");
    m_bOpen = false;
}

} // namespace vkctl
