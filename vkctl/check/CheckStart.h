// Databases with a write-ahead log, where the SQLite of this machine can damage them.
#pragma once

#include <string>

#include "vkctl/check/Finding.h"

namespace vkctl
{

// Whether that version of SQLite (3051003 is 3.51.3) can damage a database with a write-ahead log
// when two connections copy the log into it at the same instant.
bool has_unsafe_checkpoints(int sqliteVersion);

// database-wal-reset, for one database of the host that nobody in this process has open: reading
// its head drops the locks that SQLite holds on it.
void check_write_ahead_log(const std::string& path, int sqliteVersion, CFindings& findings);

} // namespace vkctl
