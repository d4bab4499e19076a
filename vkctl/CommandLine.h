// The command line of vkctl, and the one source that knows how it is parsed: the subcommands take
// plain structs of options. (The parser's header costs ten seconds in each source that includes
// it.)
#pragma once

namespace vkctl
{

// Parses, runs the subcommand and returns its exit status. Help and version go to standard output;
// what is not understood is told on standard error and is kExitUsage. CCliError passes through.
int run_command_line(int argc, char** argv);

} // namespace vkctl
