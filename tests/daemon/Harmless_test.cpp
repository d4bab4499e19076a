// What looks at a host leaves it as it is: preview and check under strace, on a room that lives,
// with the daemon at work and alarms coming; and a room at rest, byte for byte.
#include "tests/daemon/support/DaemonTest.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>

#include "tests/daemon/support/Command.h"
#include "tests/daemon/support/SystemCalls.h"

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

using Arguments = std::vector<std::string>;

constexpr size_t kFewestCalls = 100; // of any program at all: fewer, and strace saw nothing

// What is to be harmless; "DIR" stands for the host directory.
const std::vector<Arguments>& harmless_commands()
{
    static const std::vector<Arguments> kCommands = {
        {"preview", "DIR"},
        {"preview", "DIR", "--alarms"},
        {"preview", "DIR", "--explain"},
        {"preview", "DIR", "--encoding", "--log"},
        {"preview", "DIR", "--kind", "host"},
        {"check", "DIR", "--offline"},
        {"check", "DIR"},
    };
    return kCommands;
}

std::string name_of(const Arguments& command)
{
    std::string name;
    for (const std::string& argument : command)
    {
        name += argument + " ";
    }
    return name;
}

// Every file below the directory: its bytes and when it was written last.
std::map<std::string, std::string> files_below(const std::string& dir)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir))
    {
        const bool is_file = entry.is_regular_file();
        const auto written = entry.last_write_time().time_since_epoch().count();
        files[entry.path()] =
            std::to_string(written) + (is_file ? " " + read_file(entry.path()) : " directory");
    }
    return files;
}

class Harmless : public DaemonTest
{
protected:
    void MakeRoom(const Arguments& options)
    {
        Arguments arguments = {
            "room",        host.Path(),           "--force", "--url", receiver.Url(),
            "--alarm-url", receiver.Url("/alarm")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const CommandResult made = run_vkctl(arguments);
        ASSERT_EQ(made.exit_status, 0) << made.err;
    }

    Arguments InRoom(Arguments arguments) const
    {
        for (std::string& argument : arguments)
        {
            argument = argument == "DIR" ? host.Path() : argument;
        }
        return vkctl_command(arguments);
    }

    // To servers a connection is made. What would send something over it stays an act.
    static bool IsConnecting(const std::string& act)
    {
        const SystemCall call = parse_call(act);
        return call.name == "socket" || call.name == "connect" || call.name == "setsockopt" ||
               call.name == "socketpair";
    }

    void ExpectHarmless(const Arguments& command) const
    {
        SCOPED_TRACE(name_of(command));
        const TracedRun run = run_traced(InRoom(command));
        EXPECT_EQ(run.exit_status, 0) << run.err;
        const bool may_be_silent = command[0] == "check" || command.back() == "--alarms";
        EXPECT_TRUE(may_be_silent || !run.out.empty());
        EXPECT_GT(run.calls, kFewestCalls);
        std::vector<std::string> acts = run.acts;
        if (command == Arguments{"check", "DIR"})
        {
            acts.erase(std::remove_if(acts.begin(), acts.end(), IsConnecting), acts.end());
        }
        EXPECT_THAT(acts, IsEmpty());
    }

    // Each command, while values change and alarms come.
    void ExpectAllHarmlessWhileAtWork()
    {
        daemon.Start(host.Path());
        receiver.Body(0);
        const CBackground poller(vkctl_command({"room", host.Path(), "--live", "--step", "20ms"}));
        for (const Arguments& command : harmless_commands())
        {
            EXPECT_EQ(run_vkctl({"alarm", host.Path()}).exit_status, 0);
            ExpectHarmless(command);
        }
        EXPECT_EQ(receiver.WaitBodies(harmless_commands().size(), "/alarm").empty(), false);
    }

    // The acts of a shell's commands. Where it is not told its home and itself, bash asks the name
    // service for them through a socket, which would be an act of its own.
    static std::vector<std::string> ActsOf(const std::string& shell)
    {
        return run_traced({"/usr/bin/env", "HOME=/", "SHELL=/bin/bash", "/bin/bash", "-c", shell})
            .acts;
    }
};

} // namespace

// --- At work -------------------------------------------------------------------------------------

TEST_F(Harmless, NothingIsTouchedBesideTheDaemonAtWork)
{
    MakeRoom({"--delay", "100"});
    ExpectAllHarmlessWhileAtWork();
}

TEST_F(Harmless, NothingIsTouchedBesideTheDaemonAtWorkOnAWriteAheadLog)
{
    MakeRoom({"--delay", "100", "--wal"});
    ExpectAllHarmlessWhileAtWork();
}

