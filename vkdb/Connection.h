// One SQLite connection to one database file.
//
// Owns the SQLite handle. Shared by the database object and the queries that run on it, so that a
// connection that was given up (file replaced) stays until its last query is freed.
// Failure: every operation throws CSqliteFailure.
// Threads: SQLite's own locking of the connection is off; the database object's mutex guards it.
// No cache is shared between connections. A write-ahead log is written to and never copied into its
// database: that is left to the host's writer.
#pragma once

#include "vkdb/RowDigest.h"
#include "vkdb/Sqlite.h"
#include "vkdb/StatementCache.h"

#include <sys/types.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

namespace vkdb
{

enum class Access
{
    kReadWrite,
    kReadOnly,
    kRepair,  // reads only, but may roll back what a crashed writer left behind
    kNoTouch, // reads only and leaves the folder as it is: an unfinished write is an error
};

// Which file a path leads to: a file that is renamed over another one has another inode.
struct CFileId
{
    dev_t dev;
    ino_t ino;
    bool operator==(const CFileId& other) const { return dev == other.dev && ino == other.ino; }
};

// Changes with everything that is done to a file.
struct CFileStamp
{
    off_t size;
    struct timespec changed; // not "modified", which who copies a file may set back

    // True when whatever is done to the file after the tick, which was the kernel's when the stamp
    // was taken, changes the stamp. Within the tick of a change it may not: all that is done in it
    // has one time. (A time that lies further ahead is from before the clock was set back.)
    bool IsSettled(const struct timespec& tick) const;

    bool operator==(const CFileStamp& other) const
    {
        return size == other.size && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

// Waiting for a lock of another process, as SQLite's own waiting does, but asking every few
// milliseconds until the end: beside a writer that hardly ever pauses, who asks rarely gets
// nothing. The wait is measured by the clock.
class CLockWait
{
public:
    explicit CLockWait(int max_ms) : m_max(max_ms) {}

    // SQLite's busy handler for the connection; this object must outlive the handle.
    void Attach(sqlite3* db) { sqlite3_busy_handler(db, &CLockWait::OnBusy, this); }

private:
    static int OnBusy(void* self, int calls); // 0: give up

    std::chrono::milliseconds m_max;
    std::chrono::steady_clock::time_point m_begin; // of the wait under way
};

class CConnection
{
public:
    // Opens the file, which must exist: none is ever created. Does not read it yet.
    // busy_ms: how long every later call waits for a lock of another process.
    CConnection(const std::string& path, Access access, int busy_ms);
    CConnection(const CConnection&) = delete; // the handle points to its CLockWait
    CConnection& operator=(const CConnection&) = delete;
    ~CConnection() = default;

    // True when this connection can go on serving the path: it still leads to the same file,
    // and the access is enough. False also when the file is gone, or IsStale.
    bool Serves(const std::string& path, Access access) const;

    // Reads the catalogue: fails when the file is no database or stays locked, and when it was
    // written over without SQLite since this connection read it last or has other tables, where
    // another connection will do.
    void CheckUsable();

    // The same, of a connection that is new: what it has to compare with later.
    void ReadCatalogue();

    // True when this connection is not to be trusted any more: a failure may have left it a lock of
    // the file, or what it remembers of the file may be wrong: it has met damage, which may be in
    // its own memory only. A file that is emptied and filled again in place is met half-written,
    // and SQLite does not look at it anew when its change counter is the old one again. A
    // transaction is not torn for that, nor a kNoTouch connection given up, whose temporary tables
    // its caller may need.
    bool IsStale() const;

    // True once a query has read, or CheckUsable.
    bool HasServed() const { return m_bServed; }

    // To be called before a statement is run from its beginning, and behind its first step: what
    // was noticed between the two is remembered for the next CheckUsable.
    void BeginRead();
    void NoticeChange();

    // The last error of the connection, to be thrown.
    CSqliteFailure LastFailure();

    // A statement to read with, kept from an earlier query or compiled now; nothing when the text
    // holds none.
    CStatementLease Take(const char* sql);

    // The statement's next row; false at the end of the result.
    bool Step(sqlite3_stmt* stmt);

    // Copies the statement's row behind those that the buffer has.
    static void KeepRow(CRowBuffer& rows, sqlite3_stmt* stmt);

    // Runs the text to its end. The result is the number of rows that its last statement changed.
    int Exec(const char* sql);

    // Undoes a transaction that a caller began and did not end.
    void Rollback();

    Access GetAccess() const { return m_access; }
    sqlite3* Handle() const { return m_db.get(); }

private:
    void NoticeOverwriting();
    void NoticeOtherCatalogue(sqlite3_stmt* stmt, bool has_row);
    void NoticeOwnChange();
    void Remember(unsigned version);
    unsigned NoticedChanges() const;
    void NeverCheckpoint();

    std::string m_strPath;
    Access m_access;
    CFileId m_id; // taken before opening: a file replaced meanwhile counts as replaced
    CLockWait m_wait;
    bool m_bImmutable; // opened while nobody else had it open, without any locking
    CHandle m_db;
    bool m_bSuspect = false;
    bool m_bServed = false;
    std::optional<CFileStamp> m_before; // the file's before the read under way, and whether
    bool m_bBeforeSettled = false;      // it was settled
    std::optional<CFileStamp> m_stamp;  // what SQLite remembers of the file is from behind this
    bool m_bSettled = false;
    unsigned m_nVersion = 0; // SQLite's count of the changes that it noticed, at m_stamp
    std::optional<CRowDigest> m_catalogue; // as it was at m_nCatalogueVersion
    std::optional<unsigned> m_nCatalogueVersion;
    CStatementCache m_statements; // goes before the handle
};

} // namespace vkdb
