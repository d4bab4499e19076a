// The vkApp.ini of a sample room: the annotated example with a few values put in.
#pragma once

#include <string>
#include <vector>

namespace vkctl
{

struct RoomIni
{
    std::vector<std::string> urls;       // empty: as in the example
    std::vector<std::string> alarm_urls; // empty: as in the example
    int delay_ms = 5000;
    int timeout_s = 15;
    int re_tbls = 0;
    std::string encoding = "UTF-8";
    std::string ca;
    std::string dept = "ROOM-01";
};

// `text` with the value of `key` in section `section` replaced; comments and order stay. A key
// that the section lacks is added at the section's end. Throws CCliError for a value that an INI
// file cannot hold (";", "#", a line end) and for a section that the text lacks.
std::string set_ini_value(const std::string& text, const std::string& section,
                          const std::string& key, const std::string& value);

std::string room_ini_text(const RoomIni& ini);

} // namespace vkctl
