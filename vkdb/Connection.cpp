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
std::optional<CFileId> file_id(const std::string& path)
{
    struct stat st = {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) // opening a FIFO would hang
    {
        return std::nullopt;
    }
    return CFileId{st.st_dev, st.st_ino};
}

std::optional<CFileStamp> file_stamp(const std::string& path)
{
    struct stat st = {};
    if (::stat(path.c_str(), &st) != 0)
    {
        return std::nullopt;
    }
    return CFileStamp{st.st_size, st.st_ctim};
}

struct timespec kernel_tick()
{
    struct timespec tick = {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &tick); // by which files get their times
    return tick;
}

CFileId existing_file(const std::string& path)
{
    const std::optional<CFileId> id = file_id(path);
    if (!id)
    {
        throw CSqliteFailure(SQLITE_CANTOPEN, sqlite3_errstr(SQLITE_CANTOPEN));
    }
    return *id;
}

// A name that SQLite takes for a file and nothing else ("file:..." would be read as a URI).
std::string plain_name(const std::string& path)
{
    return path[0] == '/' ? path : "./" + path;
}

// A WAL database at rest: everything is in the file itself, and any reader would make the two
// files beside it anew. Reads the file's head, which drops the locks of this process on it: what
// opens a file with kNoTouch has no other connection to it.
bool is_resting_wal(const std::string& path)
{
    char head[20] = {};
    std::ifstream(path, std::ios::binary).read(head, sizeof(head));
    constexpr int kReadVersion = 19; // where the file's head says 2 for WAL
    return head[kReadVersion] == 2 && ::access((path + "-wal").c_str(), F_OK) != 0;
}

// As a URI, in which "immutable" keeps SQLite from making files.
std::string immutable_name(const std::string& path)
{
    std::string uri = "file:";
    for (const char c : plain_name(path))
    {
        uri += c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
    }
    return uri + "?immutable=1";
}

CHandle open_handle(const std::string& path, Access access, bool is_immutable)
{
    const bool is_reader = access == Access::kReadOnly || access == Access::kNoTouch;
    const int mode = is_reader ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE; // never CREATE
    const int flags = mode | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                      (is_immutable ? SQLITE_OPEN_URI : 0);
    const std::string name = is_immutable ? immutable_name(path) : plain_name(path);

    sqlite3* raw = nullptr;
    const char* vfs = access == Access::kNoTouch ? no_touch_vfs() : nullptr; // null: SQLite's own
    const int rc = sqlite3_open_v2(name.c_str(), &raw, flags, vfs);
    CHandle db(raw); // a failed open leaves a handle, too
    if (rc != SQLITE_OK)
    {
        throw CSqliteFailure(rc, db ? sqlite3_errmsg(db.get()) : sqlite3_errstr(rc));
    }
    return db;
}

} // namespace

bool CFileStamp::IsSettled(const struct timespec& tick) const
{
    constexpr long long kLongestTickNs = 10'000'000;
    const long long ahead_ns =
        (changed.tv_sec - tick.tv_sec) * 1'000'000'000LL + (changed.tv_nsec - tick.tv_nsec);
    return ahead_ns < 0 || ahead_ns > kLongestTickNs;
}

int CLockWait::OnBusy(void* self, int calls)
{
    auto& wait = *static_cast<CLockWait*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (calls == 0)
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

CConnection::CConnection(const std::string& path, Access access, int busy_ms)
    : m_strPath(path), m_access(access), m_id(existing_file(path)), m_wait(busy_ms),
      m_bImmutable(access == Access::kNoTouch && is_resting_wal(path)),
      m_db(open_handle(path, access, m_bImmutable)), m_statements(m_db.get())
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

bool CConnection::Serves(const std::string& path, Access access) const
{
    const bool is_reader = m_access != Access::kReadWrite;
    const bool wants_reader = access != Access::kReadWrite;
    if (IsStale() || is_reader != wants_reader || path != m_strPath)
    {
        return false;
    }
    if (m_bImmutable && !is_resting_wal(path))
    {
        return false; // a writer has come
    }
    if (m_access == Access::kReadWrite && sqlite3_db_readonly(Handle(), "main") == 1 &&
        ::access(path.c_str(), W_OK) == 0)
    {
        return false; // SQLite made a reader of it when one opening failed; the file can be written
    }
    const std::optional<CFileId> id = file_id(path);
    return id && *id == m_id;
}

void CConnection::CheckUsable()
{
    ReadCatalogue();
    m_bServed = true;
}

void CConnection::ReadCatalogue()
{
    const CStatementLease stmt = Take("select type,name,tbl_name,rootpage,sql from sqlite_master");
    BeginRead();
    const bool has_row = Step(stmt.get());
    NoticeOverwriting();
    if (m_nCatalogueVersion != m_nVersion)
    {
        NoticeOtherCatalogue(stmt.get(), has_row);
        m_nCatalogueVersion = m_nVersion;
    }
}

// False at the end of the result.
bool CConnection::Step(sqlite3_stmt* stmt)
{
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
    {
        throw LastFailure();
    }
    return rc == SQLITE_ROW;
}

void CConnection::KeepRow(CRowBuffer& rows, sqlite3_stmt* stmt)
{
    if (!rows.Append(stmt))
    {
        throw CSqliteFailure(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM));
    }
}

