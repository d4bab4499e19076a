// A shim over SQLite's own VFS: everything but opening and deleting goes there.
#include "vkdb/NoTouchVfs.h"

#include <sqlite3.h>

namespace vkdb
{

namespace
{

constexpr char kName[] = "vkdb-no-touch";

sqlite3_vfs* g_real = nullptr; // set before the shim is registered, never changed

int open_to_read(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags)
{
    if ((flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL)) != 0)
    {
        // As a kind of journal that SQLite never gives another owner.
        flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_SUPER_JOURNAL;
    }
    return g_real->xOpen(g_real, name, file, flags, out_flags);
}

int refuse_to_delete(sqlite3_vfs*, const char*, int)
{
    return SQLITE_READONLY;
}

bool register_shim()
{
    static sqlite3_vfs shim; // SQLite keeps the pointer
    g_real = sqlite3_vfs_find(nullptr);
    if (g_real == nullptr)
    {
        return false;
    }
    shim = *g_real;
    shim.pNext = nullptr;
    shim.zName = kName;
    shim.xOpen = open_to_read;
    shim.xDelete = refuse_to_delete;
    return sqlite3_vfs_register(&shim, 0) == SQLITE_OK;
}

} // namespace

const char* no_touch_vfs()
{
    static const bool is_registered = register_shim();
    return is_registered ? kName : nullptr;
}

} // namespace vkdb
