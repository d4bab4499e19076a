#include "tests/support/Recorder.h"

#include <algorithm>
#include <numeric>

namespace
{

bool starts(const std::string& text, const std::string& with)
{
    return text.compare(0, with.size(), with) == 0;
}

std::vector<std::string> rest_of(const std::vector<std::string>& events, const std::string& start)
{
    std::vector<std::string> found;
    for (const std::string& event : events)
    {
        if (starts(event, start))
        {
            found.push_back(event.substr(start.size()));
        }
    }
    return found;
}

} // namespace

Recorder& Recorder::Get()
{
    static Recorder recorder;
    return recorder;
}

void Recorder::Clear()
{
    *this = Recorder{};
}

std::vector<std::string> Recorder::Steps() const
{
    std::vector<std::string> steps;
    std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(steps),
                 [](const std::string& event) { return !starts(event, "log "); });
    return steps;
}

std::vector<std::string> Recorder::Logs() const
{
    return rest_of(m_events, "log ");
}

std::vector<std::string> Recorder::Sql() const
{
    return rest_of(m_events, "sql ");
}

std::vector<int> Recorder::Pauses() const
{
    std::vector<int> pauses;
    for (const std::string& ms : rest_of(m_events, "pause "))
    {
        pauses.push_back(std::stoi(ms));
    }
    return pauses;
}

long Recorder::PauseSum() const
{
    const std::vector<int> pauses = Pauses();
    return std::accumulate(pauses.begin(), pauses.end(), 0L);
}

int Recorder::Count(const std::string& event) const
{
    return static_cast<int>(std::count(m_events.begin(), m_events.end(), event));
}

int Recorder::CountStarting(const std::string& start) const
{
    return static_cast<int>(rest_of(m_events, start).size());
}

std::vector<std::string> Recorder::Between(const std::string& from, const std::string& to) const
{
    const auto begins = [](const std::string& with)
    {
        return [&with](const std::string& event)
        {
            return starts(event, with);
        };
    };
    const auto first = std::find_if(m_events.begin(), m_events.end(), begins(from));
    if (first == m_events.end())
    {
        return {};
    }
    return {first, std::find_if(first + 1, m_events.end(), begins(to))};
}

std::vector<std::string> Recorder::Bodies() const
{
    std::vector<std::string> bodies;
    for (const Posted& post : posts)
    {
        bodies.push_back(post.body);
    }
    return bodies;
}
