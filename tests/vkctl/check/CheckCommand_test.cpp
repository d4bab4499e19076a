// `vkctl check` as a user runs it: exit statuses, options, terminal and pipe.

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Emulator.h"
#include "tests/vkctl/check/CheckTest.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

Outcome check_run(const CCheckedHost& host, std::vector<std::string> options = {})
{
    options.insert(options.begin(), {VKCTL_PROGRAM, "check", host.Dir(), "--offline", "--away"});
    return run_program(options);
}

// What the program writes when all three streams are a terminal.
std::string terminal_output(const std::vector<std::string>& arguments, const char* setting)
{
    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0)
    {
        putenv(const_cast<char*>(setting));
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
        {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        exec_program(argv);
        _exit(127);
    }
    std::string text;
    char piece[4096];
    for (ssize_t n = 0; (n = read(terminal, piece, sizeof piece)) > 0;)
    {
        text.append(piece, static_cast<size_t>(n));
    }
    close(terminal);
    waitpid(pid, nullptr, 0);
    return text;
}

} // namespace

TEST(CheckCommandTest, ACleanHostIsZeroAlsoStrictly)
{
    const Outcome outcome = check_run(CCheckedHost(), {"--strict"});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "nothing found\n");
}

TEST(CheckCommandTest, WarningsAreAFailureOnlyStrictly)
{
    const CCheckedHost host({"POST/Dealy=100"});
    const Outcome outcome = check_run(host);
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("did you mean Delay? [key-unread]\n"));
    EXPECT_EQ(outcome.err, "1 warning\n");
    EXPECT_EQ(check_run(host, {"--strict"}).exit_status, 1);
}

TEST(CheckCommandTest, NotesAreNoFailure)
{
    const CCheckedHost host({"POST.xFld/9.Run=1"});
    EXPECT_THAT(check_run(host, {"--strict"}).out, HasSubstr(": note: "));
    EXPECT_EQ(check_run(host, {"--strict"}).exit_status, 0);
}

TEST(CheckCommandTest, ErrorsOfTheConfigurationHaveAStatusOfTheirOwn)
{
    EXPECT_EQ(check_run(CCheckedHost({"POST/Fmt0=%d"})).exit_status, 78);
}

TEST(CheckCommandTest, AFileThatCannotBeReadWins)
{
    for (const char* file : {"vkApp.ini", "tmp/dbDat0.db3", "tmp/dbData.db3"})
    {
        const CCheckedHost host({"POST/Fmt0=%d", std::string("remove ") + file});
        EXPECT_EQ(check_run(host).exit_status, 74) << file;
    }
}

TEST(CheckCommandTest, AnAlarmDatabaseThatNobodyReadsNeedNotBeThere)
{
    const CCheckedHost host({"POST/AlmUrl=", "remove tmp/dbData.db3"});
    EXPECT_EQ(check_run(host, {"--strict"}).exit_status, 0);
}

TEST(CheckCommandTest, WhatTheOtherFilesTellIsToldAllTheSame)
{
    const CCheckedHost host({"POST/Fmt0=%d", "remove tmp/dbDat0.db3"});
    const Outcome outcome = check_run(host);
    EXPECT_THAT(outcome.out, HasSubstr(" [head-format-refused]\n"));
    EXPECT_THAT(outcome.out, HasSubstr(" [database-unreadable]\n"));
}

TEST(CheckCommandTest, ADirectoryThatIsNotThereIsNamed)
{
    const Outcome outcome = run_program({VKCTL_PROGRAM, "check", "/no/such/host"});
    EXPECT_EQ(outcome.exit_status, 74);
    EXPECT_EQ(outcome.out,
              "vkApp.ini: error: cannot enter /no/such/host: No such file or directory; "
              "name the directory that vkApp.ini stands in [file-unreadable]\n");
    EXPECT_EQ(outcome.err, "1 error\n");
}

TEST(CheckCommandTest, AsJsonItIsAFinding)
{
    const Outcome outcome = run_program({VKCTL_PROGRAM, "check", "--json", "/no/such/host"});
    EXPECT_EQ(outcome.exit_status, 74);
    const nlohmann::json document = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(document.at("errors"), 1);
    EXPECT_EQ(document.at("findings").at(0).at("id"), "file-unreadable");
}

TEST(CheckCommandTest, FindingsThatCannotBeWrittenAreAFailure)
{
    const CCheckedHost host({"POST/Dealy=100"});
    std::vector<std::string> command = {VKCTL_PROGRAM, "check", host.Dir()};
    for (const char* option : {"--away", "--offline", "--json"})
    {
        command.emplace_back(option);
        const Outcome outcome = run_program(command, "/dev/full");
        EXPECT_EQ(outcome.exit_status, 74) << option;
        EXPECT_THAT(outcome.err, HasSubstr("standard output cannot be written"));
    }
}

TEST(CheckCommandTest, AnUnknownOptionIsAUsageError)
{
    EXPECT_EQ(check_run(CCheckedHost(), {"--stric"}).exit_status, 64);
}

TEST(CheckCommandTest, JsonIsOneDocument)
{
    const Outcome outcome = check_run(CCheckedHost({"POST/Dealy=100"}), {"--json"});
    const nlohmann::json document = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(document.at("warnings"), 1);
    EXPECT_EQ(document.at("findings").at(0).at("id"), "key-unread");
    EXPECT_EQ(document.at("findings").at(0).at("file"), "vkApp.ini");
    EXPECT_EQ(outcome.err, "");
}

TEST(CheckCommandTest, ColoursAreForTerminalsAndForThoseWhoWantThem)
{
    const CCheckedHost host({"POST/Dealy=100"});
    const std::vector<std::string> arguments = {VKCTL_PROGRAM, "check", host.Dir(), "--offline",
                                                "--away"};
    EXPECT_THAT(terminal_output(arguments, "NO_COLOR="), HasSubstr("\033[1;35mwarning:\033[0m "));
    EXPECT_THAT(terminal_output(arguments, "NO_COLOR=1"), Not(HasSubstr("\033[")));
    EXPECT_THAT(terminal_output(arguments, "TERM=dumb"), Not(HasSubstr("\033[")));
    EXPECT_THAT(check_run(host).out, Not(HasSubstr("\033[")));
}

TEST(CheckCommandTest, ATerminalSeesTheProgress)
{
    const CCheckedHost host;
    const std::vector<std::string> arguments = {VKCTL_PROGRAM, "check", host.Dir(), "--offline",
                                                "--away"};
    EXPECT_THAT(terminal_output(arguments, "NO_COLOR="), HasSubstr("\r      1 of 20 devices\r"));
    EXPECT_THAT(check_run(host).err, Not(HasSubstr("devices")));
}

TEST(CheckCommandTest, TheHelpTeaches)
{
    const Outcome outcome = run_program({VKCTL_PROGRAM, "check", "--help"});
    EXPECT_EQ(outcome.exit_status, 0);
    for (const char* text :
         {"--strict", "--offline", "--away", "--json", "Examples:", "Exit status:"})
    {
        EXPECT_THAT(outcome.out, HasSubstr(text));
    }
}
