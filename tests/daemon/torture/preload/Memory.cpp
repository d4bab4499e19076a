// Allocation and mappings. operator new comes through malloc.
#include "tests/daemon/torture/preload/Gate.h"

#include <sys/mman.h>
#include <sys/types.h>

// The C library's own, by names that need no look-up: allocation begins before any library has
// been started, and looking a name up may allocate.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);

VK_DEFINE(void*, malloc, (size_t size))
{
    VK_INDEX(malloc);
    if (call_fails(kIndex, errno))
    {
        return nullptr;
    }
    return __libc_malloc(size);
}

VK_DEFINE(void*, calloc, (size_t count, size_t size))
{
    VK_INDEX(calloc);
    if (call_fails(kIndex, errno))
    {
        return nullptr;
    }
    return __libc_calloc(count, size);
}

VK_DEFINE(void*, realloc, (void* block, size_t size))
{
    VK_INDEX(realloc);
    if (call_fails(kIndex, errno))
    {
        return nullptr;
    }
    return __libc_realloc(block, size);
}

VK_MAY_FAIL(int, posix_memalign, (void** block, size_t alignment, size_t size),
            (block, alignment, size), code)

VK_MAY_FAIL(void*, mmap, (void* at, size_t size, int access, int flags, int fd, off_t offset),
            (at, size, access, flags, fd, offset), MAP_FAILED)

VK_MAY_FAIL(void*, mmap64, (void* at, size_t size, int access, int flags, int fd, off64_t offset),
            (at, size, access, flags, fd, offset), MAP_FAILED)

VK_DEFINE(void*, mremap, (void* at, size_t old_size, size_t size, int flags, void* wanted))
{
    VK_INDEX(mremap);
    if (call_fails(kIndex, errno))
    {
        return MAP_FAILED;
    }
    return next<void* (*)(void*, size_t, size_t, int, void*)>(kIndex)(at, old_size, size, flags,
                                                                      wanted);
}
