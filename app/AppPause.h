// The one place where the daemon waits. Any thread.
#pragma once

// Waits that long, also when a signal comes in between. Nothing for 0 and less.
void pause_ms(int ms);

// Whether the calling thread is inside pause_ms, that is holds no lock and is in the middle of
// nothing. For the alarm signal's handler.
bool at_rest();

constexpr int kPassPauseMs = 20;             // between passes, steps and devices
constexpr int kExceptionRetryPauseMs = 2000; // before an item that threw is tried again
constexpr int kExceptionTries = 3;           // tries of one item in a row
