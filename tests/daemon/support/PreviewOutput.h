// What `vkctl preview` shows, read back: bodies, where they go, their bytes.
#pragma once

#include <ctime>
#include <string>
#include <vector>

struct ShownBody
{
    std::string kind; // "device", "general" ...
    std::vector<std::string> urls;
    std::string bytes; // as they would leave the host
};

// Reads the output of `vkctl preview --encoding`. Throws std::runtime_error when it is none.
std::vector<ShownBody> parse_encoding_output(const std::string& output);

// Reads the output of `vkctl preview --null`.
std::vector<std::string> parse_null_output(const std::string& output);

// What may differ between a body shown and the same body posted, as the two are not made at the
// same instant.

// Takes the stamps out that the clock has shown since this object was made.
class CNow
{
public:
    explicit CNow(std::time_t begin = std::time(nullptr)) : m_begin(begin) {}
    std::string Without(const std::string& body) const; // "<now>" in their place

private:
    std::time_t m_begin;
};

// Load and memory in use at the end of the host's body, as "<load>" and "<memory>".
std::string without_host_figures(const std::string& body);

// A local time as the daemon prints it.
std::string time_stamp(std::time_t time);
