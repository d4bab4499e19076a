// Running the daemon and the least program on a room, watched from a sink of their own.
//
// Every run has a fresh box and a fresh sink, so that no run finds anything of the one before.
// Throws std::runtime_error when a program does not do its work.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/BenchRoom.h"
#include "bench/RunWatch.h"
#include "bench/Turns.h"

// The programs that are measured, by full path.
struct CPrograms
{
    std::string daemon;
    std::string daemon_no_pause; // the same, but for the 20 ms pauses
    std::string least;
    std::string db_library;
};

// The middle and the mean of some numbers; there must be one at least.
double median(std::vector<double> numbers);
double mean(const std::vector<double>& numbers);

// What is told to a run, and what it tells.
struct CRunOrder
{
    int sweeps = 1;
    bool keep_bodies = false;
    std::string flash;                                 // see CBoxed
    int least_pause_ms = 0;                            // after each device of the least program
    std::function<void(const CBoxed&)> before_it_ends; // a last look at the running program
    CTurns* turns = nullptr;                           // with another run; outlives this one
    int side = 0;                                      // in them
};

struct CRun
{
    CRunFigures figures;
    std::vector<std::string> bodies;
    double transfer_ms = 0; // least program only: median wall time of one transfer

    // The median body: on a machine that is shared, the mean tells as much about its neighbours.
    double TransferMs() const { return transfer_ms; }
    double CpuUsPerBody() const { return median(figures.cpu_us); }
    double MeanCpuUs() const { return mean(figures.cpu_us); }
    double GapMs() const { return median(figures.gaps_ms); }
    double MeanGapMs() const { return mean(figures.gaps_ms); }
};

CRun run_daemon(const std::string& program, const CBenchRoom& room, const CRunOrder& order);

// The least program ends by itself after its sweeps, unless somebody wants a look before.
CRun run_least(const std::string& program, const CBenchRoom& room, const CRunOrder& order);
