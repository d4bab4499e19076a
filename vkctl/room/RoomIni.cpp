#include "vkctl/room/RoomIni.h"

#include <algorithm>

#include "vkctl/base/CliError.h"
#include "vkctl/room/RoomTexts.h"

namespace vkctl
{

namespace
{

void refuse_unwritable(const std::string& key, const std::string& value)
{
    if (value.find_first_of(";#\r\n") != std::string::npos)
    {
        throw CCliError("the value for " + key + " holds ';', '#' or a line end: " + value +
                            "\nvkApp.ini cannot hold these; leave them out",
                        kExitUsage);
    }
}

// Where the section's lines begin and end in `text`.
std::pair<size_t, size_t> section_range(const std::string& text, const std::string& section)
{
    const std::string header = "\n[" + section + "]\n";
    const size_t at = text.find(header);
    if (at == std::string::npos)
    {
        throw CCliError("the built-in vkApp.ini has no section " + section);
    }
    const size_t begin = at + header.size();
    const size_t end = text.find("\n[", begin - 1);
    return {begin, end == std::string::npos ? text.size() : end + 1};
}

std::string set_urls(std::string text, const std::string& key, const std::vector<std::string>& urls)
{
    for (size_t i = 0; i < urls.size(); ++i)
    {
        const std::string number = i == 0 ? "" : std::to_string(i);
        text = set_ini_value(text, "POST", key + number, urls[i]);
    }
    return text;
}

} // namespace

std::string set_ini_value(const std::string& text, const std::string& section,
                          const std::string& key, const std::string& value)
{
    refuse_unwritable(key, value);
    const auto [begin, end] = section_range(text, section);
    const std::string line = key + "=" + value + "\n";

    const size_t at = text.find("\n" + key + "=", begin - 1);
    if (at == std::string::npos || at + 1 >= end)
    {
        return text.substr(0, end) + line + text.substr(end);
    }
    const size_t line_end = std::min(text.find('\n', at + 1), text.size());
    return text.substr(0, at + 1) + line + text.substr(std::min(line_end + 1, text.size()));
}

std::string room_ini_text(const RoomIni& ini)
{
    std::string text = ini_template();
    text = set_urls(text, "Url", ini.urls);
    text = set_urls(text, "AlmUrl", ini.alarm_urls);

    // Two at least: with a smaller number the alarms would have no list of URLs to go to.
    const size_t max_urls = std::max({size_t{2}, ini.urls.size(), ini.alarm_urls.size()});
    text = set_ini_value(text, "POST", "maxURLs", std::to_string(max_urls));
    text = set_ini_value(text, "POST", "Delay", std::to_string(ini.delay_ms));
    text = set_ini_value(text, "POST", "Timeout", std::to_string(ini.timeout_s));
    text = set_ini_value(text, "POST", "ReTbls", std::to_string(ini.re_tbls));
    text = set_ini_value(text, "POST", "Encoding", ini.encoding);
    text = set_ini_value(text, "POST", "CA", ini.ca);
    return set_ini_value(text, "POST", "Dept", ini.dept);
}

} // namespace vkctl
