// On which thread, and when, the alarm routine may run.
//
// The routine runs whole inside the signal's handler. A handler that interrupted malloc, stdio,
// SQLite or libcurl must not call them again: the lock it would wait for is held by the very
// thread it stopped, and the daemon would hang for ever. So the routine runs only on a thread that
// is at rest, inside its pause: the request thread, which hardly ever does anything else, or the
// main thread when there is no request thread. A handler anywhere else passes the signal on to the
// request thread and returns; where that cannot be done now, a timer sends the signal again a
// moment later. As only one thread runs the routine, and the signal is held back there while its
// handler runs, two runs never meet on the alarm database.
//
// Nothing here takes a lock, and all but prepare_alarm_signal may be called in a handler.
#pragma once

#include <pthread.h>

// Before the handler is installed, main thread: makes the timer. False when the system has none:
// a signal that finds no thread at rest is then lost, and its alarms wait for the next one.
bool prepare_alarm_signal(int sig);

// That thread is the request thread: alarm signals are passed on to it from now on. Called by the
// main thread before it first rests, so that the two never both think the routine is theirs.
void pass_alarm_signals_to(pthread_t thread);

// Whether the caller is the request thread.
bool on_request_thread();

// In the handler: true when the signal was passed on, false when the routine is to run here and
// now.
bool pass_alarm_signal_on(int sig);
