// Faults, and the block by which they are ordered from the library inside a daemon.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/daemon/torture/Block.h"

// What is to fail: a function when it is reached by that path for the nth time, then as many calls
// of it as the burst is long, whatever their path.
struct Fault
{
    std::string function;
    uint32_t path = 0; // 0: any
    uint32_t nth = 1;
    uint32_t burst = 1;
    int code = 0;

    std::string Text() const; // "malloc:1a2b3c4d:1:1:12"
};

// Throws std::runtime_error for a text that is none.
Fault parse_fault(const std::string& text);

// Owns the file that the two processes share. Throws std::runtime_error when there is none.
class CFaultBlock
{
public:
    CFaultBlock();
    ~CFaultBlock();
    CFaultBlock(const CFaultBlock&) = delete;
    CFaultBlock& operator=(const CFaultBlock&) = delete;

    // Whether this build has the library; one under a sanitizer has not.
    static bool IsUsable() { return VK_PRELOAD[0] != '\0'; }

    const std::string& File() const { return m_strFile; }

    void Clear(); // no order, nothing recorded, the clock and the name server as they are
    void Record();
    void Order(const Fault& fault);
    void Disarm();
    void ShiftClock(int64_t seconds);
    void SilenceResolver(int ms);

    bool IsLoaded() const;            // a daemon has started with the library
    uint32_t Hits() const;            // calls that have failed
    std::string Where() const;        // the innermost places of the first of them
    std::string WhereAborted() const; // the same of the program's abort; empty when it made none
    std::vector<Fault> Seen() const;  // what was recorded; code is not set

private:
    std::string m_strFile;
    TortureBlock* m_block = nullptr;
};
