// A file in memory with a path, for functions that take one: fuzz inputs never touch the disk.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

class CMemFile
{
public:
    explicit CMemFile(const char* name) : m_fd(memfd_create(name, MFD_CLOEXEC)) {}
    ~CMemFile() { close(m_fd); }
    CMemFile(const CMemFile&) = delete;
    CMemFile& operator=(const CMemFile&) = delete;

    // Opened by this path the file begins at its first byte.
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

    void Set(std::string_view text) const
    {
        const auto length = static_cast<ssize_t>(text.size());
        if (ftruncate(m_fd, 0) != 0 || pwrite(m_fd, text.data(), text.size(), 0) != length)
        {
            std::abort(); // no memory for the input: nothing can be said about it
        }
    }

private:
    int m_fd;
};
