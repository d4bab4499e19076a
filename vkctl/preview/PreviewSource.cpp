#include "vkctl/preview/PreviewSource.h"

#include <strings.h>

#include <algorithm>

namespace vkctl
{

namespace
{

constexpr size_t kLongestValue = 200; // bytes of a stored value that are shown

} // namespace

std::string line_of(const SimpleIni& ini, const std::string& section, const std::string& key)
{
    const int line = ini.GetLine(section, key);
    return line > 0 ? std::string(" (") + kConfigFile + ":" + std::to_string(line) + ")"
                    : " (default)";
}

std::string setting(const SimpleIni& ini, const std::string& section, const std::string& key)
{
    return key + line_of(ini, section, key);
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

std::vector<PreviewCell> head_cells(const PreviewBody& body)
{
    std::vector<PreviewCell> cells;
    for (const PreviewPart& part : body.parts)
    {
        if (part.part == BodyPart::kHead)
        {
            cells.insert(cells.end(), part.cells.begin(), part.cells.end());
        }
    }
    return cells;
}

const PreviewCell* find_cell(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const auto found = std::find_if(cells.rbegin(), cells.rend(),
                                    [&](const PreviewCell& cell) {
                                        return strcasecmp(cell.column.c_str(), column.c_str()) == 0;
                                    });
    return found != cells.rend() ? &*found : nullptr;
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

bool is_cleared(const PreviewCell& alarm)
{
    constexpr int kClearedBit = 4;
    return (alarm.number & kClearedBit) != 0;
}

std::string without_separator(const std::string& text)
{
    return !text.empty() && text[0] == '&' ? text.substr(1) : text;
}

} // namespace vkctl
