// Preloaded into a daemon: of its pieces of memory, the one that VK_FAILING_ALLOCATION numbers,
// counted from 1, is not to be had. A file "allocation-failed" tells that it came to that. Pauses
// of 50 ms and more last one millisecond: a retry of ten seconds is not what is waited for.
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C"
{
    // What glibc's own functions call.
    void* __libc_malloc(size_t size);
    void* __libc_calloc(size_t count, size_t size);
    void* __libc_realloc(void* memory, size_t size);
    void* __libc_memalign(size_t alignment, size_t size);
}

namespace
{

std::atomic<long> left{0}; // allocations up to the one that fails; 0: none does

// The commands that the daemon runs are left alone.
__attribute__((constructor)) void begin()
{
    const char* number = std::getenv("VK_FAILING_ALLOCATION");
    if (number != nullptr && std::strcmp(program_invocation_short_name, "vkAppPost") == 0)
    {
        left = std::atol(number);
    }
}

bool fails()
{
    if (left <= 0 || --left != 0)
    {
        return false;
    }
    syscall(SYS_close,
            syscall(SYS_openat, AT_FDCWD, "allocation-failed", O_CREAT | O_WRONLY, 0600));
    errno = ENOMEM;
    return true;
}

} // namespace

#define VK_VISIBLE extern "C" __attribute__((visibility("default")))

VK_VISIBLE void* malloc(size_t size)
{
    return fails() ? nullptr : __libc_malloc(size);
}

VK_VISIBLE void* calloc(size_t count, size_t size)
{
    return fails() ? nullptr : __libc_calloc(count, size);
}

VK_VISIBLE void* realloc(void* memory, size_t size)
{
    return fails() ? nullptr : __libc_realloc(memory, size);
}

VK_VISIBLE void* aligned_alloc(size_t alignment, size_t size)
{
    return fails() ? nullptr : __libc_memalign(alignment, size);
}

VK_VISIBLE int posix_memalign(void** memory, size_t alignment, size_t size)
{
    void* made = fails() ? nullptr : __libc_memalign(alignment, size);
    if (made == nullptr)
    {
        return ENOMEM;
    }
    *memory = made;
    return 0;
}

VK_VISIBLE int nanosleep(const timespec* asked, timespec* rest)
{
    const timespec instant{0, 1000000};
    const bool is_long = asked->tv_sec > 0 || asked->tv_nsec >= 50000000;
    return static_cast<int>(syscall(SYS_nanosleep, is_long ? &instant : asked, rest));
}
