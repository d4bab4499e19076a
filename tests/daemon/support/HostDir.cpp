#include "tests/daemon/support/HostDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sqlite3.h>
#include <sstream>
#include <stdexcept>

namespace
{

constexpr char kDataDb[] = "tmp/dbDat0.db3";
constexpr char kAlarmDb[] = "tmp/dbData.db3";
constexpr int kLockWaitMs = 30000; // the daemon may be writing a mark

struct DbCloser
{
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
using Db = std::unique_ptr<sqlite3, DbCloser>;

Db open_db(const std::string& path)
{
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open(path.c_str(), &raw);
    Db db(raw);
    if (rc != SQLITE_OK)
    {
        throw std::runtime_error(path + ": " + sqlite3_errstr(rc));
    }
    sqlite3_busy_timeout(db.get(), kLockWaitMs);
    return db;
}

int keep_value(void* out, int columns, char** values, char** /*names*/)
{
    *static_cast<std::string*>(out) = columns > 0 && values[0] != nullptr ? values[0] : "";
    return 0;
}

// Runs the statements; the result is the first column of the last row, if there is one.
std::string run_sql(const std::string& path, const std::string& sql)
{
    const Db db = open_db(path);
    std::string value;
    if (sqlite3_exec(db.get(), sql.c_str(), keep_value, &value, nullptr) != SQLITE_OK)
    {
        throw std::runtime_error(sql.substr(0, 200) + ": " + sqlite3_errmsg(db.get()));
    }
    return value;
}

} // namespace

CHostDir::CHostDir(const std::string& parent) : m_strPath(parent + "/host-XXXXXX")
{
    if (mkdtemp(m_strPath.data()) == nullptr)
    {
        throw std::runtime_error("no directory for the host");
    }
    std::filesystem::create_directory(File("tmp"));
}

CHostDir::~CHostDir()
{
    std::error_code ignored; // the box takes what is left
    std::filesystem::remove_all(m_strPath, ignored);
}

void CHostDir::Ini(const std::string& section, const std::string& key, const std::string& value)
{
    m_ini[section][key] = value;
}

std::string CHostDir::Setting(const std::string& section, const std::string& key) const
{
    const auto keys = m_ini.find(section);
    if (keys == m_ini.end())
    {
        return {};
    }
    const auto value = keys->second.find(key);
    return value != keys->second.end() ? value->second : std::string();
}

void CHostDir::WriteIni() const
{
    std::string text;
    for (const auto& [section, keys] : m_ini)
    {
        text += "[" + section + "]\n";
        for (const auto& [key, value] : keys)
        {
            text.append(key).append("=").append(value).append("\n");
        }
    }
    write_file(File("vkApp.ini"), text);
}

void CHostDir::UseLibrary(const std::string& path) const
{
    std::filesystem::remove(File("libvkdb.so"));
    std::filesystem::create_symlink(path, File("libvkdb.so"));
}

void CHostDir::Data(const std::string& sql) const
{
    run_sql(File(kDataDb), sql);
}

void CHostDir::Alarms(const std::string& sql) const
{
    run_sql(File(kAlarmDb), sql);
}

std::string CHostDir::AlarmValue(const std::string& sql) const
{
    return run_sql(File(kAlarmDb), sql);
}

void CHostDir::EmptyRoom()
{
    Data("create table tbSM(SID integer primary key,Kind int,Type int,Name,Note,Tag1 int,"
         "ASubSys int,State int,DataMode int,SerDef,LastUpd);"
         "create table tbSubSysDetail(SID,SIDD,Fld,Type,State,LastUpd);"
         "create table tbDio(SID,Type,State,DateUpd,D09,D10,D11)");
    Alarms("create table tbSMAlarm(DID integer primary key,SID,Type,Alm,LastUpd,AlmBrief,AlmMask,"
           "AlmImg,AFld)");
    Ini("POST.Detail", "tbSubSysDetail", "1");
    Ini("POST.Detail", "tbDio", "1");
}

void CHostDir::SimpleRoom()
{
    EmptyRoom();
    Table("tbDev", "V");
    Device(7, "Dev7", "tbDev", "1");
}

void CHostDir::Table(const std::string& name, const std::string& columns) const
{
    Data("create table " + name + "(SID,Type,Port,Addr,State,ErrCnt,DateUpd,DateOk," + columns +
         ")");
}

void CHostDir::Device(int sid, const std::string& name, const std::string& table,
                      const std::string& values) const
{
    const std::string id = std::to_string(sid);
    Data("insert into tbSM(SID,Kind,Type,Name,Tag1,ASubSys,State) values(" + id + ",1,5," +
         sql_text(name) + ",3,2,0); insert into " + table + " values(" + id +
         ",5,1,1,0,0,'2024-05-01 12:00:00',''," + values + ")");
}

void CHostDir::Alarm(int did, int sid, const std::string& title, int alm, int type) const
{
    Alarms("insert into tbSMAlarm values(" + std::to_string(did) + "," + std::to_string(sid) + "," +
           std::to_string(type) + "," + std::to_string(alm) + ",'2024-05-01 12:30:00'," +
           sql_text(title) + ",0,null,null)");
}

CDbLock::CDbLock(const std::string& path)
{
    Db db = open_db(path);
    if (sqlite3_exec(db.get(), "begin exclusive", nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw std::runtime_error(path + " cannot be locked");
    }
    m_db = db.release();
}

void CDbLock::Release()
{
    sqlite3_close(m_db); // rolls back
    m_db = nullptr;
}

std::string sql_text(const std::string& text)
{
    std::string literal = "'";
    for (const char c : text)
    {
        literal.append(c == '\'' ? 2 : 1, c);
    }
    return literal + "'";
}

void write_file(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out.flush())
    {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string read_file(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}
