// Alarms of a room, as the host's alarm process raises and clears them.
//
// Owns its connection to the alarm database and knows the devices by a connection to the data
// database. Failures are thrown as CCliError. One thread.
#pragma once

#include <string>
#include <vector>

#include "vkctl/base/Sqlite.h"

namespace vkctl
{

constexpr int kOwnClass = -1; // the class in the device's type

struct AlarmOrder
{
    int sid = 0;                 // 0: the next device of the room, one after the other
    int alarm_class = kOwnClass; // bits 8 to 15 of the alarm's type
    std::string title;           // empty: made from the device's name
    int mask = 0x41;             // who is told
};

class CRoomAlarms
{
public:
    explicit CRoomAlarms(const std::string& directory);

    // Writes an alarm that has come and is not sent yet; its DID.
    int Raise(const AlarmOrder& order, const std::string& time);

    // Marks the newest alarm that stands as gone and not sent yet; its DID, 0 when none stands.
    int Clear(const std::string& time);

    int Standing(); // number of alarms that have come and not gone
    int Unsent();   // number of alarms that the daemon has not marked

private:
    struct KnownDevice
    {
        int sid;
        int type;
        std::string name;
    };

    const KnownDevice& Find(int sid) const;
    int Value(const std::string& sql);

    CSqliteFile m_alarms;
    std::vector<KnownDevice> m_vDevices; // in SID order, without cameras and the host's own module
    size_t m_uNext = 0;
};

} // namespace vkctl
