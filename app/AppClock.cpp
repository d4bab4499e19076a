// The one place where the daemon reads the clock, so that a test can replace it.
#include "app/AppClock.h"

#include <chrono>
#include <sys/time.h>

#include "vkPub/LocalTime.h"

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

int64_t steady_ms()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

std::string local_time_stamp()
{
    char text[kLocalTimeBytes];
    local_time_text(text);
    return text;
}
