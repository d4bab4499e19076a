// The way to files that a connection takes that must leave its database's folder as it is.
//
// SQLite opens a write-ahead log to be written and creates it when it is missing, also for a
// connection that only reads; as root it hands the log over to the database's owner. Through this
// VFS logs and journals are opened to be read, no file is created and none is deleted. The
// shared-memory file of a log is the exception: a reader's locks stand in it.
//
// Any thread.
#pragma once

namespace vkdb
{

// The name to open a connection with; registered with SQLite at the first call. Null when SQLite
// has no memory for it: the connection is then SQLite's own.
const char* no_touch_vfs();

} // namespace vkdb
