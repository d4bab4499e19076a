// What the fuzz targets share. Each is one function that libFuzzer calls with input after input;
// memory errors are seen by the sanitizers, wrong results by `require`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

inline void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

inline std::string_view text_of(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

// Takes the first line off an input: up to the first line feed or NUL.
inline std::string take_line(std::string_view& input)
{
    const size_t end = input.find_first_of(std::string_view("\n\0", 2));
    std::string line(input.substr(0, end));
    input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
    return line;
}
