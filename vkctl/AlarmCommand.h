// `vkctl alarm`: raises or clears alarms in a sample room and tells the daemon.
#pragma once

#include <string>

#include "vkctl/Alarm.h"
#include "vkctl/base/HostProcess.h"

namespace vkctl
{

struct AlarmCommand
{
    std::string directory;
    AlarmOrder order;
    int count = 1;
    bool clear = false;
    std::string pid_file = kPidFile;
    int pid = 0; // 0: the one that holds the lock on the pid file
};

int run_alarm(const AlarmCommand& command); // the exit status

} // namespace vkctl
