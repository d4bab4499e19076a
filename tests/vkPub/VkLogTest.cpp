#include "tests/vkPub/VkLogTest.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "tests/support/Child.h"

time_t log_now = 1714536000; // 12:00:00 in the time zone of the tests
Flash flash;

// The log writer's clock.
extern "C" time_t time(time_t* where) noexcept
{
    if (where != nullptr)
    {
        *where = log_now;
    }
    return log_now;
}

extern "C" ssize_t writev(int fd, const iovec* pieces, int count)
{
    ++flash.writes;
    flash.is_inherited = (fcntl(fd, F_GETFD) & FD_CLOEXEC) == 0;
    if (!flash.is_real)
    {
        errno = ENOSPC;
        return flash.answer;
    }
    if (flash.most == SIZE_MAX)
    {
        return syscall(SYS_writev, fd, pieces, count);
    }
    while (count > 1 && pieces->iov_len == 0)
    {
        ++pieces;
        --count;
    }
    return write(fd, pieces->iov_base, std::min(pieces->iov_len, flash.most));
}

void log_keys(int first, int end)
{
    for (int key = first; key < end; ++key)
    {
        VKLOG_TRACE("message %d\n", key);
    }
}

std::string line(int key, const std::string& message)
{
    return std::to_string(key) + kPrefix + message;
}

std::string lines(int first, int end)
{
    std::string all;
    for (int key = first; key < end; ++key)
    {
        all += line(key, "message " + std::to_string(key) + "\n");
    }
    return all;
}

VkLogTest::VkLogTest()
{
    fs::remove_all(kDir);
    fs::remove(kConsole);
    fs::create_directory(kDir);
    setenv("TZ", "XXX-8", 1);
    unsetenv("VKLOG");
    tzset(); // what a child finds: the zone as it was when the process began
}

void VkLogTest::Run(const std::function<void()>& work)
{
    EXPECT_EQ(run_in_child(work), 0);
}

void VkLogTest::RunWith(const std::string& sink, const std::function<void()>& work)
{
    Run(
        [&]
        {
            setenv("VKLOG", sink.c_str(), 1);
            const int console = open(kConsole, O_WRONLY | O_CREAT | O_TRUNC, 0600);
            dup2(console, STDOUT_FILENO);
            work();
        });
}
