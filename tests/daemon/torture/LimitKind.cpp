// Too few descriptors and too little memory, from the start or from the middle of a sweep; then the
// limit is lifted.
#include "tests/daemon/torture/Kinds.h"

#include <chrono>
#include <fstream>
#include <random>
#include <sys/resource.h>
#include <thread>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/torture/Trial.h"

namespace
{

using Random = std::mt19937;

constexpr int kCases = 60; // of the full form
constexpr int kLoaderGaveUp = 127;
constexpr std::chrono::milliseconds kLimitedFor{400};
constexpr rlim_t kKib = 1024;
#ifdef __SANITIZE_ADDRESS__
constexpr bool kMemoryCanBeLimited = false; // AddressSanitizer has terabytes of shadow
#else
constexpr bool kMemoryCanBeLimited = true;
#endif

struct Case
{
    bool from_start;
    bool of_memory;
    rlim_t
        value; // descriptors, or KiB of address space: beyond what is in use, or of what is needed

    std::string Text() const
    {
        return std::to_string(value) + (of_memory ? " KiB" : " descriptors") +
               (from_start ? " from the start" : " from a sweep on");
    }
};

// KiB of address space that a process has; the field of /proc/PID/status.
rlim_t address_space(pid_t pid, const std::string& field)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    rlim_t kib = 0;
    while (status >> word && word != field + ":")
    {
    }
    status >> kib;
    return kib;
}

void set_limit(pid_t pid, const Case& one, bool on)
{
    const auto what = one.of_memory ? RLIMIT_AS : RLIMIT_NOFILE;
    rlimit limit{};
    prlimit(pid, what, nullptr, &limit);
    limit.rlim_cur = !on             ? limit.rlim_max
                     : one.of_memory ? (address_space(pid, "VmSize") + one.value) * kKib
                                     : one.value;
    prlimit(pid, what, &limit, nullptr);
}

Case draw(Random& random, rlim_t needed)
{
    Case one{};
    one.from_start = random() % 2 == 0;
    one.of_memory = random() % 2 == 0 && kMemoryCanBeLimited;
    one.value = !one.of_memory   ? 5 + random() % 12
                : one.from_start ? needed * (50 + random() % 55) / 100
                                 : random() % 1024;
    return one;
}

std::vector<std::string> limiting(const Case& one)
{
    const rlim_t value = one.of_memory ? one.value * kKib : one.value;
    return {"/usr/bin/prlimit",
            (one.of_memory ? "--as=" : "--nofile=") + std::to_string(value) + ":"};
}

// False when not even the loader had enough: the daemon was never there.
bool run_case(CRoom& room, const Case& one, Verdict& verdict)
{
    CTrial trial(room, Scene::kPlain);
    trial.ExpectNoLog();
    if (one.from_start)
    {
        trial.Through(limiting(one));
        trial.Start();
        trial.Through({});
    }
    else
    {
        trial.Start();
        trial.WaitUp();
        set_limit(trial.Daemon().Pid(), one, true);
    }
    trial.RaiseAlarm();
    trial.Signal();
    trial.Request();
    std::this_thread::sleep_for(kLimitedFor);
    if (!trial.Daemon().IsRunning() && trial.Daemon().WaitExit() == kLoaderGaveUp)
    {
        return false;
    }
    set_limit(trial.Daemon().Pid(), one, false);
    verdict = trial.Judge();
    return true;
}

rlim_t needed_address_space(CRoom& room)
{
    CTrial trial(room, Scene::kPlain);
    trial.Start();
    trial.WaitUp();
    trial.WaitSweep();
    return address_space(trial.Daemon().Pid(), "VmPeak");
}

} // namespace

void torture_with_limits(const Options& options, CTally& tally)
{
    CRoom room;
    const rlim_t needed = needed_address_space(room);
    const int cases = options.count > 0 ? options.count : kCases;
    for (int i = 0; i < cases; ++i)
    {
        Random random(options.seed * 100000 + static_cast<uint32_t>(i));
        if (!is_mine(options, i))
        {
            continue;
        }
        const Case one = draw(random, needed);
        Verdict verdict;
        if (!run_case(room, one, verdict))
        {
            continue;
        }
        if (!verdict.problems.empty())
        {
            verdict.Problem(one.Text());
        }
        tally.Add(one.of_memory ? "address-space" : "descriptors", verdict,
                  repeat_command("limits", options, std::to_string(i)));
    }
}
