// The database object: one file, its units of work and its queries.
//
// Owned by the manager. Owns its queries and, with them, the connection, which is kept from one
// unit of work to the next while the path leads to the same file. Between units of work it holds
// no lock that keeps a reader or a writer out.
//
// Threads: independent of every other object; two objects share no lock. Operations of one object
// may come from two threads, too: each runs under the object's mutex, and a unit of work with its
// queries belongs to the thread that began it (Close of one thread leaves the other's queries
// alone). One query is used by one thread. Reading a row takes no lock.
//
// Failure: a lock is waited for, up to the wait given to the constructor, in milliseconds. After
// that, as for every passing obstacle, Open says false and QryExec -1; Exec and QryNext throw.
// A failure of the machine (a read error, no memory, no descriptor) in the first read of a unit of
// work or of a query is met by trying again at once, kTries times in all; so is a file that was
// filled anew in place. An obstacle that stays throws CppSQLite3Exception from QryExec, too,
// whether or not Open was asked before, so that the reason gets known. Memory running out throws
// std::bad_alloc.
#pragma once

#include "db/DbInterface.h"
#include "vkdb/Query.h"

#include <array>
#include <memory>
#include <mutex>
#include <string>

namespace vkdb
{

class CDatabase final : public DbDatabase
{
public:
    static constexpr int kQueries = 32; // query indexes of one object
    static constexpr int kTries = 3;    // of what a unit of work or a query begins with

    // For the file at the path. It is not read yet, nor need it be possible to open it just now:
    // what is wrong with it is for Open and the queries to tell, which try again.
    // kNoTouch: the units of work of every mode only read, whatever the file's state.
    enum class Policy
    {
        kByMode,
        kNoTouch,
    };
    CDatabase(std::string path, int busy_ms, Policy policy = Policy::kByMode);

    bool Open(const char* path, int mode) override;
    int Close() override; // 0
    int Exec(const char* sql) override;

    // An iqry of 0 or more takes that index; a query open under it is freed first.
    int QryExec(const char* sql, int iqry) override;
    bool QryEof(int iqry) override;
    void QryNext(int iqry) override;
    void QryFree(int iqry) override;
    int QryFldCount(int iqry) override;
    const char* QryFldName(int iqry, int column) override;
    int QryGetIntAt(int iqry, int column) override;
    int QryGetInt(int iqry, const char* fld) override;
    const char* QryGetStrAt(int iqry, int column) override;
    const char* QryGetStr(int iqry, const char* fld) override;

private:
    Access AccessOf(int mode) const;
    template <class Work> void WithTries(Work work);
    bool MayWorkNow(const CSqliteFailure& failure);
    void Connect();
    bool ConnectAfter(const CSqliteFailure& failure);
    void StayConnected();
    CQuery* OpenQuery(int iqry);
    int PickIndex(int iqry) const;
    int StartQuery(int iqry, const char* sql);

    const std::string m_strPath;
    const int m_nBusyMs;
    const Policy m_policy;

    std::mutex m_mutex; // guards everything below, but for reading one's own query
    std::string m_strTarget;
    Access m_access;
    std::shared_ptr<CConnection> m_conn; // null: not connected; goes before the mutex
    std::array<CQuery, kQueries> m_aQuery;
};

} // namespace vkdb
