// A host made by chance: tables, columns, values and settings of every sort that a daemon may meet,
// as far as none of it makes the daemon wait for tens of seconds.
//
// The same seed makes the same host on every machine.
#pragma once

#include <cstdint>
#include <string>

class CHostDir;

// Where the host posts to. Further URLs of a list are these with "1" and "2" behind them.
struct RandomHostUrls
{
    std::string post;
    std::string alarm;
};

// Fills a host directory that is empty but for its library; vkApp.ini is written, too.
void make_random_host(CHostDir& host, uint32_t seed, const RandomHostUrls& urls);
