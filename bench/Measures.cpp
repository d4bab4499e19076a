#include "bench/Measures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "bench/Boxed.h"
#include "bench/Sink.h"

namespace
{

constexpr double kCpuBudget = 1.15;
constexpr double kTimeBudgetMs = 1.0;
constexpr double kUrlsBudget = 1.05;
constexpr double kMemoryBudgetMib = 2.0;
constexpr double kLargeRoomBudget = 1.05;
constexpr double kPauseMs = 20.0;

std::string text(const char* format, double a, double b = 0, double c = 0)
{
    char buffer[160];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(buffer, sizeof(buffer), format, a, b, c);
#pragma GCC diagnostic pop
    return buffer;
}

std::string spread(const std::vector<double>& ratios)
{
    const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
    return text("%.3f to %.3f in %.0f rounds", *least, *most, static_cast<double>(ratios.size()));
}

// Runs a and b in turns, each first in every other round; the ratios a/b of their results.
template <typename A, typename B> std::vector<double> compare(int rounds, A a, B b)
{
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round)
    {
        double left = round % 2 == 0 ? a() : 0;
        const double right = b();
        if (round % 2 != 0)
        {
            left = a();
        }
        ratios.push_back(left / right);
    }
    return ratios;
}

CRunOrder sweeps(int count)
{
    CRunOrder order;
    order.sweeps = count;
    return order;
}

} // namespace

Figures cpu_per_body(const CPrograms& programs, const CEffort& effort)
{
    const CBenchRoom room(effort.devices, programs.dbLibrary);
    std::vector<double> daemon;
    std::vector<double> least;
    const std::vector<double> ratios = compare(
        effort.rounds,
        [&]
        {
            daemon.push_back(run_daemon(programs.daemonNoPause, room, sweeps(1)).CpuUsPerBody());
            return daemon.back();
        },
        [&]
        {
            least.push_back(run_least(programs.least, room, sweeps(1)).CpuUsPerBody());
            return least.back();
        });
    return {{"CPU per body, daemon to least program", median(ratios), "x", kCpuBudget,
             spread(ratios) + text("; here %.0f us to %.0f us", median(daemon), median(least))}};
}

Figures real_pauses(const CPrograms& programs, const CEffort& effort)
{
    const CBenchRoom room(effort.pausedDevices, programs.dbLibrary);
    const CRun daemon = run_daemon(programs.daemon, room, sweeps(1));
    CRunOrder paused = sweeps(1);
    paused.leastPauseMs = static_cast<int>(kPauseMs);
    const CRun least = run_least(programs.least, room, paused);

    const double ratio = daemon.CpuUsPerBody() / least.CpuUsPerBody();
    const double taken = kPauseMs + least.transferMs;
    return {{"CPU per body with the real pauses", ratio, "x", kCpuBudget,
             text("one round of %.0f bodies", static_cast<double>(daemon.figures.bodies))},
            {"time per device above pause and transfer", daemon.MedianGapMs() - taken, "ms",
             kTimeBudgetMs,
             text("median; mean %.3f ms; transfer alone %.3f ms; least program the same way %.3f",
                  daemon.MeanGapMs() - taken, least.transferMs, least.MedianGapMs() - taken)}};
}

namespace
{

// Median time from body to body, as the last of the sinks sees it.
double gap_with(const CPrograms& programs, const CBenchRoom& room, const std::vector<int>& delaysMs)
{
    CRunWatch watch(room);
    std::vector<std::unique_ptr<CSink>> sinks;
    std::vector<std::string> urls;
    for (size_t i = 0; i < delaysMs.size(); ++i)
    {
        const bool last = i + 1 == delaysMs.size();
        const auto onBody = [&watch, last](const std::string& body)
        {
            if (last)
            {
                watch.OnBody(body);
            }
        };
        sinks.push_back(std::make_unique<CSink>(onBody, std::chrono::milliseconds(delaysMs[i])));
        urls.push_back(sinks.back()->Url());
    }
    room.Configure(urls);
    const CBoxed boxed({programs.daemonNoPause}, room.Dir());
    watch.Attach(&boxed);
    watch.WaitForSweeps(1);
    return median(watch.Figures().gapsMs);
}

} // namespace

