#include "vkctl/check/CheckCommand.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/base/CliError.h"
#include "vkctl/base/Output.h"
#include "vkctl/base/Progress.h"
#include "vkctl/check/Check.h"

namespace vkctl
{

namespace
{

constexpr char kExamples[] = R"(
Reads vkApp.ini and both databases and changes neither. Only https servers are connected to,
to look at their certificates; --offline leaves them alone. Findings go to standard output.

Examples:
  vkctl check                              the host in the current directory
  vkctl check /NandFlash/app               another one
  vkctl check --strict && systemctl restart vkapppost
  vkctl check --offline --json | jq -r '.findings[].id'

Exit status: 0 nothing wrong (there may be warnings), 1 warnings and --strict, 64 command line
not understood, 74 vkApp.ini or a database cannot be read, 78 an error in the configuration.
docs/check.md, installed as /usr/share/doc/vkctl/docs/check.md, explains every finding by its name
in brackets.
)";

struct CheckArguments
{
    CheckOptions options;
    bool strict = false;
    bool json = false;
};

bool is_color_wanted()
{
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool isDumb = terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
    return isatty(STDOUT_FILENO) != 0 && !isDumb && (noColor == nullptr || *noColor == '\0');
}

int exit_status(bool readable, bool strict, const CFindings& findings)
{
    if (!readable)
    {
        return kExitFile;
    }
    if (findings.Count(Severity::kError) > 0)
    {
        return kExitConfig;
    }
    return strict && findings.Count(Severity::kWarning) > 0 ? kExitFailure : 0;
}

int run(CheckArguments& arguments)
{
    CFindings findings;
    arguments.options.progress = is_progress_wanted();
    const bool readable = check_host(arguments.options, findings);
    if (arguments.json)
    {
        print_findings_json(std::cout, findings);
        flush_output();
    }
    else
    {
        print_findings(std::cout, findings, is_color_wanted());
        flush_output();
        const std::string summary = findings_summary(findings);
        std::cerr << (summary.empty() ? "nothing found" : summary) << "\n";
    }
    return exit_status(readable, arguments.strict, findings);
}

} // namespace

void add_check_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command =
        app.add_subcommand("check", "Tell what will surprise about a host, changing nothing");
    const auto arguments = std::make_shared<CheckArguments>();
    command->add_option("DIR", arguments->options.directory, "Directory of the host")
        ->capture_default_str();
    command->add_flag("--strict", arguments->strict, "Warnings are a failure");
    command->add_flag("--offline", arguments->options.offline, "Connect to no server");
    command->add_flag("--json", arguments->json, "One JSON object with all findings");
    command->footer(kExamples);
    command->callback([arguments, &exitStatus] { exitStatus = run(*arguments); });
}

} // namespace vkctl
