#include "vkctl/preview/PreviewDatabase.h"

#include <strings.h>

#include "vkctl/base/CliError.h"
#include "vkctl/base/HostDatabase.h"
#include "vkctl/preview/PreviewRecorder.h"

namespace vkctl
{

namespace
{

constexpr int kJoinedColumns = 4; // Name, Note, Tag1, ASubSys
constexpr int kNoQuery = -1;      // what is done outside of a query

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

CPreviewDatabase::CPreviewDatabase(const std::string& path, int busyMs)
try : m_db(path, busyMs, vkdb::CDatabase::Policy::kNoTouch)
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
    source.hasFailed = true;
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
        CPreviewRecorder::Get().Query(source.table);
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
    CPreviewRecorder::Get().NextRow();
}

// A query that came to its end makes up for an earlier try that did not.
void CPreviewDatabase::QryFree(int iqry)
{
    Tell(iqry, [&] { m_db.QryFree(iqry); });
    const Source& source = m_sources[iqry];
    if (!source.hasFailed)
    {
        CPreviewRecorder::Get().Succeeded(source.sql);
    }
}

void CPreviewDatabase::Note(int iqry, int column)
{
    if (!CPreviewRecorder::Get().IsRecording() || column < 0 || column >= m_db.QryFldCount(iqry))
    {
        return;
    }
    const Source& source = m_sources[iqry];
    const bool isName = source.joinsNames && column < kJoinedColumns;
    CPreviewRecorder::Get().Read({isName ? "tbSM" : source.table, m_db.QryFldName(iqry, column),
                                  m_db.QryGetStrAt(iqry, column), m_db.QryGetIntAt(iqry, column)});
}

// By name the first column counts, in whatever case, as it does for the library.
void CPreviewDatabase::Note(int iqry, const char* column)
{
    const int count = CPreviewRecorder::Get().IsRecording() ? m_db.QryFldCount(iqry) : 0;
    for (int i = 0; i < count; ++i)
    {
        if (strcasecmp(m_db.QryFldName(iqry, i), column) == 0)
        {
            Note(iqry, i);
            return;
        }
    }
}

int CPreviewDatabase::QryGetIntAt(int iqry, int iFld)
{
    const int value = Tell(iqry, [&] { return m_db.QryGetIntAt(iqry, iFld); });
    Note(iqry, iFld);
    return value;
}

int CPreviewDatabase::QryGetInt(int iqry, const char* fld)
{
    const int value = Tell(iqry, [&] { return m_db.QryGetInt(iqry, fld); });
    Note(iqry, fld);
    return value;
}

const char* CPreviewDatabase::QryGetStrAt(int iqry, int iFld)
{
    Note(iqry, iFld);
    return Tell(iqry, [&] { return m_db.QryGetStrAt(iqry, iFld); });
}

const char* CPreviewDatabase::QryGetStr(int iqry, const char* fld)
{
    Note(iqry, fld);
    return Tell(iqry, [&] { return m_db.QryGetStr(iqry, fld); });
}

} // namespace vkctl
