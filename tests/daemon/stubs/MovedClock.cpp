// Preloaded into a daemon: its wall clock is moved by the seconds that stand in the file named by
// VK_CLOCK_FILE, read at each look at the clock, so that a test may set the clock while it runs.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/time.h>

namespace
{

long moved_seconds()
{
    long seconds = 0;
    if (std::FILE* file = std::fopen(std::getenv("VK_CLOCK_FILE"), "r"))
    {
        if (std::fscanf(file, "%ld", &seconds) != 1)
        {
            seconds = 0;
        }
        std::fclose(file);
    }
    return seconds;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* now,
                                                                   void* /*zone*/) noexcept
{
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    now->tv_sec = real.tv_sec + moved_seconds();
    now->tv_usec = real.tv_nsec / 1000;
    return 0;
}
