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

// The programs that are measured, by full path.
struct CPrograms
{
    std::string daemon;
    std::string daemonNoPause; // the same, but for the 20 ms pauses
    std::string least;
    std::string dbLibrary;
};

// What is told to a run, and what it tells.
struct CRunOrder
{
    int sweeps = 1;
    bool keepBodies = false;
    std::string flash;                               // see CBoxed
    int leastPauseMs = 0;                            // after each device of the least program
    std::function<void(const CBoxed&)> beforeItEnds; // a last look at the running program
};

struct CRun
{
    CRunFigures figures;
    std::vector<std::string> bodies;
    double transferMs = 0; // least program only: median wall time of one transfer

    double CpuUsPerBody() const;
    double MedianGapMs() const;
    double MeanGapMs() const;
};

CRun run_daemon(const std::string& program, const CBenchRoom& room, const CRunOrder& order);

// The least program ends by itself after its sweeps, unless somebody wants a look before.
CRun run_least(const std::string& program, const CBenchRoom& room, const CRunOrder& order);

// The middle of some numbers; there must be one at least.
double median(std::vector<double> numbers);
