// One call of one function fails, for each path by which it is reached: over start-up, two sweeps,
// an alarm and a request. Or two hundred calls of it in a row, from that one on.
#include "tests/daemon/torture/Kinds.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <random>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/torture/Functions.h"
#include "tests/daemon/torture/Trial.h"

namespace
{

using Seconds = std::chrono::seconds;
using Random = std::mt19937;

constexpr uint32_t kBurst = 200;
constexpr Seconds kReachPatience{3}; // for a path that is reached late, or never again

struct Case
{
    Scene scene;
    Fault fault;

    std::string Text() const { return scene_name(scene) + ("/" + fault.Text()); }
};

Case parse_case(const std::string& text)
{
    const size_t slash = text.find('/');
    const Scene scene = scene_of(text.substr(0, slash));
    return {scene, parse_fault(slash == std::string::npos ? "" : text.substr(slash + 1))};
}

// What a daemon does that nothing happens to.
struct Calm
{
    std::vector<Fault> paths;
    size_t descriptors = 0;
};

Calm run_calmly(CRoom& room, CFaultBlock& block, Scene scene)
{
    block.Record();
    CTrial trial(room, scene, &block);
    trial.RaiseAlarm();
    trial.Start();
    trial.WaitUp();
    trial.Signal();
    trial.Request();
    trial.WaitSweep();
    const Verdict verdict = trial.Judge(0);
    if (!verdict.problems.empty() || !block.IsLoaded())
    {
        throw std::runtime_error("without a fault: " + (verdict.problems.empty()
                                                            ? std::string("library not loaded")
                                                            : verdict.problems[0]));
    }
    return {block.Seen(), trial.Descriptors(0)};
}

const FunctionFacts& facts_of(const Fault& fault)
{
    return kFunctions[function_index(fault.function)];
}

int some_code(const Fault& fault, Random& random)
{
    const auto& codes = facts_of(fault).codes;
    const auto known =
        std::count_if(codes.begin(), codes.end(), [](int code) { return code != 0; });
    return codes[random() % static_cast<size_t>(known)];
}

// Each path once, mixed, but so that every function comes before any comes again: a part of them
// is a sample of all.
std::vector<Case> make_cases(const std::map<Scene, Calm>& calm, uint32_t burst, uint32_t seed)
{
    Random random(seed);
    std::vector<Case> cases;
    for (const auto& [scene, run] : calm)
    {
        for (Fault fault : run.paths)
        {
            fault.nth = 1;
            fault.burst = burst;
            cases.push_back({scene, fault});
        }
    }
    std::sort(cases.begin(), cases.end(),
              [](const Case& a, const Case& b) { return a.Text() < b.Text(); });
    std::shuffle(cases.begin(), cases.end(), random);
    std::map<std::string, int> rounds;
    std::vector<std::pair<int, Case>> ordered;
    for (Case& one : cases)
    {
        one.fault.code = some_code(one.fault, random);
        ordered.emplace_back(rounds[one.fault.function]++, one);
    }
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(ordered.begin(), ordered.end(), cases.begin(),
                   [](const auto& entry) { return entry.second; });
    return cases;
}

// Until the fault has come, and a burst has gone by: as far as it ever does.
void wait_for_fault(CTrial& trial, const CFaultBlock& block, const Fault& fault)
{
    const auto reached = [&](uint32_t hits)
    {
        return wait_until([&] { return block.Hits() >= hits || !trial.Daemon().IsRunning(); },
                          kReachPatience);
    };
    if (reached(1) && fault.burst > 1)
    {
        reached(fault.burst);
    }
}

// False when the fault never came: a path that depends on the moment.
bool run_case(CRoom& room, CFaultBlock& block, const Case& one, size_t descriptors,
              Verdict& verdict)
{
    block.Order(one.fault);
    CTrial trial(room, one.scene, &block);
    if (one.fault.burst > 1)
    {
        // Devices whose rows could not be read in all tries of a discovery are back with the next.
        room.Host().Post("ReTbls", "4");
    }
    trial.RaiseAlarm();
    trial.Start();
    if (trial.WaitUp())
    {
        trial.Signal();
        trial.Request();
        wait_for_fault(trial, block, one.fault);
    }
    block.Disarm();
    if (block.Hits() == 0)
    {
        return false;
    }
    verdict = trial.Judge(one.fault.burst == 1 ? 1 : trial.Signals());
    trial.JudgeDescriptors(verdict, descriptors);
    if (!verdict.problems.empty())
    {
        verdict.Problem("at " + block.Where());
        if (!block.WhereAborted().empty())
        {
            verdict.Problem("aborted at " + block.WhereAborted());
        }
    }
    return true;
}

std::vector<Case> chosen_cases(const Options& options, const std::map<Scene, Calm>& calm,
                               uint32_t burst)
{
    if (!options.only.empty())
    {
        return {parse_case(options.only)};
    }
    std::vector<Case> cases = make_cases(calm, burst, options.seed);
    const auto is_other = [&](const Case& one)
    {
        return one.fault.function != options.of && facts_of(one.fault).family != options.of;
    };
    if (!options.of.empty())
    {
        cases.erase(std::remove_if(cases.begin(), cases.end(), is_other), cases.end());
    }
    std::cerr << "paths: " << cases.size() << "\n";
    if (options.count > 0 && cases.size() > static_cast<size_t>(options.count))
    {
        cases.erase(cases.begin() + options.count, cases.end());
    }
    return cases;
}

void torture(const Options& options, CTally& tally, uint32_t burst, const std::string& kind)
{
    CRoom room;
    CFaultBlock block;
    std::map<Scene, Calm> calm;
    for (const Scene scene : {Scene::kPlain, Scene::kRich})
    {
        calm[scene] = run_calmly(room, block, scene);
    }
    int number = 0;
    int never = 0;
    for (const Case& one : chosen_cases(options, calm, burst))
    {
        Verdict verdict;
        if (options.only.empty() && !is_mine(options, number++))
        {
            continue;
        }
        if (!run_case(room, block, one, calm[one.scene].descriptors, verdict))
        {
            ++never;
            continue;
        }
        tally.Add(kind + "-" + std::string(facts_of(one.fault).family), verdict,
                  repeat_command(kind + "s", options, one.Text()));
    }
    std::cerr << kind << "s that never came, as paths differ from run to run: " << never << "\n";
}

} // namespace

void torture_with_faults(const Options& options, CTally& tally)
{
    torture(options, tally, 1, "fault");
}

void torture_with_bursts(const Options& options, CTally& tally)
{
    torture(options, tally, kBurst, "burst");
}
