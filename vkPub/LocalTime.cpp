#include "vkPub/LocalTime.h"

#include <atomic>
#include <cstdio>
#include <ctime>

namespace
{

std::atomic<time_t> g_zone_read_at{-1}; // when tzset was last called; no second is its own twice

// localtime_r alone reads the zone once and never again. tzset looks at the file each time, which
// is a system call: once a second is enough, also where the log writes thousands of lines in it.
void follow_time_zone(time_t now)
{
    if (g_zone_read_at.exchange(now) != now)
    {
        tzset();
    }
}

} // namespace

void local_time_text(char (&text)[kLocalTimeBytes])
{
    const time_t now = std::time(nullptr);
    follow_time_zone(now);
    tm local{};
    localtime_r(&now, &local);
    std::snprintf(text, sizeof(text), "%d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}
