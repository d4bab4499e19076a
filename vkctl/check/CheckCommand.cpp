#include "vkctl/check/CheckCommand.h"

#include <iostream>

#include "vkctl/base/CliError.h"
#include "vkctl/base/Output.h"
#include "vkctl/base/Progress.h"

namespace vkctl
{

namespace
{

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

} // namespace

int run_check(const CheckCommand& command)
{
    CFindings findings;
    CheckOptions options = command.options;
    options.progress = is_progress_wanted();
    const bool readable = check_host(options, findings);
    if (command.json)
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
    return exit_status(readable, command.strict, findings);
}

} // namespace vkctl
