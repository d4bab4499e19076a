// What the campaign and the library inside the daemon share: a file that both map.
//
// The campaign writes the order and reads what came of it; the library does the other half. Every
// field is atomic, because either side may look at any moment. No pointers: the two processes have
// different addresses.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

constexpr char kBlockVariable[] = "VK_TORTURE_BLOCK"; // names the file to the library

constexpr size_t kPathDepth = 14;        // innermost calls that make up a path
constexpr size_t kSeenEntries = 1 << 15; // different paths that can be recorded

// A path that a function was called by, with how often. Key 0: free.
struct SeenPath
{
    std::atomic<uint64_t> key; // the function in the upper half, the path in the lower
    std::atomic<uint32_t> count;
};

// A place in the code: a module by the last letters of its name, and an offset in it.
struct CodePlace
{
    char module[24];
    uint64_t offset;
};

// The innermost of them first.
struct CodePath
{
    std::atomic<uint32_t> depth; // 0: none was taken
    CodePlace places[kPathDepth];
};

struct TortureBlock
{
    // The order.
    std::atomic<bool> recording;
    std::atomic<bool> armed;
    std::atomic<uint32_t> function; // in kFunctions
    std::atomic<uint32_t> path;     // 0: whatever the path
    std::atomic<uint32_t> nth;      // occurrence of the path at which failing begins, from 1
    std::atomic<uint32_t> burst;    // calls of the function that fail from there on, by any path
    std::atomic<int32_t> code;

    std::atomic<int64_t> clock_shift_s; // added to the wall clock
    std::atomic<int32_t> resolver_ms;   // how long the name server is silent before it answers

    // What came of it.
    std::atomic<bool> loaded; // the library is inside a daemon
    std::atomic<uint32_t> occurrences;
    std::atomic<uint32_t> hits; // calls that have failed
    CodePath failed;            // of the first of them
    CodePath aborted;           // where the program gave itself up

    SeenPath seen[kSeenEntries];
};

static_assert(std::atomic<uint64_t>::is_always_lock_free, "processes cannot share a lock");
