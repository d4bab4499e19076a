#include "bench/Measures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>
#include <memory>

#include "bench/Boxed.h"
#include "bench/Sink.h"

namespace
{

constexpr double kCpuBudget = 0.95;
constexpr double kTimeBudgetMs = 1.0;
constexpr double kUrlsBudget = 1.05;
constexpr double kMemoryBudgetMib = 1.2;
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

CRunOrder sweeps(int count)
{
    CRunOrder order;
    order.sweeps = count;
    return order;
}

// Runs of two programs that were compared, round by round.
struct CPairs
{
    std::vector<CRun> left;
    std::vector<CRun> right;
};

// One after the other, each first in every other round.
template <typename Left, typename Right> CPairs alternate(int rounds, Left left, Right right)
{
    CPairs pairs;
    for (int round = 0; round < rounds; ++round)
    {
        if (round % 2 == 0)
        {
            pairs.left.push_back(left());
            pairs.right.push_back(right());
        }
        else
        {
            pairs.right.push_back(right());
            pairs.left.push_back(left());
        }
    }
    return pairs;
}

// Both at once.
template <typename Left, typename Right> CPairs together(int rounds, Left left, Right right)
{
    CPairs pairs;
    for (int round = 0; round < rounds; ++round)
    {
        auto running = std::async(std::launch::async, left);
        pairs.right.push_back(right());
        pairs.left.push_back(running.get());
    }
    return pairs;
}

// Both at once, but body by body in turns. The two take the order of their run.
template <typename Left, typename Right>
CPairs in_turns(int rounds, int left_sweeps, Left left, int right_sweeps, Right right)
{
    CPairs pairs;
    for (int round = 0; round < rounds; ++round)
    {
        CTurns turns;
        CRunOrder left_order = sweeps(left_sweeps);
        CRunOrder right_order = sweeps(right_sweeps);
        left_order.turns = &turns;
        right_order.turns = &turns;
        right_order.side = 1;
        const CPairs one = together(
            1, [&] { return left(left_order); }, [&] { return right(right_order); });
        pairs.left.push_back(one.left.front());
        pairs.right.push_back(one.right.front());
    }
    return pairs;
}

using Figure = double (CRun::*)() const;

// The figure of each run of one side.
std::vector<double> each(const std::vector<CRun>& runs, Figure figure)
{
    std::vector<double> values;
    for (const CRun& run : runs)
    {
        values.push_back((run.*figure)());
    }
    return values;
}

// Left to right, round by round.
std::vector<double> ratios(const CPairs& pairs, Figure figure)
{
    std::vector<double> values;
    for (size_t i = 0; i < pairs.left.size(); ++i)
    {
        values.push_back((pairs.left[i].*figure)() / (pairs.right[i].*figure)());
    }
    return values;
}

// Median ratio of the CPU time per body, with what is needed to judge it.
CFigure cpu_figure(const std::string& what, const CPairs& pairs, double budget)
{
    const std::vector<double> cpu = ratios(pairs, &CRun::CpuUsPerBody);
    const auto [least, most] = std::minmax_element(cpu.begin(), cpu.end());
    return {what, median(cpu), "x", budget,
            text("%.3f to %.3f in %.0f rounds", *least, *most, static_cast<double>(cpu.size())) +
                text("; by means %.3f; here %.0f us to %.0f us",
                     median(ratios(pairs, &CRun::MeanCpuUs)),
                     median(each(pairs.left, &CRun::CpuUsPerBody)),
                     median(each(pairs.right, &CRun::CpuUsPerBody)))};
}

} // namespace

Figures cpu_per_body(const CPrograms& programs, const CEffort& effort)
{
    const CBenchRoom room(effort.devices, programs.db_library);
    const CBenchRoom twin(effort.devices, programs.db_library);
    const CPairs pairs = in_turns(
        effort.rounds, 1,
        [&](const CRunOrder& order) { return run_daemon(programs.daemon_no_pause, room, order); },
        1, [&](const CRunOrder& order) { return run_least(programs.least, twin, order); });
    return {cpu_figure("CPU per body, daemon to least program", pairs, kCpuBudget)};
}

Figures real_pauses(const CPrograms& programs, const CEffort& effort)
{
    const CBenchRoom room(effort.paused_devices, programs.db_library);
    const CBenchRoom twin(effort.paused_devices, programs.db_library);
    CRunOrder paused = sweeps(1);
    paused.least_pause_ms = static_cast<int>(kPauseMs);
    const CPairs pairs = together(
        std::min(effort.rounds, 5), [&] { return run_daemon(programs.daemon, room, sweeps(1)); },
        [&] { return run_least(programs.least, twin, paused); });

    const double transfer = median(each(pairs.right, &CRun::TransferMs));
    const double taken = kPauseMs + transfer;
    const double above = median(each(pairs.left, &CRun::GapMs)) - taken;
    return {cpu_figure("CPU per body with the real pauses", pairs, kCpuBudget),
            {"time per device above pause and transfer", above, "ms", kTimeBudgetMs,
             text("transfer alone %.3f ms; least program the same way %.3f ms; mean of all %.3f ms",
                  transfer, median(each(pairs.right, &CRun::GapMs)) - taken,
                  median(each(pairs.left, &CRun::MeanGapMs)) - taken)}};
}

