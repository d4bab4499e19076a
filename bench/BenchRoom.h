// A room for one benchmark run: a host directory with any number of devices, and nothing else to
// post but the host's own status.
//
// Owns its directory, a new one under the system's temporary directory, and removes it in the end.
// Throws std::runtime_error when something cannot be written. Main thread.
#pragma once

#include <string>
#include <vector>

class CBenchRoom
{
public:
    // The database library is linked into the directory, where the daemon looks for it.
    CBenchRoom(int devices, const std::string& db_library);
    ~CBenchRoom();
    CBenchRoom(const CBenchRoom&) = delete;
    CBenchRoom& operator=(const CBenchRoom&) = delete;

    const std::string& Dir() const { return m_dir; }
    int Devices() const { return m_devices; }
    int FirstSid() const;
    int LastSid() const;

    // Writes vkApp.ini: posts to these URLs, sweep after sweep without a delay.
    void Configure(const std::vector<std::string>& urls) const;

private:
    std::string m_dir;
    int m_devices;
};
