// The daemon's pauses at a fiftieth of their length, for campaigns of thousands of runs: what it
// waits for after a failure would last for minutes each. None is left out, so a wrong loop still
// shows as one that never pauses. AppPause.cpp is compiled with this function in nanosleep's place.
#include <cstdint>
#include <ctime>

namespace
{

constexpr int64_t kFaster = 50;
constexpr int64_t kNsPerSecond = 1000000000;

timespec scaled(const timespec& time, int64_t times, int64_t divisor)
{
    const int64_t ns = (int64_t{time.tv_sec} * kNsPerSecond + time.tv_nsec) * times / divisor;
    timespec result{};
    result.tv_sec = static_cast<time_t>(ns / kNsPerSecond);
    result.tv_nsec = static_cast<long>(ns % kNsPerSecond);
    return result;
}

} // namespace

extern "C" int nanosleep_for_tests(const timespec* wanted, timespec* left)
{
    const timespec shorter = scaled(*wanted, 1, kFaster);
    timespec rest{};
    const int result = nanosleep(&shorter, &rest);
    if (result != 0 && left != nullptr)
    {
        *left = scaled(rest, kFaster, 1);
    }
    return result;
}
