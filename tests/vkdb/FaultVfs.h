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

    // The read of that number from now on, counted from 1, fails with a read error or another code
    // of SQLite's, and so do those behind it, so many times in all. on_fault is called at each.
    void FailRead(int number, int times = 1, std::function<void()> on_fault = nullptr,
                  int code = SQLITE_IOERR_READ);

    // So many of the next openings of a database fail, as when there are no descriptors.
    void FailOpens(int times);

    // The next opening of a database to read and write gives one to read, as SQLite's own way of
    // opening does after a failure.
    void OpenToRead();

    // Called at the read of that number, counted from 1, which then succeeds.
    void AtRead(int number, std::function<void()> call);

    // Called when somebody else's lock has been found that many times.
    void AtBusyLock(int times, std::function<void()> call);

    // How many databases were opened so far.
    int Opens() const;

    // True when all faults ordered have happened.
    bool IsDone() const;
};
