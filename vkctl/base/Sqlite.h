// Two owners for SQLite's handles: a database file and a prepared statement.
//
// A CSqliteFile closes its database, a CStatement finalizes its statement; a statement borrows the
// database and must not outlive it. Every failure is thrown as CCliError with the file's name and
// SQLite's message. Used by one thread at a time.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace vkctl
{

class CSqliteFile
{
public:
    enum class Mode
    {
        kCreate, // the file is made when it is missing
        kUpdate, // the file must exist
        kRead,
    };

    CSqliteFile(const std::string& path, Mode mode);

    void Exec(const std::string& sql); // any number of statements, results ignored
    sqlite3* Handle() const { return m_pDb.get(); }
    const std::string& Path() const { return m_strPath; }

private:
    struct Closer
    {
        void operator()(sqlite3* db) const { sqlite3_close(db); }
    };

    std::string m_strPath;
    std::unique_ptr<sqlite3, Closer> m_pDb;
};

class CStatement
{
public:
    CStatement(CSqliteFile& file, const std::string& sql);

    // Values for the statement's question marks, counted from 1. Texts are copied.
    void Bind(int index, long long value);
    void Bind(int index, double value);
    void Bind(int index, const std::string& value);
    void BindNull(int index);

    bool Step(); // true: a row can be read
    void Run();  // steps to the end and makes the statement ready for the next values

    int Int(int column) const; // columns counted from 0
    std::string Text(int column) const;

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
    };

    CSqliteFile& m_file;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_pStmt;
};

// A transaction: begun when made, committed by Commit, undone when it ends without it.
class CTransaction
{
public:
    explicit CTransaction(CSqliteFile& file);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;

    void Commit();

private:
    CSqliteFile& m_file;
    bool m_bOpen = true;
};

} // namespace vkctl
