#include "vkctl/room/RoomDatabase.h"

#include <array>

#include "vkctl/room/RoomTexts.h"

namespace vkctl
{

namespace
{

constexpr int kHostType = 0x0E01;
constexpr int kInputKind = 0x0900;
constexpr int kInputType = 0x0901; // alarm class 9: the alarm's title tells what kind of input
constexpr int kCameraKind = 3072;
constexpr int kCameraType = 0x0C01;
constexpr int kSecurity = 4; // subsystem of inputs and cameras

struct InputKind
{
    const char* name;
    int subsys;
};

// The words for door, leak, infrared and surge are what tells alarms of inputs apart.
constexpr std::array<InputKind, 7> kInputKinds = {{{"门磁", kSecurity},
                                                   {"烟感", 3},
                                                   {"漏水检测", 3},
                                                   {"红外探测", kSecurity},
                                                   {"浪涌放电", 1},
                                                   {"市电断电", 1},
                                                   {"消防联动", kSecurity}}};

const InputKind& input_kind(int index)
{
    return kInputKinds[static_cast<size_t>(index) % kInputKinds.size()];
}

struct SmRow
{
    int sid;
    int kind;
    int type;
    std::string name;
    std::string note;
    int tag;
    int subsys;
    std::string ser_def;
};

class CSmWriter
{
public:
    CSmWriter(CSqliteFile& file, const RoomContent& content)
        : m_stmt(file, insert_sql("tbSM", {"SID", "Kind", "Type", "Name", "Note", "Tag1", "ASubSys",
                                           "State", "DataMode", "SerDef", "LastUpd"})),
          m_strTime(content.time)
    {
    }

