// A body's bytes as they would leave the host, in the configured encoding.
#pragma once

#include <cstddef>
#include <string>

namespace vkctl
{

struct EncodedBody
{
    std::string bytes;
    std::string arrives; // the same in UTF-8, as a receiver reads it
    std::string lost; // from the first character on that did not make it; empty: nothing was lost
    size_t replaced =
        0; // characters in whose place others stand ("//TRANSLIT"), or nothing ("//IGNORE")
};

// Converts as the daemon does, with the encoding that its configuration has set.
EncodedBody encode_body(const std::string& body);

// Whether bodies can be converted to it at all. Where they cannot, they leave as they are.
bool is_known_encoding(const std::string& name);

// Sixteen bytes a line: offset, hexadecimal, and the ASCII characters among them.
std::string hex_dump(const std::string& bytes);

} // namespace vkctl
