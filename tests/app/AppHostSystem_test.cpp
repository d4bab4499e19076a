// What the host status takes from the system: real files and real commands.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "app/AppHostSystem.h"
#include "tests/support/PosterTest.h"
#include "tests/support/TempDir.h"

namespace
{

class SystemTest : public ::testing::Test
{
protected:
    ~SystemTest() override { std::filesystem::remove(m_path); }
    std::vector<std::string> Lines(const std::string& content, size_t count)
    {
        std::ofstream(m_path) << content;
        return first_lines(m_path.c_str(), count);
    }

private:
    const std::string m_path =
        std::filesystem::temp_directory_path() / ("vk_lines_" + std::to_string(getpid()));
};

} // namespace

TEST_F(SystemTest, FirstLinesComeWithoutTheirEnds)
{
    EXPECT_THAT(Lines("a b\n\n c\nd\n", 3), ElementsAre("a b", "", " c"));
}

TEST_F(SystemTest, ShortFileGivesWhatItHas)
{
    EXPECT_THAT(Lines("a\nlast without end", 4), ElementsAre("a", "last without end"));
    EXPECT_THAT(Lines("", 4), IsEmpty());
}

TEST_F(SystemTest, LinesMayBeLong)
{
    const std::string line(300000, 'x');
    EXPECT_THAT(Lines(line + "\n", 1), ElementsAre(line));
}

TEST_F(SystemTest, FileThatCannotBeReadGivesNothing)
{
    EXPECT_THAT(first_lines("/nonexistent/loadavg", 1), IsEmpty());
    EXPECT_THAT(first_lines("/", 1), IsEmpty());
}

TEST_F(SystemTest, DevicesExistOrNot)
{
    EXPECT_TRUE(device_exists("/dev/null"));
    EXPECT_FALSE(device_exists("/dev/nonexistent0"));
}

TEST_F(SystemTest, CommandGivesTheNumberItPrints)
{
    int value = 7;
    EXPECT_TRUE(command_number("echo '  128 MB'", value));
    EXPECT_EQ(value, 128);
    EXPECT_TRUE(command_number("echo -5", value));
    EXPECT_EQ(value, -5);
}

TEST_F(SystemTest, CommandWithoutANumberLeavesTheValue)
{
    int value = 7;
    EXPECT_FALSE(command_number("true", value));
    EXPECT_FALSE(command_number("echo text", value));
    EXPECT_FALSE(command_number("exit 3", value));
    EXPECT_EQ(value, 7);
}

namespace
{

// The flash figure's command, with a fdisk in front of the path that prints this line.
class FlashCommandTest : public ::testing::Test
{
protected:
    FlashCommandTest() : m_path(std::getenv("PATH"))
    {
        const std::string here = std::filesystem::current_path();
        setenv("PATH", (here + ":" + m_path).c_str(), 1);
    }
    ~FlashCommandTest() override { setenv("PATH", m_path.c_str(), 1); }

    // What the command leaves of 7.
    static int Figure(const std::string& line)
    {
        write_file("fdisk", "#!/bin/sh\n[ \"$*\" = '-l /dev/mtd0' ] && echo '" + line + "'\n");
        std::filesystem::permissions("fdisk", std::filesystem::perms::owner_all);
        int value = 7;
        command_number("fdisk -l /dev/mtd0 | grep -w MB | awk '{print $5}'", value);
        return value;
    }

private:
    const CTempDir m_dir;
    const std::string m_path;
};

} // namespace

TEST_F(FlashCommandTest, FigureIsInBytes)
{
    EXPECT_EQ(Figure("Disk /dev/mtd0: 8 MB, 8388608 bytes, 16384 sectors"), 8388608);
    EXPECT_EQ(Figure("Disk /dev/mtd0: 8 MB, 8388608 bytes"), 8388608);
}

TEST_F(FlashCommandTest, FdiskThatDoesNotSayMegabytesGivesNothing)
{
    EXPECT_EQ(Figure("Disk /dev/mtd0: 8 MiB, 8388608 bytes, 16384 sectors"), 7);
    EXPECT_EQ(Figure("Disk /dev/mtd0: 12 GB, 12884901888 bytes, 25165824 sectors"), 7);
}
