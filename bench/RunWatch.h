// Watches a program's device sweeps from the receiving end: the bodies that arrive at a sink tell
// where in its sweep the program stands.
//
// CPU and wall time are taken from one body of a sweep to the next, so that start-up, discovery and
// everything between two sweeps are left out. After the given number of sweeps nothing is counted
// any more. OnBody runs on the sink's thread, while the program waits
// for its answer; the rest on the main thread. Borrows the program until Wait has returned.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "bench/BenchRoom.h"
#include "bench/Boxed.h"

// Of all bodies but each sweep's first, in the order of their arrival.
struct CRunFigures
{
    std::vector<double> cpu_us;  // CPU time from the arrival of the body before to this one's
    std::vector<double> gaps_ms; // wall time, likewise
};

class CRunWatch
{
public:
    CRunWatch(const CBenchRoom& room, int sweeps);

    // Before the program starts: keeps all bodies of the sweeps.
    void KeepBodies(bool keep) { m_keep = keep; }

    // Before the program starts: calls look on the sink's thread with the last body of each sweep,
    // counted from 1, while the program waits for its answer: always at the same point of its work.
    using Look = std::function<void(int sweep, const CBoxed& program)>;
    void LookAtSweepEnds(Look look) { m_look = std::move(look); }

    void Attach(const CBoxed& program);

    void OnBody(const std::string& body);

    // Until the sweeps are over. Throws std::runtime_error when the program ends before, or
    // nothing arrives for a long time.
    void Wait();

    // Valid after Wait.
    const CRunFigures& Figures() const { return m_figures; }
    const std::vector<std::string>& Bodies() const { return m_bodies; }

private:
    using Clock = std::chrono::steady_clock;
    void Count(int sid, Clock::time_point now);
    void EndSweep();

    const int m_firstSid;
    const int m_lastSid;
    const int m_wanted;
    bool m_keep = false;
    Look m_look;

    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    const CBoxed* m_program = nullptr; // null: not started yet
    bool m_over = false;
    CRunFigures m_figures;
    std::vector<std::string> m_bodies;
    int m_sweeps = 0;
    int64_t m_arrived = 0;
    int64_t m_lastCpuNs = 0; // of the program when the last body arrived
    Clock::time_point m_lastArrival;
};
