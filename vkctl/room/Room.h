// `vkctl room`: makes a host directory with a believable equipment room, and keeps it moving.
#pragma once

#include <chrono>
#include <ostream>
#include <string>

#include "vkctl/base/Stop.h"
#include "vkctl/room/RoomDatabase.h"
#include "vkctl/room/RoomIni.h"

namespace vkctl
{

struct RoomOptions
{
    std::string directory;
    RoomContent content;
    RoomIni ini;
    bool force = false;       // replace a room that is there
    bool live = false;        // keep the values moving
    bool has_content = false; // an option about what is created was given
    std::chrono::milliseconds step{1000};
    std::chrono::milliseconds limit{-1}; // how long to stay live; below 0: until stopped
};

// True when the directory holds a vkApp.ini already.
bool is_room(const std::string& directory);

// Makes directory, vkApp.ini and both databases. Each file appears under its name only when it is
// complete, vkApp.ini last. Throws CCliError when there is a vkApp.ini and `force` is not set, and
// when something cannot be written; files finished before a failure stay.
void create_room(const RoomOptions& options);

// The subcommand: creates what is to be created, says what stands there now, and moves the values
// until `stop`. Alone, --live moves a room that is there already. Returns the exit status.
int run_room(const RoomOptions& options, CStop& stop, std::ostream& out);

// The same on this process's standard output, until it is told to end.
int run_room(const RoomOptions& options);

} // namespace vkctl
