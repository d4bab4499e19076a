// Pauses and clock, recording: "pause <ms>". Nothing waits, and the time is what the test says.
#include "app/AppClock.h"
#include "app/AppPause.h"
#include "tests/support/Recorder.h"

void pause_ms(int ms)
{
    Recorder& recorder = Recorder::Get();
    recorder.Add("pause " + std::to_string(ms));
    if (recorder.onPause)
    {
        recorder.onPause(ms);
    }
}

bool at_rest()
{
    return true;
}

bool wall_clock_ms(int64_t& ms)
{
    const Recorder& recorder = Recorder::Get();
    if (recorder.clockWorks)
    {
        ms = recorder.clockMs;
    }
    return recorder.clockWorks;
}

int64_t steady_ms()
{
    return Recorder::Get().steadyMs;
}

std::string local_time_stamp()
{
    std::vector<std::string>& stamps = Recorder::Get().stamps;
    std::string stamp = stamps.front();
    if (stamps.size() > 1)
    {
        stamps.erase(stamps.begin());
    }
    return stamp;
}
