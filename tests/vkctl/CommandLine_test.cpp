// The command line of vkctl: help, errors, exit statuses, and `vkctl room` as a user runs it.

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/receive/ReceivePrint.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

Outcome vkctl_run(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), VKCTL_PROGRAM);
    return run_program(arguments);
}

} // namespace

TEST(CommandLineTest, HelpNamesTheSubcommands)
{
    const Outcome outcome = vkctl_run({"--help"});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("room"));
    EXPECT_THAT(outcome.out, HasSubstr("receive"));
    EXPECT_EQ(outcome.err, "");
}

TEST(CommandLineTest, HelpOfASubcommandHasExamples)
{
    for (const char* name : {"room", "receive"})
    {
        const Outcome outcome = vkctl_run({name, "--help"});
        EXPECT_EQ(outcome.exit_status, 0);
        EXPECT_THAT(outcome.out, HasSubstr("Examples:\n  vkctl " + std::string(name)));
    }
}

TEST(CommandLineTest, HelpFitsIntoEightyColumns)
{
    for (const char* name : {"", "room", "receive", "check", "preview", "alarm", "post", "tray"})
    {
        const Outcome outcome = *name == '\0' ? vkctl_run({"--help"}) : vkctl_run({name, "--help"});
        std::istringstream help(outcome.out);
        for (std::string line; std::getline(help, line);)
        {
            EXPECT_LE(vkctl::display_width(line), 80U) << name << ": " << line;
        }
        EXPECT_THAT(outcome.out, Not(HasSubstr("\n\n\n")));
    }
}

TEST(CommandLineTest, HelpTellsPresetsAndWhatDoesNotGoTogether)
{
    const std::string room = vkctl_run({"room", "--help"}).out;
    EXPECT_THAT(room, HasSubstr("\n  --devices N             Number of devices (default: 20)\n"));
    EXPECT_THAT(room, HasSubstr("\n  --url URL               Where readings go; may be given "
                                "again\n"));
    EXPECT_THAT(vkctl_run({"receive", "--help"}).out,
                HasSubstr("\n  --json                  One JSON object a line; not with --raw\n"));
}

TEST(CommandLineTest, TheVersionIsToldOnStandardOutput)
{
    const Outcome outcome = vkctl_run({"--version"});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(outcome.out, "vkctl " VK_VERSION "\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(CommandLineTest, WhatWasMeantIsAskedFor)
{
    EXPECT_EQ(vkctl_run({"chek"}).err, "The following argument was not expected: chek\n"
                                       "Did you mean 'check'?\n"
                                       "'vkctl --help' tells what there is.\n");
    EXPECT_EQ(vkctl_run({"room", "x", "--devcies=3"}).err,
              "The following argument was not expected: --devcies=3\n"
              "Did you mean '--devices'?\n"
              "'vkctl room --help' tells what there is.\n");
    EXPECT_THAT(vkctl_run({"nonsense"}).err, Not(HasSubstr("Did you mean")));
}

TEST(CommandLineTest, WhatIsWrongIsNamed)
{
    EXPECT_THAT(vkctl_run({"nonsense"}).err, HasSubstr("not expected: nonsense\n"));
    EXPECT_THAT(vkctl_run({}).err, HasSubstr("A subcommand is required\n"));
    EXPECT_THAT(vkctl_run({"preview", "--sid", "seven"}).err, HasSubstr("--sid = seven\n"));
}

TEST(CommandLineTest, WhatIsNotUnderstoodIsAUsageError)
{
    const std::vector<std::vector<std::string>> lines = {{},
                                                         {"nonsense"},
                                                         {"room"},
                                                         {"room", "x", "--devices", "0"},
                                                         {"room", "x", "--devices", "many"},
                                                         {"room", "x", "--step", "soon"},
                                                         {"receive", "--port", "70000"},
                                                         {"receive", "--delay", "2h"},
                                                         {"receive", "--raw", "--json"},
                                                         {"receive", "--ca-out", "x"}};
    for (const auto& line : lines)
    {
        const Outcome outcome = vkctl_run(line);
        EXPECT_EQ(outcome.exit_status, 64) << testing::PrintToString(line);
        EXPECT_NE(outcome.err, "");
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(CommandLineTest, AnEmptyNameIsNoDirectory)
{
    for (const char* name : {"room", "alarm", "check", "preview"})
    {
        const Outcome outcome = vkctl_run({name, ""});
        EXPECT_EQ(outcome.exit_status, 64) << name;
        EXPECT_THAT(outcome.err, HasSubstr("DIR: an empty name is no directory\n"));
    }
}

TEST(RoomCommandTest, MakesARoomWithItsOptions)
{
    const CTempDir dir;
    const Outcome outcome =
        vkctl_run({"room", dir.Path("r"), "--devices", "5", "--inputs", "3", "--cameras", "1",
                   "--url", "http://a/", "--url", "http://b/", "--alarm-url", "http://c/",
                   "--delay", "100", "--dept", "D7", "--wal"});
    EXPECT_EQ(outcome.exit_status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "room " + dir.Path("r") +
                               ": 5 devices, 3 digital inputs, 3 digital outputs, 1 cameras, 2 "
                               "general tables, 6 alarms\n");
    const std::string ini = read_file(dir.Path("r/vkApp.ini"));
    EXPECT_THAT(ini, HasSubstr("\nUrl=http://a/\n"));
    EXPECT_THAT(ini, HasSubstr("\nUrl1=http://b/\n"));
    EXPECT_THAT(ini, HasSubstr("\nAlmUrl=http://c/\n"));
    EXPECT_THAT(ini, HasSubstr("\nDept=D7\n"));
}

TEST(RoomCommandTest, ARoomThatIsThereIsRefused)
{
    const CTempDir dir;
    EXPECT_EQ(vkctl_run({"room", dir.Path("r")}).exit_status, 0);
    const Outcome outcome = vkctl_run({"room", dir.Path("r")});
    EXPECT_EQ(outcome.exit_status, 1);
    EXPECT_EQ(outcome.err, "vkctl: " + dir.Path("r") +
                               " already holds a vkApp.ini; choose another directory, or give "
                               "--force to replace the room\n");
    EXPECT_EQ(vkctl_run({"room", dir.Path("r"), "--force"}).exit_status, 0);
}

TEST(RoomCommandTest, LiveMovesValuesUntilItIsInterrupted)
{
    const CTempDir dir;
    ASSERT_EQ(vkctl_run({"room", dir.Path("r")}).exit_status, 0);
    CProgram live({VKCTL_PROGRAM, "room", dir.Path("r"), "--live", "--step", "20ms"});
    const std::string sql = "select DateUpd from tbUps where SID=1001";
    const auto updated = [&]
    {
        return query_rows(dir.Path("r/tmp/dbDat0.db3"), sql).at(0);
    };
    for (int i = 0; i < 3000 && updated() == "2024-05-01 08:00:00"; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_NE(updated(), "2024-05-01 08:00:00");
    live.Signal(SIGINT);
    EXPECT_EQ(live.Wait().exit_status, 0);
}

TEST(RoomCommandTest, LiveEndsAfterItsSeconds)
{
    const CTempDir dir;
    const Outcome outcome =
        vkctl_run({"room", dir.Path("r"), "--live", "--seconds", "30ms", "--step", "10ms"});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("live: 20 devices move; Ctrl+C ends\n"));
}
