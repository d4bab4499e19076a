// SQLite's handles with an owner each, and its errors as one value.
//
// A statement is owned by the query that runs it, a connection by CConnection; nothing else of the
// library ends one. CSqliteFailure travels inside the library only: the database object turns it
// into what its caller may see (a negative index, false, or CppSQLite3Exception).
#pragma once

#include "db/DbInterface.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <utility>

namespace vkdb
{

struct CFinalize
{
    void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
};
using CStatement = std::unique_ptr<sqlite3_stmt, CFinalize>;

struct CCloseHandle
{
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
using CHandle = std::unique_ptr<sqlite3, CCloseHandle>;

// What SQLite said when a call failed. Holds its own copy of the message.
class CSqliteFailure
{
public:
    CSqliteFailure(int extended, std::string message)
        : m_nExtended(extended), m_strMessage(std::move(message))
    {
    }

    // The last error of a connection; taken at once, the next call on it may replace the text.
    static CSqliteFailure Of(sqlite3* db)
    {
        return {sqlite3_extended_errcode(db), sqlite3_errmsg(db)};
    }

    // The plain result code, without SQLite's finer distinctions.
    int Code() const { return m_nExtended & 0xff; }

    // True for an obstacle that goes away by itself, as another process ends its work.
    bool IsPassing() const
    {
        const int code = Code();
        return code == SQLITE_BUSY || code == SQLITE_LOCKED || code == SQLITE_PROTOCOL ||
               code == SQLITE_SCHEMA;
    }

    // True for a failure of the machine in a single call, which the next one may not meet: a read
    // error, no memory, no descriptor.
    bool IsAccident() const
    {
        const int code = Code();
        return code == SQLITE_IOERR || code == SQLITE_NOMEM || code == SQLITE_CANTOPEN;
    }

    // True when what was read is no sound database. That may be the file, or the memory of a
    // connection whose file was written over without SQLite.
    bool IsDamage() const { return Code() == SQLITE_NOTADB || Code() == SQLITE_CORRUPT; }

    // True when a lock may have stayed behind, which would keep the host's writer out for ever.
    bool MayHaveKeptLock() const { return Code() == SQLITE_IOERR; }

    // True when reading would first have to write: a crashed writer's journal to roll back, or
    // the files beside a WAL database to make.
    bool NeedsRepair() const { return Code() == SQLITE_READONLY || Code() == SQLITE_CANTOPEN; }

    CppSQLite3Exception Exception() const { return {Code(), m_strMessage.c_str()}; }

private:
    int m_nExtended;
    std::string m_strMessage;
};

} // namespace vkdb
