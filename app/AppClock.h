// The one place where the daemon reads the clock. Any thread.
#pragma once

#include <cstdint>
#include <string>

// Milliseconds since 1970 by the wall clock; false: ms is left as it was.
bool wall_clock_ms(int64_t& ms);

// Milliseconds since some moment, by a clock that nobody sets.
int64_t steady_ms();

// The local time as "2024-05-01 12:00:00".
std::string local_time_stamp();
