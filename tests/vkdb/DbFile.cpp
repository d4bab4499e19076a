#include "tests/vkdb/DbFile.h"

#include <cstdlib>
#include <sys/stat.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

CWriter::CWriter(const std::string& strPath, int nBusyMs) : m_db(nullptr, sqlite3_close)
{
    sqlite3* pRaw = nullptr;
    const int rc = sqlite3_open(strPath.c_str(), &pRaw);
    m_db.reset(pRaw);
    if (rc != SQLITE_OK)
    {
        throw std::runtime_error("cannot open " + strPath);
    }
    sqlite3_busy_timeout(pRaw, nBusyMs);
    Sql("pragma synchronous=off");
}

void CWriter::Sql(const std::string& strSql)
{
    if (Try(strSql) != SQLITE_OK)
    {
        throw std::runtime_error(strSql.substr(0, 200) + ": " + sqlite3_errmsg(Handle()));
    }
}

int CWriter::Try(const std::string& strSql)
{
    return sqlite3_exec(Handle(), strSql.c_str(), nullptr, nullptr, nullptr);
}

int CWriter::Value(const std::string& strSql)
{
    sqlite3_stmt* pStmt = nullptr;
    sqlite3_prepare_v2(Handle(), strSql.c_str(), -1, &pStmt, nullptr);
    const bool bRow = sqlite3_step(pStmt) == SQLITE_ROW;
    const int nValue = bRow ? sqlite3_column_int(pStmt, 0) : 0;
    sqlite3_finalize(pStmt);
    if (!bRow)
    {
        throw std::runtime_error(strSql + ": no value");
    }
    return nValue;
}

CDbFile::CDbFile(const std::string& strSql)
{
    std::string strTemplate = (fs::temp_directory_path() / "vkdb.XXXXXX").string();
    if (::mkdtemp(strTemplate.data()) == nullptr)
    {
        throw std::runtime_error("cannot make " + strTemplate);
    }
    m_dir = strTemplate;
    if (!strSql.empty())
    {
        Sql(strSql);
    }
}

CDbFile::~CDbFile()
{
    std::error_code ignored; // a directory left behind is no reason to fail
    fs::remove_all(m_dir, ignored);
}

void CDbFile::Replace(const std::string& strSql) const
{
    const std::string strNew = (m_dir / "new.db3").string();
    CWriter(strNew).Sql(strSql);
    fs::rename(strNew, Path());
}

void CDbFile::Bytes(const std::string& strBytes) const
{
    std::ofstream(Path(), std::ios::binary | std::ios::trunc) << strBytes;
}

std::string CDbFile::Bytes() const
{
    std::ostringstream bytes;
    bytes << std::ifstream(Path(), std::ios::binary).rdbuf();
    return bytes.str();
}

void CDbFile::WaitForTick() const
{
    struct stat st = {};
    ::stat(Path().c_str(), &st);
    struct timespec tick = {};
    do
    {
        ::clock_gettime(CLOCK_REALTIME_COARSE, &tick);
    } while (std::pair(tick.tv_sec, tick.tv_nsec) <=
             std::pair(st.st_ctim.tv_sec, st.st_ctim.tv_nsec));
}

int CDbFile::Pages() const
{
    return static_cast<int>(fs::file_size(Path()) / 4096);
}

void CDbFile::SpoilLastPages(int nPages) const
{
    for (int i = 0; i < nPages; ++i)
    {
        SpoilPage(Pages() - i);
    }
}

void CDbFile::SpoilPage(int iPage) const
{
    std::fstream file(Path(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(iPage - 1) * 4096);
    file << std::string(4096, '\xff');
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + Path());
    }
}

std::vector<std::string> read_rows(DbDatabase& db, const std::string& strSql)
{
    const int iqry = db.QryExec(strSql.c_str(), -1);
    if (iqry < 0)
    {
        return {"negative"};
    }
    std::vector<std::string> rows;
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        std::string strRow;
        for (int i = 0; i < db.QryFldCount(iqry); ++i)
        {
            strRow.append(i == 0 ? "" : "|").append(db.QryGetStrAt(iqry, i));
        }
        rows.push_back(strRow);
    }
    db.QryFree(iqry);
    return rows;
}
