// What the host status takes from the system: real files and real commands.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "tests/support/PosterTest.h"

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
