#include "tests/vkdb/FaultVfs.h"

#include <stdexcept>
#include <utility>

namespace
{

// SQLite's callbacks know no object. Members count down to what they order.
struct Orders
{
    int nGoodReads = 0; // before the next fault
    int nBadReads = 0;
    int nCode = SQLITE_IOERR_READ; // of those
    int nBadOpens = 0;
    bool bOpenToRead = false;
    int nOpens = 0; // which have been
    int nReadsToCall = 0;
    int nLocksToCall = 0;
    std::function<void()> onFault;
    std::function<void()> onRead;
    std::function<void()> onBusyLock;
};

Orders g_orders;
sqlite3_vfs g_shim;
sqlite3_vfs* g_real = nullptr;
const sqlite3_io_methods* g_realFile = nullptr;
sqlite3_io_methods g_file;

int faulty_read(sqlite3_file* pFile, void* pData, int nBytes, sqlite3_int64 iOffset)
{
    if (g_orders.nReadsToCall > 0 && --g_orders.nReadsToCall == 0)
    {
        g_orders.onRead();
    }
    if (g_orders.nBadReads > 0 && --g_orders.nGoodReads < 0)
    {
        --g_orders.nBadReads;
        if (g_orders.onFault)
        {
            g_orders.onFault();
        }
        return g_orders.nCode;
    }
    return g_realFile->xRead(pFile, pData, nBytes, iOffset);
}

int told_lock(sqlite3_file* pFile, int nLock)
{
    const int rc = g_realFile->xLock(pFile, nLock);
    if (rc == SQLITE_BUSY && g_orders.nLocksToCall > 0 && --g_orders.nLocksToCall == 0)
    {
        g_orders.onBusyLock();
    }
    return rc;
}

int faulty_open(sqlite3_vfs*, const char* szName, sqlite3_file* pFile, int nFlags, int* pnFlags)
{
    const bool bDatabase = (nFlags & SQLITE_OPEN_MAIN_DB) != 0;
    if (bDatabase && g_orders.nBadOpens > 0)
    {
        --g_orders.nBadOpens;
        pFile->pMethods = nullptr;
        return SQLITE_CANTOPEN;
    }
    g_orders.nOpens += bDatabase ? 1 : 0;
    if (bDatabase && g_orders.bOpenToRead)
    {
        g_orders.bOpenToRead = false;
        nFlags = (nFlags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    }
    const int rc = g_real->xOpen(g_real, szName, pFile, nFlags, pnFlags);
    if (rc == SQLITE_OK && bDatabase && pFile->pMethods != nullptr)
    {
        g_realFile = pFile->pMethods; // the same one for all files with a lock
        g_file = *g_realFile;
        g_file.xRead = faulty_read;
        g_file.xLock = told_lock;
        pFile->pMethods = &g_file;
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

void CFaultVfs::FailRead(int nRead, int nTimes, std::function<void()> onFault, int nCode)
{
    g_orders.nGoodReads = nRead - 1;
    g_orders.nBadReads = nTimes;
    g_orders.nCode = nCode;
    g_orders.onFault = std::move(onFault);
}

void CFaultVfs::FailOpens(int nTimes)
{
    g_orders.nBadOpens = nTimes;
}

void CFaultVfs::OpenToRead()
{
    g_orders.bOpenToRead = true;
}

void CFaultVfs::AtRead(int nRead, std::function<void()> call)
{
    g_orders.nReadsToCall = nRead;
    g_orders.onRead = std::move(call);
}

void CFaultVfs::AtBusyLock(int nTimes, std::function<void()> call)
{
    g_orders.nLocksToCall = nTimes;
    g_orders.onBusyLock = std::move(call);
}

int CFaultVfs::Opens() const
{
    return g_orders.nOpens;
}

bool CFaultVfs::IsDone() const
{
    return g_orders.nBadReads == 0 && g_orders.nBadOpens == 0 && g_orders.nReadsToCall == 0 &&
           g_orders.nLocksToCall == 0;
}
