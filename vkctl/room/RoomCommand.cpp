#include "vkctl/room/RoomCommand.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/room/Room.h"

namespace vkctl
{

namespace
{

constexpr char kExamples[] = R"(
Examples:
  vkctl room demo                          a room of 20 devices in ./demo
  vkctl room big --devices 10000 --wal     a large one
  vkctl room demo --live                   keep the values of ./demo moving
  vkctl room demo --force --url https://a.example/data --url https://b.example/data \
        --alarm-url https://a.example/alarm --ca ca.pem
)";

struct RoomArguments
{
    RoomOptions options;
    std::string step = "1s";
    std::string seconds;
};

// What the options do to the room's content; any of them means that a room is to be made.
void add_content_options(CLI::App& command, RoomArguments& arguments)
{
    RoomContent& content = arguments.options.content;
    const std::string group = "What stands in the room";
    command.add_option("--devices", content.devices, "Number of devices")
        ->check(CLI::Range(1, kMaxDevices))
        ->capture_default_str()
        ->group(group);
    command.add_option("--inputs", content.inputs, "Number of digital inputs")
        ->check(CLI::Range(0, kMaxInputs))
        ->capture_default_str()
        ->group(group);
    command.add_option("--cameras", content.cameras, "Number of cameras")
        ->check(CLI::Range(0, kMaxCameras))
        ->capture_default_str()
        ->group(group);
    command.add_option("--seed", content.seed, "Another number gives other readings")
        ->capture_default_str()
        ->group(group);
    command.add_flag("--wal", content.wal, "Databases with a write-ahead log")->group(group);
}

void add_ini_options(CLI::App& command, RoomArguments& arguments)
{
    RoomIni& ini = arguments.options.ini;
    const std::string group = "What vkApp.ini says";
    command.add_option("--url", ini.urls, "Where readings go; may be given again")
        ->allow_extra_args(false)
        ->group(group);
    command.add_option("--alarm-url", ini.alarmUrls, "Where alarms go; may be given again")
        ->allow_extra_args(false)
        ->group(group);
    command.add_option("--delay", ini.delayMs, "Milliseconds between two sweeps")
        ->capture_default_str()
        ->group(group);
    command.add_option("--timeout", ini.timeoutS, "Seconds that one transfer may take")
        ->capture_default_str()
        ->group(group);
    command.add_option("--retbls", ini.reTbls, "Passes between two searches for tables; 0: never")
        ->capture_default_str()
        ->group(group);
    command.add_option("--encoding", ini.encoding, "Encoding of the bodies, such as GBK")
        ->capture_default_str()
        ->group(group);
    command.add_option("--ca", ini.ca, "PEM file that https servers are checked against")
        ->group(group);
    command.add_option("--dept", ini.dept, "Identifier of the host")
        ->capture_default_str()
        ->group(group);
}

bool was_content_given(const CLI::App& command)
{
    for (const char* name : {"--devices", "--inputs", "--cameras", "--wal", "--url", "--alarm-url",
                             "--delay", "--timeout", "--retbls", "--encoding", "--ca", "--dept"})
    {
        if (command.count(name) > 0)
        {
            return true;
        }
    }
    return false;
}

int run(const CLI::App& command, RoomArguments& arguments)
{
    RoomOptions& options = arguments.options;
    options.hasContent = was_content_given(command);
    options.step = parse_duration(arguments.step);
    if (!arguments.seconds.empty())
    {
        options.limit = parse_duration(arguments.seconds);
    }
    CStop stop;
    return run_room(options, stop, std::cout);
}

} // namespace

void add_room_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command =
        app.add_subcommand("room", "Make a sample equipment room that the daemon can run on");
    const auto arguments = std::make_shared<RoomArguments>();
    RoomOptions& options = arguments->options;
    command->add_option("DIR", options.directory, "Directory of the room")->required();
    command->add_flag("--force", options.force, "Replace a room that is there");
    command->add_flag("--live", options.live,
                      "Keep the values moving until Ctrl+C; alone, on a room that is there");
    command->add_option("--step", arguments->step, "Time between two changes")
        ->capture_default_str();
    command->add_option("--seconds", arguments->seconds, "Stop moving after this time");
    add_content_options(*command, *arguments);
    add_ini_options(*command, *arguments);
    command->footer(kExamples);
    command->callback([command, arguments, &exitStatus]
                      { exitStatus = run(*command, *arguments); });
}

} // namespace vkctl
