// A database of the host as the checks ask it: through the library that the daemon loads, opened to
// be read and left as it is.
//
// Owns its database object; one of a file at a time, so it goes before a preview opens its own.
// Failure: CCheckProblem with the reason. One thread.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "vkdb/Database.h"

namespace vkctl
{

class CCheckProblem : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class CCheckDatabase
{
public:
    using Row = std::vector<std::string>;

    explicit CCheckDatabase(const std::string& path); // CCheckProblem: cannot be read

    std::vector<Row> Rows(const std::string& sql);
    std::vector<std::string> Column(const std::string& sql); // the first one
    std::vector<std::string> Names(const std::string& sql);  // of the result's columns
    std::string Value(const std::string& sql);               // first row and column; or empty

    // Why a query cannot be run; empty when it can. The text is the daemon's own.
    std::string Problem(const std::string& sql);

private:
    int Start(const std::string& sql);

    const std::string m_strPath;
    vkdb::CDatabase m_db;
};

// A number in a cell, as the library reads it; 0 for what is none.
int cell_number(const std::string& cell);

// A name as SQL takes it whatever it holds.
std::string quoted(const std::string& name);

// The SQL for the 32-bit integer that the daemon reads in a column; 0 where it holds none.
std::string read_as_integer(const std::string& column);

// The SQL condition that the daemon, reading the column as an integer, would take it for another
// value than it holds: a text that is no number, or a fraction. For a quoted name.
std::string is_no_integer(const std::string& column);

// The SQL condition that it holds a text that spells such an integer: no query for the number finds
// the row. Columns with a type of their own turn such texts into integers.
std::string is_integer_as_text(const std::string& column);

// How to put that right, for the end of a message.
std::string integer_advice(const std::string& column);

} // namespace vkctl
