// The kinds of torture, each with what tells its cases apart.
#pragma once

#include <cstdint>
#include <string>

#include "tests/daemon/torture/Tally.h"

struct Options
{
    uint32_t seed = 1;
    int count = 0;    // cases at most; 0: as many as the full form has
    int part = 0;     // of the cases, those whose number leaves this rest
    int parts = 1;    // when divided by this
    std::string of;   // faults and bursts: of this function or family alone; empty: of all
    std::string only; // one case, as a line of a report names it; empty: all
};

// Whether a case is this process's to run.
inline bool is_mine(const Options& options, int number)
{
    return options.only.empty() ? number % options.parts == options.part
                                : options.only == std::to_string(number);
}

// The command that runs one case again.
std::string repeat_command(const std::string& kind, const Options& options,
                           const std::string& one_case);

void torture_with_faults(const Options& options, CTally& tally);    // one call fails
void torture_with_bursts(const Options& options, CTally& tally);    // two hundred in a row
void torture_with_servers(const Options& options, CTally& tally);   // and a silent name server
void torture_with_kills(const Options& options, CTally& tally);     // at any instant
void torture_with_databases(const Options& options, CTally& tally); // damaged, at rest and in use
void torture_with_limits(const Options& options, CTally& tally);    // descriptors, address space
void torture_with_clock(const Options& options, CTally& tally);     // steps both ways
void torture_with_stops(const Options& options, CTally& tally);     // stopped and let go on
void torture_with_full_disk(const Options& options, CTally& tally); // needs a box that is small
void torture_with_no_log(const Options& options, CTally& tally);    // a flash that is read-only
