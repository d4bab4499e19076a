#include "tests/daemon/torture/FaultBlock.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/daemon/torture/Functions.h"

namespace
{

std::string as_text(const CodePath& path)
{
    std::string text;
    for (uint32_t i = 0; i < path.depth; ++i)
    {
        const CodePlace& place = path.places[i];
        char offset[24];
        std::snprintf(offset, sizeof(offset), "+%lx", static_cast<unsigned long>(place.offset));
        text +=
            (i > 0 ? " < " : "") + std::string(place.module[0] ? place.module : "daemon") + offset;
    }
    return text;
}

} // namespace

std::string Fault::Text() const
{
    char numbers[80];
    std::snprintf(numbers, sizeof(numbers), ":%08x:%u:%u:%d", path, nth, burst, code);
    return function + numbers;
}

Fault parse_fault(const std::string& text)
{
    Fault fault;
    const size_t colon = text.find(':');
    fault.function = text.substr(0, colon);
    // NOLINTNEXTLINE(cert-err34-c): its number of fields tells
    const int fields = colon == std::string::npos
                           ? 0
                           : std::sscanf(text.c_str() + colon, ":%x:%u:%u:%d", &fault.path,
                                         &fault.nth, &fault.burst, &fault.code);
    if (fields != 4 || function_index(fault.function) == kFunctionCount)
    {
        throw std::runtime_error("'" + text + "' is no fault");
    }
    return fault;
}

CFaultBlock::CFaultBlock()
{
    char path[] = "/tmp/block-XXXXXX";
    const int fd = mkostemp(path, O_CLOEXEC);
    if (fd < 0 || ftruncate(fd, sizeof(TortureBlock)) != 0)
    {
        throw std::runtime_error("no file for the block");
    }
    void* at = mmap(nullptr, sizeof(TortureBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (at == MAP_FAILED)
    {
        throw std::runtime_error("the block cannot be mapped");
    }
    m_strFile = path;
    m_block = new (at) TortureBlock();
}

CFaultBlock::~CFaultBlock()
{
    munmap(m_block, sizeof(TortureBlock));
    unlink(m_strFile.c_str());
}

void CFaultBlock::Clear()
{
    new (m_block) TortureBlock();
}

void CFaultBlock::Record()
{
    Clear();
    m_block->recording = true;
}

void CFaultBlock::Order(const Fault& fault)
{
    Clear();
    m_block->function = static_cast<uint32_t>(function_index(fault.function));
    m_block->path = fault.path;
    m_block->nth = fault.nth;
    m_block->burst = fault.burst;
    m_block->code = fault.code;
    m_block->armed = true;
}

void CFaultBlock::Disarm()
{
    m_block->armed = false;
    m_block->recording = false;
}

void CFaultBlock::ShiftClock(int64_t seconds)
{
    m_block->clock_shift_s = seconds;
}

void CFaultBlock::SilenceResolver(int ms)
{
    m_block->resolver_ms = ms;
}

bool CFaultBlock::IsLoaded() const
{
    return m_block->loaded;
}

uint32_t CFaultBlock::Hits() const
{
    return m_block->hits;
}

std::string CFaultBlock::Where() const
{
    return as_text(m_block->failed);
}

std::string CFaultBlock::WhereAborted() const
{
    return as_text(m_block->aborted);
}

std::vector<Fault> CFaultBlock::Seen() const
{
    std::vector<Fault> seen;
    for (const SeenPath& entry : m_block->seen)
    {
        const uint64_t key = entry.key;
        if (key != 0)
        {
            Fault fault;
            fault.function = kFunctions[(key >> 32) - 1].name;
            fault.path = static_cast<uint32_t>(key);
            fault.nth = entry.count; // how often; the caller picks one
            seen.push_back(fault);
        }
    }
    return seen;
}
