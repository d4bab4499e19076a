#include "tests/vkdb/FaultVfs.h"

#include <stdexcept>
#include <utility>

namespace
{

// SQLite's callbacks know no object. Members count down to what they order.
struct Orders
{
    int good_reads = 0; // before the next fault
    int bad_reads = 0;
    int code = SQLITE_IOERR_READ; // of those
    int bad_opens = 0;
    bool open_to_read = false;
    int opens = 0; // which have been
    int reads_to_call = 0;
    int locks_to_call = 0;
    std::function<void()> on_fault;
    std::function<void()> on_read;
    std::function<void()> on_busy_lock;
};

Orders g_orders;
sqlite3_vfs g_shim;
sqlite3_vfs* g_real = nullptr;
const sqlite3_io_methods* g_real_file = nullptr;
sqlite3_io_methods g_file;

int faulty_read(sqlite3_file* file, void* data, int byte_count, sqlite3_int64 offset)
{
    if (g_orders.reads_to_call > 0 && --g_orders.reads_to_call == 0)
    {
        g_orders.on_read();
    }
    if (g_orders.bad_reads > 0 && --g_orders.good_reads < 0)
    {
        --g_orders.bad_reads;
        if (g_orders.on_fault)
        {
            g_orders.on_fault();
        }
        return g_orders.code;
    }
    return g_real_file->xRead(file, data, byte_count, offset);
}

int told_lock(sqlite3_file* file, int level)
{
    const int rc = g_real_file->xLock(file, level);
    if (rc == SQLITE_BUSY && g_orders.locks_to_call > 0 && --g_orders.locks_to_call == 0)
    {
        g_orders.on_busy_lock();
    }
    return rc;
}

int faulty_open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags)
{
    const bool is_database = (flags & SQLITE_OPEN_MAIN_DB) != 0;
    if (is_database && g_orders.bad_opens > 0)
    {
        --g_orders.bad_opens;
        file->pMethods = nullptr;
        return SQLITE_CANTOPEN;
    }
    g_orders.opens += is_database ? 1 : 0;
    if (is_database && g_orders.open_to_read)
    {
        g_orders.open_to_read = false;
        flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    }
    const int rc = g_real->xOpen(g_real, name, file, flags, out_flags);
    if (rc == SQLITE_OK && is_database && file->pMethods != nullptr)
    {
        g_real_file = file->pMethods; // the same one for all files with a lock
        g_file = *g_real_file;
        g_file.xRead = faulty_read;
        g_file.xLock = told_lock;
        file->pMethods = &g_file;
    }
    return rc;
}

} // namespace

CFaultVfs::CFaultVfs()
{
    g_orders = {};
    g_real = sqlite3_vfs_find(nullptr);
    g_shim = *g_real;
    g_shim.pNext = nullptr;
    g_shim.zName = "faults";
    g_shim.xOpen = faulty_open;
    if (sqlite3_vfs_register(&g_shim, 1) != SQLITE_OK)
    {
        throw std::runtime_error("no VFS with faults");
    }
}

CFaultVfs::~CFaultVfs()
{
    sqlite3_vfs_unregister(&g_shim);
    sqlite3_vfs_register(g_real, 1);
    g_orders = {};
}

void CFaultVfs::FailRead(int number, int times, std::function<void()> on_fault, int code)
{
    g_orders.good_reads = number - 1;
    g_orders.bad_reads = times;
    g_orders.code = code;
    g_orders.on_fault = std::move(on_fault);
}

void CFaultVfs::FailOpens(int times)
{
    g_orders.bad_opens = times;
}

void CFaultVfs::OpenToRead()
{
    g_orders.open_to_read = true;
}

void CFaultVfs::AtRead(int number, std::function<void()> call)
{
    g_orders.reads_to_call = number;
    g_orders.on_read = std::move(call);
}

void CFaultVfs::AtBusyLock(int times, std::function<void()> call)
{
    g_orders.locks_to_call = times;
    g_orders.on_busy_lock = std::move(call);
}

int CFaultVfs::Opens() const
{
    return g_orders.opens;
}

bool CFaultVfs::IsDone() const
{
    return g_orders.bad_reads == 0 && g_orders.bad_opens == 0 && g_orders.reads_to_call == 0 &&
           g_orders.locks_to_call == 0;
}
