// Options and arguments of every subcommand, how help is laid out, and what is said to a word that
// is none.

#include "vkctl/CommandLine.h"

#include <chrono>
#include <memory>
#include <set>

#include <CLI/CLI.hpp>

#include "vkctl/AlarmCommand.h"
#include "vkctl/base/CliError.h"
#include "vkctl/base/Output.h"
#include "vkctl/check/CheckCommand.h"
#include "vkctl/CommandHelp.h"
#include "vkctl/CommandWords.h"
#include "vkctl/PostCommand.h"
#include "vkctl/preview/PreviewCommand.h"
#include "vkctl/receive/Receive.h"
#include "vkctl/room/Room.h"
#include "vkctl/TrayCommand.h"

namespace vkctl
{

namespace
{

// Names in a column of their own, what they do beside them, nothing beyond 80 columns.
class CHelpFormatter : public CLI::Formatter
{
public:
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override
    {
        const std::string help = Formatter::make_help(app, std::move(name), mode);
        return CLI::detail::find_and_replace(help, "\n\n\n", "\n\n");
    }

    std::string make_footer(const CLI::App* app) const override { return app->get_footer(); }

    std::string make_subcommand(const CLI::App* command) const override
    {
        return help_entry(command->get_name(), command->get_description());
    }

    std::string make_option(const CLI::Option* option, bool is_positional) const override
    {
        return help_entry(make_option_name(option, is_positional) + Value(*option),
                          option->get_description() + Remarks(*option));
    }

private:
    // What is to be given: " N", " TEXT"; nothing for a flag.
    static std::string Value(const CLI::Option& option)
    {
        if (option.get_type_size() == 0 || option.get_positional())
        {
            return "";
        }
        const std::string type = option.get_type_name();
        const std::string word = type.substr(0, type.find(':')); // behind it stands the check's
        return " " + (word == "INT" || word == "UINT" ? "N" : word);
    }

    static std::string Remarks(const CLI::Option& option)
    {
        const std::string preset = option.get_default_str();
        return (preset.empty() ? "" : " (default: " + preset + ")") +
               Names("; needs", option.get_needs()) + Names("; not with", option.get_excludes());
    }

