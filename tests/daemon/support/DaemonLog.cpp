#include "tests/daemon/support/DaemonLog.h"

#include <algorithm>
#include <cstddef>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/HostDir.h"

namespace
{

constexpr char kDigits[] = "0123456789";
constexpr char kTimeShape[] = "[dddd-dd-dd dd:dd:dd] "; // d: a digit

bool has_shape(const std::string& text, size_t at, const std::string& shape)
{
    const auto fits = [](char c, char wanted)
    {
        return wanted == 'd' ? c >= '0' && c <= '9' : c == wanted;
    };
    return at + shape.size() <= text.size() &&
           std::equal(shape.begin(), shape.end(), text.begin() + static_cast<ptrdiff_t>(at),
                      [&](char wanted, char c) { return fits(c, wanted); });
}

// "12=[RtLog][2024-05-01 12:00:00] " and where it stands.
struct Prefix
{
    size_t start = std::string::npos;
    size_t end = std::string::npos;
    LogEntry entry{0, "", ""};
};

// The prefix whose "=[" stands there; its start is npos when there is none.
Prefix prefix_at(const std::string& text, size_t equals)
{
    Prefix prefix;
    const size_t before = equals == 0 ? equals : text.find_last_not_of(kDigits, equals - 1);
    const size_t start = before == std::string::npos ? 0 : before + 1;
    for (const char* tag : {"RtLog", "ExpLog"})
    {
        const std::string shape = "=[" + std::string(tag) + "]" + kTimeShape;
        if (start < equals && has_shape(text, equals, shape))
        {
            prefix.start = start;
            prefix.end = equals + shape.size();
            prefix.entry = {std::stoul(text.substr(start, equals - start)), tag, ""};
        }
    }
    return prefix;
}

Prefix next_prefix(const std::string& text, size_t from)
{
    Prefix prefix;
    size_t equals = text.find("=[", from);
    while (equals != std::string::npos && prefix.start == std::string::npos)
    {
        prefix = prefix_at(text, equals);
        equals = text.find("=[", equals + 1);
    }
    return prefix;
}

} // namespace

std::vector<LogEntry> parse_log(const std::string& text)
{
    std::vector<LogEntry> entries;
    Prefix prefix = next_prefix(text, 0);
    if (prefix.start != 0 && !text.empty())
    {
        entries.push_back({0, "", text.substr(0, prefix.start)});
    }
    while (prefix.start != std::string::npos)
    {
        const Prefix next = next_prefix(text, prefix.end);
        prefix.entry.message = text.substr(prefix.end, next.start - prefix.end);
        entries.push_back(prefix.entry);
        prefix = next;
    }
    return entries;
}

std::vector<LogEntry> log_entries()
{
    return parse_log(read_file(kLogPath));
}

std::vector<std::string> log_messages()
{
    std::vector<std::string> messages;
    for (LogEntry& entry : log_entries())
    {
        messages.push_back(std::move(entry.message));
    }
    return messages;
}

size_t count_logged(const std::string& text)
{
    const std::vector<std::string> messages = log_messages();
    return static_cast<size_t>(std::count_if(messages.begin(), messages.end(),
                                             [&](const std::string& message)
                                             { return message.find(text) != std::string::npos; }));
}

bool has_logged(const std::string& text)
{
    return read_file(kLogPath).find(text) != std::string::npos;
}

bool wait_logged(const std::string& text)
{
    return wait_until([&] { return has_logged(text); });
}
