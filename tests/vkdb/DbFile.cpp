#include "tests/vkdb/DbFile.h"

#include <cstdlib>
#include <sys/stat.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

CWriter::CWriter(const std::string& path, int busy_ms) : m_db(nullptr, sqlite3_close)
{
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open(path.c_str(), &raw);
    m_db.reset(raw);
    if (rc != SQLITE_OK)
    {
        throw std::runtime_error("cannot open " + path);
    }
    sqlite3_busy_timeout(raw, busy_ms);
    Sql("pragma synchronous=off");
}

void CWriter::Sql(const std::string& sql)
{
    if (Try(sql) != SQLITE_OK)
    {
        throw std::runtime_error(sql.substr(0, 200) + ": " + sqlite3_errmsg(Handle()));
    }
}

int CWriter::Try(const std::string& sql)
{
    return sqlite3_exec(Handle(), sql.c_str(), nullptr, nullptr, nullptr);
}

int CWriter::Value(const std::string& sql)
{
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(Handle(), sql.c_str(), -1, &stmt, nullptr);
    const bool has_row = sqlite3_step(stmt) == SQLITE_ROW;
    const int value = has_row ? sqlite3_column_int(stmt, 0) : 0;
    sqlite3_finalize(stmt);
    if (!has_row)
    {
        throw std::runtime_error(sql + ": no value");
    }
    return value;
}

CDbFile::CDbFile(const std::string& sql)
{
    std::string pattern = (fs::temp_directory_path() / "vkdb.XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
    {
        throw std::runtime_error("cannot make " + pattern);
    }
    m_dir = pattern;
    if (!sql.empty())
    {
        Sql(sql);
    }
}

CDbFile::~CDbFile()
{
    std::error_code ignored; // a directory left behind is no reason to fail
    fs::remove_all(m_dir, ignored);
}

void CDbFile::Replace(const std::string& sql) const
{
    const std::string new_path = (m_dir / "new.db3").string();
    CWriter(new_path).Sql(sql);
    fs::rename(new_path, Path());
}

void CDbFile::Bytes(const std::string& bytes) const
{
    std::ofstream(Path(), std::ios::binary | std::ios::trunc) << bytes;
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

void CDbFile::SpoilLastPages(int pages) const
{
    for (int i = 0; i < pages; ++i)
    {
        SpoilPage(Pages() - i);
    }
}

void CDbFile::SpoilPage(int page) const
{
    std::fstream file(Path(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(page - 1) * 4096);
    file << std::string(4096, '\xff');
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + Path());
    }
}

std::vector<std::string> read_rows(DbDatabase& db, const std::string& sql)
{
    const int iqry = db.QryExec(sql.c_str(), -1);
    if (iqry < 0)
    {
        return {"negative"};
    }
    std::vector<std::string> rows;
    for (; !db.QryEof(iqry); db.QryNext(iqry))
    {
        std::string row;
        for (int i = 0; i < db.QryFldCount(iqry); ++i)
        {
            row.append(i == 0 ? "" : "|").append(db.QryGetStrAt(iqry, i));
        }
        rows.push_back(row);
    }
    db.QryFree(iqry);
    return rows;
}
