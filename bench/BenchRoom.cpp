#include "bench/BenchRoom.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <unistd.h>

#include "bench/BenchTables.h"

namespace
{

constexpr int kFirstSid = 1001;

struct CloseDb
{
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};

// One new database file, written in one transaction.
class CNewDb
{
public:
    explicit CNewDb(const std::string& path)
    {
        sqlite3* raw = nullptr;
        const int rc = sqlite3_open(path.c_str(), &raw);
        m_db.reset(raw);
        if (rc != SQLITE_OK)
        {
            throw std::runtime_error("cannot make " + path);
        }
        Exec("pragma synchronous=off; begin");
    }
    void Exec(const std::string& sql)
    {
        if (sqlite3_exec(m_db.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        {
            throw std::runtime_error(std::string(sqlite3_errmsg(m_db.get())) + " in " + sql);
        }
    }

private:
    std::unique_ptr<sqlite3, CloseDb> m_db;
};

// A reading that looks like one and is the same at every run.
std::string reading(const CBenchColumn& column, int sid, int index)
{
    const int seed = sid * 31 + index * 17;
    switch (column.kind)
    {
    case CValueKind::kText:
        return std::to_string(seed % 400) + "." + std::to_string(seed % 9 + 1);
    case CValueKind::kTable:
        return std::to_string(seed % 5); // 4 has no label
    case CValueKind::kBits8:
        return std::to_string(seed % 4 == 0 ? 1 << seed % 8 | 2 : 0);
    case CValueKind::kBits24:
        return std::to_string(seed % 4 == 0 ? 0x010204 << seed % 5 : 0);
    }
    return "0";
}

void create_table(CNewDb& db, const CBenchTable& table)
{
    std::string sql = std::string("create table ") + table.name +
                      "(SID integer primary key, Type integer, Port integer, Addr integer,"
                      " State integer, ErrCnt integer, DateUpd text, DateOk text";
    for (int i = 0; i < table.column_count; ++i)
    {
        const CBenchColumn& column = table.columns[i];
        sql += std::string(", ") + column.name +
               (column.kind == CValueKind::kText ? " text" : " integer");
    }
    db.Exec(sql + ")");
}

void insert_device(CNewDb& db, const CBenchTable& table, int sid)
{
    const std::string id = std::to_string(sid);
    const std::string type = std::to_string(table.type);
    db.Exec("insert into tbSM values(" + id + ",1," + type + ",'" + table.device_name + id +
            "','second row',2,1,0,1,'','2024-05-01 12:00:00')");

    std::string sql = std::string("insert into ") + table.name + " values(" + id + "," + type +
                      ",1," + std::to_string(sid % 32) + "," + std::to_string(sid % 3) +
                      ",0,'2024-05-01 12:00:00','2024-05-01 12:00:00'";
    for (int i = 0; i < table.column_count; ++i)
    {
        sql += ",'" + reading(table.columns[i], sid, i) + "'";
    }
    db.Exec(sql + ")");
}

void write_data(const std::string& path, int devices)
{
    CNewDb db(path);
    db.Exec("create table tbSM(SID integer primary key, Kind integer, Type integer, Name text,"
            " Note text, Tag1 integer, ASubSys integer, State integer, DataMode integer,"
            " SerDef text, LastUpd text);"
            "create table tbSubSysDetail(SID integer primary key, SIDD integer, Fld integer,"
            " Type integer, State integer, LastUpd text);"
            "create table tbDio(SID integer primary key, Type integer, State integer,"
            " DateUpd text, D00 integer)");
    for (const CBenchTable& table : kBenchTables)
    {
        create_table(db, table);
    }
    for (int i = 0; i < devices; ++i)
    {
        insert_device(db, kBenchTables[i % kBenchTableCount], kFirstSid + i);
    }
    db.Exec("commit");
}

void write_alarms(const std::string& path)
{
    CNewDb db(path);
    db.Exec("create table tbSMAlarm(DID integer primary key, SID integer, Type integer,"
            " Alm integer, LastUpd text, AlmBrief text, AlmMask integer, AlmImg text,"
            " AFld integer); commit");
}

void write_value_table(std::ostream& ini, const CBenchTable& table, const CBenchColumn& column)
{
    if (column.kind == CValueKind::kText)
    {
        return;
    }
    const std::string key = std::to_string(table.type) + "." + column.name;
    ini << key << "=" << static_cast<int>(column.kind) << "\n";
    if (column.kind == CValueKind::kTable)
    {
        ini << key << "x=" << kUnknownValue << "\n";
    }
    if (column.kind == CValueKind::kBits8)
    {
        ini << key << "00=" << kNoBits << "\n";
    }
    for (int i = 0; i < column.label_count; ++i)
    {
        ini << key << i << "=" << column.labels[i] << "\n";
    }
}

} // namespace

CBenchRoom::CBenchRoom(int devices, const std::string& db_library) : m_devices(devices)
{
    const std::filesystem::path temporary = std::filesystem::temp_directory_path();
    std::string name = temporary / "vkbench.XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
    {
        throw std::runtime_error("cannot make " + name);
    }
    m_dir = name;
    std::filesystem::create_directory(m_dir + "/tmp");
    std::filesystem::create_symlink(db_library, m_dir + "/libvkdb.so");
    write_data(m_dir + "/tmp/dbDat0.db3", devices);
    write_alarms(m_dir + "/tmp/dbData.db3");
}

CBenchRoom::~CBenchRoom()
{
    std::error_code ignored; // what stays behind in the temporary directory harms nobody
    std::filesystem::remove_all(m_dir, ignored);
}

int CBenchRoom::FirstSid() const
{
    return kFirstSid;
}

int CBenchRoom::LastSid() const
{
    return kFirstSid + m_devices - 1;
}

void CBenchRoom::Configure(const std::vector<std::string>& urls) const
{
    std::ofstream ini(m_dir + "/vkApp.ini", std::ios::trunc);
    ini << "[POST]\nDept=bench\nDelay=0\nTimeout=15\n";
    ini << "State1=alarm\nState2=lost\nState3=recovered\n";
    ini << "maxURLs=" << urls.size() << "\n";
    for (size_t i = 0; i < urls.size(); ++i)
    {
        ini << "Url" << (i == 0 ? "" : std::to_string(i)) << "=" << urls[i] << "\n";
    }
    ini << "[POST.Detail]\ntbSubSysDetail=1\ntbDio=1\n[POST.xFld]\n";
    for (const CBenchTable& table : kBenchTables)
    {
        for (int i = 0; i < table.column_count; ++i)
        {
            write_value_table(ini, table, table.columns[i]);
        }
    }
    if (!ini.flush())
    {
        throw std::runtime_error("cannot write vkApp.ini");
    }
}
