// The library's two functions and the one manager of the process.
#include "db/DbInterface.h"
#include "vkdb/Manager.h"

#include <mutex>
#include <new>

namespace
{

// Without destructors, on purpose: a host may release the manager as late as in the destructors
// of its own globals, which run after those of a library loaded later.
std::mutex g_mutex; // guards g_manager
vkdb::CManager* g_manager = nullptr;

// Two settings for the whole process, possible only before SQLite is first used; a host that used
// it before keeps its own. Without the memory statistics the allocator has no lock that all
// connections share; connections are guarded by their database objects, not by SQLite.
void set_up_sqlite()
{
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    sqlite3_config(SQLITE_CONFIG_MULTITHREAD);
}

} // namespace

DbManager* GetDbManager()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (g_manager == nullptr)
    {
        set_up_sqlite();
        g_manager = new (std::nothrow) vkdb::CManager();
    }
    return g_manager;
}

void FreeDbManager()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    delete g_manager;
    g_manager = nullptr;
}
