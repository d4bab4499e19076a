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
    int nStatus = -1;
    ::waitpid(pid, &nStatus, 0);
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

// A child process that repeats one piece of work, without a pause, until it is told to stop.
class CBusyChild
{
public:
    // work(n) is called with 1, 2, 3, ...; an exception ends the child with status 1.
    template <class Work> explicit CBusyChild(Work&& work) : m_pShared(new (map_shared()) Shared())
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
    int Done() const { return m_pShared->nDone; }

    // True while the child is at work: false when an exception ended it.
    bool IsAtWork() const { return !m_pShared->bEnded; }

    // Lets the child finish its piece of work and end. The result is its exit status.
    int Stop()
    {
        m_pShared->bStop = true;
        int nStatus = -1;
        ::waitpid(m_pid, &nStatus, 0);
        m_pid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    }

private:
    struct Shared // between the two processes
    {
        std::atomic<int> nDone{0};
        std::atomic<bool> bStop{false};
        std::atomic<bool> bEnded{false};
    };

    static void* map_shared()
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
        int nStatus = 0;
        try
        {
            while (!m_pShared->bStop)
            {
                work(m_pShared->nDone + 1);
                ++m_pShared->nDone;
            }
        }
        catch (const std::exception& e)
        {
            ::dprintf(STDERR_FILENO, "child: %s\n", e.what());
            nStatus = 1;
        }
        m_pShared->bEnded = true;
        return nStatus;
    }

    Shared* m_pShared;
    pid_t m_pid = -1;
};
