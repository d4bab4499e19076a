// Watches a program's device sweeps from the receiving end: the bodies that arrive at a sink tell
// where in its sweep the program stands.
//
// The CPU time of a sweep is taken between the arrivals of its first and of its last body, so that
// start-up, discovery and everything between two sweeps are left out. OnBody runs on the sink's
// thread, while the program waits for its answer; the rest on the main thread. What Figures and
// Bodies return is complete when the program has ended.
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

struct CRunFigures
{
    int64_t cpuNs = 0;          // of all counted bodies
    int64_t bodies = 0;         // counted ones: in each sweep all but one
    std::vector<double> gapsMs; // wall time from one body of a sweep to the next
};

class CRunWatch
{
public:
    explicit CRunWatch(const CBenchRoom& room);

    void KeepBodies(bool keep) { m_keep = keep; } // before the program starts
    void Attach(const CBoxed* program);           // null: before it goes

    // Calls look on the sink's thread with the last body of each sweep, counted from 1, while the
    // program waits for its answer: always at the same point of its work. Before it starts.
    using Look = std::function<void(int sweep, const CBoxed& program)>;
    void LookAtSweepEnds(Look look) { m_look = std::move(look); }

    void OnBody(const std::string& body);

    // Until that many sweeps are over; throws std::runtime_error when the program ends before, or
    // nothing arrives for a long time.
    void WaitForSweeps(int sweeps);

    const CRunFigures& Figures() const { return m_figures; }
    const std::vector<std::string>& Bodies() const { return m_bodies; }

private:
    using Clock = std::chrono::steady_clock;

    const int m_firstSid;
    const int m_lastSid;
    bool m_keep = false;
    Look m_look;

    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    const CBoxed* m_program = nullptr;
    CRunFigures m_figures;
    std::vector<std::string> m_bodies; // device bodies, when they are kept
    int m_sweeps = 0;
    int64_t m_arrived = 0;
    bool m_inSweep = false;
    int64_t m_startNs = 0;
    int64_t m_inThisSweep = 0;
    Clock::time_point m_lastArrival;
};
