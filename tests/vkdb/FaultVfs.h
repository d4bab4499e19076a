// Files as SQLite sees them, with faults where a test wants them.
//
// While a CFaultVfs lives, connections are opened through it: it is SQLite's default VFS and hands
// every call on to the one before. One at a time. Connections opened meanwhile stay usable behind
// it.
#pragma once

#include <sqlite3.h>

#include <functional>

class CFaultVfs
{
public:
    CFaultVfs();
    ~CFaultVfs();
    CFaultVfs(const CFaultVfs&) = delete;
    CFaultVfs& operator=(const CFaultVfs&) = delete;

    // Read number nRead from now on, counted from 1, fails with a read error or another code of
    // SQLite's, and so do those behind it, nTimes in all. onFault is called at each.
    void FailRead(int nRead, int nTimes = 1, std::function<void()> onFault = nullptr,
                  int nCode = SQLITE_IOERR_READ);

    // The next nTimes openings of a database fail, as when there are no descriptors.
    void FailOpens(int nTimes);

    // The next opening of a database to read and write gives one to read, as SQLite's own way of
    // opening does after a failure.
    void OpenToRead();

    // Called at read number nRead, counted from 1, which then succeeds.
    void AtRead(int nRead, std::function<void()> call);

    // Called when somebody else's lock has been found nTimes.
    void AtBusyLock(int nTimes, std::function<void()> call);

    // How many databases were opened so far.
    int Opens() const;

    // True when all faults ordered have happened.
    bool IsDone() const;
};