Figures several_urls(const CPrograms& programs, const CEffort& effort)
{
    static const std::vector<int> kDelaysMs{0, 25, 50, 75, 100};
    static const std::vector<int> kSlowestMs{100};
    constexpr int kDevices = 20;
    const CBenchRoom room(kDevices, programs.dbLibrary);
    const std::vector<double> ratios = compare(
        std::min(effort.rounds, 3), [&] { return gap_with(programs, room, kDelaysMs); },
        [&] { return gap_with(programs, room, kSlowestMs); });
    return {{"5 URLs against the slowest of them alone", median(ratios), "x", kUrlsBudget,
             spread(ratios) + "; answers after 0, 25, 50, 75, 100 ms"}};
}

Figures peak_memory(const CPrograms& programs, const CEffort&)
{
    constexpr int kDevices = 1000;
    const CBenchRoom room(kDevices, programs.dbLibrary);
    long daemonKib = 0;
    long leastKib = 0;
    CRunOrder order = sweeps(2);
    order.beforeItEnds = [&](const CBoxed& boxed)
    {
        daemonKib = boxed.StatusKib("VmHWM");
    };
    run_daemon(programs.daemonNoPause, room, order);
    order.beforeItEnds = [&](const CBoxed& boxed)
    {
        leastKib = boxed.StatusKib("VmHWM");
    };
    run_least(programs.least, room, order);

    const auto daemon = static_cast<double>(daemonKib) / 1024;
    const auto least = static_cast<double>(leastKib) / 1024;
    return {{"peak memory of 1000 devices above least program", daemon - least, "MiB",
             kMemoryBudgetMib, text("%.2f MiB to %.2f MiB", daemon, least)}};
}

Figures large_room(const CPrograms& programs, const CEffort& effort)
{
    constexpr int kSmall = 100;
    const CBenchRoom large(effort.largeRoom, programs.dbLibrary);
    const CBenchRoom small(kSmall, programs.dbLibrary);
    const std::vector<double> ratios = compare(
        effort.rounds,
        [&] { return run_daemon(programs.daemonNoPause, large, sweeps(1)).CpuUsPerBody(); },
        [&]
        {
            const CRunOrder asMany = sweeps(effort.largeRoom / kSmall);
            return run_daemon(programs.daemonNoPause, small, asMany).CpuUsPerBody();
        });
    return {{text("CPU per body, %.0f devices to 100", effort.largeRoom), median(ratios), "x",
             kLargeRoomBudget, spread(ratios)}};
}

Figures growth(const CPrograms& programs, const CEffort& effort)
{
    constexpr int kDevices = 500;
    const CBenchRoom room(kDevices, programs.dbLibrary);
    const int sweepsInAll = std::max(4, effort.posts / kDevices);
    const int warm = sweepsInAll / 2; // by then every buffer has had its largest body
    long kib[2] = {0, 0};
    int descriptors[2] = {0, 0};

    CRunWatch watch(room);
    watch.LookAtSweepEnds(
        [&](int sweep, const CBoxed& program)
        {
            if (sweep == warm || sweep == sweepsInAll)
            {
                const int i = sweep == warm ? 0 : 1;
                kib[i] = program.MappedKib("Anonymous");
                descriptors[i] = program.Descriptors();
            }
        });
    const CSink sink([&watch](const std::string& body) { watch.OnBody(body); });
    room.Configure({sink.Url()});
    const CBoxed boxed({programs.daemonNoPause}, room.Dir());
    watch.Attach(&boxed);
    watch.WaitForSweeps(sweepsInAll);

    const std::string posts = text(" over %.0f posts", sweepsInAll * kDevices);
    const char* const kDetail = "%.0f after the first half, %.0f at the end";
    return {{"growth of memory" + posts, static_cast<double>(kib[1] - kib[0]), "KiB", 0,
             "private memory " +
                 text(kDetail, static_cast<double>(kib[0]), static_cast<double>(kib[1]))},
            {"growth of descriptors" + posts, static_cast<double>(descriptors[1] - descriptors[0]),
             "", 0, text(kDetail, descriptors[0], descriptors[1])}};
}
