// Queries on the host's databases: units of work, retries, and what becomes of a query on the way
// out of a failure. Main thread.
#pragma once

#include <string>

#include "app/AppPost.h"

constexpr int kQueryRetryPauseMs = 3000; // before a query that could not start is tried again
constexpr int kQueryRetries = 10;        // tries after the first one

// Begin and end a unit of work on the data database. What it throws is logged and goes no further:
// the queries in between tell whether the database can be used.
void begin_work(CAppPost& app);
void end_work(CAppPost& app);

// Frees the query, if one is open, on the way out of a failure that is already being handled: an
// exception of the database is swallowed. iqry is -1 afterwards.
void free_quietly(DbDatabase& db, int& iqry);

// Starts a query on the data database; while it cannot start, up to kQueryRetries times: tray
// tick, pause, another try, log. The tick comes before the pause, so that the tray process never
// takes the waiting daemon for a hung one. The result is the index, negative when given up.
int query_with_retry(CAppPost& app, const std::string& sql);
