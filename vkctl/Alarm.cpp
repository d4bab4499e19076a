#include "vkctl/Alarm.h"

#include <algorithm>

#include "vkctl/base/CliError.h"
#include "vkctl/room/RoomDatabase.h"

namespace vkctl
{

namespace
{

constexpr int kCameraKind = 3072;
constexpr int kClassMask = 0xFF00;
constexpr char kDefaultTitle[] = " 越限告警";

} // namespace

CRoomAlarms::CRoomAlarms(const std::string& directory)
    : m_alarms(directory + "/" + kAlarmDatabase, CSqliteFile::Mode::kUpdate)
{
    CSqliteFile data(directory + "/" + kDataDatabase, CSqliteFile::Mode::kRead);
    CStatement query(data, "select SID,Type,Name from tbSM where Kind<>? and SID<>? order by SID");
    query.Bind(1, static_cast<long long>(kCameraKind));
    query.Bind(2, static_cast<long long>(kHostSid));
    while (query.Step())
    {
        m_vDevices.push_back({query.Int(0), query.Int(1), query.Text(2)});
    }
    if (m_vDevices.empty())
    {
        throw CCliError(data.Path() + ": table tbSM names no device that could raise an alarm");
    }
}

const CRoomAlarms::KnownDevice& CRoomAlarms::Find(int sid) const
{
    const auto found = std::find_if(m_vDevices.begin(), m_vDevices.end(),
                                    [sid](const KnownDevice& device) { return device.sid == sid; });
    if (found == m_vDevices.end())
    {
        throw CCliError("the room has no device " + std::to_string(sid));
    }
    return *found;
}

int CRoomAlarms::Raise(const AlarmOrder& order, const std::string& time)
{
    const KnownDevice& device =
        order.sid != 0 ? Find(order.sid) : m_vDevices[m_uNext++ % m_vDevices.size()];
    const int type = order.alarm_class == kOwnClass
                         ? device.type
                         : (device.type & ~kClassMask) | order.alarm_class << 8;
    CTransaction transaction(m_alarms);
    const int did = Value("select coalesce(max(DID),0)+1 from tbSMAlarm");
    CStatement insert(m_alarms, "insert into tbSMAlarm(DID,SID,Type,Alm,LastUpd,AlmBrief,AlmMask)"
                                " values(?,?,?,1,?,?,?)");
    insert.Bind(1, static_cast<long long>(did));
    insert.Bind(2, static_cast<long long>(device.sid));
    insert.Bind(3, static_cast<long long>(type));
    insert.Bind(4, time);
    insert.Bind(5, order.title.empty() ? device.name + kDefaultTitle : order.title);
    insert.Bind(6, static_cast<long long>(order.mask));
    insert.Run();
    transaction.Commit();
    return did;
}

int CRoomAlarms::Clear(const std::string& time)
{
    CTransaction transaction(m_alarms);
    const int did = Value("select coalesce(max(DID),0) from tbSMAlarm where Alm&4=0");
    CStatement update(m_alarms, "update tbSMAlarm set Alm=Alm|4,AFld=0,LastUpd=? where DID=?");
    update.Bind(1, time);
    update.Bind(2, static_cast<long long>(did));
    update.Run();
    transaction.Commit();
    return did;
}

int CRoomAlarms::Standing()
{
    return Value("select count(*) from tbSMAlarm where Alm&4=0");
}

int CRoomAlarms::Unsent()
{
    return Value("select count(*) from tbSMAlarm where AFld is null or AFld<1");
}

int CRoomAlarms::Value(const std::string& sql)
{
    CStatement query(m_alarms, sql);
    return query.Step() ? query.Int(0) : 0;
}

} // namespace vkctl
