// A clock that is set while the daemon runs, or wrong when it starts; and a daemon that is stopped
// and let go on.
#include "tests/daemon/torture/Kinds.h"

#include <csignal>
#include <ctime>
#include <random>
#include <thread>

#include "tests/daemon/torture/Trial.h"

namespace
{

using Random = std::mt19937;

constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 24 * kHour;
constexpr int kStopCases = 30; // of the full form
constexpr int kStops = 8;      // of one case

void pause(unsigned long ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

struct Step
{
    const char* name;
    int64_t seconds;
};

Verdict step_clock(CRoom& room, CFaultBlock& block, const Step& step, bool from_start)
{
    block.Clear();
    CTrial trial(room, Scene::kPlain, &block);
    if (from_start)
    {
        block.ShiftClock(step.seconds);
    }
    trial.RaiseAlarm();
    trial.Start();
    trial.WaitUp();
    trial.Signal();
    trial.WaitSweep();              // the time of its end is what the next one waits from
    block.ShiftClock(step.seconds); // and so it stays
    return trial.Judge(0);
}

Verdict stop_and_go(CRoom& room, Random& random)
{
    CTrial trial(room, random() % 2 == 0 ? Scene::kRich : Scene::kPlain);
    trial.Start();
    for (int i = 0; i < kStops; ++i)
    {
        pause(random() % 60);
        trial.RaiseAlarm(); // not later: the daemon may be stopped with the alarms' file locked
        trial.Daemon().Signal(SIGSTOP);
        trial.Signal();
        trial.Request();
        pause(random() % (i == kStops / 2 ? 2500 : 100)); // once longer than a post may last
        trial.Daemon().Signal(SIGCONT);
    }
    return trial.Judge(0);
}

} // namespace

void torture_with_clock(const Options& options, CTally& tally)
{
    const Step steps[] = {
        {"an hour on", kHour},
        {"an hour back", -kHour},
        {"a day on", kDay},
        {"a day back", -kDay},
        {"back to 1970", -time(nullptr)},
        {"beyond 2038", 20 * 365 * kDay},
        {"a second on", 1},
        {"a second back", -1},
    };
    CRoom room;
    CFaultBlock block;
    int number = 0;
    for (const bool from_start : {false, true})
    {
        for (const Step& step : steps)
        {
            const int mine = number++;
            if (!is_mine(options, mine) || (options.count > 0 && mine >= options.count))
            {
                continue;
            }
            Verdict verdict = step_clock(room, block, step, from_start);
            if (!verdict.problems.empty())
            {
                verdict.Problem(std::string("the clock is set ") + step.name +
                                (from_start ? " before the start" : ""));
            }
            tally.Add("clock", verdict, repeat_command("clock", options, std::to_string(mine)));
        }
    }
}

void torture_with_stops(const Options& options, CTally& tally)
{
    CRoom room;
    const int cases = options.count > 0 ? options.count : kStopCases;
    for (int i = 0; i < cases; ++i)
    {
        Random random(options.seed * 100000 + static_cast<uint32_t>(i));
        if (is_mine(options, i))
        {
            Verdict verdict = stop_and_go(room, random);
            verdict.tried = kStops;
            tally.Add("stops", verdict, repeat_command("stops", options, std::to_string(i)));
        }
    }
}
