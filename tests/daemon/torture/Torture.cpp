// The campaign's program: runs the kinds that it is told, inside a box (scripts/torture starts it
// there), prints what came of them and ends with 1 when something was not as it is to be.
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>

#include "tests/daemon/torture/Functions.h"
#include "tests/daemon/torture/Kinds.h"

namespace
{

using Kind = std::function<void(const Options&, CTally&)>;

const std::map<std::string, Kind>& kinds()
{
    static const std::map<std::string, Kind> kKinds = {
        {"faults", torture_with_faults},       {"bursts", torture_with_bursts},
        {"servers", torture_with_servers},     {"kills", torture_with_kills},
        {"databases", torture_with_databases}, {"limits", torture_with_limits},
        {"clock", torture_with_clock},         {"stops", torture_with_stops},
        {"full-disk", torture_with_full_disk}, {"read-only", torture_with_no_log},
    };
    return kKinds;
}

int number(const std::string& text)
{
    size_t used = 0;
    const int value = std::stoi(text, &used);
    if (used != text.size() || value < 0)
    {
        throw std::runtime_error("'" + text + "' is no number");
    }
    return value;
}

void read_part(const std::string& text, Options& options)
{
    const size_t slash = text.find('/');
    options.part = number(text.substr(0, slash)) - 1;
    options.parts = number(slash == std::string::npos ? "" : text.substr(slash + 1));
}

// The kind, and what is said about it.
std::string read_arguments(int argc, char** argv, Options& options)
{
    std::string kind;
    for (int i = 1; i < argc; ++i)
    {
        const std::string name = argv[i];
        if (name.rfind("--", 0) != 0)
        {
            kind = name;
            continue;
        }
        const std::string value = i + 1 < argc ? argv[++i] : "";
        if (name == "--seed")
        {
            options.seed = static_cast<uint32_t>(number(value));
        }
        else if (name == "--count")
        {
            options.count = number(value);
        }
        else if (name == "--part")
        {
            read_part(value, options);
        }
        else if (name == "--of")
        {
            options.of = value;
        }
        else if (name == "--only")
        {
            options.only = value;
        }
        else
        {
            throw std::runtime_error("'" + name + "' is unknown");
        }
    }
    return kind;
}

void print_functions()
{
    for (const FunctionFacts& facts : kFunctions)
    {
        std::cout << facts.name << "\n";
    }
}

} // namespace

std::string repeat_command(const std::string& kind, const Options& options,
                           const std::string& one_case)
{
    return "scripts/torture " + kind + " --seed " + std::to_string(options.seed) + " --only " +
           one_case;
}

int main(int argc, char** argv)
try
{
    Options options;
    const std::string kind = read_arguments(argc, argv, options);
    if (kind == "functions")
    {
        print_functions();
        return 0;
    }
    const auto found = kinds().find(kind);
    if (found == kinds().end())
    {
        std::cerr << "vk_torture: '" << kind << "' is no kind\n";
        return 64;
    }
    CTally tally(!options.only.empty());
    found->second(options, tally);
    tally.Print();
    return tally.AnyWrong() ? 1 : 0;
}
catch (const std::exception& e)
{
    std::cerr << "vk_torture: " << e.what() << "\n";
    return 1;
}
