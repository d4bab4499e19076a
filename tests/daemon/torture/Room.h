// The room of every trial: three devices, one general table, an input, three outputs, a camera and
// the alarms that are raised. A sweep of it is eleven bodies.
//
// Owns the host directory. Databases are made once; Reset puts them back as they were.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/daemon/support/Certificates.h"
#include "tests/daemon/support/HostDir.h"

enum class Scene
{
    kPlain, // one http server by its address, bodies as they are
    kRich,  // two servers, one of them https by its name; another encoding; rediscovery
};

const char* scene_name(Scene scene);
Scene scene_of(const std::string& name); // throws std::runtime_error when there is none

// The bodies of one sweep without what differs from sweep to sweep, see steady_part.
const std::vector<std::string>& sweep_bodies();

// A body without its time, and that of the host without its figures.
std::string steady_part(const std::string& body);

// The title that an alarm's body bears; empty when it is none.
std::string alarm_title(const std::string& body);

class CRoom
{
public:
    explicit CRoom(const std::string& parent = "/tmp"); // where its directory is made

    CHostDir& Host() { return m_host; }
    std::string DataFile() const { return m_host.File("tmp/dbDat0.db3"); }
    std::string AlarmFile() const { return m_host.File("tmp/dbData.db3"); }

    void Reset();
    void Restore(const std::string& file) const; // one of the two, as it was made, as a new file

    // A new alarm that is not sent; its title, which no other one of this process has.
    std::string RaiseAlarm();
    int LastAlarm() const { return m_alarm; } // its number, the DID

    // How many alarms are not sent, as a number's text; what SQLite said when it cannot tell.
    std::string Unmarked() const;

    std::vector<std::string> Damages() const; // what SQLite's own check says of the two files

    const Identity& Server() const { return m_identity; } // of server.test
    std::string Authority() const { return m_authority.CertificateFile(); }

private:
    CHostDir m_host;
    CAuthority m_authority;
    Identity m_identity;
    std::string m_data; // the files' bytes as they were made
    std::string m_alarms;
    int m_alarm = 0;
};
