#include "vkctl/preview/PreviewDatabase.h"

#include <strings.h>

#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/HostDatabase.h"
#include "vkctl/preview/PreviewRecorder.h"

namespace vkctl
{

namespace
{

constexpr int kNoQuery = -1; // what is done outside of a query

// The word behind "from", which is how the poster writes all its queries.
std::string table_of(const std::string& sql)
{
    const std::string from = " from ";
    const size_t at = sql.find(from);
    if (at == std::string::npos)
    {
        return {};
    }
    const size_t begin = at + from.size();
    return sql.substr(begin, sql.find(' ', begin) - begin);
}

} // namespace

CPreviewDatabase::CPreviewDatabase(const std::string& path, int busy_ms)
try : m_db(path, busy_ms, vkdb::CDatabase::Policy::kNoTouch)
{
    require_readable(m_db, path);
}
catch (const CHostProblem& problem)
{
    throw CCliError(path + ": " + problem.what(), kExitFile);
}

template <typename Operation> auto CPreviewDatabase::Tell(int iqry, Operation operation)
try
{
    return operation();
}
catch (const CppSQLite3Exception& e)
{
    Source& source = m_sources[iqry];
    source.has_failed = true;
    CPreviewRecorder::Get().Failed(source.sql, source.table, e.errorMessage());
    throw;
}

bool CPreviewDatabase::Open(const char* path, int mode)
{
    m_sources[kNoQuery] = {};
    return Tell(kNoQuery, [&] { return m_db.Open(path, mode); });
}

int CPreviewDatabase::Exec(const char* sql)
{
    m_sources[kNoQuery] = {sql, "", false, false};
    return Tell(kNoQuery, [&] { return m_db.Exec(sql); });
}

int CPreviewDatabase::QryExec(const char* sql, int iqry)
{
    const std::string text = sql;
    const Source source{text, table_of(text), text.find(" left join tbSM ") != std::string::npos,
                        false};
    m_sources[kNoQuery] = source;
    const int query = Tell(kNoQuery, [&] { return m_db.QryExec(sql, iqry); });
    if (query >= 0)
    {
        m_sources[query] = source;
    }
    else
    {
        CPreviewRecorder::Get().Failed(text, source.table, "locked by another process");
    }
    return query;
}

bool CPreviewDatabase::QryEof(int iqry)
{
    return Tell(iqry, [&] { return m_db.QryEof(iqry); });
}

void CPreviewDatabase::QryNext(int iqry)
{
    Tell(iqry, [&] { m_db.QryNext(iqry); });
}

// A query that came to its end makes up for an earlier try that did not.
void CPreviewDatabase::QryFree(int iqry)
{
    Tell(iqry, [&] { m_db.QryFree(iqry); });
    const Source& source = m_sources[iqry];
    if (!source.has_failed)
    {
        CPreviewRecorder::Get().Succeeded(source.sql);
    }
}

std::string CPreviewDatabase::Table(int iqry) const
{
    const auto source = m_sources.find(iqry);
    return source != m_sources.end() ? source->second.table : "";
}

std::optional<PreviewCell> CPreviewDatabase::Cell(int iqry, int column)
{
    if (column < 0 || column >= m_db.QryFldCount(iqry))
    {
        return std::nullopt;
    }
    const Source& source = m_sources[iqry];
    const bool is_name = source.joins_names && column < kJoinedColumns;
    return PreviewCell{is_name ? kNamesTable : source.table, m_db.QryFldName(iqry, column),
                       m_db.QryGetStrAt(iqry, column), m_db.QryGetIntAt(iqry, column)};
}

std::optional<PreviewCell> CPreviewDatabase::Cell(int iqry, const std::string& column)
{
    const int count = m_db.QryFldCount(iqry);
    for (int i = 0; i < count; ++i)
    {
        if (strcasecmp(m_db.QryFldName(iqry, i), column.c_str()) == 0)
        {
            return Cell(iqry, i);
        }
    }
    return std::nullopt;
}

int CPreviewDatabase::QryGetIntAt(int iqry, int iFld)
{
    return Tell(iqry, [&] { return m_db.QryGetIntAt(iqry, iFld); });
}

int CPreviewDatabase::QryGetInt(int iqry, const char* fld)
{
    return Tell(iqry, [&] { return m_db.QryGetInt(iqry, fld); });
}

const char* CPreviewDatabase::QryGetStrAt(int iqry, int iFld)
{
    return Tell(iqry, [&] { return m_db.QryGetStrAt(iqry, iFld); });
}

const char* CPreviewDatabase::QryGetStr(int iqry, const char* fld)
{
    return Tell(iqry, [&] { return m_db.QryGetStr(iqry, fld); });
}

} // namespace vkctl
