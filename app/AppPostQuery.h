// Queries on the data database: units of work, and retries. Main thread.
#pragma once

#include <string>

#include "app/AppPost.h"
#include "app/AppRows.h"

constexpr int kQueryRetryPauseMs = 3000; // before a query that could not start is tried again
constexpr int kQueryRetries = 10;        // tries after the first one

// Begin and end a unit of work on the data database. What it throws is logged and goes no further:
// the queries in between tell whether the database can be used.
void begin_work(CAppPost& app);
void end_work(CAppPost& app);

// Starts a query on the data database; while it cannot start, up to kQueryRetries times: tray
// tick, pause, another try, log. The tick comes before the pause, so that the tray process never
// takes the waiting daemon for a hung one. False when given up.
bool open_with_retry(CAppPost& app, CRows& rows, const std::string& sql);
