// Queues, threads, timers, the clock, processes, signals, character sets and the loader.
#include "tests/daemon/torture/preload/Gate.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <iconv.h>
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/time.h>
#include <sys/types.h>
#include <unistd.h>

VK_MAY_FAIL(int, msgget, (key_t key, int flags), (key, flags), -1)
VK_MAY_FAIL(int, msgsnd, (int queue, const void* message, size_t n, int flags),
            (queue, message, n, flags), -1)
VK_MAY_FAIL(ssize_t, msgrcv, (int queue, void* message, size_t n, long type, int flags),
            (queue, message, n, type, flags), -1)
VK_MAY_FAIL(int, msgctl, (int queue, int command, msqid_ds* out), (queue, command, out), -1)

VK_MAY_FAIL(int, pthread_create,
            (pthread_t * thread, const pthread_attr_t* how, void* (*run)(void*), void* argument),
            (thread, how, run, argument), code)
VK_MAY_FAIL(int, pthread_kill, (pthread_t thread, int sig), (thread, sig), code)
VK_MAY_FAIL(int, timer_create, (clockid_t clock, sigevent* event, timer_t* timer),
            (clock, event, timer), -1)
VK_MAY_FAIL(int, timer_settime,
            (timer_t timer, int flags, const itimerspec* value, itimerspec* before),
            (timer, flags, value, before), -1)

VK_MAY_FAIL(int, nanosleep, (const timespec* wanted, timespec* left), (wanted, left),
            (left != nullptr ? * left = *wanted : *wanted, -1))

VK_MAY_FAIL(iconv_t, iconv_open, (const char* to, const char* from), (to, from),
            reinterpret_cast<iconv_t>(-1))
VK_MAY_FAIL(size_t, iconv, (iconv_t cd, char** in, size_t* in_left, char** out, size_t* out_left),
            (cd, in, in_left, out, out_left), static_cast<size_t>(-1))
VK_MAY_FAIL_AFTERWARDS(int, iconv_close, (iconv_t cd), (cd), -1)

VK_MAY_FAIL(void*, dlopen, (const char* file, int mode), (file, mode), nullptr)
namespace
{

// This library, as dlopen names it.
void* this_library()
{
    Dl_info self{};
    constexpr size_t kOpen = function_index("dlopen");
    return dladdr(reinterpret_cast<const void*>(&this_library), &self) != 0
               ? next<void* (*)(const char*, int)>(kOpen)(self.dli_fname, RTLD_NOW | RTLD_NOLOAD)
               : nullptr;
}

} // namespace

// RTLD_NEXT means what is behind the caller, and behind the daemon's program is this library. Asked
// from here it would mean what is behind this one.
VK_DEFINE(void*, dlsym, (void* library, const char* name))
{
    VK_INDEX(dlsym);
    int code = 0;
    if (call_fails(kIndex, code))
    {
        errno = code;
        return nullptr;
    }
    static void* const self = this_library();
    return next<void* (*)(void*, const char*)>(kIndex)(library == RTLD_NEXT ? self : library, name);
}
VK_MAY_FAIL_AFTERWARDS(int, dlclose, (void* library), (library), -1)

VK_MAY_FAIL(pid_t, fork, (), (), -1)
VK_MAY_FAIL(FILE*, popen, (const char* command, const char* mode), (command, mode), nullptr)
VK_MAY_FAIL_AFTERWARDS(int, pclose, (FILE * pipe), (pipe), -1)
VK_MAY_FAIL(int, system, (const char* command), (command), -1)
VK_MAY_FAIL(pid_t, waitpid, (pid_t pid, int* status, int options), (pid, status, options), -1)

// An exception that nobody caught ends here with the stack that it was thrown from.
VK_DEFINE(void, abort, ())
{
    note_abort();
    raise(SIGABRT);
    _exit(1); // not reached but by a program that handles the signal
}

// --- The clock, which the campaign may move ------------------------------------------------------

namespace
{

time_t clock_shift()
{
    const TortureBlock* block = torture_block();
    return block != nullptr ? block->clock_shift_s.load() : 0;
}

} // namespace

VK_DEFINE(int, gettimeofday, (timeval * out, void* zone))
{
    VK_INDEX(gettimeofday);
    if (call_fails(kIndex, errno))
    {
        return -1;
    }
    const int result = next<int (*)(timeval*, void*)>(kIndex)(out, zone);
    out->tv_sec += clock_shift();
    return result;
}

VK_DEFINE(int, clock_gettime, (clockid_t clock, timespec* out))
{
    VK_INDEX(clock_gettime);
    if (call_fails(kIndex, errno))
    {
        return -1;
    }
    const int result = next<int (*)(clockid_t, timespec*)>(kIndex)(clock, out);
    out->tv_sec += clock == CLOCK_REALTIME ? clock_shift() : 0;
    return result;
}

VK_DEFINE(time_t, time, (time_t * out))
{
    VK_INDEX(time);
    if (call_fails(kIndex, errno))
    {
        return -1;
    }
    const time_t now = next<time_t (*)(time_t*)>(kIndex)(nullptr) + clock_shift();
    return out != nullptr ? *out = now : now;
}

VK_MAY_FAIL(tm*, localtime_r, (const time_t* at, tm* out), (at, out), nullptr)
VK_MAY_FAIL(tm*, gmtime_r, (const time_t* at, tm* out), (at, out), nullptr)
