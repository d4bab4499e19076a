#include "vkctl/check/CheckDatabase.h"

#include <cstdlib>

#include "vkdb/Manager.h"
#include "vkdb/Sqlite.h"

namespace vkctl
{

namespace
{

constexpr char kBusy[] = "locked by another process for too long; try again";

// SQLite's reason, and what to do where that is not plain.
std::string reason_of(int code, const std::string& message)
{
    switch (code)
    {
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
        return "a process crashed in the middle of a write (" + message +
               "); the next one that writes puts it in order";
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return message + "; put a sound copy in its place";
    default:
        return message;
    }
}

} // namespace

CCheckDatabase::CCheckDatabase(const std::string& path)
    : m_strPath(path), m_db(path, vkdb::kBusyWaitMs, vkdb::CDatabase::Policy::kNoTouch)
{
    // A query and not Open, which would wait for a lock just as long and not tell the reason.
    m_db.QryFree(Start("select 1 from sqlite_master"));
}

int CCheckDatabase::Start(const std::string& sql)
try
{
    const int query = m_db.QryExec(sql.c_str(), -1);
    if (query < 0)
    {
        throw CCheckProblem(kBusy);
    }
    return query;
}
catch (const CppSQLite3Exception& e)
{
    throw CCheckProblem(reason_of(e.errorCode(), e.errorMessage()));
}

std::vector<CCheckDatabase::Row> CCheckDatabase::Rows(const std::string& sql)
try
{
    const int query = Start(sql);
    std::vector<Row> rows;
    for (; !m_db.QryEof(query); m_db.QryNext(query))
    {
        Row row;
        for (int i = 0; i < m_db.QryFldCount(query); ++i)
        {
            row.emplace_back(m_db.QryGetStrAt(query, i));
        }
        rows.push_back(std::move(row));
    }
    m_db.QryFree(query);
    return rows;
}
catch (const CppSQLite3Exception& e)
{
    throw CCheckProblem(reason_of(e.errorCode(), e.errorMessage()));
}

std::vector<std::string> CCheckDatabase::Column(const std::string& sql)
{
    std::vector<std::string> column;
    for (Row& row : Rows(sql))
    {
        column.push_back(std::move(row.at(0)));
    }
    return column;
}

std::vector<std::string> CCheckDatabase::Names(const std::string& sql)
{
    const int query = Start(sql);
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(m_db.QryFldCount(query)));
    for (int i = 0; i < m_db.QryFldCount(query); ++i)
    {
        names.emplace_back(m_db.QryFldName(query, i));
    }
    m_db.QryFree(query);
    return names;
}

std::string CCheckDatabase::Value(const std::string& sql)
{
    const std::vector<Row> rows = Rows(sql);
    return rows.empty() ? "" : rows[0].at(0);
}

std::string CCheckDatabase::Problem(const std::string& sql)
{
    try
    {
        m_db.QryFree(Start(sql));
        return "";
    }
    catch (const CCheckProblem& problem)
    {
        return problem.what();
    }
}

int cell_number(const std::string& cell)
{
    return static_cast<int>(std::strtoll(cell.c_str(), nullptr, 10));
}

std::string quoted(const std::string& name)
{
    std::string text = "\"";
    for (const char c : name)
    {
        text += c == '"' ? "\"\"" : std::string(1, c);
    }
    return text + "\"";
}

// The low 32 bits with their sign, as the library takes them.
std::string read_as_integer(const std::string& column)
{
    return "(((coalesce(cast(" + column +
           " as integer),0)&4294967295)+2147483648)%4294967296-2147483648)";
}

std::string is_integer_as_text(const std::string& column)
{
    return "(typeof(" + column + ")='text' and " + column + "=cast(" + read_as_integer(column) +
           " as text))";
}

std::string integer_advice(const std::string& column)
{
    return "make the column an INTEGER, or set it to cast(" + column + " as integer) there";
}

std::string is_no_integer(const std::string& column)
{
    return "(typeof(" + column + ")='text' and trim(" + column + ") glob '*[^0-9+-]*' or typeof(" +
           column + ")='real' and " + column + "<>cast(" + column + " as integer))";
}

} // namespace vkctl
