#include "tests/daemon/support/PreviewOutput.h"

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace
{

constexpr char kArrow[] = " -> ";
constexpr size_t kDumpStart = 10; // "  000010  " goes before the bytes
constexpr size_t kBytesALine = 16;

// "device 7 of tbDev, 90 bytes -> http://a -> http://b"
ShownBody parse_heading(const std::string& line)
{
    ShownBody body;
    body.kind = line.substr(0, line.find(' '));
    const size_t arrow = std::size(kArrow) - 1;
    for (size_t at = line.find(kArrow); at != std::string::npos;)
    {
        const size_t next = line.find(kArrow, at + arrow);
        const std::string url = line.substr(at + arrow, next - std::min(next, at + arrow));
        at = next;
        if (url != "nowhere")
        {
            body.urls.push_back(url);
        }
    }
    return body;
}

void append_dump_line(const std::string& line, std::string& bytes)
{
    if (std::strtoul(line.c_str(), nullptr, 16) != bytes.size())
    {
        throw std::runtime_error("a line of the dump is missing before: " + line);
    }
    for (size_t i = 0; i < kBytesALine; ++i)
    {
        const std::string digits = line.substr(kDumpStart + 3 * i, 2);
        if (digits == "  ")
        {
            return;
        }
        bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
    }
}

// "  00" begins a line of the dump; "  75 bytes in GBK" and "  cut before: ..." are about it.
bool is_dump_line(const std::string& line)
{
    return line.size() > kDumpStart && line.find_first_not_of("0123456789abcdef", 2) == 8 &&
           line.compare(8, 2, "  ") == 0;
}

} // namespace

std::vector<ShownBody> parse_encoding_output(const std::string& output)
{
    std::vector<ShownBody> bodies;
    std::istringstream lines(output);
    bool is_heading = true; // the first line, and what follows an empty one
    for (std::string line; std::getline(lines, line); is_heading = line.empty())
    {
        if (is_heading)
        {
            bodies.push_back(parse_heading(line));
        }
        else if (is_dump_line(line))
        {
            append_dump_line(line, bodies.at(bodies.size() - 1).bytes);
        }
    }
    return bodies;
}

std::vector<std::string> parse_null_output(const std::string& output)
{
    std::vector<std::string> bodies;
    std::istringstream texts(output);
    for (std::string text; std::getline(texts, text, '\0');)
    {
        bodies.push_back(text);
    }
    return bodies;
}

std::string CNow::Without(const std::string& body) const
{
    std::string result = body;
    for (std::time_t time = m_begin; time <= std::time(nullptr); ++time)
    {
        const std::string stamp = time_stamp(time);
        for (size_t at = result.find(stamp); at != std::string::npos; at = result.find(stamp))
        {
            result.replace(at, stamp.size(), "<now>");
        }
    }
    return result;
}

std::string without_host_figures(const std::string& body)
{
    static const std::regex kFigures("&cpu1=[0-9]+&cpu5=[0-9]+&cpu15=[0-9]+(&memtotal=[0-9]+)"
                                     "&memfree=[0-9]+&membuf=[0-9]+&memcach=[0-9]+"
                                     "(&cpufreq=[0-9]+&flashsize=[0-9]+)$");
    return std::regex_replace(body, kFigures, "&<load>$1&<memory>$2");
}

std::string time_stamp(std::time_t time)
{
    std::tm local{};
    localtime_r(&time, &local);
    char text[32];
    std::strftime(text, sizeof(text), "%F %T", &local);
    return text;
}
