#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/base/CliError.h"

using namespace vkctl;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

class RoomTest : public testing::Test
{
protected:
    RoomTest() { options.directory = dir.Path("a/b"); }

    std::string ErrorOfCreate()
    {
        try
        {
            create_room(options);
        }
        catch (const CCliError& error)
        {
            return error.what();
        }
        return "";
    }

    CTempDir dir;
    RoomOptions options;
};

} // namespace

TEST_F(RoomTest, ARoomIsThreeFilesAndNothingElse)
{
    create_room(options);
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(options.directory))
    {
        names.insert(entry.path().filename().string());
    }
    EXPECT_THAT(names, testing::ElementsAre("dbDat0.db3", "dbData.db3", "tmp", "vkApp.ini"));
}

TEST_F(RoomTest, ARoomThatIsThereIsNotTouched)
{
    create_room(options);
    write_file(options.directory + "/vkApp.ini", "mine");
    options.content.devices = 1;
    EXPECT_EQ(ErrorOfCreate(), options.directory +
                                   " already holds a vkApp.ini; choose another directory, or give "
                                   "--force to replace the room");
    EXPECT_EQ(read_file(options.directory + "/vkApp.ini"), "mine");
    EXPECT_EQ(query_rows(options.directory + "/tmp/dbDat0.db3", "select count(*) from tbSM").at(0),
              "35");
}

TEST_F(RoomTest, ForceReplacesARoomWhatever)
{
    create_room(options);
    write_file(options.directory + "/vkApp.ini", "mine");
    write_file(options.directory + "/tmp/dbDat0.db3", "no database");
    write_file(options.directory + "/tmp/dbDat0.db3-wal", "left over");
    options.force = true;
    create_room(options);
    EXPECT_THAT(read_file(options.directory + "/vkApp.ini"), HasSubstr("[POST]"));
    EXPECT_FALSE(std::filesystem::exists(options.directory + "/tmp/dbDat0.db3-wal"));
}

TEST_F(RoomTest, AValueThatTheIniCannotHoldLeavesNothingBehind)
{
    options.ini.urls = {"http://a/;b"};
    EXPECT_THAT(ErrorOfCreate(), StartsWith("the value for Url holds"));
    EXPECT_FALSE(std::filesystem::exists(options.directory));
}

TEST_F(RoomTest, ADirectoryThatCannotBeMadeIsNamed)
{
    write_file(dir.Path("a"), "a file where a directory should be");
    EXPECT_THAT(ErrorOfCreate(), StartsWith("cannot create the directory " + options.directory));
}

TEST_F(RoomTest, RunTellsWhatItMade)
{
    CStop stop;
    std::ostringstream out;
    EXPECT_EQ(run_room(options, stop, out), 0);
    EXPECT_EQ(out.str(), "room " + options.directory +
                             ": 20 devices, 10 digital inputs, 3 digital outputs, 4 cameras, 2 "
                             "general tables, 6 alarms\n");
}

TEST_F(RoomTest, LiveAloneMovesARoomThatIsThere)
{
    create_room(options);
    options.live = true;
    options.limit = std::chrono::milliseconds(0);
    CStop stop;
    std::ostringstream out;
    EXPECT_EQ(run_room(options, stop, out), 0);
    EXPECT_EQ(out.str(), "live: 20 devices move; Ctrl+C ends\n");
}

TEST_F(RoomTest, LiveWithNewContentDoesNotReplaceWithoutForce)
{
    create_room(options);
    options.live = true;
    options.has_content = true;
    CStop stop;
    std::ostringstream out;
    EXPECT_THROW(run_room(options, stop, out), CCliError);
}

TEST_F(RoomTest, LiveEndsWhenStopped)
{
    options.live = true;
    options.step = std::chrono::hours(1);
    CStop stop;
    stop.Request();
    std::ostringstream out;
    EXPECT_EQ(run_room(options, stop, out), 0);
}
