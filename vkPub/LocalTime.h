// The local time as text, for log lines and bodies.
#pragma once

constexpr int kLocalTimeBytes = 80; // with the terminator, whatever the clock says

// The present local time as "2024-05-01 12:00:00", in the time zone of this moment: a changed
// /etc/localtime is followed within a second. Any thread that is not in the middle of the C
// library's work on time zones or memory; does not allocate memory that it keeps.
void local_time_text(char (&text)[kLocalTimeBytes]);
