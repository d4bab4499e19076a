#include "vkctl/preview/PreviewSource.h"

#include <strings.h>

#include <algorithm>

#include "app/AppPostConfig.h"

namespace vkctl
{

namespace
{

constexpr size_t kLongestValue = 200; // bytes of a stored value that are shown

} // namespace

std::string line_of(const SimpleIni& ini, const SettingPlace& place)
{
    const int line = ini.GetLine(place.section, place.key);
    return line > 0 ? std::string(" (") + kConfigFile + ":" + std::to_string(line) + ")"
                    : " (default)";
}

std::string setting(const SimpleIni& ini, const SettingPlace& place)
{
    return place.key + line_of(ini, place);
}

std::string shown_value(const std::string& value)
{
    if (value.size() <= kLongestValue)
    {
        return value.empty() ? "(empty)" : value;
    }
    size_t end = kLongestValue; // not in the middle of a character
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80)
    {
        --end;
    }
    return value.substr(0, end) + "... (" + std::to_string(value.size()) + " bytes)";
}

std::string cell_text(const PreviewCell& cell)
{
    return cell.table + "." + cell.column + " = " + shown_value(cell.value);
}

const PreviewCell* find_cell(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const auto found = std::find_if(cells.begin(), cells.end(),
                                    [&](const PreviewCell& cell) {
                                        return strcasecmp(cell.column.c_str(), column.c_str()) == 0;
                                    });
    return found != cells.end() ? &*found : nullptr;
}

std::string from_cell(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const PreviewCell* cell = find_cell(cells, column);
    return cell != nullptr ? cell_text(*cell) : "no column " + column;
}

std::string number_text(const PreviewCell& cell)
{
    const std::string number = std::to_string(cell.number);
    return cell_text(cell) + (cell.value == number ? "" : ", read as " + number);
}

std::string from_number(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const PreviewCell* cell = find_cell(cells, column);
    return cell != nullptr ? number_text(*cell) : "no column " + column;
}

std::string without_separator(const std::string& text)
{
    return !text.empty() && text[0] == '&' ? text.substr(1) : text;
}

} // namespace vkctl
