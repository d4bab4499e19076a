// The one place where the daemon reads the clock, so that a test can replace it.
#include "app/AppInternal.h"

#include <ctime>
#include <sys/time.h>

bool wall_clock_ms(int64_t& ms)
{
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
    {
        return false;
    }
    ms = static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
    return true;
}

std::string local_time_stamp()
{
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return format_text("%d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}
