// Checksums and hexadecimal text in bytes per second, and the CRCs done in two other ways: bit by
// bit, and by a table of 16 entries that takes half a byte. Compare within one run only.
//
//   checksum_bench --benchmark_filter=Crc
#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <vector>

#include "common/BufHelper.h"

namespace
{

constexpr int kRequest = 8;   // bytes of a Modbus request
constexpr int kLargest = 255; // what the 16-bit CRCs take at most

std::vector<unsigned char> some_bytes(size_t count)
{
    std::vector<unsigned char> bytes(count);
    for (size_t i = 0; i < count; ++i)
    {
        bytes[i] = static_cast<unsigned char>(i * 37 + 11);
    }
    return bytes;
}

// --- The two other ways --------------------------------------------------------------------

// As many shifts of a CRC that takes the least significant bit first, or the most significant.
template <typename T, T Polynomial, bool Reflected> constexpr T shifted(T crc, int bits)
{
    constexpr T kTop = static_cast<T>(T{1} << (8 * sizeof(T) - 1));
    for (; bits > 0; --bits)
    {
        if (Reflected)
        {
            crc = static_cast<T>((crc & 1) != 0 ? crc >> 1 ^ Polynomial : crc >> 1);
        }
        else
        {
            crc = static_cast<T>((crc & kTop) != 0 ? crc << 1 ^ Polynomial : crc << 1);
        }
    }
    return crc;
}

template <typename T, T Initial, T Polynomial, bool Reflected>
T bit_by_bit(const unsigned char* bytes, size_t length)
{
    constexpr int kUp = Reflected ? 0 : 8 * (static_cast<int>(sizeof(T)) - 1);
    T crc = Initial;
    for (size_t i = 0; i < length; ++i)
    {
        crc = shifted<T, Polynomial, Reflected>(
            static_cast<T>(crc ^ static_cast<T>(T{bytes[i]} << kUp)), 8);
    }
    return crc;
}

template <typename T, T Polynomial, bool Reflected> constexpr std::array<T, 16> nibble_table()
{
    constexpr int kUp = Reflected ? 0 : 8 * static_cast<int>(sizeof(T)) - 4;
    std::array<T, 16> table{};
    for (unsigned int i = 0; i < 16; ++i)
    {
        table[i] = shifted<T, Polynomial, Reflected>(static_cast<T>(T(i) << kUp), 4);
    }
    return table;
}

template <typename T, T Initial, T Polynomial, bool Reflected>
T by_nibble(const unsigned char* bytes, size_t length)
{
    constexpr auto kTable = nibble_table<T, Polynomial, Reflected>();
    constexpr int kDown = 8 * static_cast<int>(sizeof(T)) - 4;
    T crc = Initial;
    for (size_t i = 0; i < length; ++i)
    {
        if constexpr (Reflected)
        {
            crc = static_cast<T>(crc ^ bytes[i]);
            crc = static_cast<T>(crc >> 4 ^ kTable[crc & 0xF]);
            crc = static_cast<T>(crc >> 4 ^ kTable[crc & 0xF]);
        }
        else
        {
            crc = static_cast<T>(crc << 4 ^ kTable[(crc >> kDown ^ bytes[i] >> 4) & 0xF]);
            crc = static_cast<T>(crc << 4 ^ kTable[(crc >> kDown ^ bytes[i]) & 0xF]);
        }
    }
    return crc;
}

// --- CRCs ------------------------------------------------------------------------------------

// One way of a CRC over a buffer of the benchmark's size. A way that computes something else than
// the library does is no way: it ends the benchmark.
template <typename Ours, typename Way> void run_crc(benchmark::State& state, Ours ours, Way way)
{
    auto bytes = some_bytes(static_cast<size_t>(state.range(0)));
    if (way(bytes.data(), bytes.size()) != ours(bytes.data(), bytes.size()))
    {
        state.SkipWithError("another checksum");
    }
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(bytes.data());
        benchmark::DoNotOptimize(way(bytes.data(), bytes.size()));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

const auto kCrc16 = [](unsigned char* buf, size_t length)
{
    return CBufHelper::crc16(buf, static_cast<unsigned char>(length));
};
const auto kCrc16x = [](unsigned char* buf, size_t length)
{
    return CBufHelper::crc16x(buf, static_cast<unsigned char>(length));
};
const auto kCrc32 = [](unsigned char* buf, size_t length)
{
    return CBufHelper::crc32_mpeg_2(buf, length);
};

void crc16(benchmark::State& state)
{
    run_crc(state, kCrc16, kCrc16);
}
void crc16_by_nibble(benchmark::State& state)
{
    run_crc(state, kCrc16, by_nibble<uint16_t, 0xFFFF, 0xA001, true>);
}
void crc16_bit_by_bit(benchmark::State& state)
{
    run_crc(state, kCrc16, bit_by_bit<uint16_t, 0xFFFF, 0xA001, true>);
}
BENCHMARK(crc16)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(crc16_by_nibble)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(crc16_bit_by_bit)->Arg(kRequest)->Arg(kLargest);

void crc16x(benchmark::State& state)
{
    run_crc(state, kCrc16x, kCrc16x);
}
void crc16x_by_nibble(benchmark::State& state)
{
    run_crc(state, kCrc16x, by_nibble<uint16_t, 0, 0x1021, false>);
}
void crc16x_bit_by_bit(benchmark::State& state)
{
    run_crc(state, kCrc16x, bit_by_bit<uint16_t, 0, 0x1021, false>);
}
BENCHMARK(crc16x)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(crc16x_by_nibble)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(crc16x_bit_by_bit)->Arg(kRequest)->Arg(kLargest);

void crc32(benchmark::State& state)
{
    run_crc(state, kCrc32, kCrc32);
}
void crc32_by_nibble(benchmark::State& state)
{
    run_crc(state, kCrc32, by_nibble<uint32_t, 0xFFFFFFFF, 0x04C11DB7, false>);
}
void crc32_bit_by_bit(benchmark::State& state)
{
    run_crc(state, kCrc32, bit_by_bit<uint32_t, 0xFFFFFFFF, 0x04C11DB7, false>);
}
BENCHMARK(crc32)->Arg(kRequest)->Arg(kLargest)->Arg(65536);
BENCHMARK(crc32_by_nibble)->Arg(kRequest)->Arg(kLargest)->Arg(65536);
BENCHMARK(crc32_bit_by_bit)->Arg(kRequest)->Arg(kLargest)->Arg(65536);

// --- Sums and hexadecimal text ---------------------------------------------------------------

// Runs a call on the bytes of the benchmark's size and on their digits; counts the bytes.
template <typename Call> void run_bytes(benchmark::State& state, Call call)
{
    const auto bytes = some_bytes(static_cast<size_t>(state.range(0)));
    const auto length = static_cast<int>(bytes.size());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(bytes.data());
        benchmark::DoNotOptimize(call(bytes.data(), length));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

std::string digits_of(const unsigned char* bytes, int length, int separator)
{
    std::string digits(3 * static_cast<size_t>(length) + 1, '\0');
    digits.resize(
        static_cast<size_t>(CBufHelper::HexStr2AsciiStr(digits.data(), bytes, length, separator)));
    return digits;
}

void sum(benchmark::State& state)
{
    run_bytes(state, CBufHelper::sum);
}
void lrc(benchmark::State& state)
{
    run_bytes(state, CBufHelper::lrc);
}
void xor_of_all(benchmark::State& state)
{
    run_bytes(state, CBufHelper::Xor);
}
BENCHMARK(sum)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(lrc)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(xor_of_all)->Arg(kRequest)->Arg(kLargest);

void hex_to_ascii(benchmark::State& state)
{
    std::string out(3 * kLargest + 1, '\0');
    run_bytes(state, [&](const unsigned char* bytes, int length)
              { return CBufHelper::HexStr2AsciiStr(out.data(), bytes, length, 0); });
}
void buf_to_text(benchmark::State& state)
{
    run_bytes(state, [](const unsigned char* bytes, int length)
              { return CBufHelper::BufToStr(bytes, length, '\0').size(); });
}
void buf_from_text(benchmark::State& state)
{
    const std::string digits = digits_of(some_bytes(kLargest).data(), kLargest, 0);
    std::vector<unsigned char> out(kLargest);
    run_bytes(state, [&](const unsigned char*, int length)
              { return CBufHelper::BufFromStr(out.data(), digits.data(), 2 * length); });
}
void ascii_to_hex(benchmark::State& state)
{
    const std::string groups = digits_of(some_bytes(kLargest).data(), kLargest, ' ');
    std::vector<unsigned char> out(groups.size() + 2, 0);
    run_bytes(state, [&](const unsigned char*, int length)
              { return CBufHelper::AsciiStr2HexStr(out.data(), groups.data(), 3 * length - 1); });
}
BENCHMARK(hex_to_ascii)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(buf_to_text)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(buf_from_text)->Arg(kRequest)->Arg(kLargest);
BENCHMARK(ascii_to_hex)->Arg(kRequest)->Arg(kLargest);

} // namespace

BENCHMARK_MAIN();
