// Pauses and clock, recording: "pause <ms>". Nothing waits, and the time is what the test says.
#include "app/AppClock.h"
#include "app/AppPause.h"
#include "tests/support/Recorder.h"

void pause_ms(int ms)
{
    Recorder& recorder = Recorder::Get();
    recorder.Add("pause " + std::to_string(ms));
    if (recorder.on_pause)
    {
        recorder.on_pause(ms);
    }
}

bool at_rest()
{
    return true;
}

bool wall_clock_ms(int64_t& ms)
{
    const Recorder& recorder = Recorder::Get();
    if (recorder.clock_works)
    {
        ms = recorder.clock_ms;
    }
    return recorder.clock_works;
}

int64_t steady_ms()
{
    return Recorder::Get().steady_clock_ms;
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
