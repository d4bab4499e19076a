// What stands below the options in the help of vkctl and of its subcommands: notes, examples, exit
// statuses. Written for 80 columns, line by line; a test measures them.
#pragma once

namespace vkctl
{

constexpr char kProgramHelp[] = R"(A first try, without any equipment:
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
command line not understood, 69 no daemon runs, 74 a file or database cannot be
read, 75 the daemon hangs, 78 the host's configuration is wrong.
)";

constexpr char kRoomHelp[] = R"(Examples:
  vkctl room demo                          a room of 20 devices in ./demo
  vkctl room big --devices 10000 --wal     a large one
  vkctl room demo --live                   keep the values of ./demo moving
  vkctl room demo --force --url https://a.example/data \
        --url https://b.example/data --alarm-url https://a.example/alarm \
        --ca ca.pem
)";

constexpr char kReceiveHelp[] =
    R"(Bodies go to standard output, one line each when it is no terminal; notes go to
standard error. Ends on Ctrl+C, --count or --seconds with a table of kinds.

Examples:
  vkctl receive                            what arrives, on 127.0.0.1:8080
  vkctl receive --bind 0.0.0.0             let a board in the network reach it
  vkctl receive --tls --ca-out ca.pem      https; put CA=ca.pem into vkApp.ini
  vkctl receive --json | jq -r .fields.sname
  vkctl receive --status 500 --delay 2s    a server in trouble
  vkctl receive --hang                     accepts, and never answers
  vkctl receive --encoding GBK             for a host with Encoding=GBK
)";

constexpr char kCheckHelp[] =
    R"(Reads vkApp.ini and both databases and changes neither; tries to load the
database library. A connection to each server is tried and nothing sent over it;
--offline leaves them alone. Away from the board, --away leaves out what only
the board can tell. Findings go to standard output.

Examples:
  vkctl check                              the host in the current directory
  vkctl check /NandFlash/app               another one
  vkctl check --strict && systemctl restart vkapppost
  vkctl check --offline --json | jq -r '.findings[].id'

Exit status: 0 nothing wrong (there may be warnings), 1 warnings and --strict,
64 command line not understood, 74 vkApp.ini or a database cannot be read, 78
an error in the configuration.
docs/check.md, installed as /usr/share/doc/vkctl/docs/check.md, explains every
finding by its name in brackets.
)";

constexpr char kPreviewHelp[] =
    R"(DIR is the daemon's working directory, with vkApp.ini and tmp/. The bodies are
made by the daemon's own code, in the order of a sweep; nothing is sent, marked
or written, and the daemon may be at work meanwhile. Alarms come outside of
sweeps: --alarms shows those that the next alarm signal would send.

Bodies go to standard output, one line each; notes go to standard error.

Examples:
  vkctl preview                            one sweep of the host in this folder
  vkctl preview room --sid 1001            one device
  vkctl preview room --sid 1001 --explain  where each value comes from
  vkctl preview room --table tbUps         all devices of a table
  vkctl preview room --kind general        general tables only
  vkctl preview room --alarms --encoding   alarms, byte by byte

Exit status: 0 shown, with a note where the daemon could not read everything
either, 1 nothing to show for that SID or table, 64 command line not
understood, 74 a file or database cannot be read.
)";

constexpr char kAlarmHelp[] =
    R"(The daemon is found by the lock on its pid file; in a box only from inside that
box. A process that is no daemon is not signalled: it would end.

Examples:
  vkctl alarm demo                         raise one in ./demo, tell the daemon
  vkctl alarm demo --count 3 --class 4     three of class 4
  vkctl alarm demo --sid 1001 --title 电池电压低
  vkctl alarm demo --clear                 the newest alarm has gone
)";

constexpr char kPostHelp[] =
    R"(The daemon takes one request every 50 ms. It repeats all earlier ones at each
later pick-up.

Examples:
  vkctl post 1001                          post device 1001 now
  vkctl post 1001 1002 1003                three devices

Exit status: 0 requested, 69 no daemon runs and nothing was requested, 75
requested of a daemon that hangs.
)";

constexpr char kTrayHelp[] =
    R"(The reports stay in the queue for the tray process: they are copied (MSG_COPY),
which a kernel without checkpoint support refuses; --take reads them as the tray
process would.

Examples:
  vkctl tray                               what is waiting now
  vkctl tray --take                        the same, and takes it away

Whether the daemon lives stands on standard error and in the exit status: 0 it
does, 69 none runs, 75 it hangs: it is stopped, or was silent for longer than
Delay, Timeout and ten seconds. In a full queue nothing is seen of that.
)";

} // namespace vkctl