namespace
{

// A sweep posted to several sinks at once, as the last of them sees it.
CRun run_to_several(const CPrograms& programs, const CBenchRoom& room,
                    const std::vector<int>& delays_ms)
{
    CRunWatch watch(room, 1);
    std::vector<std::unique_ptr<CSink>> sinks;
    std::vector<std::string> urls;
    for (size_t i = 0; i < delays_ms.size(); ++i)
    {
        const bool last = i + 1 == delays_ms.size();
        const auto on_body = [&watch, last](const std::string& body)
        {
            if (last)
            {
                watch.OnBody(body);
            }
        };
        sinks.push_back(std::make_unique<CSink>(on_body, std::chrono::milliseconds(delays_ms[i])));
        urls.push_back(sinks.back()->Url());
    }
    room.Configure(urls);
    const CBoxed boxed({programs.daemon_no_pause}, room.Dir());
    watch.Attach(boxed);
    watch.Wait();
    CRun run;
    run.figures = watch.Figures();
    return run;
}

} // namespace

Figures several_urls(const CPrograms& programs, const CEffort& effort)
{
    static const std::vector<int> kDelaysMs{0, 25, 50, 75, 100};
    static const std::vector<int> kSlowestMs{100};
    constexpr int kDevices = 20;
    const CBenchRoom room(kDevices, programs.db_library);
    const CPairs pairs = alternate(
        std::min(effort.rounds, 3), [&] { return run_to_several(programs, room, kDelaysMs); },
        [&] { return run_to_several(programs, room, kSlowestMs); });
    const std::vector<double> gaps = ratios(pairs, &CRun::GapMs);
    return {{"5 URLs against the slowest of them alone", median(gaps), "x", kUrlsBudget,
             text("%.0f rounds", static_cast<double>(gaps.size())) +
                 "; answers after 0, 25, 50, 75, 100 ms"}};
}

Figures peak_memory(const CPrograms& programs, const CEffort&)
{
    constexpr int kDevices = 1000;
    const CBenchRoom room(kDevices, programs.db_library);
    long daemon_kib = 0;
    long least_kib = 0;
    CRunOrder order = sweeps(2);
    order.before_it_ends = [&](const CBoxed& boxed)
    {
        daemon_kib = boxed.StatusKib("VmHWM");
    };
    run_daemon(programs.daemon_no_pause, room, order);
    order.before_it_ends = [&](const CBoxed& boxed)
    {
        least_kib = boxed.StatusKib("VmHWM");
    };
    run_least(programs.least, room, order);

    const auto daemon = static_cast<double>(daemon_kib) / 1024;
    const auto least = static_cast<double>(least_kib) / 1024;
    return {{"peak memory of 1000 devices above least program", daemon - least, "MiB",
             kMemoryBudgetMib, text("%.2f MiB to %.2f MiB", daemon, least)}};
}

Figures large_room(const CPrograms& programs, const CEffort& effort)
{
    constexpr int kSmall = 100;
    const CBenchRoom large(effort.large_room, programs.db_library);
    const CBenchRoom small(kSmall, programs.db_library);
    const auto run_in = [&](const CBenchRoom& room)
    {
        return [&](const CRunOrder& order)
        {
            return run_daemon(programs.daemon_no_pause, room, order);
        };
    };
    const CPairs pairs =
        in_turns(effort.rounds, 1, run_in(large), effort.large_room / kSmall, run_in(small));
    return {cpu_figure(text("CPU per body, %.0f devices to 100", effort.large_room), pairs,
                       kLargeRoomBudget)};
}

Figures growth(const CPrograms& programs, const CEffort& effort)
{
    constexpr int kDevices = 500;
    constexpr int kWarmSweeps = 20; // by then every buffer has had its largest body
    const CBenchRoom room(kDevices, programs.db_library);
    const int sweeps_in_all = std::max(4, effort.posts / kDevices);
    const int warm = std::min(sweeps_in_all / 2, kWarmSweeps);
    double kib[2] = {0, 0};
    double descriptors[2] = {0, 0};

    CRunWatch watch(room, sweeps_in_all);
    watch.LookAtSweepEnds(
        [&](int sweep, const CBoxed& program)
        {
            if (sweep == warm || sweep == sweeps_in_all)
            {
                const int i = sweep == warm ? 0 : 1;
                kib[i] = static_cast<double>(program.MappedKib("Anonymous"));
                descriptors[i] = program.Descriptors();
            }
        });
    const CSink sink([&watch](const std::string& body) { watch.OnBody(body); });
    room.Configure({sink.Url()});
    const CBoxed boxed({programs.daemon_no_pause}, room.Dir());
    watch.Attach(boxed);
    watch.Wait();

    const std::string posts = text(" over %.0f posts", sweeps_in_all * kDevices);
    const std::string warm_posts = text(" after the first %.0f", warm * kDevices);
    const auto figure = [&](const char* what, const char* unit, const double(&value)[2])
    {
        return CFigure{what + posts, value[1] - value[0], unit, 0,
                       text("%.0f", value[0]) + warm_posts + text(", %.0f at the end", value[1])};
    };
    return {figure("growth of private memory", "KiB", kib),
            figure("growth of descriptors", "", descriptors)};
}