    static std::string Names(const std::string& head, const std::set<CLI::Option*>& options)
    {
        std::set<std::string> names; // in an order that does not depend on addresses
        for (const CLI::Option* option : options)
        {
            names.insert(option->get_name());
        }
        return names.empty() ? "" : head + " " + CLI::detail::join(names, ", ");
    }
};

// Options that are added from here on stand below that title, with their presets.
void begin_group(CLI::App& command, const std::string& title)
{
    command.option_defaults()->group(title)->always_capture_default();
}

// An empty name, of a variable that is not set, would be taken for the current directory or for /.
CLI::Option* add_directory(CLI::App& command, std::string& directory,
                           const std::string& description)
{
    const auto problem = [](const std::string& name)
    {
        return std::string(name.empty() ? "an empty name is no directory" : "");
    };
    return command.add_option("DIR", directory, description)->check(problem);
}

void set_duration(CLI::App& command, const std::string& name, std::chrono::milliseconds& value,
                  const std::string& description, const std::string& preset)
{
    command
        .add_option_function<std::string>(
            name, [&value](const std::string& text) { value = parse_duration(text); }, description)
        ->default_str(preset)
        ->type_name("TIME");
}

// What the options do to the room's content.
void add_content_options(CLI::App& command, RoomContent& content)
{
    begin_group(command, "What stands in the room");
    command.add_option("--devices", content.devices, "Number of devices")
        ->check(CLI::Range(1, kMaxDevices));
    command.add_option("--inputs", content.inputs, "Number of digital inputs")
        ->check(CLI::Range(0, kMaxInputs));
    command.add_option("--cameras", content.cameras, "Number of cameras")
        ->check(CLI::Range(0, kMaxCameras));
    command.add_option("--seed", content.seed, "Another number gives other readings");
    command.add_flag("--wal", content.wal, "Databases with a write-ahead log");
}

void add_ini_options(CLI::App& command, RoomIni& ini)
{
    begin_group(command, "What vkApp.ini says");
    for (CLI::Option* option :
         {command.add_option("--url", ini.urls, "Where readings go; may be given again"),
          command.add_option("--alarm-url", ini.alarm_urls, "Where alarms go; may be given again")})
    {
        option->allow_extra_args(false)->type_name("URL")->default_str("");
    }
    command.add_option("--delay", ini.delay_ms, "Milliseconds between two sweeps");
    command.add_option("--timeout", ini.timeout_s, "Seconds that one transfer may take");
    command.add_option("--retbls", ini.re_tbls, "Passes between two searches for tables, 0: never");
    command.add_option("--encoding", ini.encoding, "Encoding of the bodies, such as GBK");
    command.add_option("--ca", ini.ca, "PEM file that https servers are checked against")
        ->type_name("FILE");
    command.add_option("--dept", ini.dept, "Identifier of the host");
}

// Whether an option says what is to be made: then --live does not only move what is there.
bool was_content_given(const CLI::App& command)
{
    const auto options = command.get_options(
        [](const CLI::Option* option)
        {
            return option->count() > 0 && option->get_group() != "Options" &&
                   option->get_name() != "--seed"; // which also says how values move
        });
    return !options.empty();
}

void add_room(CLI::App& command, RoomOptions& options)
{
    add_directory(command, options.directory, "Directory of the room")->required();
    command.add_flag("--force", options.force, "Replace a room that is there");
    command.add_flag("--live", options.live,
                     "Keep the values moving until Ctrl+C; alone, on a room that is there");
    set_duration(command, "--step", options.step, "Time between two changes", "1s");
    set_duration(command, "--seconds", options.limit, "Stop moving after this time", "");
    add_content_options(command, options.content);
    add_ini_options(command, options.ini);
    command.callback([&] { options.has_content = was_content_given(command); });
}

void add_server_options(CLI::App& command, ReceiveOptions& options)
{
    ServerOptions& server = options.server;
    begin_group(command, "The server");
    command.add_option("--port", server.port, "Port, 0: any that is free, told when it listens")
        ->check(CLI::Range(0, 65535));
    command.add_option("--bind", server.bind, "Address to listen on, 0.0.0.0: all")
        ->type_name("ADDRESS");
    CLI::Option* tls =
        command.add_flag("--tls", server.tls, "https, with a certificate made on the spot");
    command.add_option("--ca-out", options.ca_out, "File for the CA certificate of --tls")
        ->needs(tls)
        ->type_name("FILE");
    command.add_option("--status", server.status, "HTTP status of every answer")
        ->check(CLI::Range(200, 599));
    set_duration(command, "--delay", server.delay, "Time to wait before each answer", "0s");
    command.add_flag("--hang", server.hang, "Never answer");
}

void add_receive(CLI::App& command, ReceiveOptions& options)
{
    add_server_options(command, options);
    begin_group(command, "What is shown, and for how long");
    PrintStyle& style = options.print.style;
    CLI::Option* raw = command.add_flag_callback(
        "--raw", [&style] { style = PrintStyle::kRaw; }, "Bodies as they are");
    command
        .add_flag_callback(
            "--json", [&style] { style = PrintStyle::kJson; }, "One JSON object a line")
        ->excludes(raw);
    command.add_option("--encoding", options.print.encoding, "Encoding of the bodies");
    command.add_option("--count", options.count, "End after so many bodies")->default_str("");
    set_duration(command, "--seconds", options.limit, "End after this time", "");
}

void add_check(CLI::App& command, CheckCommand& options)
{
    add_directory(command, options.options.directory, "Directory of the host")
        ->capture_default_str();
    command.add_flag("--strict", options.strict, "Warnings are a failure");
    command.add_flag("--offline", options.options.offline, "Connect to no server");
    command.add_flag("--away", options.options.away, "Leave out what only the board can tell");
    command.add_flag("--json", options.json, "One JSON object with all findings");
}

void add_preview(CLI::App& command, PreviewCommand& options)
{
    add_directory(command, options.directory, "The daemon's working directory")
        ->capture_default_str();
    command.add_option("--sid", options.sid, "Only bodies of that SID");
    command.add_option("--table", options.table, "Only bodies with rows of that table");
    const std::vector<std::string> kinds = preview_kinds();
    CLI::Option* kind =
        command
            .add_option("--kind", options.kinds,
                        "Only that kind, may be repeated: " + CLI::detail::join(kinds, ", "))
            ->allow_extra_args(false)
            ->check(CLI::IsMember(kinds));
    command.add_flag("--alarms", options.alarms, "The alarms that wait, instead of a sweep")
        ->excludes(kind);
    CLI::Option* explain =
        command.add_flag("--explain", options.explain, "Where each pair comes from");
    CLI::Option* encoding =
        command.add_flag("--encoding", options.encoding, "The bytes in the configured encoding");
    command.add_flag("--null", options.null, "A NUL behind each body instead of a line end")
        ->excludes(explain)
        ->excludes(encoding);
    command.add_flag("--log", options.log, "What the daemon would log, on standard error");
}

void add_pid_file(CLI::App& command, std::string& path)
{
    command.add_option("--pid-file", path, "Pid file of the daemon")
        ->type_name("FILE")
        ->capture_default_str();
}

void add_alarm(CLI::App& command, AlarmCommand& options)
{
    AlarmOrder& order = options.order;
    add_directory(command, options.directory, "Directory of the room")->required();
    command.add_option("--count", options.count, "Number of alarms")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    CLI::Option* clear = command.add_flag("--clear", options.clear, "The newest alarms have gone");
    for (CLI::Option* option :
         {command.add_option("--class", order.alarm_class, "Alarm class (default: the device's)")
              ->check(CLI::Range(0, 255)),
          command.add_option("--sid", order.sid, "Device (default: one after the other)"),
          command.add_option("--title", order.title, "Title (default: from the device's name)"),
          command.add_option("--mask", order.mask, "Who is told, as bits")->capture_default_str()})
    {
        option->excludes(clear);
    }
    command.add_option("--pid", options.pid, "Process of the daemon");
    add_pid_file(command, options.pid_file);
}

void add_post(CLI::App& command, PostCommand& options)
{
    command.add_option("SID", options.sids, "Devices")
        ->required()
        ->check(CLI::Range(0, kLargestSid));
    command.add_option("--lparam", options.lParam, "Number that the daemon only logs")
        ->capture_default_str();
    add_pid_file(command, options.pid_file);
}

void add_tray(CLI::App& command, TrayCommand& options)
{
    command.add_flag("--take", options.take, "Take the reports out of the queue");
    add_pid_file(command, options.pid_file);
}

// The option or subcommand that a word which was not understood was meant to be; empty: none.
std::string meant_word(const CLI::App& app)
{
    const auto given = app.get_subcommands();
    std::vector<std::string> candidates;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    {
        candidates.push_back(given.empty() ? command->get_name() : "");
    }
    for (const CLI::Option* option : (given.empty() ? &app : given.front())->get_options())
    {
        candidates.push_back(option->nonpositional() ? option->get_name() : "");
    }
    for (const std::string& word : app.remaining(true))
    {
        std::string meant = closest_word(word.substr(0, word.find('=')), candidates);
        if (!meant.empty())
        {
            return meant;
        }
    }
    return {};
}

std::string usage_error(const CLI::App& app, const CLI::Error& error)
{
    const auto given = app.get_subcommands();
    const std::string command = given.empty() ? "" : " " + given.front()->get_name();
    const std::string meant = meant_word(app);
    return std::string(error.what()) + "\n" +
           (meant.empty() ? "" : "Did you mean '" + meant + "'?\n") + "'vkctl" + command +
           " --help' tells what there is.\n";
}

struct Options
{
    RoomOptions room;
    ReceiveOptions receive;
    CheckCommand check;
    PreviewCommand preview;
    AlarmCommand alarm;
    PostCommand post;
    TrayCommand tray;
};

struct Subcommand
{
    const char* name;
    const char* description;
    const char* help; // below the options
    void (*add)(CLI::App& command, Options& options);
    int (*run)(const Options& options);
};

constexpr Subcommand kSubcommands[] = {
    {"room", "Make a sample equipment room that the daemon can run on", kRoomHelp,
     [](CLI::App& command, Options& options) { add_room(command, options.room); },
     [](const Options& options)
     {
         return run_room(options.room);
     }},
    {"receive", "Run a server that shows every body that arrives", kReceiveHelp,
     [](CLI::App& command, Options& options) { add_receive(command, options.receive); },
     [](const Options& options)
     {
         return run_receive(options.receive);
     }},
    {"check", "Tell what will surprise about a host, changing nothing", kCheckHelp,
     [](CLI::App& command, Options& options) { add_check(command, options.check); },
     [](const Options& options)
     {
         return run_check(options.check);
     }},
    {"preview", "Show what the daemon would post now", kPreviewHelp,
     [](CLI::App& command, Options& options) { add_preview(command, options.preview); },
     [](const Options& options)
     {
         return run_preview(options.preview);
     }},
    {"alarm", "Raise or clear alarms in a sample room", kAlarmHelp,
     [](CLI::App& command, Options& options) { add_alarm(command, options.alarm); },
     [](const Options& options)
     {
         return run_alarm(options.alarm);
     }},
    {"post", "Ask the daemon to post devices now", kPostHelp,
     [](CLI::App& command, Options& options) { add_post(command, options.post); },
     [](const Options& options)
     {
         return run_post(options.post);
     }},
    {"tray", "Show what the daemon reports to the tray process", kTrayHelp,
     [](CLI::App& command, Options& options) { add_tray(command, options.tray); },
     [](const Options& options)
     {
         return run_tray(options.tray);
     }},
};

void set_up(CLI::App& app, Options& options)
{
    app.formatter(std::make_shared<CHelpFormatter>());
    app.failure_message([](const CLI::App* failed, const CLI::Error& error)
                        { return usage_error(*failed, error); });
    app.set_version_flag("--version", "vkctl " VK_VERSION, "Print the version and exit");
    app.require_subcommand(0, 1); // a wrong one is named; that there is none is told below
    app.footer(kProgramHelp);
    for (const Subcommand& subcommand : kSubcommands)
    {
        CLI::App* command = app.add_subcommand(subcommand.name, subcommand.description);
        command->footer(subcommand.help);
        subcommand.add(*command, options);
    }
}

// The one that was given.
const Subcommand& given_subcommand(const CLI::App& app)
{
    for (const Subcommand& subcommand : kSubcommands)
    {
        if (app.got_subcommand(subcommand.name))
        {
            return subcommand;
        }
    }
    throw CLI::RequiredError("A subcommand");
}

} // namespace

int run_command_line(int argc, char** argv)
{
    CLI::App app(
        "Companion of vkAppPost: try it without any equipment, see what it sends before\nit does.",
        "vkctl");
    Options options;
    const Subcommand* given = nullptr;
    set_up(app, options);
    try
    {
        app.parse(argc, argv);
        given = &given_subcommand(app);
    }
    catch (const CLI::ParseError& error)
    {
        const bool is_understood = app.exit(error) == 0; // help, version
        flush_output();
        return is_understood ? 0 : kExitUsage;
    }
    const int status = given->run(options);
    flush_output();
    return status;
}

} // namespace vkctl
