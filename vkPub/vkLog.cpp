// The two sinks of the diagnostic log. Nothing here allocates, but for the C library where it looks
// for a changed time zone, and no lock of ours is taken: the pieces of a line of the file are
// composed on the stack and leave in one write.
#include "vkPub/vkLog.h"

#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <sys/uio.h>
#include <unistd.h>

#include "vkPub/LocalTime.h"

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
constexpr size_t kKeyBytes = 24;        // of "<key>=["
constexpr size_t kTimeBytes = kLocalTimeBytes + 5;

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

// A piece of a line, to be written.
iovec piece(const char* text, size_t length)
{
    return {const_cast<char*>(text), length}; // NOLINT(*-const-cast): writev only reads it
}

// Goes past what the system took: pieces it took whole, and the beginning of the next.
void skip(iovec*& pieces, int& count, size_t taken)
{
    while (count > 0 && taken >= pieces->iov_len)
    {
        taken -= pieces->iov_len;
        ++pieces;
        --count;
    }
    if (count > 0)
    {
        pieces->iov_base = static_cast<char*>(pieces->iov_base) + taken;
        pieces->iov_len -= taken;
    }
}

// One write is one line: the file is open for appending, so lines of two threads never mix. The
// loop goes on only where the system took a part (a signal, a flash that is nearly full).
void write_whole(int fd, iovec* pieces, int count)
{
    while (count > 0)
    {
        const ssize_t taken = ::writev(fd, pieces, count);
        if (taken <= 0)
        {
            return; // the rest of the line is lost; there is nowhere to say so
        }
        skip(pieces, count, static_cast<size_t>(taken));
    }
}

// A tag may be of any length: it goes out from where it stands.
void write_line(int fd, uint64_t key, const char* tag, const char* message, size_t length)
{
    char begin[kKeyBytes];
    const int begin_length = std::snprintf(begin, sizeof(begin), "%" PRIu64 "=[", key);
    char time[kLocalTimeBytes];
    local_time_text(time);
    char end[kTimeBytes];
    const int end_length = std::snprintf(end, sizeof(end), "][%s] ", time);

    iovec pieces[] = {piece(begin, kept(begin_length, sizeof(begin))), piece(tag, std::strlen(tag)),
                      piece(end, kept(end_length, sizeof(end))), piece(message, length)};
    write_whole(fd, pieces, static_cast<int>(std::size(pieces)));
}

} // namespace

int trace_log_vkapppost(const char* tag, const char* format, ...)
{
    if (tag == nullptr)
    {
        return -1;
    }

    char message[kMessageBytes];
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
    write_line(fd, key, tag, message, length);
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