void CConnection::BeginRead()
{
    const struct timespec tick = kernel_tick();
    m_before = file_stamp(m_strPath);
    m_bBeforeSettled = m_before && m_before->IsSettled(tick);
}

// A change that SQLite notices at a query may be the first piece of a file that is written over:
// the pieces behind it are to be seen as changes at the next look.
void CConnection::NoticeChange()
{
    const unsigned version = NoticedChanges();
    if (!m_stamp || version != m_nVersion)
    {
        Remember(version);
    }
    m_bServed = true;
}

// A file that has changed while SQLite noticed no change, by the counter in the file's head, was
// written by something else: what SQLite keeps of it in memory is the old file's. The look at the
// file comes before the read, on purpose: one behind it could have the time of a write that is
// still under way. So a commit in between, like a checkpoint without one, is sometimes taken for
// such a write, and a look within the tick of a change is trusted once only: that costs a new
// connection and nothing else.
void CConnection::NoticeOverwriting()
{
    const unsigned version = NoticedChanges();
    if (m_stamp && version == m_nVersion)
    {
        if (m_access == Access::kNoTouch || (m_bSettled && m_stamp == m_before))
        {
            return;
        }
        m_bSuspect = true;
        throw CSqliteFailure(SQLITE_CORRUPT, "database file was written over");
    }
    Remember(version);
}

// SQLite reads the catalogue again when a counter in the file's head has changed. A file that was
// written over with another's bytes may have that counter, too, and other tables.
void CConnection::NoticeOtherCatalogue(sqlite3_stmt* stmt, bool has_row)
{
    CRowDigest found;
    CRowBuffer row;
    for (; has_row; has_row = Step(stmt))
    {
        row.Clear(static_cast<size_t>(sqlite3_column_count(stmt)));
        KeepRow(row, stmt);
        found.Add(row, 1);
    }
    if (m_catalogue && !(*m_catalogue == found) && m_access != Access::kNoTouch)
    {
        m_bSuspect = true;
        throw CSqliteFailure(SQLITE_CORRUPT, "database file has another catalogue");
    }
    m_catalogue = found;
}

void CConnection::Remember(unsigned version)
{
    m_stamp = m_before;
    m_bSettled = m_bBeforeSettled;
    m_nVersion = version;
}

// A change of its own moves SQLite's count, too, and must not hide one that comes behind it. One
// that came before it is not to be told from a commit any more: the stamp stays the old one then.
void CConnection::NoticeOwnChange()
{
    m_nVersion = NoticedChanges();
    if (m_stamp == m_before)
    {
        m_stamp = file_stamp(m_strPath);
    }
}

unsigned CConnection::NoticedChanges() const
{
    unsigned version = 0;
    sqlite3_file_control(Handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return version;
}

bool CConnection::IsStale() const
{
    return m_bSuspect && m_access != Access::kNoTouch && sqlite3_get_autocommit(Handle()) != 0;
}

CSqliteFailure CConnection::LastFailure()
{
    CSqliteFailure failure = CSqliteFailure::Of(Handle());
    m_bSuspect = m_bSuspect || failure.IsDamage() || failure.MayHaveKeptLock();
    return failure;
}

CStatementLease CConnection::Take(const char* sql)
try
{
    return m_statements.Take(sql);
}
catch (const CSqliteFailure& failure)
{
    m_bSuspect = m_bSuspect || failure.IsDamage();
    throw;
}

int CConnection::Exec(const char* sql)
{
    BeginRead();
    const int before = sqlite3_total_changes(Handle());
    if (sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw LastFailure();
    }
    if (sqlite3_total_changes(Handle()) == before)
    {
        return 0; // whose count of changes would be that of the statement before it
    }
    NoticeOwnChange();
    return sqlite3_changes(Handle());
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
