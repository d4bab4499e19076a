// The local time where TZ is not set: /etc/localtime decides, and may be changed while the program
// runs. In a box that has an /etc of its own.
#include "vkPub/LocalTime.h"

#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/TempDir.h"

namespace
{

time_t now = 1714536000; // 04:00:00 UTC

} // namespace

extern "C" time_t time(time_t* where) noexcept
{
    if (where != nullptr)
    {
        *where = now;
    }
    return now;
}

namespace
{

namespace fs = std::filesystem;

constexpr char kZone[] = "/etc/localtime";

// A time zone file without rules: so many hours east of Greenwich all the time.
std::string zone_file(int hours)
{
    const auto seconds = static_cast<unsigned>(hours * 3600);
    std::string file("TZif" + std::string(16, '\0')); // version 1, then six counts
    for (const unsigned number : {0U, 0U, 0U, 0U, 1U, 4U, seconds})
    {
        for (unsigned shift = 32; shift > 0; shift -= 8)
        {
            file += static_cast<char>(number >> (shift - 8) & 0xFFU);
        }
    }
    return file + std::string(2, '\0') + std::string("XXX", 4);
}

// As its tools do it: a new file, or link, in the place of the old one.
void move_to(int hours)
{
    write_file("/etc/new", zone_file(hours));
    fs::rename("/etc/new", kZone);
}

std::string text()
{
    char text[kLocalTimeBytes];
    local_time_text(text);
    return text;
}

} // namespace

TEST(LocalTime, ZoneFileIsFollowedWhenItIsChanged)
{
    unsetenv("TZ");
    move_to(8);
    EXPECT_EQ(text(), "2024-05-01 12:00:00");
    move_to(-5);
    ++now;
    EXPECT_EQ(text(), "2024-04-30 23:00:01");
}

TEST(LocalTime, ZoneIsLookedAtOnceASecond)
{
    // A log of thousands of lines a second must not look at the file for each of them.
    unsetenv("TZ");
    move_to(8);
    ++now;
    EXPECT_EQ(text().substr(11, 2), "12");
    move_to(9);
    EXPECT_EQ(text().substr(11, 2), "12");
    ++now;
    EXPECT_EQ(text().substr(11, 2), "13");
}

TEST(LocalTime, ZoneFileThatIsGoneIsTheWorldsTime)
{
    unsetenv("TZ");
    move_to(8);
    ++now;
    EXPECT_EQ(text().substr(11, 2), "12");
    fs::remove(kZone);
    ++now;
    EXPECT_EQ(text().substr(11, 2), "04");
}
