#include "bench/RunWatch.h"

#include <cstdlib>
#include <stdexcept>

namespace
{

constexpr auto kPatience = std::chrono::seconds(30);

int sid_of(const std::string& body)
{
    const size_t at = body.find("&sid=");
    return at == std::string::npos ? 0 : std::atoi(body.c_str() + at + 5);
}

} // namespace

CRunWatch::CRunWatch(const CBenchRoom& room)
    : m_firstSid(room.FirstSid()), m_lastSid(room.LastSid())
{
}

void CRunWatch::Attach(const CBoxed* program)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_program = program;
    m_changed.notify_all();
}

void CRunWatch::OnBody(const std::string& body)
{
    const Clock::time_point now = Clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_changed.wait_for(lock, kPatience, [this] { return m_program != nullptr; }))
    {
        return;
    }
    const int sid = sid_of(body);
    if (sid < m_firstSid || sid > m_lastSid)
    {
        return; // the host's own status
    }
    ++m_arrived;
    if (m_keep)
    {
        m_bodies.push_back(body);
    }
    if (sid == m_firstSid)
    {
        m_inSweep = true;
        m_inThisSweep = 0;
        m_startNs = m_program->CpuNs();
    }
    else if (m_inSweep)
    {
        ++m_inThisSweep;
        m_figures.gapsMs.push_back(
            std::chrono::duration<double, std::milli>(now - m_lastArrival).count());
    }
    m_lastArrival = now;
    if (sid == m_lastSid && m_inSweep)
    {
        m_inSweep = false;
        m_figures.cpuNs += m_program->CpuNs() - m_startNs;
        m_figures.bodies += m_inThisSweep;
        ++m_sweeps;
        if (m_look)
        {
            m_look(m_sweeps, *m_program);
        }
        m_changed.notify_all();
    }
}

void CRunWatch::WaitForSweeps(int sweeps)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    int64_t arrived = -1;
    Clock::time_point moved = Clock::now();
    while (m_sweeps < sweeps)
    {
        m_changed.wait_for(lock, std::chrono::milliseconds(500));
        if (m_arrived != arrived)
        {
            arrived = m_arrived;
            moved = Clock::now();
        }
        if (m_sweeps < sweeps && (!m_program->Runs() || Clock::now() - moved > kPatience))
        {
            throw std::runtime_error("the program stopped posting after " +
                                     std::to_string(m_arrived) + " bodies");
        }
    }
}
