// What the daemon is measured by. Each function makes its rooms and runs and gives its figures;
// programs that are compared take turns, so that whatever else the machine does hits both.
//
// Throws std::runtime_error when a program does not do its work.
#pragma once

#include <string>
#include <vector>

#include "bench/Runs.h"

// One line of the table.
struct CFigure
{
    std::string what;
    double value;
    const char* unit; // "x" for a ratio
    double budget;
    std::string detail;

    bool Met() const { return value <= budget; }
};
using Figures = std::vector<CFigure>;

// How much is run. The quick sizes show that everything works and where the figures lie; the
// long ones give figures to go by.
struct CEffort
{
    int rounds;         // of each comparison
    int devices;        // in the room of the CPU comparison
    int paused_devices; // where the real pauses are waited
    int large_room;     // against a room of 100
    int posts;          // while memory and descriptors are watched
};

// Throws std::runtime_error unless the daemon and the least program send the same bodies and write
// the same log lines: everything else rests on that.
void require_same_work(const CPrograms& programs);

Figures cpu_per_body(const CPrograms& programs, const CEffort& effort);
Figures real_pauses(const CPrograms& programs, const CEffort& effort); // CPU and time per device
Figures several_urls(const CPrograms& programs, const CEffort& effort);
Figures peak_memory(const CPrograms& programs, const CEffort& effort);
Figures large_room(const CPrograms& programs, const CEffort& effort);
Figures growth(const CPrograms& programs, const CEffort& effort);
