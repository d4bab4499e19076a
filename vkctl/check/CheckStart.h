// Whether the daemon can start at all: its database library, the folder of its log; and whether the
// SQLite of this machine is good for the databases.
//
// library-unusable, log-folder, board-absent, database-wal-reset. Nothing is written. One thread.
#pragma once

#include <string>

#include "vkctl/check/Finding.h"

namespace vkctl
{

// In the host's directory. flash: where the board's flash is mounted, below which the log stands.
// Where there is no such place this is not the board, and what only the board can tell is a note.
void check_start(const std::string& flash, CFindings& findings);

// Why the library at the path is of no use to the daemon; empty when it is. It is loaded in a
// process of its own, which a library that crashes or hangs does not take with it.
std::string library_problem(const std::string& path);

// Whether that version of SQLite (3051003 is 3.51.3) can damage a database with a write-ahead log
// when two connections copy the log into it at the same instant.
bool has_unsafe_checkpoints(int sqlite_version);

// database-wal-reset, for one database of the host that nobody in this process has open: reading
// its head drops the locks that SQLite holds on it.
void check_write_ahead_log(const std::string& path, int sqlite_version, CFindings& findings);

} // namespace vkctl
