// Waiting for what another process does: always for an event, with a deadline that only a daemon
// that hangs ever meets.
#pragma once

#include <chrono>
#include <thread>

constexpr std::chrono::seconds kDeadline{60};
constexpr std::chrono::milliseconds kPollPause{5};

// Polls until the condition holds. False when the deadline has passed.
template <typename Condition>
bool wait_until(Condition condition, std::chrono::seconds deadline = kDeadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return false;
        }
        std::this_thread::sleep_for(kPollPause);
    }
    return true;
}
