#include "vkctl/receive/ReceiveCommand.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/receive/Receive.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kUsualWidth = 80; // of a terminal that does not tell its own

constexpr char kExamples[] = R"(
Bodies go to standard output, one line each when it is no terminal; notes go to
standard error. Ends on Ctrl+C, --count or --seconds with a table of kinds.

Examples:
  vkctl receive                            show what arrives on http://127.0.0.1:8080/
  vkctl receive --bind 0.0.0.0             let a board in the network reach it
  vkctl receive --tls --ca-out ca.pem      https; put CA=ca.pem into vkApp.ini
  vkctl receive --json | jq -r .fields.sname
  vkctl receive --status 500 --delay 2s    a server in trouble
  vkctl receive --hang                     a server that accepts and never answers
  vkctl receive --encoding GBK             for a host with Encoding=GBK
)";

struct ReceiveArguments
{
    ReceiveOptions options;
    bool raw = false;
    bool json = false;
    std::string delay = "0s";
    std::string seconds;
};

void add_server_options(CLI::App& command, ReceiveArguments& arguments)
{
    ServerOptions& server = arguments.options.server;
    const std::string group = "The server";
    command.add_option("--port", server.port, "Port; 0: any that is free, told when it listens")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str()
        ->group(group);
    command.add_option("--bind", server.bind, "Address to listen on; 0.0.0.0: all")
        ->capture_default_str()
        ->group(group);
    CLI::Option* tls =
        command.add_flag("--tls", server.tls, "https, with a certificate made on the spot");
    tls->group(group);
    command.add_option("--ca-out", arguments.options.caOut, "File for the CA certificate of --tls")
        ->needs(tls)
        ->group(group);
    command.add_option("--status", server.status, "HTTP status of every answer")
        ->check(CLI::Range(200, 599))
        ->capture_default_str()
        ->group(group);
    command.add_option("--delay", arguments.delay, "Time to wait before each answer")
        ->capture_default_str()
        ->group(group);
    command.add_flag("--hang", server.hang, "Never answer")->group(group);
}

void add_output_options(CLI::App& command, ReceiveArguments& arguments)
{
    const std::string group = "What is shown, and for how long";
    CLI::Option* raw = command.add_flag("--raw", arguments.raw, "Bodies as they are");
    raw->group(group);
    command.add_flag("--json", arguments.json, "One JSON object a line")
        ->excludes(raw)
        ->group(group);
    command.add_option("--encoding", arguments.options.print.encoding, "Encoding of the bodies")
        ->capture_default_str()
        ->group(group);
    command.add_option("--count", arguments.options.count, "End after so many bodies")
        ->group(group);
    command.add_option("--seconds", arguments.seconds, "End after this time")->group(group);
}

void adapt_to_terminal(PrintOptions& print)
{
    if (isatty(STDOUT_FILENO) == 0)
    {
        return;
    }
    const char* noColor = std::getenv("NO_COLOR");
    print.color = noColor == nullptr || *noColor == '\0';
    winsize size{};
    const bool isTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    print.width = isTold ? size.ws_col : kUsualWidth;
}

int run(ReceiveArguments& arguments)
{
    ReceiveOptions& options = arguments.options;
    options.server.delay = parse_duration(arguments.delay);
    if (!arguments.seconds.empty())
    {
        options.limit = parse_duration(arguments.seconds);
    }
    options.print.style = arguments.raw    ? PrintStyle::kRaw
                          : arguments.json ? PrintStyle::kJson
                                           : PrintStyle::kText;
    adapt_to_terminal(options.print);
    CStop stop;
    return run_receive(options, stop, std::cout, std::cerr);
}

} // namespace

void add_receive_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command =
        app.add_subcommand("receive", "Run a server that shows every body that arrives");
    const auto arguments = std::make_shared<ReceiveArguments>();
    add_server_options(*command, *arguments);
    add_output_options(*command, *arguments);
    command->footer(kExamples);
    command->callback([arguments, &exitStatus] { exitStatus = run(*arguments); });
}

} // namespace vkctl
