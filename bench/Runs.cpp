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
    watch.Attach(program);
    watch.Wait();
    if (order.before_it_ends)
    {
        order.before_it_ends(program);
    }
}

// Lets the other side of the turns go when this run ends, whichever way.
class CLeave
{
public:
    explicit CLeave(CTurns* turns) : m_turns(turns) {}
    ~CLeave()
    {
        if (m_turns != nullptr)
        {
            m_turns->Leave();
        }
    }
    CLeave(const CLeave&) = delete;
    CLeave& operator=(const CLeave&) = delete;

private:
    CTurns* m_turns;
};

CSink::Hook hook(CRunWatch& watch, const CRunOrder& order)
{
    return [&watch, turns = order.turns, side = order.side](const std::string& body)
    {
        watch.OnBody(body);
        if (turns != nullptr)
        {
            turns->Pass(side);
        }
    };
}

} // namespace

CRun run_daemon(const std::string& program, const CBenchRoom& room, const CRunOrder& order)
{
    CRunWatch watch(room, order.sweeps);
    watch.KeepBodies(order.keep_bodies);
    const CSink sink(hook(watch, order));
    const CLeave leave(order.turns); // goes before the sink, whose thread may be waiting
    room.Configure({sink.Url()});
    {
        const CBoxed boxed({program}, room.Dir(), order.flash);
        watch_sweeps(watch, boxed, order);
    }
    return result_of(watch);
}

CRun run_least(const std::string& program, const CBenchRoom& room, const CRunOrder& order)
{
    CRunWatch watch(room, order.sweeps);
    watch.KeepBodies(order.keep_bodies);
    const CSink sink(hook(watch, order));
    const CLeave leave(order.turns); // goes before the sink, whose thread may be waiting
    const bool endless = static_cast<bool>(order.before_it_ends);
    const std::vector<std::string> command{program, sink.Url(),
                                           std::to_string(endless ? 0 : order.sweeps),
                                           std::to_string(order.least_pause_ms)};
    double transfer_us = 0;
    {
        CBoxed boxed(command, room.Dir(), order.flash);
        watch_sweeps(watch, boxed, order);
        if (!endless && boxed.Wait() == 0)
        {
            transfer_us = printed_number(room);
        }
    }
    CRun run = result_of(watch);
    run.transfer_ms = transfer_us / 1000.0;
    return run;
}

double median(std::vector<double> numbers)
{
    if (numbers.empty())
    {
        throw std::runtime_error("nothing was measured");
    }
    const auto middle = numbers.begin() + static_cast<ptrdiff_t>(numbers.size() / 2);
    std::nth_element(numbers.begin(), middle, numbers.end());
    return *middle;
}

double mean(const std::vector<double>& numbers)
{
    if (numbers.empty())
    {
        throw std::runtime_error("nothing was measured");
    }
    return std::accumulate(numbers.begin(), numbers.end(), 0.0) /
           static_cast<double>(numbers.size());
}
