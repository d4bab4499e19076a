// A database file for a test, and the process at the other end of it.
//
// CDbFile owns a directory of its own under the temporary directory and removes it. It writes with
// SQLite itself, not through the library under test. A call that fails throws std::runtime_error,
// so a broken fixture fails its test.
#pragma once

#include "db/DbInterface.h"

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

// A plain SQLite connection that stays open, as a poller of the host has one.
class CWriter
{
public:
    explicit CWriter(const std::string& path, int busy_ms = 0);

    // Runs the statements; throws when SQLite refuses.
    void Sql(const std::string& sql);

    // Runs the statements; the result is SQLite's code.
    int Try(const std::string& sql);

    // The one integer that the query returns.
    int Value(const std::string& sql);

    sqlite3* Handle() const { return m_db.get(); }

private:
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_db;
};

class CDbFile
{
public:
    // With an empty text no file is made.
    explicit CDbFile(const std::string& sql = "");
    ~CDbFile();
    CDbFile(const CDbFile&) = delete;
    CDbFile& operator=(const CDbFile&) = delete;

    std::string Path() const { return (m_dir / "test.db3").string(); }

    // Runs the statements on a connection of their own.
    void Sql(const std::string& sql) const { CWriter(Path()).Sql(sql); }

    // Renames a new file with this content over the old one.
    void Replace(const std::string& sql) const;

    // Makes the file hold these bytes.
    void Bytes(const std::string& bytes) const;

    // The file's bytes.
    std::string Bytes() const;

    // Waits until the tick of the kernel's clock in which the file was changed is over.
    void WaitForTick() const;

    int Pages() const;

    // Overwrites the last pages of the file with 0xff.
    void SpoilLastPages(int pages) const;

    // Overwrites one page, counted from 1, with 0xff.
    void SpoilPage(int page) const;

private:
    std::filesystem::path m_dir;
};

// All rows of a query through the library, each as "column|column". A query that does not start
// gives the one row "negative".
std::vector<std::string> read_rows(DbDatabase& db, const std::string& sql);

// "code message" of the CppSQLite3Exception that the call throws, or "no exception".
template <class Call> std::string thrown_by(Call&& call)
{
    try
    {
        call();
    }
    catch (const CppSQLite3Exception& e)
    {
        return std::to_string(e.errorCode()) + " " + e.errorMessage();
    }
    return "no exception";
}
