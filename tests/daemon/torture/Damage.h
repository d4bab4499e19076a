// Ways to damage a database file, by what it looks like afterwards.
#pragma once

#include <cstddef>
#include <random>
#include <string>

// What becomes of a sound file's bytes.
struct Damage
{
    const char* name;
    std::string (*change)(std::string bytes, std::mt19937& random);
};

const Damage& some_damage(std::mt19937& random);

// Ways to put bytes into a file that others may have open: a new file under the name, or the same
// file over again, at once or slowly, from nothing. false: it is the same file.
enum class Way
{
    kNewFile,
    kSameFile,     // emptied, then written at once
    kSameFileSlow, // ... in pieces, with pauses
};

Way some_way(std::mt19937& random);
const char* way_name(Way way);
void put_bytes(const std::string& file, const std::string& bytes, Way way);
