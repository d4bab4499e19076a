// Makes two programs take turns, body by body: while one works, the other waits for the answer to
// its post. So whatever the machine does besides hits both alike, and neither takes CPU from the
// other.
//
// Used by the sinks' threads. When one side has left, the other runs on freely.
#pragma once

#include <condition_variable>
#include <mutex>

class CTurns
{
public:
    // Side 0 or 1, with a body in hand: lets the other work until it comes with a body, too.
    void Pass(int side)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_turn = 1 - side;
        m_changed.notify_all();
        m_changed.wait(lock, [this, side] { return m_left || m_turn == side; });
    }

    void Leave()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_left = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    int m_turn = 0;
    bool m_left = false;
};
