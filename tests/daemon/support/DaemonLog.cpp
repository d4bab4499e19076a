#include "tests/daemon/support/DaemonLog.h"

#include <algorithm>
#include <regex>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/HostDir.h"

namespace
{

const std::regex& prefix_pattern()
{
    static const std::regex pattern(
        R"((\d+)=\[(RtLog|ExpLog)\]\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] )");
    return pattern;
}

} // namespace

std::vector<LogEntry> parse_log(const std::string& text)
{
    std::vector<LogEntry> entries;
    size_t end = 0; // of the last prefix
    const auto close_entry = [&](size_t next)
    {
        const std::string message = text.substr(end, next - end);
        if (!entries.empty())
        {
            entries.back().message = message;
        }
        else if (!message.empty())
        {
            entries.push_back({0, "", message});
        }
    };
    for (std::sregex_iterator at(text.begin(), text.end(), prefix_pattern()), none; at != none;
         ++at)
    {
        close_entry(static_cast<size_t>(at->position()));
        entries.push_back({std::stoul(at->str(1)), at->str(2), ""});
        end = static_cast<size_t>(at->position() + at->length());
    }
    close_entry(text.size());
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
