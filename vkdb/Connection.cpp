// Opening a database file, and telling whether it is still the same one.
#include "vkdb/Connection.h"

#include <sys/stat.h>

#include <optional>
#include <thread>

namespace vkdb
{

namespace
{

// By stat alone: opening and closing the file here would drop the locks that SQLite holds on it
// for the whole process.
std::optional<CFileId> file_id(const std::string& strPath)
{
    struct stat st = {};
    if (::stat(strPath.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) // opening a FIFO would hang
    {
        return std::nullopt;
    }
    return CFileId{st.st_dev, st.st_ino};
}

CFileId existing_file(const std::string& strPath)
{
    const std::optional<CFileId> id = file_id(strPath);
    if (!id)
    {
        throw CSqliteFailure(SQLITE_CANTOPEN, sqlite3_errstr(SQLITE_CANTOPEN));
    }
    return *id;
}

// A name that SQLite takes for a file and nothing else ("file:..." would be read as a URI).
std::string plain_name(const std::string& strPath)
{
    return strPath[0] == '/' ? strPath : "./" + strPath;
}

CHandle open_handle(const std::string& strPath, Access access)
{
    const int nAccess =
        access == Access::kReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE; // never CREATE
    const int nFlags = nAccess | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;

    sqlite3* pRaw = nullptr;
    const int rc = sqlite3_open_v2(plain_name(strPath).c_str(), &pRaw, nFlags, nullptr);
    CHandle db(pRaw); // a failed open leaves a handle, too
    if (rc != SQLITE_OK)
    {
        throw CSqliteFailure(rc, db ? sqlite3_errmsg(db.get()) : sqlite3_errstr(rc));
    }
    return db;
}

} // namespace

int CLockWait::OnBusy(void* pThis, int nCalls)
{
    auto& wait = *static_cast<CLockWait*>(pThis);
    const auto now = std::chrono::steady_clock::now();
    if (nCalls == 0)
    {
        wait.m_begin = now;
    }
    if (now - wait.m_begin >= wait.m_max)
    {
        return 0;
    }
    // 0.5 to 2.5 ms. The odd part of the clock spreads the attempts: with equal pauses they may
    // fall into step with a writer, and always find it at work.
    const auto odd = std::chrono::microseconds(now.time_since_epoch().count() / 64 % 2000);
    std::this_thread::sleep_for(std::chrono::microseconds(500) + odd);
    return 1;
}

CConnection::CConnection(const std::string& strPath, Access access, int nBusyMs)
    : m_strPath(strPath), m_access(access), m_id(existing_file(strPath)), m_wait(nBusyMs),
      m_db(open_handle(strPath, access))
{
    m_wait.Attach(m_db.get());
    if (access == Access::kRepair)
    {
        // Beyond the repair this connection is a reader: statements cannot write, and going away
        // it leaves the WAL as it is.
        sqlite3_db_config(m_db.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        Exec("pragma query_only=1");
    }
}

bool CConnection::Serves(const std::string& strPath, Access access) const
{
    const bool bReader = m_access != Access::kReadWrite;
    const bool bWantsReader = access != Access::kReadWrite;
    if (bReader != bWantsReader || strPath != m_strPath)
    {
        return false;
    }
    const std::optional<CFileId> id = file_id(strPath);
    return id && *id == m_id;
}

void CConnection::CheckUsable()
{
    const CStatement stmt = Prepare("select 1 from sqlite_master limit 1");
    const int rc = sqlite3_step(stmt.get());
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
    {
        throw CSqliteFailure::Of(Handle());
    }
}

CStatement CConnection::Prepare(const char* szSql)
{
    sqlite3_stmt* pRaw = nullptr;
    if (sqlite3_prepare_v2(Handle(), szSql, -1, &pRaw, nullptr) != SQLITE_OK)
    {
        throw CSqliteFailure::Of(Handle());
    }
    return CStatement(pRaw);
}

int CConnection::Exec(const char* szSql)
{
    const int nBefore = sqlite3_total_changes(Handle());
    if (sqlite3_exec(Handle(), szSql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw CSqliteFailure::Of(Handle());
    }
    // A statement that is no insert, update or delete leaves the count of the one before it.
    return sqlite3_total_changes(Handle()) == nBefore ? 0 : sqlite3_changes(Handle());
}

void CConnection::Rollback()
{
    if (sqlite3_get_autocommit(Handle()) == 0)
    {
        // A failure means that SQLite has rolled back already.
        sqlite3_exec(Handle(), "rollback", nullptr, nullptr, nullptr);
    }
}

} // namespace vkdb
