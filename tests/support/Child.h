// Code of a test that runs in a process of its own: for state that a process has once (the log's
// counter, the pid lock, the environment), and for code that ends the process.
//
// The child inherits the test and ends with exit. An expectation that fails there prints its
// message and makes the status 1. Fork before the test starts a thread.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs the work in a child process and waits for it; its exit status, 0 when the work returns and
// nothing failed in it; -1 when a signal ended it.
template <class Work> int run_in_child(Work&& work)
{
    std::fflush(nullptr); // or both processes would write what is buffered
    const pid_t pid = fork();
    if (pid == 0)
    {
        work();
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
