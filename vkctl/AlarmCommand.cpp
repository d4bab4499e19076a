#include "vkctl/AlarmCommand.h"

#include <iostream>

#include "vkctl/base/CliError.h"
#include "vkctl/base/HostProcess.h"
#include "vkctl/room/RoomLive.h"

namespace vkctl
{

namespace
{

void change_alarms(const AlarmCommand& command)
{
    CRoomAlarms alarms(command.directory);
    for (int i = 0; i < command.count; ++i)
    {
        const std::string time = local_time_text();
        const int did = command.clear ? alarms.Clear(time) : alarms.Raise(command.order, time);
        if (did == 0)
        {
            throw CCliError(command.directory + ": no alarm stands that could be cleared");
        }
        std::cout << "alarm " << did << (command.clear ? " has gone\n" : " has come\n");
    }
}

} // namespace

int run_alarm(const AlarmCommand& command)
{
    if (command.pid != 0)
    {
        expect_daemon(command.pid, command.pid_file); // before anything is changed
    }
    change_alarms(command);
    const pid_t pid = command.pid != 0 ? command.pid : daemon_pid(command.pid_file);
    if (pid == 0)
    {
        throw CCliError("no daemon was told: none holds the lock on " + command.pid_file +
                            "; start it, or name it with --pid",
                        kExitNoDaemon);
    }
    signal_alarm(pid, command.pid_file);
    std::cout << "told process " << pid << "\n";
    return 0;
}

} // namespace vkctl
