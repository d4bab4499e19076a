// The contract of the database library, libvkdb.so: what a host program calls and what the
// library must do. Nothing here has a definition outside the library but the exception.
//
// A host loads the library, asks GetDbManager() for the one manager of the process, lets it open
// a database object for each file, and works through that object's operations:
//
//     db->Open(nullptr, -2);                                   // begin a unit of work
//     const int iqry = db->QryExec("select SID,Name from tbSM", -1);
//     for (; iqry >= 0 && !db->QryEof(iqry); db->QryNext(iqry))
//     {
//         use(db->QryGetInt(iqry, "SID"), db->QryGetStr(iqry, "Name"));
//     }
//     if (iqry >= 0) { db->QryFree(iqry); }
//     db->Close();                                             // end it
//
// Ownership: manager and database objects belong to the library; nobody deletes them.
// FreeDbManager() releases the manager and everything that it opened.
// Failure: an SQLite error is thrown as CppSQLite3Exception, by value; what the operations
// answer otherwise stands beside each.
// Threads: two database objects are independent of each other and may be used by two threads at
// once; the operations of one object are called by one thread at a time.
// The order of the virtual operations is part of the binary contract: new ones go last.
#pragma once

#include <cstdlib>
#include <cstring>
#include <utility>

#define VKDB_API __attribute__((visibility("default")))

// An SQLite error: the result code and SQLite's message for it.
//
// Owns a copy of the message, so it may be copied, stored and caught on the other side of the
// library boundary, also after the library is gone.
class VKDB_API CppSQLite3Exception
{
public:
    CppSQLite3Exception(int code, const char* message)
        : m_nErrorCode(code), m_szErrorMessage(::strdup(message != nullptr ? message : ""))
    {
    }
    CppSQLite3Exception(const CppSQLite3Exception& other)
        : CppSQLite3Exception(other.m_nErrorCode, other.errorMessage())
    {
    }
    CppSQLite3Exception& operator=(CppSQLite3Exception other) noexcept
    {
        std::swap(m_nErrorCode, other.m_nErrorCode);
        std::swap(m_szErrorMessage, other.m_szErrorMessage);
        return *this;
    }
    virtual ~CppSQLite3Exception() { std::free(m_szErrorMessage); }

    int errorCode() const { return m_nErrorCode; }

    // Never null; valid as long as this object.
    const char* errorMessage() const { return m_szErrorMessage != nullptr ? m_szErrorMessage : ""; }

private:
    int m_nErrorCode;
    char* m_szErrorMessage; // malloc'ed; null only when memory ran out
};

// One database file.
class VKDB_API DbDatabase
{
public:
    // Begins a unit of work on the object's own file (path null) or on another one.
    // mode 0: normal, reads and writes. mode -2: short read; waits for locks, never writes.
    // False when the database is not usable: missing, not a database, locked beyond the wait.
    virtual bool Open(const char* path, int mode) = 0;

    // Ends the unit of work. Harmless when none is open.
    virtual int Close() = 0;

    // Runs a statement that returns no rows. The result is the number of rows it changed.
    virtual int Exec(const char* sql) = 0;

    // Prepares and starts a SELECT and positions it on its first row. iqry -1: the library picks
    // an index. The result is the query index, 0 or more, to be given back with QryFree;
    // negative when the query cannot be started now and is worth another try.
    virtual int QryExec(const char* sql, int iqry) = 0;

    // True when there is no current row: empty result, or stepped past the last row.
    virtual bool QryEof(int iqry) = 0;

    // Steps to the next row.
    virtual void QryNext(int iqry) = 0;

    // Ends the query and gives its index back.
    virtual void QryFree(int iqry) = 0;

    // Number of result columns.
    virtual int QryFldCount(int iqry) = 0;

    // Name of column iFld, counted from 0; valid until QryFree.
    virtual const char* QryFldName(int iqry, int iFld) = 0;

    // The current row's column as a 32-bit integer, by SQLite's conversion; NULL reads as 0.
    virtual int QryGetIntAt(int iqry, int iFld) = 0;
    virtual int QryGetInt(int iqry, const char* fld) = 0;

    // The current row's column as text, NULL as the empty text, never a null pointer. Valid
    // until the next QryNext or QryFree of this query: copy what is kept.
    virtual const char* QryGetStrAt(int iqry, int iFld) = 0;
    virtual const char* QryGetStr(int iqry, const char* fld) = 0;

protected:
    ~DbDatabase() = default;
};

// The one manager of the process.
class VKDB_API DbManager
{
public:
    // Makes the database object for the file at path. Flags are 0. Null on failure, which is for
    // good: a library that may still come to open the file gives an object, and Open tells.
    virtual DbDatabase* OpenDb(const char* path, int flags) = 0;

protected:
    ~DbManager() = default;
};

extern "C"
{
    // The library's manager, made at the first call; null when it cannot be made.
    VKDB_API DbManager* GetDbManager();

    // Releases the manager and everything that it opened; harmless when there is none.
    VKDB_API void FreeDbManager();
}
