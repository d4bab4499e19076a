// The two sinks of the diagnostic log. Nothing here allocates and no lock of ours is taken: a
// line of the file is composed on the stack and leaves in one write.
#include "vkPub/vkLog.h"

#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr char kLogPath[] = "/NandFlash/tmp/"
                            "vkapppost"
                            ".log.ini";
constexpr char kBackupPath[] = "/NandFlash/tmp/"
                               "vkapppost"
                               ".log.ini"
                               ".bak";
constexpr uint64_t kLastKey = 19999;
constexpr size_t kMessageBytes = 20480; // with the terminator, so 20479 characters are kept
constexpr size_t kPrefixBytes = 320;    // key, tag and time; a longer tag is cut

std::atomic<uint64_t> icount{0}; // key of the next line

// Moves a full file aside. Two threads may find it full at the same instant: the one that resets
// the counter does the move. Failures are ignored on purpose; the counter starts anew anyway.
void rotate_when_full()
{
    uint64_t key = icount.load();
    while (key > kLastKey)
    {
        if (icount.compare_exchange_weak(key, 0))
        {
            std::remove(kBackupPath);
            std::rename(kLogPath, kBackupPath);
            return;
        }
    }
}

// Takes the next key, unless another thread has filled the file since it was looked at.
bool take_key(uint64_t& key)
{
    key = icount.load();
    while (key <= kLastKey)
    {
        if (icount.compare_exchange_weak(key, key + 1))
        {
            return true;
        }
    }
    return false;
}

// Opens the log for one line and takes the line's key; -1: it cannot be opened, and the counter
// stays, so the next line takes the key.
int open_for_line(uint64_t& key)
{
    for (;;)
    {
        rotate_when_full();
        const int fd = ::open(kLogPath, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        if (fd < 0 || take_key(key))
        {
            return fd;
        }
        ::close(fd);
    }
}

// Length of what vsnprintf or snprintf left in a buffer of the given size.
size_t kept(int written, size_t size)
{
    if (written < 0)
    {
        return 0;
    }
    const auto length = static_cast<size_t>(written);
    return length < size ? length : size - 1;
}

size_t format_prefix(char* out, uint64_t key, const char* tag)
{
    const time_t now = std::time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    const int written =
        std::snprintf(out, kPrefixBytes, "%" PRIu64 "=[%s][%d-%02d-%02d %02d:%02d:%02d] ", key, tag,
                      local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                      local.tm_min, local.tm_sec);
    return kept(written, kPrefixBytes);
}

// One write is one line: the file is open for appending, so lines of two threads never mix. The
// loop goes on only where the system took a part (a signal, a flash that is nearly full).
void write_whole(int fd, const char* text, size_t length)
{
    while (length > 0)
    {
        const ssize_t taken = ::write(fd, text, length);
        if (taken <= 0)
        {
            return; // the rest of the line is lost; there is nowhere to say so
        }
        text += taken;
        length -= static_cast<size_t>(taken);
    }
}

} // namespace

int trace_log_vkapppost(const char* tag, const char* format, ...)
{
    if (tag == nullptr)
    {
        return -1;
    }

    // The message stands behind room for the longest prefix; the prefix, whose length is known
    // only with its key, is then put right before it.
    char line[kPrefixBytes + kMessageBytes];
    char* message = line + kPrefixBytes;
    va_list args;
    va_start(args, format);
    const size_t length = kept(std::vsnprintf(message, kMessageBytes, format, args), kMessageBytes);
    va_end(args);

    uint64_t key = 0;
    const int fd = open_for_line(key);
    if (fd < 0)
    {
        return 1; // dropped
    }
    char prefix[kPrefixBytes];
    const size_t prefix_length = format_prefix(prefix, key, tag);
    std::memcpy(message - prefix_length, prefix, prefix_length);
    write_whole(fd, message - prefix_length, prefix_length + length);
    ::close(fd);
    return 1;
}

int trace_console_vkapppost(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    flockfile(stdout); // so that prefix and message stay together
    std::fputs("[vkapppost] ", stdout);
    const int written = std::vfprintf(stdout, format, args);
    funlockfile(stdout);
    va_end(args);
    return written;
}
