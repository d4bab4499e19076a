#include "tests/daemon/torture/Damage.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "tests/daemon/support/HostDir.h"

namespace
{

using Random = std::mt19937;

constexpr size_t kPage = 4096;
constexpr size_t kPiece = 3000; // of a slow write
constexpr std::chrono::milliseconds kPieceEvery{3};

void fill_random(std::string& bytes, size_t from, size_t to, Random& random)
{
    for (size_t i = from; i < std::min(to, bytes.size()); ++i)
    {
        bytes[i] = static_cast<char>(random());
    }
}

size_t some_page(const std::string& bytes, Random& random)
{
    return random() % std::max<size_t>(1, bytes.size() / kPage) * kPage;
}

std::string flip_bytes(std::string bytes, Random& random)
{
    for (size_t n = 1 + random() % 200; n > 0; --n)
    {
        bytes[random() % bytes.size()] ^= static_cast<char>(1U << random() % 8);
    }
    return bytes;
}

std::string zero_page(std::string bytes, Random& random)
{
    const size_t page = some_page(bytes, random);
    std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(page), kPage, '\0');
    return bytes;
}

std::string random_page(std::string bytes, Random& random)
{
    const size_t page = some_page(bytes, random);
    fill_random(bytes, page, page + kPage, random);
    return bytes;
}

std::string swap_pages(std::string bytes, Random& random)
{
    const size_t one = some_page(bytes, random);
    const size_t other = some_page(bytes, random);
    for (size_t i = 0; i < kPage; ++i)
    {
        std::swap(bytes[one + i], bytes[other + i]);
    }
    return bytes;
}

std::string random_head(std::string bytes, Random& random)
{
    fill_random(bytes, random() % 100, 100, random);
    return bytes;
}

std::string truncated(std::string bytes, Random& random)
{
    bytes.resize(random() % bytes.size());
    return bytes;
}

std::string truncated_to_pages(std::string bytes, Random& random)
{
    bytes.resize(some_page(bytes, random));
    return bytes;
}

std::string emptied(std::string /*bytes*/, Random& /*random*/)
{
    return {};
}

std::string made_text(std::string /*bytes*/, Random& /*random*/)
{
    return "no database at all\n";
}

std::string all_random(std::string bytes, Random& random)
{
    fill_random(bytes, 0, bytes.size(), random);
    return bytes;
}

std::string made_longer(std::string bytes, Random& random)
{
    const size_t size = bytes.size();
    bytes.resize(size + random() % 100000);
    fill_random(bytes, size, bytes.size(), random);
    return bytes;
}

const Damage kDamages[] = {
    {"flipped bits", flip_bytes},
    {"a page of zeros", zero_page},
    {"a random page", random_page},
    {"two pages swapped", swap_pages},
    {"a random head", random_head},
    {"truncated", truncated},
    {"pages cut off", truncated_to_pages},
    {"emptied", emptied},
    {"a text", made_text},
    {"random bytes", all_random},
    {"longer", made_longer},
};

void write_slowly(const std::string& file, const std::string& bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    for (size_t at = 0; at < bytes.size(); at += kPiece)
    {
        out << bytes.substr(at, kPiece) << std::flush;
        std::this_thread::sleep_for(kPieceEvery);
    }
    if (!out)
    {
        throw std::runtime_error("cannot write " + file);
    }
}

} // namespace

const Damage& some_damage(Random& random)
{
    return kDamages[random() % std::size(kDamages)];
}

Way some_way(Random& random)
{
    return static_cast<Way>(random() % 3);
}

const char* way_name(Way way)
{
    return way == Way::kNewFile ? "new file" : way == Way::kSameFile ? "same file" : "slowly";
}

void put_bytes(const std::string& file, const std::string& bytes, Way way)
{
    switch (way)
    {
    case Way::kNewFile:
        write_file(file + ".new", bytes);
        std::filesystem::rename(file + ".new", file);
        break;
    case Way::kSameFile:
        write_file(file, bytes);
        break;
    case Way::kSameFileSlow:
        write_slowly(file, bytes);
        break;
    }
}
