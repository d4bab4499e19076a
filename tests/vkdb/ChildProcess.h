// Code of a test that runs in a process of its own.
//
// The child is forked from the test and ends with _exit, so nothing of the test is run or cleaned
// up twice. Fork before the test opens a database: SQLite connections do not cross a fork.
#pragma once

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <new>
#include <stdexcept>

// Runs the function in a child process and waits for it; its result is the exit status.
template <class Work> int run_in_child(Work&& work)
{
    const pid_t pid = ::fork();
    if (pid == 0)
    {
        ::_exit(work());
    }
    int status = -1;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A child process that repeats one piece of work, without a pause, until it is told to stop.
class CBusyChild
{
public:
    // work(n) is called with 1, 2, 3, ...; an exception ends the child with status 1.
    template <class Work> explicit CBusyChild(Work&& work) : m_pShared(new (MapShared()) Shared())
    {
        m_pid = ::fork();
        if (m_pid == 0)
        {
            ::_exit(Repeat(work));
        }
    }
    ~CBusyChild()
    {
        if (m_pid > 0)
        {
            Stop();
        }
        ::munmap(m_pShared, sizeof(Shared));
    }
    CBusyChild(const CBusyChild&) = delete;
    CBusyChild& operator=(const CBusyChild&) = delete;

    // How often the work has been done so far.
    int Done() const { return m_pShared->done; }

    // True while the child is at work: false when an exception ended it.
    bool IsAtWork() const { return !m_pShared->has_ended; }

    // Lets the child finish its piece of work and end. The result is its exit status.
    int Stop()
    {
        m_pShared->is_to_stop = true;
        int status = -1;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    struct Shared // between the two processes
    {
        std::atomic<int> done{0};
        std::atomic<bool> is_to_stop{false};
        std::atomic<bool> has_ended{false};
    };

    static void* MapShared()
    {
        void* p = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED)
        {
            throw std::bad_alloc();
        }
        return p;
    }

    template <class Work> int Repeat(Work& work)
    {
        int status = 0;
        try
        {
            while (!m_pShared->is_to_stop)
            {
                work(m_pShared->done + 1);
                ++m_pShared->done;
            }
        }
        catch (const std::exception& e)
        {
            ::dprintf(STDERR_FILENO, "child: %s\n", e.what());
            status = 1;
        }
        m_pShared->has_ended = true;
        return status;
    }

    Shared* m_pShared;
    pid_t m_pid = -1;
};
