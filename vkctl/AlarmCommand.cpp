#include "vkctl/AlarmCommand.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/Alarm.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/HostProcess.h"
#include "vkctl/room/RoomLive.h"

namespace vkctl
{

namespace
{

constexpr char kExamples[] = R"(
The daemon is found by the lock on its pid file; in a box only from inside that box.

Examples:
  vkctl alarm demo                         raise an alarm in ./demo and tell the daemon
  vkctl alarm demo --count 3 --class 4     three of class 4
  vkctl alarm demo --sid 1001 --title 电池电压低
  vkctl alarm demo --clear                 the newest alarm has gone
)";

struct AlarmArguments
{
    std::string directory;
    AlarmOrder order;
    int count = 1;
    bool clear = false;
    std::string pidFile = kPidFile;
    int pid = 0;
};

void change_alarms(AlarmArguments& arguments)
{
    CRoomAlarms alarms(arguments.directory);
    for (int i = 0; i < arguments.count; ++i)
    {
        const std::string time = local_time_text();
        const int did = arguments.clear ? alarms.Clear(time) : alarms.Raise(arguments.order, time);
        if (did == 0)
        {
            throw CCliError(arguments.directory + ": no alarm stands that could be cleared");
        }
        std::cout << "alarm " << did << (arguments.clear ? " has gone\n" : " has come\n");
    }
}

int run(AlarmArguments& arguments)
{
    change_alarms(arguments);
    const pid_t pid = arguments.pid != 0 ? arguments.pid : daemon_pid(arguments.pidFile);
    if (pid == 0)
    {
        throw CCliError("no daemon was told: none holds the lock on " + arguments.pidFile +
                        "; start it, or name it with --pid");
    }
    signal_alarm(pid);
    std::cout << "told process " << pid << "\n";
    return 0;
}

} // namespace

void add_alarm_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command = app.add_subcommand("alarm", "Raise or clear alarms in a sample room");
    const auto arguments = std::make_shared<AlarmArguments>();
    AlarmOrder& order = arguments->order;
    command->add_option("DIR", arguments->directory, "Directory of the room")->required();
    command->add_option("--count", arguments->count, "Number of alarms")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    CLI::Option* clear =
        command->add_flag("--clear", arguments->clear, "The newest alarms have gone");
    for (CLI::Option* option :
         {command->add_option("--class", order.alarmClass, "Alarm class (default: the device's)")
              ->check(CLI::Range(0, 255)),
          command->add_option("--sid", order.sid, "Device (default: one after the other)"),
          command->add_option("--title", order.title, "Title (default: from the device's name)"),
          command->add_option("--mask", order.mask, "Who is told, as bits")->capture_default_str()})
    {
        option->excludes(clear);
    }
    command->add_option("--pid", arguments->pid, "Process of the daemon");
    command->add_option("--pid-file", arguments->pidFile, "Its pid file")->capture_default_str();
    command->footer(kExamples);
    command->callback([arguments, &exitStatus] { exitStatus = run(*arguments); });
}

} // namespace vkctl
