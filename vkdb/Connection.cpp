// Opening a database file, and telling whether it is still the same one.
#include "vkdb/Connection.h"

#include "vkdb/NoTouchVfs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
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

std::optional<CFileStamp> file_stamp(const std::string& strPath)
{
    struct stat st = {};
    if (::stat(strPath.c_str(), &st) != 0)
    {
        return std::nullopt;
    }
    return CFileStamp{st.st_size, st.st_ctim};
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

// A WAL database at rest: everything is in the file itself, and any reader would make the two
// files beside it anew. Reads the file's head, which drops the locks of this process on it: what
// opens a file with kNoTouch has no other connection to it.
bool is_resting_wal(const std::string& strPath)
{
    char aHead[20] = {};
    std::ifstream(strPath, std::ios::binary).read(aHead, sizeof(aHead));
    constexpr int kReadVersion = 19; // where the file's head says 2 for WAL
    return aHead[kReadVersion] == 2 && ::access((strPath + "-wal").c_str(), F_OK) != 0;
}

// As a URI, in which "immutable" keeps SQLite from making files.
std::string immutable_name(const std::string& strPath)
{
    std::string strUri = "file:";
    for (const char c : plain_name(strPath))
    {
        strUri += c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
    }
    return strUri + "?immutable=1";
}

CHandle open_handle(const std::string& strPath, Access access, bool bImmutable)
{
    const bool bReader = access == Access::kReadOnly || access == Access::kNoTouch;
    const int nAccess = bReader ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE; // never CREATE
    const int nFlags = nAccess | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                       (bImmutable ? SQLITE_OPEN_URI : 0);
    const std::string strName = bImmutable ? immutable_name(strPath) : plain_name(strPath);

    sqlite3* pRaw = nullptr;
    const char* szVfs = access == Access::kNoTouch ? no_touch_vfs() : nullptr; // null: SQLite's own
    const int rc = sqlite3_open_v2(strName.c_str(), &pRaw, nFlags, szVfs);
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
      m_bImmutable(access == Access::kNoTouch && is_resting_wal(strPath)),
      m_db(open_handle(strPath, access, m_bImmutable)), m_statements(m_db.get())
{
    m_wait.Attach(m_db.get());
    NeverCheckpoint();
    if (access == Access::kRepair)
    {
        Exec("pragma query_only=1"); // beyond the repair this connection is a reader
    }
    if (access == Access::kNoTouch)
    {
        Exec("pragma temp_store=memory"); // what a caller makes for itself is no file either
    }
}

// Two connections that checkpoint a write-ahead log at the same instant can damage the database
// (SQLite before 3.51.3). The host's writer does that work, so this side never does, neither
// behind its own transactions nor when it is the last to go. By calls, since a pragma would read
// the file already now.
void CConnection::NeverCheckpoint()
{
    sqlite3_wal_autocheckpoint(Handle(), 0);
    sqlite3_db_config(Handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool CConnection::Serves(const std::string& strPath, Access access) const
{
    const bool bReader = m_access != Access::kReadWrite;
    const bool bWantsReader = access != Access::kReadWrite;
    if (IsStale() || bReader != bWantsReader || strPath != m_strPath)
    {
        return false;
    }
    if (m_bImmutable && !is_resting_wal(strPath))
    {
        return false; // a writer has come
    }
    if (m_access == Access::kReadWrite && sqlite3_db_readonly(Handle(), "main") == 1 &&
        ::access(strPath.c_str(), W_OK) == 0)
    {
        return false; // SQLite made a reader of it when one opening failed; the file can be written
    }
    const std::optional<CFileId> id = file_id(strPath);
    return id && *id == m_id;
}

void CConnection::CheckUsable()
{
    const std::optional<CFileStamp> before = file_stamp(m_strPath);
    const CStatementLease stmt = Take("select 1 from sqlite_master limit 1");
    const int rc = sqlite3_step(stmt.get());
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
    {
        throw LastFailure();
    }
    NoticeOverwriting(before);
}

// A file that has changed while SQLite noticed no change, by the counter in the file's head, was
// written by something else: what SQLite keeps of it in memory is the old file's. The look at the
// file comes before the read, on purpose: one behind it could have the time of a write that is
// still under way, since times of files are coarse. So a commit in between, like a checkpoint
// without one, is sometimes taken for such a write: that costs a new connection and nothing else.
void CConnection::NoticeOverwriting(const std::optional<CFileStamp>& before)
{
    unsigned nVersion = 0;
    sqlite3_file_control(Handle(), "main", SQLITE_FCNTL_DATA_VERSION, &nVersion);
    const bool bSameFile = !m_stamp || m_stamp == before;
    if (!bSameFile && nVersion == m_nVersion && m_access != Access::kNoTouch)
    {
        m_bMetDamage = true;
        throw CSqliteFailure(SQLITE_CORRUPT, "database file was written over");
    }
    m_stamp = before;
    m_nVersion = nVersion;
}

bool CConnection::IsStale() const
{
    return m_bMetDamage && m_access != Access::kNoTouch && sqlite3_get_autocommit(Handle()) != 0;
}

CSqliteFailure CConnection::LastFailure()
{
    CSqliteFailure failure = CSqliteFailure::Of(Handle());
    m_bMetDamage = m_bMetDamage || failure.IsDamage();
    return failure;
}

CStatementLease CConnection::Take(const char* szSql)
try
{
    return m_statements.Take(szSql);
}
catch (const CSqliteFailure& failure)
{
    m_bMetDamage = m_bMetDamage || failure.IsDamage();
    throw;
}

int CConnection::Exec(const char* szSql)
{
    const int nBefore = sqlite3_total_changes(Handle());
    if (sqlite3_exec(Handle(), szSql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw LastFailure();
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
