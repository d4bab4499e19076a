#include "tests/daemon/support/RandomHost.h"

#include <random>
#include <utility>
#include <vector>

#include "tests/daemon/support/HostDir.h"
#include "tests/daemon/support/RandomPools.h"

namespace
{

std::string joined(const Texts& texts)
{
    std::string all;
    for (const std::string& text : texts)
    {
        all += (all.empty() ? "" : ",") + text;
    }
    return all;
}

std::string unquoted(const std::string& name)
{
    return name[0] == '"' ? name.substr(1, name.size() - 2) : name;
}

class CRandomHost
{
public:
    CRandomHost(CHostDir& host, uint32_t seed) : m_host(host), m_random(seed) {}

    void Make(const RandomHostUrls& urls);

private:
    // The standard's distributions differ between libraries; its engine does not.
    unsigned Below(unsigned end) { return static_cast<unsigned>(m_random()) % end; }
    bool OneIn(unsigned n) { return Below(n) == 0; }
    const std::string& One(const Texts& texts)
    {
        return texts[Below(static_cast<unsigned>(texts.size()))];
    }
    std::string Value() { return OneIn(40) ? "printf('%.60000c','x')" : One(kValues); }

    void Settings(const RandomHostUrls& urls);
    void Urls(const RandomHostUrls& urls);
    Texts SomeColumns();
    std::string Row(const Texts& leading, size_t columns);
    void FieldTexts(const std::string& type, const Texts& columns);
    void KnownDevice(int sid, const std::string& type);
    void DeviceTable(const std::string& table);
    void Detail(const std::string& table);
    void Extension(const std::string& type);
    void General(int number);
    void Inputs();
    void Outputs();
    void Cameras();
    void Alarms();

