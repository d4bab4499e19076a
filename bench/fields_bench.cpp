// Micro benchmarks of what a device body is made with: look-ups in the configuration, the rendering
// of one column by each kind of value table, the head, and a log line.
//
// Run it in the box (scripts/box): the log line is written where the daemon writes it.
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "app/AppBodyWriter.h"
#include "app/AppPost.h"
#include "vkPub/vkLog.h"

namespace
{

// A query that stands on one row for ever: two columns, "Run" with the number it was made with and
// "Tem" with a text.
class COneRowDb : public DbDatabase
{
public:
    explicit COneRowDb(int value) : m_value(value) {}
    virtual ~COneRowDb() = default;

    bool Open(const char*, int) override { return true; }
    int Close() override { return 0; }
    int Exec(const char*) override { return 0; }
    int QryExec(const char*, int) override { return 0; }
    bool QryEof(int) override { return false; }
    void QryNext(int) override {}
    void QryFree(int) override {}
    int QryFldCount(int) override { return 2; }
    const char* QryFldName(int, int iFld) override { return iFld == 0 ? "Run" : "Tem"; }
    int QryGetIntAt(int, int) override { return m_value; }
    int QryGetInt(int, const char*) override { return m_value; }
    const char* QryGetStrAt(int, int) override { return "25.5"; }
    const char* QryGetStr(int, const char*) override { return "25.5"; }

private:
    int m_value;
};

constexpr int kDeviceType = 5;
constexpr int kOtherTypes = 20; // as large as a real site's configuration
constexpr char kSection[] = "POST.xFld";

// Value tables of the given kind for the column "Run" of many device types.
void fill_value_tables(SimpleIni& ini, int kind)
{
    for (int type = 0; type < kOtherTypes; ++type)
    {
        const std::string key = std::to_string(type) + ".Run";
        ini.SetValue(kSection, key, std::to_string(kind));
        ini.SetValue(kSection, key + "x", "unknown");
        ini.SetValue(kSection, key + "00", "normal");
        for (int i = 0; i < 24; ++i)
        {
            ini.SetValue(kSection, key + std::to_string(i), "label " + std::to_string(i));
        }
    }
}

// Kind of the value table and value of the column are the arguments.
void render_column(benchmark::State& state)
{
    COneRowDb db(static_cast<int>(state.range(1)));
    CAppPost app;
    fill_value_tables(app.m_ini, static_cast<int>(state.range(0)));
    app.pDb = &db;
    std::string name;
    std::string value;
    for (auto _ : state)
    {
        app.GetQryFld(0, 0, kDeviceType, name, value);
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(render_column)
    ->ArgNames({"kind", "value"})
    ->Args({0, 0})
    ->Args({1, 1})
    ->Args({1, 99})
    ->Args({2, 0})
    ->Args({2, 0x12})
    ->Args({3, 0x0F0F})
    ->Args({4, 0})
    ->Args({4, 0xFFFFFF});

// The common case: a column that no value table knows.
void render_plain_column(benchmark::State& state)
{
    COneRowDb db(0);
    CAppPost app;
    fill_value_tables(app.m_ini, 1);
    app.pDb = &db;
    std::string name;
    std::string value;
    for (auto _ : state)
    {
        app.GetQryFld(0, 1, kDeviceType, name, value);
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(render_plain_column);

void write_head(benchmark::State& state)
{
    const std::string format = kDefaultFmt0;
    const CHead head{"xxx", 1001, 5, 0, "UPS-1", 2, "2024-05-01 12:00:00", "0"};
    std::array<char, 4096> buffer{};
    for (auto _ : state)
    {
        CBodyWriter body(buffer.data(), buffer.size());
        body.Head(format, head);
        benchmark::DoNotOptimize(buffer.data());
    }
}
BENCHMARK(write_head);

void write_pair(benchmark::State& state)
{
    const std::string name = "Uin";
    const std::string value = "231.4";
    std::array<char, 4096> buffer{};
    for (auto _ : state)
    {
        CBodyWriter body(buffer.data(), buffer.size());
        body.Pair(name, value);
        benchmark::DoNotOptimize(buffer.data());
    }
}
BENCHMARK(write_pair);

void look_up_text(benchmark::State& state)
{
    SimpleIni ini("");
    fill_value_tables(ini, 1);
    const std::string section = kSection;
    const std::string key = state.range(0) == 0 ? "5.Tem" : "5.Run1";
    const std::string none;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(ini.GetValue(section, key, none));
    }
}
BENCHMARK(look_up_text)->ArgName("found")->Arg(0)->Arg(1);

void look_up_number(benchmark::State& state)
{
    SimpleIni ini("");
    fill_value_tables(ini, 1);
    const std::string section = kSection;
    const std::string key = state.range(0) == 0 ? "5.Tem" : "5.Run";
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(ini.GetValue<int>(section, key, 0));
    }
}
BENCHMARK(look_up_number)->ArgName("found")->Arg(0)->Arg(1);

// A line with a body of the given length, with its open and its close.
void log_line(benchmark::State& state)
{
    if (access("/NandFlash/tmp", W_OK) != 0)
    {
        state.SkipWithError("there is no /NandFlash/tmp: run this in scripts/box");
        return;
    }
    const std::string body(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state)
    {
        VKLOG_TRACE("   DoPost Msg: %s\n", body.c_str());
    }
}
BENCHMARK(log_line)->ArgName("bytes")->Arg(10)->Arg(300)->Arg(20000);

} // namespace

BENCHMARK_MAIN();
