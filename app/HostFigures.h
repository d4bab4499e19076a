// Figures of the monitoring host itself, as its status body carries them. Main thread: the
// commands behind two of them block until they end.
#pragma once

#include <string>

// Load averages times 100, truncated.
struct LoadFigures
{
    int cpu1;
    int cpu5;
    int cpu15;
};

// From the line of /proc/loadavg; what the line lacks is 0.
LoadFigures parse_load(const std::string& line);

// The number behind the colon of a line of /proc/meminfo, in its own unit (kB); 0 without colon.
int parse_memory(const std::string& line);

// The CPU's highest clock in kHz; 0 when the system does not say.
int getcpufreq();

// The sizes of /dev/mtd0, mtd1, ... added up: at most 16 devices, up to the first number that is
// missing. In bytes, since the fifth word of fdisk's line "Disk /dev/mtd0: 8 MB, 8388608 bytes" is
// that; a fdisk that says MiB, or GB, gives nothing. From 2 GiB on the sum wraps.
int getflashsize();
