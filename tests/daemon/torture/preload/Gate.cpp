#include "tests/daemon/torture/preload/Gate.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

namespace
{

std::atomic<TortureBlock*> block{nullptr};
std::atomic<uint32_t> left_of_burst{0};
std::atomic<void*> definitions[kFunctionCount];

// Set while this thread decides or looks a definition up. Of a kind that needs no allocation.
__attribute__((tls_model("initial-exec"))) thread_local bool is_deciding = false;

class CDeciding
{
public:
    CDeciding() : m_before(is_deciding) { is_deciding = true; }
    ~CDeciding() { is_deciding = m_before; }
    CDeciding(const CDeciding&) = delete;
    CDeciding& operator=(const CDeciding&) = delete;

private:
    bool m_before;
};

// --- The definitions that this library stands before ---------------------------------------------

using LookUp = void* (*)(void* library, const char* name);

// dlsym itself is one of them, and has had this version on every machine since the C library
// became one file.
void* look_up(const char* name)
{
    const CDeciding deciding;
    static const auto next_dlsym =
        reinterpret_cast<LookUp>(dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34"));
    if (void* found = next_dlsym(RTLD_NEXT, name))
    {
        return found;
    }
    // SQLite comes with the database library, later, and is not in the scope of all.
    using Open = void* (*)(const char* file, int mode);
    static const auto next_dlopen = reinterpret_cast<Open>(next_dlsym(RTLD_NEXT, "dlopen"));
    void* sqlite = next_dlopen("libsqlite3.so.0", RTLD_LAZY | RTLD_NOLOAD);
    return sqlite != nullptr ? next_dlsym(sqlite, name) : nullptr;
}

// --- Paths ---------------------------------------------------------------------------------------

// Where an address lies; name is empty for the program itself.
struct Place
{
    const char* name = "?";
    uintptr_t offset = 0;
};

const char* last_part(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// The place of an address, by the loader's own table, which needs no lock.
Place place_of(uintptr_t address)
{
    dl_find_object found{};
    if (_dl_find_object(reinterpret_cast<void*>(address), &found) != 0)
    {
        return {};
    }
    return {last_part(found.dlfo_link_map->l_name), address - found.dlfo_link_map->l_addr};
}

uintptr_t own_start = 0;
uintptr_t own_end = 0;

struct Walk
{
    uintptr_t calls[kPathDepth];
    size_t depth = 0;
};

// Calls inside this library are no part of a path.
_Unwind_Reason_Code on_frame(_Unwind_Context* context, void* walk_data)
{
    auto& walk = *static_cast<Walk*>(walk_data);
    const uintptr_t address = _Unwind_GetIP(context) - 1; // inside the call
    if (address >= own_start && address < own_end)
    {
        return _URC_NO_REASON;
    }
    walk.calls[walk.depth++] = address;
    return walk.depth < kPathDepth ? _URC_NO_REASON : _URC_END_OF_STACK;
}

void mix(uint32_t& hash, uint64_t value)
{
    for (int byte = 0; byte < 8; ++byte)
    {
        hash = (hash ^ static_cast<uint32_t>(value >> (8 * byte) & 0xFF)) * 16777619U;
    }
}

// A number for the path, the same in every run of the same build; never 0.
uint32_t path_number(const Walk& walk)
{
    uint32_t hash = 2166136261U;
    for (size_t i = 0; i < walk.depth; ++i)
    {
        const Place place = place_of(walk.calls[i]);
        for (const char* c = place.name; *c != '\0'; ++c)
        {
            hash = (hash ^ static_cast<uint8_t>(*c)) * 16777619U;
        }
        mix(hash, place.offset);
    }
    return hash != 0 ? hash : 1;
}

// --- Recording and failing -----------------------------------------------------------------------

void record(TortureBlock& b, size_t function, uint32_t path)
{
    const uint64_t key = (uint64_t{function} + 1) << 32 | path;
    for (size_t i = 0; i < kSeenEntries; ++i)
    {
        SeenPath& entry = b.seen[(path + i) % kSeenEntries];
        uint64_t there = entry.key.load();
        if (there == 0 && entry.key.compare_exchange_strong(there, key))
        {
            there = key;
        }
        if (there == key)
        {
            ++entry.count;
            return;
        }
    }
}

void note_path(CodePath& path, const Walk& walk)
{
    for (size_t i = 0; i < walk.depth; ++i)
    {
        const Place place = place_of(walk.calls[i]);
        std::strncpy(path.places[i].module, place.name, sizeof(path.places[i].module) - 1);
        path.places[i].offset = place.offset;
    }
    path.depth = static_cast<uint32_t>(walk.depth);
}

bool take_of_burst()
{
    uint32_t left = left_of_burst.load();
    while (left > 0 && !left_of_burst.compare_exchange_weak(left, left - 1))
    {
    }
    return left > 0;
}

// Whether this call is the one that the order speaks of. Starts the burst when it is.
bool is_ordered(TortureBlock& b, const Walk& walk)
{
    if (b.path != 0 && path_number(walk) != b.path)
    {
        return false;
    }
    if (++b.occurrences != b.nth)
    {
        return false;
    }
    left_of_burst = b.burst - 1;
    note_path(b.failed, walk);
    return true;
}

bool decide(TortureBlock& b, size_t function)
{
    const bool armed = b.armed && b.function == function;
    if (armed && take_of_burst())
    {
        return true;
    }
    if (!b.recording && (!armed || b.occurrences >= b.nth))
    {
        return false;
    }
    Walk walk;
    _Unwind_Backtrace(on_frame, &walk);
    if (b.recording)
    {
        record(b, function, path_number(walk));
    }
    return armed && is_ordered(b, walk);
}

// --- Start ---------------------------------------------------------------------------------------

TortureBlock* map_block(const char* path)
{
    const auto fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC, 0));
    if (fd < 0)
    {
        return nullptr;
    }
    const long at =
        syscall(SYS_mmap, nullptr, sizeof(TortureBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    syscall(SYS_close, fd);
    return at > 0 ? reinterpret_cast<TortureBlock*>(at) : nullptr;
}

void find_own_range()
{
    dl_find_object found{};
    if (_dl_find_object(reinterpret_cast<void*>(&map_block), &found) == 0)
    {
        own_start = reinterpret_cast<uintptr_t>(found.dlfo_map_start);
        own_end = reinterpret_cast<uintptr_t>(found.dlfo_map_end);
    }
}

// Before main: everything that would not be safe later is done here. The commands that the daemon
// runs are not tortured.
__attribute__((constructor)) void prepare()
{
    const char* path = std::getenv(kBlockVariable);
    unsetenv("LD_PRELOAD");
    if (path == nullptr)
    {
        return;
    }
    const CDeciding deciding;
    find_own_range();
    for (size_t i = 0; i < kFunctionCount; ++i)
    {
        next_definition(i);
    }
    Walk walk;
    _Unwind_Backtrace(on_frame, &walk); // its first run may allocate
    if (TortureBlock* mapped = map_block(path))
    {
        mapped->loaded = true;
        block = mapped;
    }
}

} // namespace

TortureBlock* torture_block()
{
    return block;
}

bool is_ours(const void* address)
{
    const Place place = place_of(reinterpret_cast<uintptr_t>(address));
    return place.name[0] == '\0' || std::strcmp(place.name, "libvkdb.so") == 0;
}

bool call_fails(size_t function, int& code)
{
    TortureBlock* b = block.load(std::memory_order_acquire);
    if (b == nullptr || is_deciding)
    {
        return false;
    }
    const int before = errno;
    const CDeciding deciding;
    const bool fails = decide(*b, function);
    errno = before;
    if (fails)
    {
        code = b->code;
        ++b->hits;
    }
    return fails;
}

void note_abort()
{
    if (TortureBlock* b = block)
    {
        const CDeciding deciding;
        Walk walk;
        _Unwind_Backtrace(on_frame, &walk);
        note_path(b->aborted, walk);
    }
}

void* next_definition(size_t function)
{
    void* found = definitions[function].load(std::memory_order_acquire);
    if (found != nullptr)
    {
        return found;
    }
    found = look_up(kFunctions[function].name.data());
    definitions[function] = found;
    return found;
}

void* definition_of(const char* name)
{
    return look_up(name);
}
