#include "vkctl/base/HostDatabase.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "vkdb/Manager.h"
#include "vkdb/Sqlite.h"

namespace vkctl
{

bool CHostProblem::IsOfQuery() const
{
    return m_iCode == SQLITE_ERROR || m_iCode == SQLITE_SCHEMA;
}

CHostProblem host_problem(const std::string& path, int code, const std::string& message)
{
    if (access(path.c_str(), F_OK) != 0)
    {
        return {code, std::strerror(errno) + std::string("; start the process that makes it, or "
                                                         "name the host's directory")};
    }
    if (access(path.c_str(), R_OK) != 0)
    {
        return {code, std::strerror(errno) + std::string("; look as a user who may read it")};
    }
    switch (code)
    {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {code, "locked by another process for too long; try again"};
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
        return {code, "a process crashed in the middle of a write (" + message +
                          "); the next one that writes puts it in order"};
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return {code, message + "; put a sound copy in its place"};
    default:
        return {code, message};
    }
}

namespace
{

// The query's index. An obstacle that may pass has no code of its own: it is a lock.
int start(vkdb::CDatabase& db, const std::string& path, const std::string& sql)
try
{
    const int query = db.QryExec(sql.c_str(), -1);
    if (query < 0)
    {
        throw host_problem(path, SQLITE_BUSY, "");
    }
    return query;
}
catch (const CppSQLite3Exception& e)
{
    throw host_problem(path, e.errorCode(), e.errorMessage());
}

} // namespace

void require_readable(vkdb::CDatabase& db, const std::string& path)
{
    // A query and not Open, which would wait for a lock just as long and not tell the reason.
    db.QryFree(start(db, path, "select 1 from sqlite_master"));
}

CHostDatabase::CHostDatabase(const std::string& path)
    : m_strPath(path), m_db(path, vkdb::kBusyWaitMs, vkdb::CDatabase::Policy::kNoTouch)
{
    require_readable(m_db, path);
}

template <typename OnRow> void CHostDatabase::Walk(const std::string& sql, OnRow on_row)
try
{
    const int query = start(m_db, m_strPath, sql);
    for (; !m_db.QryEof(query); m_db.QryNext(query))
    {
        on_row(query);
    }
    m_db.QryFree(query);
}
catch (const CppSQLite3Exception& e)
{
    throw host_problem(m_strPath, e.errorCode(), e.errorMessage());
}

std::vector<CHostDatabase::Row> CHostDatabase::Rows(const std::string& sql)
{
    std::vector<Row> rows;
    Walk(sql,
         [&](int query)
         {
             Row row;
             for (int i = 0; i < m_db.QryFldCount(query); ++i)
             {
                 row.push_back({m_db.QryGetStrAt(query, i), m_db.QryGetIntAt(query, i)});
             }
             rows.push_back(std::move(row));
         });
    return rows;
}

std::vector<std::string> CHostDatabase::Column(const std::string& sql)
{
    std::vector<std::string> column;
    Walk(sql, [&](int query) { column.emplace_back(m_db.QryGetStrAt(query, 0)); });
    return column;
}

std::vector<std::string> CHostDatabase::Names(const std::string& sql)
{
    const int query = start(m_db, m_strPath, sql);
    std::vector<std::string> names;
    names.reserve(static_cast<size_t>(m_db.QryFldCount(query)));
    for (int i = 0; i < m_db.QryFldCount(query); ++i)
    {
        names.emplace_back(m_db.QryFldName(query, i));
    }
    m_db.QryFree(query);
    return names;
}

int CHostDatabase::Number(const std::string& sql)
{
    const std::vector<Row> rows = Rows(sql);
    return rows.empty() ? 0 : rows[0].at(0).number;
}

std::string CHostDatabase::Problem(const std::string& sql)
try
{
    m_db.QryFree(start(m_db, m_strPath, sql));
    return "";
}
catch (const CHostProblem& problem)
{
    return problem.what();
}

std::string CHostDatabase::ReadProblem(const std::string& sql)
try
{
    Walk(sql, [](int) {});
    return "";
}
catch (const CHostProblem& problem)
{
    return problem.what();
}

// A cast has a type of its own, which would turn a text into a number; the sum has none.
std::string is_found(const std::string& column)
{
    const std::string number = "cast(" + column + " as integer)+0";
    return "coalesce(" + column + "=" + number + " and " + number +
           " between -2147483648 and 2147483647,0)";
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

} // namespace vkctl
