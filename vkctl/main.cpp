// vkctl: the companion command. Composition only: each subcommand has its own files.

#include <iostream>

#include <CLI/CLI.hpp>

#include "vkctl/AlarmCommand.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/Output.h"
#include "vkctl/check/CheckCommand.h"
#include "vkctl/PostCommand.h"
#include "vkctl/preview/PreviewCommand.h"
#include "vkctl/receive/ReceiveCommand.h"
#include "vkctl/room/RoomCommand.h"
#include "vkctl/TrayCommand.h"

namespace
{

constexpr char kFooter[] = R"(
A first try, without any equipment:
  vkctl room demo                    a host directory with a sample room
  vkctl receive                      a server that shows what arrives
  cd demo; ln -s /usr/lib/*/vkdb/libvkdb.so; vkAppPost
                                     the daemon, as root, in the room's folder

On a host:
  vkctl check /var/lib/vkapppost     what will surprise, with file and line
  vkctl preview /var/lib/vkapppost --sid 1001 --explain
                                     what device 1001 becomes, and why
  vkctl post 1001                    have the daemon post it now

'vkctl SUBCOMMAND --help' shows options and examples. Results go to standard
output, notes and errors to standard error. NO_COLOR is respected.

Exit status: 0 done, 1 could not be done (check: warnings with --strict), 64
command line not understood, 74 a file or database cannot be read, 78 the
host's configuration is wrong.
)";

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): only what writing a message could throw is left
int main(int argc, char** argv)
{
    int exitStatus = 0;
    CLI::App app(
        "Companion of vkAppPost: try it without any equipment, see what it sends before it does.",
        "vkctl");
    app.require_subcommand(0, 1); // a wrong one is named; that there is none is told below
    app.footer(kFooter);
    vkctl::add_room_command(app, exitStatus);
    vkctl::add_receive_command(app, exitStatus);
    vkctl::add_check_command(app, exitStatus);
    vkctl::add_preview_command(app, exitStatus);
    vkctl::add_alarm_command(app, exitStatus);
    vkctl::add_post_command(app, exitStatus);
    vkctl::add_tray_command(app, exitStatus);
    try
    {
        app.parse(argc, argv);
        if (app.get_subcommands().empty())
        {
            throw CLI::RequiredError("A subcommand");
        }
        vkctl::flush_output();
        return exitStatus;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : vkctl::kExitUsage;
    }
    catch (const vkctl::CCliError& error)
    {
        std::cerr << "vkctl: " << error.what() << "\n";
        return error.ExitStatus();
    }
    catch (const std::exception& error)
    {
        std::cerr << "vkctl: unexpected: " << error.what() << "\n";
        return vkctl::kExitFailure;
    }
}
