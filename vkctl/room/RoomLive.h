// Keeps the values of a room moving, as the polling processes of a host would.
//
// Works on any room that `vkctl room` made: what stands in it is read from its tables. Each step is
// one tick; it writes in short transactions, one for each device, as pollers do, so that a reader
// meets every state a busy host can have. A large room is polled in turn: a step visits at most
// kDevicesPerStep devices. Owns its connection. Main thread; failures are thrown as CCliError.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vkctl/base/Sqlite.h"
#include "vkctl/room/RoomDatabase.h"

namespace vkctl
{

constexpr int kDevicesPerStep = 200;

class CRoomLive
{
public:
    CRoomLive(const std::string& directory, uint32_t seed);

    // Writes the next tick with `time` as its DateUpd; the number of devices visited.
    int Step(const std::string& time);

    size_t Devices() const { return m_vDevices.size(); }

private:
    void MoveDevice(const Device& device, const std::string& time);
    void MoveDetails(const Device& device);
    void MovePoints(const std::string& time);
    void MoveGeneral(const std::string& time);

    CSqliteFile m_file;
    uint32_t m_uSeed;
    std::vector<Device> m_vDevices;
    std::vector<int> m_vInputs; // SIDs of wired inputs
    size_t m_uNext = 0;         // the device that is polled next
    long m_lTick = 0;
};

// The local time, "YYYY-MM-DD hh:mm:ss".
std::string local_time_text();

} // namespace vkctl
