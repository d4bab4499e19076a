// The words in which a preview names where something comes from: a cell with what it holds, a
// setting with its line of vkApp.ini.
#pragma once

#include <string>
#include <vector>

#include "app/AppSettings.h"
#include "vkctl/preview/Preview.h"

namespace vkctl
{

// " (vkApp.ini:41)", or " (default)" for a key that the file does not have.
std::string line_of(const SimpleIni& ini, const SettingPlace& place);

// The key and its line.
std::string setting(const SimpleIni& ini, const SettingPlace& place);

// A stored value, "(empty)", or the begin of a very long one and its length.
std::string shown_value(const std::string& value);

// "tbUps.Load = 42.7"
std::string cell_text(const PreviewCell& cell);

// The cell of that column, whatever its case, as the daemon finds it; null when there is none.
const PreviewCell* find_cell(const std::vector<PreviewCell>& cells, const std::string& column);

// cell_text of it, or "no column ...".
std::string from_cell(const std::vector<PreviewCell>& cells, const std::string& column);

// The same of a column that is read as a number, with the number where the cell holds another text.
std::string from_number(const std::vector<PreviewCell>& cells, const std::string& column);
std::string number_text(const PreviewCell& cell);

// A part of a body as it reads without what joins it to the one before.
std::string without_separator(const std::string& text);

} // namespace vkctl