    void Write(const SmRow& row)
    {
        m_stmt.Bind(1, static_cast<long long>(row.sid));
        m_stmt.Bind(2, static_cast<long long>(row.kind));
        m_stmt.Bind(3, static_cast<long long>(row.type));
        m_stmt.Bind(4, row.name);
        m_stmt.Bind(5, row.note);
        m_stmt.Bind(6, static_cast<long long>(row.tag));
        m_stmt.Bind(7, static_cast<long long>(row.subsys));
        m_stmt.Bind(8, 0LL);
        m_stmt.Bind(9, 1LL);
        m_stmt.Bind(10, row.ser_def);
        m_stmt.Bind(11, m_strTime);
        m_stmt.Run();
    }

private:
    CStatement m_stmt;
    std::string m_strTime;
};

int row_of_cabinets(int index)
{
    return 1 + index % 4;
}

void fill_identities(CSqliteFile& file, const RoomContent& content,
                     const std::vector<Device>& devices)
{
    CSmWriter sm(file, content);
    sm.Write({kHostSid, kHostType, kHostType, "主机开关量模块", "", 0, kSecurity, ""});
    for (int i = 0; i < content.inputs; ++i)
    {
        sm.Write({kFirstInputSid + i, kInputKind, kInputType, input_name(i), "", row_of_cabinets(i),
                  input_kind(i).subsys, ""});
    }
    for (int i = 0; i < content.cameras; ++i)
    {
        const std::string address = "192.168." + std::to_string(1 + i / 200) + "." +
                                    std::to_string(20 + i % 200) + ",8000,admin,1";
        sm.Write({kFirstCameraSid + i, kCameraKind, kCameraType, camera_name(i), "",
                  row_of_cabinets(i), kSecurity, address});
    }
    for (const Device& device : devices)
    {
        sm.Write({device.sid, device.kind->type & 0xFF00, device.kind->type, device.Name(),
                  device.out_of_service ? "备用, 未投运" : "", row_of_cabinets(device.sid),
                  device.kind->subsys, ""});
    }
}

void bind_reading(CStatement& stmt, int index, const Reading& value)
{
    if (value.is_real)
    {
        stmt.Bind(index, value.real);
    }
    else
    {
        stmt.Bind(index, value.whole);
    }
}

void fill_devices_of(CSqliteFile& file, const RoomContent& content, const DeviceKind& kind,
                     const std::vector<Device>& devices)
{
    std::vector<std::string> names = {"SID",   "Type",   "Port",    "Addr",
                                      "State", "ErrCnt", "DateUpd", "DateOk"};
    for (const Column& column : kind.columns)
    {
        names.emplace_back(column.name);
    }
    CStatement insert(file, insert_sql(kind.table, names));
    for (const Device& device : devices)
    {
        if (device.kind != &kind)
        {
            continue;
        }
        const int index = device.sid - kFirstDeviceSid;
        insert.Bind(1, static_cast<long long>(device.sid));
        insert.Bind(2, static_cast<long long>(kind.type));
        insert.Bind(3, static_cast<long long>(1 + index % 8));
        insert.Bind(4, static_cast<long long>(1 + index / 8 % 247));
        insert.Bind(5, static_cast<long long>(device_state(device, content.seed, 0)));
        insert.Bind(6, 0LL);
        insert.Bind(7, content.time);
        insert.Bind(8, content.time);
        int at = 9;
        for (const Column& column : kind.columns)
        {
            bind_reading(insert, at++, reading(column, content.seed, device.sid, 0, 0));
        }
        insert.Run();
    }
}

void fill_details_of(CSqliteFile& file, const RoomContent& content, const DeviceKind& kind,
                     const std::vector<Device>& devices)
{
    const DetailTable& detail = kind.detail;
    CStatement insert(file, insert_sql(detail.name, detail_columns(detail)));
    for (const Device& device : devices)
    {
        for (int row = 1; device.kind == &kind && row <= detail.rows; ++row)
        {
            insert.Bind(1, static_cast<long long>(device.sid));
            insert.Bind(2, detail_key(detail, row));
            int at = 3;
            for (const std::string& text : detail_texts(device, row, content.seed, 0))
            {
                insert.Bind(at++, text);
            }
            insert.Run();
        }
    }
}

// The module's own row, then the inputs; the last of several is not wired (State -1).
void fill_inputs(CSqliteFile& file, const RoomContent& content)
{
    CStatement insert(
        file, insert_sql("tbSubSysDetail", {"SID", "SIDD", "Fld", "Type", "State", "LastUpd"}));
    for (int i = -1; i < content.inputs; ++i)
    {
        const bool is_module = i < 0;
        const bool is_unwired = content.inputs > 1 && i == content.inputs - 1;
        insert.Bind(1, static_cast<long long>(is_module ? kHostSid : kFirstInputSid + i));
        insert.Bind(2, static_cast<long long>(kHostSid));
        insert.Bind(3, static_cast<long long>(is_module ? 0 : i));
        insert.Bind(4, static_cast<long long>(is_module ? kHostType : kInputType));
        insert.Bind(5, is_unwired ? -1LL : 0LL);
        insert.Bind(6, content.time);
        insert.Run();
    }
}

void fill_fixed_tables(CSqliteFile& file, const RoomContent& content)
{
    for (const std::string& sql : fixed_rows(content.time))
    {
        file.Exec(sql);
    }
}

} // namespace

std::string insert_sql(const std::string& table, const std::vector<std::string>& columns)
{
    std::string names;
    std::string marks;
    for (const std::string& column : columns)
    {
        names += (names.empty() ? "" : ",") + column;
        marks += marks.empty() ? "?" : ",?";
    }
    return "insert into " + table + "(" + names + ") values(" + marks + ")";
}

std::string input_name(int index)
{
    return input_kind(index).name +
           std::to_string(1 + index / static_cast<int>(kInputKinds.size())) + "#";
}

std::string camera_name(int index)
{
    constexpr std::array<const char*, 4> kPlaces = {"前门", "后门", "冷通道", "配电间"};
    return kPlaces[static_cast<size_t>(index) % kPlaces.size()] + std::string("摄像机") +
           std::to_string(1 + index / static_cast<int>(kPlaces.size())) + "#";
}

std::vector<std::string> detail_texts(const Device& device, int row, uint32_t seed, long tick)
{
    const DetailTable& detail = device.kind->detail;
    std::vector<std::string> texts;
    for (const Column& column : detail.columns)
    {
        const Reading value = reading(column, seed, device.sid, row, tick);
        texts.push_back(value.is_real ? decimal_text(value.real, column.decimals)
                                      : std::to_string(value.whole));
    }
    const bool is_empty = row == detail.empty_row;
    if (detail.mode == 200)
    {
        texts.emplace_back(is_empty ? "" : detail.units[static_cast<size_t>(row - 1)]);
    }
    else if (is_empty)
    {
        texts.back().clear();
    }
    return texts;
}

void fill_data_database(CSqliteFile& file, const RoomContent& content)
{
    const std::vector<Device> devices = room_devices(content.devices);
    file.Exec(content.wal ? "pragma journal_mode=wal" : "pragma journal_mode=delete");
    CTransaction transaction(file);
    file.Exec(schema_of(kDataDatabase));
    fill_identities(file, content, devices);
    for (const DeviceKind& kind : device_kinds())
    {
        fill_devices_of(file, content, kind, devices);
        if (kind.detail.name != nullptr)
        {
            fill_details_of(file, content, kind, devices);
        }
    }
    fill_inputs(file, content);
    fill_fixed_tables(file, content);
    transaction.Commit();
}

void fill_alarm_database(CSqliteFile& file, const RoomContent& content)
{
    file.Exec(content.wal ? "pragma journal_mode=wal" : "pragma journal_mode=delete");
    CTransaction transaction(file);
    file.Exec(schema_of(kAlarmDatabase));
    for (const std::string& sql : alarm_rows())
    {
        file.Exec(sql);
    }
    transaction.Commit();
}

} // namespace vkctl
