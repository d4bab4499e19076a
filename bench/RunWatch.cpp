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

CRunWatch::CRunWatch(const CBenchRoom& room, int sweeps)
    : m_firstSid(room.FirstSid()), m_lastSid(room.LastSid()), m_wanted(sweeps)
{
}

void CRunWatch::Attach(const CBoxed& program)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_program = &program;
    m_changed.notify_all();
}

void CRunWatch::OnBody(const std::string& body)
{
    const Clock::time_point now = Clock::now();
    const int sid = sid_of(body);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, kPatience, [this] { return m_program != nullptr || m_over; });
    if (m_program == nullptr || m_over || sid < m_firstSid || sid > m_lastSid)
    {
        return; // nobody watches any more, or it is the host's own status
    }
    ++m_arrived;
    if (m_keep)
    {
        m_bodies.push_back(body);
    }
    Count(sid, now);
    if (sid == m_lastSid)
    {
        EndSweep();
    }
}

void CRunWatch::Count(int sid, Clock::time_point now)
{
    const int64_t cpu_ns = m_program->CpuNs();
    if (sid != m_firstSid)
    {
        m_figures.cpu_us.push_back(static_cast<double>(cpu_ns - m_lastCpuNs) / 1000.0);
        m_figures.gaps_ms.push_back(
            std::chrono::duration<double, std::milli>(now - m_lastArrival).count());
    }
    m_lastCpuNs = cpu_ns;
    m_lastArrival = now;
}

void CRunWatch::EndSweep()
{
    ++m_sweeps;
    if (m_look)
    {
        m_look(m_sweeps, *m_program);
    }
    if (m_sweeps == m_wanted)
    {
        m_over = true;
    }
    m_changed.notify_all();
}

void CRunWatch::Wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    int64_t arrived = -1;
    Clock::time_point moved = Clock::now();
    while (!m_over)
    {
        m_changed.wait_for(lock, std::chrono::milliseconds(500));
        if (m_arrived != arrived)
        {
            arrived = m_arrived;
            moved = Clock::now();
        }
        if (!m_over && (!m_program->Runs() || Clock::now() - moved > kPatience))
        {
            m_over = true;
            throw std::runtime_error("the program stopped posting after " +
                                     std::to_string(m_arrived) + " bodies");
        }
    }
}
