// Killed at any instant, ten times in a row, while alarms are raised and the host writes; started
// again each time. No alarm may be lost, each kill may double the one in flight, and the databases
// must stay whole.
#include "tests/daemon/torture/Kinds.h"

#include <random>
#include <thread>

#include "tests/daemon/torture/Trial.h"

namespace
{

constexpr int kKills = 10;       // of one case
constexpr int kCases = 50;       // of the full form
constexpr int kLongestMs = 250;  // from a start to its kill
constexpr int kAlarmEveryMs = 8; // on the average

using Random = std::mt19937;

void pause(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// The host goes on: alarms, new values, signals.
void live_until_kill(CTrial& trial, Random& random)
{
    const int life_ms = static_cast<int>(random() % kLongestMs);
    for (int at = 0; at < life_ms; at += kAlarmEveryMs)
    {
        pause(static_cast<int>(random() % (2 * kAlarmEveryMs)));
        if (random() % 2 == 0)
        {
            trial.RaiseAlarm();
            trial.Signal();
        }
        trial.Room().Host().Data("update tbDev set ErrCnt=ErrCnt+1 where SID=2");
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
}

Verdict run_case(CRoom& room, uint32_t seed)
{
    Random random(seed);
    CTrial trial(room, random() % 3 == 0 ? Scene::kRich : Scene::kPlain);
    Verdict died;
    for (int kill = 0; kill < kKills; ++kill)
    {
        trial.Restart();
        live_until_kill(trial, random);
        if (!trial.Daemon().IsRunning())
        {
            died.survived = false;
            died.Problem("ended by itself, " + std::to_string(trial.Daemon().WaitExit()));
        }
        trial.Daemon().Kill();
    }
    trial.Restart();
    trial.WaitUp();
    Verdict verdict = trial.Judge(kKills);
    verdict.tried = kKills;
    verdict.survived = verdict.survived && died.survived;
    verdict.problems.insert(verdict.problems.end(), died.problems.begin(), died.problems.end());
    for (const std::string& damage : room.Damages())
    {
        verdict.Problem(damage);
    }
    return verdict;
}

} // namespace

void torture_with_kills(const Options& options, CTally& tally)
{
    CRoom room;
    const int cases = options.count > 0 ? options.count : kCases;
    for (int i = 0; i < cases; ++i)
    {
        if (is_mine(options, i))
        {
            const Verdict verdict = run_case(room, options.seed * 1000 + static_cast<uint32_t>(i));
            tally.Add("kills", verdict, repeat_command("kills", options, std::to_string(i)));
        }
    }
}
