// A database of the host as the commands that only look ask it: through the library that the daemon
// loads, opened to be read and left as it is. And the one place that says in words why a database
// cannot be read, and what to do about it.
//
// Owns its database object; one of a file at a time. Failure: CHostProblem. One thread.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "vkdb/Database.h"

namespace vkctl
{

// What SQLite refused, in words for a user. Code: SQLite's.
class CHostProblem : public std::runtime_error
{
public:
    CHostProblem(int code, const std::string& text) : std::runtime_error(text), m_iCode(code) {}
    int Code() const { return m_iCode; }

    // Nothing is wrong with the file: what the query names is not there, or makes no sense.
    bool IsOfQuery() const;

private:
    int m_iCode;
};

// Why the file could not be asked, from SQLite's code and message; and what to do where that is not
// plain.
CHostProblem host_problem(const std::string& path, int code, const std::string& message);

// Throws CHostProblem when the database cannot be read. Waits for a lock as long as it was made to.
void require_readable(vkdb::CDatabase& db, const std::string& path);

// A stored value: its text, and the integer that the daemon reads where it wants one.
struct HostCell
{
    std::string text;
    int number = 0;
};

class CHostDatabase
{
public:
    using Row = std::vector<HostCell>;

    explicit CHostDatabase(const std::string& path); // CHostProblem: cannot be read

    std::vector<Row> Rows(const std::string& sql);
    std::vector<std::string> Column(const std::string& sql); // the first one
    std::vector<std::string> Names(const std::string& sql);  // of the result's columns
    int Number(const std::string& sql);                      // first row and column; or 0

    // Why a query cannot be run; empty when it can. The text is the daemon's own.
    std::string Problem(const std::string& sql);
    // Why its rows cannot be read to the last one.
    std::string ReadProblem(const std::string& sql);

private:
    template <typename OnRow> void Walk(const std::string& sql, OnRow on_row);

    const std::string m_strPath;
    vkdb::CDatabase m_db;
};

// The SQL expression that says whether a query for the integer that the daemon reads in the column
// finds the row.
std::string is_found(const std::string& column);

// A name as SQL takes it whatever it holds.
std::string quoted(const std::string& name);

} // namespace vkctl
