// Measures the whole daemon, as a receiver and the system see it, and prints each figure beside
// its budget. Ratios within one run: what they say does not depend on the machine.
#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "bench/Measures.h"

namespace
{

constexpr CEffort kQuick{3, 500, 50, 2000, 2000};
constexpr CEffort kLong{9, 2000, 200, 10000, 20000};

struct Measure
{
    const char* name;
    Figures (*run)(const CPrograms& programs, const CEffort& effort);
};

constexpr Measure kMeasures[] = {
    {"cpu", cpu_per_body},   {"pauses", real_pauses}, {"urls", several_urls},
    {"memory", peak_memory}, {"rooms", large_room},   {"growth", growth},
};

// They are built beside this program.
CPrograms programs_beside_this_one()
{
    const std::filesystem::path dir = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return {dir / "vkAppPost", dir / "vkAppPost_nopause", dir / "vk_least", dir / "libvkdb.so"};
}

void print_head()
{
    std::printf("%-48s %12s  %-12s %s\n", "what", "measured", "budget", "met");
    std::fflush(stdout);
}

void print_figure(const CFigure& figure)
{
    char measured[32];
    char budget[32];
    std::snprintf(measured, sizeof(measured), "%.3f %s", figure.value, figure.unit);
    std::snprintf(budget, sizeof(budget), "<= %g %s", figure.budget, figure.unit);
    std::printf("%-48s %12s  %-12s %-4s %s\n", figure.what.c_str(), measured, budget,
                figure.Met() ? "yes" : "NO", figure.detail.c_str());
    std::fflush(stdout);
}

// The number of figures that miss their budget.
int run_measures(const std::string& only, const CEffort& effort)
{
    const CPrograms programs = programs_beside_this_one();
    require_same_work(programs);
    std::printf("daemon and least program: same bodies, same log lines\n");
    print_head();
    int missed = 0;
    for (const Measure& measure : kMeasures)
    {
        if (!only.empty() && only != measure.name)
        {
            continue;
        }
        for (const CFigure& figure : measure.run(programs, effort))
        {
            print_figure(figure);
            missed += figure.Met() ? 0 : 1;
        }
    }
    return missed;
}

} // namespace

int main(int argc, char** argv)
{
    bool quick = false;
    std::string only;
    int posts = 0;
    int rounds = 0;
    CLI::App app("Measures the whole daemon against the least program that does the same work.");
    app.add_flag("--quick", quick, "Small sizes: shows that it works and where the figures lie");
    app.add_option("--only", only, "One measure: cpu, pauses, urls, memory, rooms, growth; or none")
        ->check(CLI::IsMember({"cpu", "pauses", "urls", "memory", "rooms", "growth", "none"}));
    app.add_option("--posts", posts, "Posts while growth is watched (default 20000)")
        ->check(CLI::PositiveNumber);
    app.add_option("--rounds", rounds, "Rounds of each comparison (default 9)")
        ->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);

    CEffort effort = quick ? kQuick : kLong;
    effort.posts = posts > 0 ? posts : effort.posts;
    effort.rounds = rounds > 0 ? rounds : effort.rounds;
    try
    {
        return run_measures(only, effort) == 0 ? 0 : 1;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "daemon_bench: %s\n", e.what());
        return 2;
    }
}
