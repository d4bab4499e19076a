#include "vkctl/room/RoomLive.h"

#include <algorithm>
#include <ctime>

#include "vkctl/room/RoomTexts.h"

namespace vkctl
{

namespace
{

constexpr long kInputPeriod = 5; // ticks between two changes of the same input or output

std::vector<Device> read_devices(CSqliteFile& file)
{
    std::vector<Device> devices;
    for (const DeviceKind& kind : device_kinds())
    {
        CStatement query(file, std::string("select SID,State from ") + kind.table);
        while (query.Step())
        {
            devices.push_back({query.Int(0), &kind, 0, query.Int(1) < 0});
        }
    }
    std::sort(devices.begin(), devices.end(),
              [](const Device& a, const Device& b) { return a.sid < b.sid; });
    return devices;
}

std::vector<int> read_inputs(CSqliteFile& file)
{
    std::vector<int> sids;
    CStatement query(file, "select SID from tbSubSysDetail where SID<>SIDD and State>=0");
    while (query.Step())
    {
        sids.push_back(query.Int(0));
    }
    return sids;
}

std::string number_text(const Reading& value, int decimals)
{
    return value.is_real ? decimal_text(value.real, decimals) : std::to_string(value.whole);
}

} // namespace

CRoomLive::CRoomLive(const std::string& directory, uint32_t seed)
    : m_file(directory + "/" + kDataDatabase, CSqliteFile::Mode::kUpdate), m_uSeed(seed),
      m_vDevices(read_devices(m_file)), m_vInputs(read_inputs(m_file))
{
    // Values that a power cut takes away come again with the next step.
    m_file.Exec("pragma synchronous=off");
}

int CRoomLive::Step(const std::string& time)
{
    ++m_lTick;
    const size_t count = std::min<size_t>(m_vDevices.size(), kDevicesPerStep);
    for (size_t i = 0; i < count; ++i)
    {
        MoveDevice(m_vDevices[m_uNext], time);
        m_uNext = (m_uNext + 1) % m_vDevices.size();
    }
    MovePoints(time);
    MoveGeneral(time);
    return static_cast<int>(count);
}

void CRoomLive::MoveDevice(const Device& device, const std::string& time)
{
    if (device.out_of_service)
    {
        return; // nobody polls it
    }
    const int state = device_state(device, m_uSeed, m_lTick);
    std::string sql = std::string("update ") + device.kind->table +
                      " set State=" + std::to_string(state) + ",DateUpd='" + time + "',DateOk='" +
                      time + "'";
    for (const Column& column : device.kind->columns)
    {
        const Reading value = reading(column, m_uSeed, device.sid, 0, m_lTick);
        sql += std::string(",") + column.name + "=" + number_text(value, column.decimals);
    }
    CTransaction transaction(m_file);
    m_file.Exec(sql + " where SID=" + std::to_string(device.sid));
    if (device.kind->detail.name != nullptr)
    {
        MoveDetails(device);
    }
    transaction.Commit();
}

void CRoomLive::MoveDetails(const Device& device)
{
    const DetailTable& detail = device.kind->detail;
    const std::vector<std::string> names = detail_columns(detail);
    std::string sql = std::string("update ") + detail.name + " set ";
    for (size_t i = 2; i < names.size(); ++i)
    {
        sql += (i > 2 ? "," : "") + names[i] + "=?";
    }
    CStatement update(m_file, sql + " where SID=? and " + names[1] + "=?");
    for (int row = 1; row <= detail.rows; ++row)
    {
        int at = 1;
        for (const std::string& text : detail_texts(device, row, m_uSeed, m_lTick))
        {
            update.Bind(at++, text);
        }
        update.Bind(at++, static_cast<long long>(device.sid));
        update.Bind(at, detail_key(detail, row));
        update.Run();
    }
}

// One input after the other changes for one period: doors open, smoke comes and goes.
void CRoomLive::MovePoints(const std::string& time)
{
    if (m_lTick % kInputPeriod != 0)
    {
        return;
    }
    const long turn = m_lTick / kInputPeriod;
    CTransaction transaction(m_file);
    for (size_t i = 0; i < m_vInputs.size(); ++i)
    {
        const bool is_on = static_cast<size_t>(turn) % (2 * m_vInputs.size()) == 2 * i + 1;
        m_file.Exec("update tbSubSysDetail set State=" + std::to_string(is_on ? 1 : 0) +
                    ",LastUpd='" + time + "' where SID=" + std::to_string(m_vInputs[i]) +
                    " and State<>" + std::to_string(is_on ? 1 : 0));
    }
    const long output = turn % 3;
    m_file.Exec("update tbDio set D09=" + std::to_string(output == 0) +
                ",D10=" + std::to_string(output == 1) + ",D11=" + std::to_string(output == 2) +
                ",DateUpd='" + time + "'");
    transaction.Commit();
}

void CRoomLive::MoveGeneral(const std::string& time)
{
    constexpr Column kLoad = {"Value", ColumnKind::kReal, 86.4, 6, 1};
    constexpr double kOverhead = 36.3; // kW that cooling and light take
    const double load = reading(kLoad, m_uSeed, 0, 0, m_lTick).real;
    const auto set = [&](int id, double value, int decimals)
    {
        m_file.Exec("update tbGenEnergy set Value=" + decimal_text(value, decimals) + ",DateUpd='" +
                    time + "' where ID=" + std::to_string(id));
    };
    CTransaction transaction(m_file);
    set(1, (load + kOverhead) / load, 2);
    set(2, load, 1);
    set(3, load + kOverhead, 1);
    m_file.Exec("update tbExtUps set SysLoad=" + decimal_text(load, 1) +
                ",SysRate=" + decimal_text(load / 2, 1) + ",DateUpd='" + time + "'");
    transaction.Commit();
}

std::string local_time_text()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

} // namespace vkctl