    CHostDir& m_host;
    std::mt19937 m_random;
    int m_nextSid = 7;
};

// --- Settings ------------------------------------------------------------------------------------

void CRandomHost::Urls(const RandomHostUrls& urls)
{
    m_host.Post("Url", urls.post);
    m_host.Post("AlmUrl", urls.alarm);
    const unsigned max = Below(4);
    if (max > 0)
    {
        m_host.Post("maxURLs", std::to_string(max));
    }
    for (const char* const number : {"1", "2"})
    {
        m_host.Post(std::string("Url") + number, OneIn(3) ? "" : urls.post + number);
        m_host.Post(std::string("AlmUrl") + number, OneIn(3) ? "" : urls.alarm + number);
    }
}

void CRandomHost::Settings(const RandomHostUrls& urls)
{
    Urls(urls);
    m_host.Post("Timeout", "100"); // s: a busy machine is no reason to lose a body
    if (OneIn(2))
    {
        m_host.Post("Fmt0", One(kHeadFormats));
    }
    if (OneIn(20))
    {
        m_host.Post("Fmt0", "");
    }
    if (OneIn(2))
    {
        m_host.Post("Encoding", One({"GBK", "GB18030", "ISO-8859-1", "no-such-encoding", "utf-8"}));
    }
    if (OneIn(2))
    {
        m_host.Post("Dept", One({"ROOM-01", "机房&一", ""}));
    }
    if (OneIn(2))
    {
        m_host.Post("DeptName", One({"host", "一号机房"}));
    }
    for (const char* const key : {"State0", "State1", "State2", "State3"})
    {
        if (OneIn(2))
        {
            m_host.Post(key, One(kLabels));
        }
    }
}

// Kinds and texts of the columns of a device type, good and bad ones.
void CRandomHost::FieldTexts(const std::string& type, const Texts& columns)
{
    const std::string section = "POST.xFld";
    for (const std::string& column : columns)
    {
        const std::string key = type + "." + unquoted(column);
        if (OneIn(2))
        {
            continue;
        }
        m_host.Ini(section, key, One({"1", "1", "2", "2", "3", "4", "0", "5", "-1", "2x", "abc"}));
        for (const char* const text : {"x", "-1", "00", "0F", "F0", "FF", "255", "240"})
        {
            if (OneIn(2))
            {
                m_host.Ini(section, key + text, One(kLabels));
            }
        }
        for (int bit = 0; bit < 26; ++bit)
        {
            if (!OneIn(3))
            {
                m_host.Ini(section, key + std::to_string(bit), One(kLabels));
            }
        }
    }
}

// --- Devices -------------------------------------------------------------------------------------

Texts CRandomHost::SomeColumns()
{
    Texts columns;
    for (const std::string& column : kColumns)
    {
        if (OneIn(2))
        {
            columns.push_back(column);
        }
    }
    return columns;
}

std::string CRandomHost::Row(const Texts& leading, size_t columns)
{
    Texts values = leading;
    for (size_t i = 0; i < columns; ++i)
    {
        values.push_back(Value());
    }
    return "(" + joined(values) + ")";
}

// A SID that tbSM may not know, and may know already.
void CRandomHost::KnownDevice(int sid, const std::string& type)
{
    if (!OneIn(5))
    {
        m_host.Data("insert or ignore into tbSM values(" + std::to_string(sid) + ",1," + type +
                    "," + One({"'Dev'", "'空调1#'", "null", "'a&b'", "'é☃'"}) + ",null," +
                    One({"0", "3", "null", "'4'"}) + ",2,0,1,'',null)");
    }
}

void CRandomHost::DeviceTable(const std::string& table)
{
    const Texts columns = SomeColumns();
    const bool is_short = OneIn(6); // without some of the eight leading columns
    const Texts leading =
        is_short ? Texts{"Type", "DateUpd", "SID", "State"}
                 : Texts{"SID", "Type", "Port", "Addr", "State", "ErrCnt", "DateUpd", "DateOk"};
    Texts all = leading;
    all.insert(all.end(), columns.begin(), columns.end());
    m_host.Data("create table " + table + "(" + joined(all) + ")");

    const std::string date = OneIn(5) ? "null" : "'2024-05-01 12:00:00'";
    for (unsigned row = Below(5); row > 0; --row)
    {
        const int sid = OneIn(6) ? 7 : m_nextSid++; // 7 may stand in several tables
        const std::string type = OneIn(9) ? "null" : One(kDeviceTypes);
        const std::string id = std::to_string(sid);
        KnownDevice(sid, type);
        const Texts start = is_short ? Texts{type, date, id, One(kStates)}
                                     : Texts{id, type, "1", "1", One(kStates), "0", date, Value()};
        m_host.Data("insert into " + table + " values" + Row(start, columns.size()));
    }
    for (const std::string& type : kDeviceTypes)
    {
        FieldTexts(type, columns);
    }
    if (OneIn(3))
    {
        m_host.Ini("POST.Master", table + ".flds", One({"0", "1", "3", "99", "-1", "x"}));
    }
    if (OneIn(2))
    {
        Detail(table);
    }
}

// A detail table that any mode can read, with rows of the first few devices.
void CRandomHost::Detail(const std::string& table)
{
    const std::string detail = "tbDetailOf" + std::to_string(Below(100000));
    m_host.Ini("POST.Master", table, detail);
    m_host.Ini("POST.Detail", detail, One(kModes));
    m_host.Data("create table " + detail +
                "(SID,Fld,Addr,State,Vol,Reg,Tem,V,T,bSt,dat0,Val,"
                "ValStr)");
    if (m_host.Setting("POST.Detail", detail) == "0")
    {
        m_host.Data("drop table " + detail); // or it would be taken for a device table
    }
    else
    {
        for (unsigned row = Below(12); row > 0; --row)
        {
            m_host.Data("insert into " + detail + " values" +
                        Row({std::to_string(7 + Below(4))}, 12));
        }
    }
}

// Tables whose one row belongs to a device type: named by range, by list, twice, or missing.
void CRandomHost::Extension(const std::string& type)
{
    const std::string table = "tbExt" + type;
    const std::string section = "POST.Ext." + type;
    Texts columns = SomeColumns();
    columns.insert(columns.begin(), "Type");
    m_host.Ini("POST.Detail", table, "1");
    m_host.Data("create table " + table + "(" + joined(columns) + ")");
    if (!OneIn(4))
    {
        m_host.Data("insert into " + table + " values" + Row({type}, columns.size() - 1));
    }
    m_host.Ini(section, table, One({"0", "0", "1", "2", "3", "99", "-1"}));
    m_host.Ini(section, table + ".flds", One({"0", "1", "2", "5", "99", "-3"}));
    for (const char* const index : {"1", "2", "3", "0", "7", "-2", "x"})
    {
        if (OneIn(2))
        {
            m_host.Ini(type + "." + table, "k" + std::to_string(Below(1000)), index);
        }
    }
    if (OneIn(3))
    {
        m_host.Ini(section, "tbMissing", "1");
    }
}

// --- The other steps -----------------------------------------------------------------------------

void CRandomHost::General(int number)
{
    const std::string table = "tbGen" + std::to_string(number);
    const std::string type = std::to_string(40 + number);
    const Texts columns = SomeColumns();
    m_host.Ini("POST.General", table, type);
    if (OneIn(2))
    {
        m_host.Ini("POST.General", table + ".0", One({"0", "1", "2", "9", "-1"}));
        m_host.Ini("POST.General", table + ".Name", One(kLabels));
    }
    FieldTexts(type, columns);
    Texts all = columns;
    all.insert(all.begin(), "Id");
    m_host.Data("create table " + table + "(" + joined(all) + ")");
    for (unsigned row = Below(4); row > 0; --row)
    {
        m_host.Data("insert into " + table + " values" + Row({"1"}, columns.size()));
    }
}

void CRandomHost::Inputs()
{
    for (unsigned row = Below(6); row > 0; --row)
    {
        const std::string sid = std::to_string(200 + Below(8));
        if (!OneIn(4))
        {
            m_host.Data("insert or ignore into tbSM(SID,Name,Tag1,ASubSys) values(" + sid +
                        ",'门磁',4,3)");
        }
        const Texts values = {sid,          OneIn(6) ? sid : std::to_string(Below(9)),
                              Value(),      One(kDeviceTypes),
                              One(kStates), OneIn(5) ? "null" : "'2024-05-01 11:00:00'"};
        m_host.Data("insert into tbSubSysDetail values(" + joined(values) + ")");
    }
}

void CRandomHost::Outputs()
{
    if (OneIn(3))
    {
        m_host.Ini("POST.DO", "Count", One({"0", "1", "2", "3", "4", "-1"}));
    }
    if (OneIn(3))
    {
        m_host.Ini("POST.DO", "Start", One({"9", "10", "8", "x"}));
    }
    if (!OneIn(4))
    {
        m_host.Data("insert into tbDio values(1,2,0,'2024-05-01 10:00:00'," + One(kStates) + "," +
                    One(kStates) + "," + Value() + ")");
    }
}

void CRandomHost::Cameras()
{
    for (unsigned row = Below(4); row > 0; --row)
    {
        m_host.Data("insert into tbSM values(" + std::to_string(500 + row) + "," +
                    One({"3072", "3072", "3073"}) + "," + One(kDeviceTypes) + "," + Value() +
                    ",null," + One({"6", "null"}) + ",4," + One({"0", "0", "1"}) + "," +
                    One({"1", "1", "0"}) + "," + Value() + ",null)");
    }
}

void CRandomHost::Alarms()
{
    const Texts titles = {"'漏水'",      "'红外'",    "'门开'", "'放电'",
                          "'漏水 门开'", "'too hot'", "null"};
    for (unsigned row = Below(7); row > 0; --row)
    {
        const Texts values = {std::to_string(Below(1000)),
                              std::to_string(7 + Below(4)),
                              std::to_string(Below(16) << 8),
                              One({"0", "1", "4", "5", "12", "null"}),
                              OneIn(6) ? "null" : "'2024-05-01 12:30:00'",
                              OneIn(2)   ? One(titles)
                              : OneIn(8) ? "printf('%.2100c','x')"
                                         : One(kValues),
                              std::to_string(Below(128)),
                              OneIn(2) ? "null" : Value(),
                              One({"null", "0", "-1", "1", "2"})};
        m_host.Alarms("insert or ignore into tbSMAlarm values(" + joined(values) + ")");
    }
}

void CRandomHost::Make(const RandomHostUrls& urls)
{
    m_host.EmptyRoom();
    Settings(urls);
    m_host.Data("begin; insert into tbSM(SID,Name) values(3,'host'); commit");
    DeviceTable("tbUps");
    for (const char* const table : {"TBAIR", "tb温湿", "Dev1"})
    {
        if (OneIn(2))
        {
            DeviceTable(table);
        }
    }
    for (const std::string& type : kDeviceTypes)
    {
        if (OneIn(3))
        {
            Extension(type);
        }
    }
    for (int i = 0; i < static_cast<int>(Below(3)); ++i)
    {
        General(i);
    }
    Inputs();
    Outputs();
    Cameras();
    Alarms();
    m_host.WriteIni();
}

} // namespace

void make_random_host(CHostDir& host, uint32_t seed, const RandomHostUrls& urls)
{
    CRandomHost(host, seed).Make(urls);
}
