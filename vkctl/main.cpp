// vkctl: the companion command. Composition only: each subcommand has its own files.

#include <exception>
#include <iostream>

#include "vkctl/base/CliError.h"
#include "vkctl/CommandLine.h"

// NOLINTNEXTLINE(bugprone-exception-escape): only what writing a message could throw is left
int main(int argc, char** argv)
{
    try
    {
        return vkctl::run_command_line(argc, argv);
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
