// The lock that keeps a second daemon from starting: a record lock on /var/run/<name>.pid, where
// <name> is the executable's. The lock lives as long as the process; the file stays behind, and a
// stale one is harmless. Main thread, at start-up.
#pragma once

#include <string>

// Base name of the running executable; empty when it cannot be found.
std::string currentExeName();

// 1 when this process holds the lock now and its id stands in the file; 0 when another process
// holds it. Ends the process with status 1 when the file cannot be made or written.
int runSingleInstance();
