#include "tests/daemon/torture/Room.h"

#include <filesystem>
#include <sqlite3.h>
#include <stdexcept>

const char* scene_name(Scene scene)
{
    return scene == Scene::kPlain ? "plain" : "rich";
}

Scene scene_of(const std::string& name)
{
    for (const Scene scene : {Scene::kPlain, Scene::kRich})
    {
        if (name == scene_name(scene))
        {
            return scene;
        }
    }
    throw std::runtime_error("'" + name + "' is no scene");
}

const std::vector<std::string>& sweep_bodies()
{
    static const std::vector<std::string> kBodies = {
        "suid=xxx&sid=1&stype=5&stag1=3&sname=Dev1&subsys=2&dtupd=&state=0&V=11&W=one",
        "suid=xxx&sid=2&stype=5&stag1=3&sname=Dev2&subsys=2&dtupd=&state=0&V=22&W=two",
        "suid=xxx&sid=3&stype=5&stag1=3&sname=Dev3&subsys=2&dtupd=&state=0&V=33&W=three",
        "suid=xxx&sid=900&stype=40&stag1=0&sname=energy&subsys=0&dtupd=&state=0&Item=UPS&Value=3.5",
        "suid=xxx&sid=900&stype=40&stag1=0&sname=energy&subsys=0&dtupd=&state=0&Item=Air&Value=7",
        "suid=xxx&sid=21&stype=11&stag1=4&sname=In21&subsys=3&dtupd=&state=0&psid=1&pfld=4",
        "suid=xxx&sid=1&stype=2&stag1=0&sname=DO0&subsys=0&dtupd=&state=0&DoState=0",
        "suid=xxx&sid=1&stype=2&stag1=1&sname=DO1&subsys=0&dtupd=&state=1&DoState=1",
        "suid=xxx&sid=1&stype=2&stag1=2&sname=DO2&subsys=0&dtupd=&state=0&DoState=0",
        "suid=xxx&sid=31&stype=30&stag1=6&sname=Cam31&subsys=4&dtupd=&state=0&info=rtsp",
        "suid=xxx&sid=0&stype=0&stag1=0&sname=room&subsys=0&dtupd=&state=0",
    };
    return kBodies;
}

std::string steady_part(const std::string& body)
{
    std::string text = body.substr(0, body.find("&cpu1="));
    const std::string mark = "&dtupd=";
    const size_t at = text.find(mark);
    if (at != std::string::npos)
    {
        const size_t start = at + mark.size();
        text.erase(start, text.find('&', start) - start);
    }
    return text;
}

std::string alarm_title(const std::string& body)
{
    const std::string mark = "&title=";
    const size_t at = body.find(mark);
    if (at == std::string::npos)
    {
        return {};
    }
    const size_t start = at + mark.size();
    return body.substr(start, body.find('&', start) - start);
}

namespace
{

int keep_text(void* out, int columns, char** values, char** /*names*/)
{
    *static_cast<std::string*>(out) += columns > 0 && values[0] != nullptr ? values[0] : "";
    return 0;
}

// What a check of the whole file says; "ok" when it is sound.
std::string check(const std::string& file)
{
    sqlite3* db = nullptr;
    std::string text;
    if (sqlite3_open(file.c_str(), &db) != SQLITE_OK ||
        sqlite3_exec(db, "pragma integrity_check", keep_text, &text, nullptr) != SQLITE_OK)
    {
        text += sqlite3_errmsg(db);
    }
    sqlite3_close(db);
    return text;
}

} // namespace

CRoom::CRoom(const std::string& parent)
    : m_host(parent), m_authority(m_host.Path(), "ca"),
      m_identity(m_authority.Issue("DNS:server.test,IP:127.0.0.1"))
{
    m_host.UseLibrary(VK_DBLIB);
    m_host.EmptyRoom();
    m_host.Table("tbDev", "V,W");
    m_host.Device(1, "Dev1", "tbDev", "11,'one'");
    m_host.Device(2, "Dev2", "tbDev", "22,'two'");
    m_host.Device(3, "Dev3", "tbDev", "33,'three'");
    m_host.Data("create table tbGen(Id,Item,Value);"
                "insert into tbGen values(1,'UPS',3.5),(2,'Air',7);"
                "insert into tbSM(SID,Name,Tag1,ASubSys) values(21,'In21',4,3);"
                "insert into tbSubSysDetail values(21,1,4,11,0,'2024-05-01 11:00:00');"
                "insert into tbDio values(1,2,0,'2024-05-01 10:00:00',0,1,0);"
                "insert into tbSM(SID,Kind,Type,Name,Tag1,ASubSys,State,DataMode,SerDef)"
                " values(31,3072,30,'Cam31',6,4,0,1,'rtsp')");
    m_host.Ini("POST.General", "tbGen", "40");
    m_host.Ini("POST.General", "tbGen.Name", "energy");
    m_host.Post("DeptName", "room");
    m_host.Post("Delay", "40");
    m_host.Post("maxURLs", "2");
    m_data = read_file(DataFile());
    m_alarms = read_file(AlarmFile());
}

void CRoom::Reset()
{
    for (const char* file : {"tmp/dbDat0.db3", "tmp/dbData.db3"})
    {
        for (const char* beside : {"", "-journal", "-wal", "-shm"})
        {
            std::filesystem::remove_all(m_host.File(file) + beside);
        }
        Restore(m_host.File(file));
    }
    for (const char* output : {"stdout", "stderr"})
    {
        std::filesystem::remove(m_host.File(output));
    }
}

void CRoom::Restore(const std::string& file) const
{
    std::filesystem::remove_all(file);
    write_file(file, file == DataFile() ? m_data : m_alarms);
}

std::string CRoom::RaiseAlarm()
{
    ++m_alarm;
    std::string title = "alarm-" + std::to_string(m_alarm);
    m_host.Alarm(m_alarm, 1 + m_alarm % 3, title);
    return title;
}

std::string CRoom::Unmarked() const
try
{
    return m_host.AlarmValue("select count(*) from tbSMAlarm where AFld is null or AFld<1");
}
catch (const std::exception& e)
{
    return e.what();
}

std::vector<std::string> CRoom::Damages() const
{
    std::vector<std::string> damages;
    for (const std::string& file : {DataFile(), AlarmFile()})
    {
        const std::string text = check(file);
        if (text != "ok")
        {
            damages.push_back(file.substr(file.rfind('/') + 1) + ": " + text);
        }
    }
    return damages;
}
