#include "bench/Runs.h"

#include <algorithm>
#include <fstream>
#include <numeric>
#include <stdexcept>

#include "bench/Boxed.h"
#include "bench/Sink.h"

namespace
{

// The number that the least program prints in the end.
double printed_number(const CBenchRoom& room)
{
    std::ifstream file(room.Dir() + "/out.txt");
    double number = 0;
    if (!(file >> number))
    {
        throw std::runtime_error("the least program printed no figure");
    }
    return number;
}

CRun result_of(const CRunWatch& watch)
{
    CRun run;
    run.figures = watch.Figures();
    run.bodies = watch.Bodies();
    return run;
}

// Waits for the sweeps of a program that is running, takes the last look and leaves it.
void watch_sweeps(CRunWatch& watch, const CBoxed& program, const CRunOrder& order)
{
    watch.Attach(&program);
    watch.WaitForSweeps(order.sweeps);
    if (order.beforeItEnds)
    {
        order.beforeItEnds(program);
    }
}

} // namespace

double CRun::CpuUsPerBody() const
{
    return static_cast<double>(figures.cpuNs) / 1000.0 / static_cast<double>(figures.bodies);
}

double CRun::MedianGapMs() const
{
    return median(figures.gapsMs);
}

double CRun::MeanGapMs() const
{
    const std::vector<double>& gaps = figures.gapsMs;
    return std::accumulate(gaps.begin(), gaps.end(), 0.0) / static_cast<double>(gaps.size());
}

CRun run_daemon(const std::string& program, const CBenchRoom& room, const CRunOrder& order)
{
    CRunWatch watch(room);
    watch.KeepBodies(order.keepBodies);
    const CSink sink([&watch](const std::string& body) { watch.OnBody(body); });
    room.Configure({sink.Url()});
    {
        const CBoxed boxed({program}, room.Dir(), order.flash);
        watch_sweeps(watch, boxed, order);
    }
    return result_of(watch);
}

CRun run_least(const std::string& program, const CBenchRoom& room, const CRunOrder& order)
{
    CRunWatch watch(room);
    watch.KeepBodies(order.keepBodies);
    const CSink sink([&watch](const std::string& body) { watch.OnBody(body); });
    const bool endless = static_cast<bool>(order.beforeItEnds);
    const std::vector<std::string> command{program, sink.Url(),
                                           std::to_string(endless ? 0 : order.sweeps),
                                           std::to_string(order.leastPauseMs)};
    double transferUs = 0;
    {
        CBoxed boxed(command, room.Dir(), order.flash);
        watch_sweeps(watch, boxed, order);
        if (!endless && boxed.Wait() == 0)
        {
            transferUs = printed_number(room);
        }
    }
    CRun run = result_of(watch);
    run.transferMs = transferUs / 1000.0;
    return run;
}

double median(std::vector<double> numbers)
{
    if (numbers.empty())
    {
        throw std::runtime_error("nothing was measured");
    }
    const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() / 2);
    std::nth_element(numbers.begin(), middle, numbers.end());
    return *middle;
}