TEST_F(Harmless, AlarmsAreMarkedByTheDaemonAlone)
{
    MakeRoom({"--delay", "100000000"});
    daemon.Start(host.Path());
    receiver.Body(0);
    const std::string waiting = "select count(*) from tbSMAlarm where AFld is null or AFld<1";
    const std::string before = host.AlarmValue(waiting);
    ASSERT_NE(before, "0");
    for (const Arguments& command : harmless_commands())
    {
        ExpectHarmless(command);
    }
    EXPECT_EQ(host.AlarmValue(waiting), before);
    daemon.Signal(SIGRTMIN + 1);
    EXPECT_TRUE(wait_until([&] { return host.AlarmValue(waiting) == "0"; }));
}

// --- At rest -------------------------------------------------------------------------------------

TEST_F(Harmless, RoomAtRestStaysAsItIs)
{
    for (const Arguments& options : {Arguments{}, Arguments{"--wal"}})
    {
        MakeRoom(options);
        const auto before = files_below(host.Path());
        for (const Arguments& command : harmless_commands())
        {
            ExpectHarmless(command);
            EXPECT_EQ(files_below(host.Path()), before) << name_of(command);
        }
    }
    EXPECT_THAT(files_below("/NandFlash/tmp"), IsEmpty());
    EXPECT_THAT(files_below("/run"), IsEmpty());
    EXPECT_EQ(tray.Waiting(), 0U);
    EXPECT_EQ(waiting_requests(), 0U);
}

// --- What the guard sees -------------------------------------------------------------------------

TEST_F(Harmless, GuardSeesWhatAlarmDoes)
{
    MakeRoom({});
    const std::vector<std::string> acts = run_traced(InRoom({"alarm", "DIR"})).acts;
    EXPECT_THAT(acts, Contains(AllOf(HasSubstr("dbData.db3\""), HasSubstr("O_RDWR"))));
}

TEST_F(Harmless, GuardSeesTheSignalThatAlarmSends)
{
    MakeRoom({});
    daemon.Start(host.Path());
    receiver.Body(0);
    EXPECT_THAT(run_traced(InRoom({"alarm", "DIR"})).acts, Contains(HasSubstr("SIGRT_")));
}

TEST_F(Harmless, GuardSeesWhatPostDoes)
{
    StartSimpleRoom();
    const std::vector<std::string> acts = run_traced(vkctl_command({"post", "7"})).acts;
    EXPECT_THAT(acts, Contains(HasSubstr("msgsnd(")));
}

TEST_F(Harmless, GuardSeesFilesBeingChanged)
{
    const std::string dir = "cd " + host.Path() + "; ";
    EXPECT_THAT(ActsOf(dir + "echo > a"), Contains(HasSubstr("O_WRONLY|O_CREAT")));
    EXPECT_THAT(ActsOf(dir + "mv a b"), Contains(HasSubstr("rename")));
    EXPECT_THAT(ActsOf(dir + "truncate -s 9 b"), Contains(HasSubstr("O_WRONLY")));
    EXPECT_THAT(ActsOf(dir + "chmod 600 b"), Contains(HasSubstr("chmod")));
    EXPECT_THAT(ActsOf(dir + "touch -c b"), Not(IsEmpty()));
    EXPECT_THAT(ActsOf(dir + "ln -s b c"), Contains(HasSubstr("symlink")));
    EXPECT_THAT(ActsOf(dir + "rm b"), Contains(HasSubstr("unlink")));
    EXPECT_THAT(ActsOf(dir + "mkdir d"), Contains(HasSubstr("mkdir")));
    EXPECT_THAT(ActsOf(dir + "rmdir d"), Contains(HasSubstr("rmdir")));
}

TEST_F(Harmless, GuardSeesProcessesAndQueuesBeingSpokenTo)
{
    EXPECT_THAT(ActsOf("kill -0 $$"), Contains(HasSubstr("kill(")));
    EXPECT_THAT(ActsOf("ipcmk -S 1"), Contains(HasSubstr("semget(")));
    EXPECT_THAT(ActsOf("ipcmk -Q"), Contains(HasSubstr("msgget(")));
}

TEST_F(Harmless, GuardSeesConnections)
{
    const std::string url = receiver.Url("");
    const std::string port = url.substr(url.rfind(':') + 1);
    EXPECT_THAT(ActsOf("exec 3<>/dev/tcp/127.0.0.1/" + port),
                AllOf(Contains(HasSubstr("socket(")), Contains(HasSubstr("connect("))));
}

TEST_F(Harmless, GuardSeesNothingInAProgramThatOnlyReads)
{
    EXPECT_THAT(ActsOf("cat /etc/hostname /proc/uptime 2>/dev/null | wc -c > /dev/null"),
                IsEmpty());
}
