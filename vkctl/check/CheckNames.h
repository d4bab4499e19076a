// What a check says about names and numbers that are not quite what they should be. Pure functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vkctl/base/HostDatabase.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// The candidate that was probably meant: the same but for upper and lower case, or a slip or two
// away. Empty when there is none.
std::string likely_name(const std::string& name, const std::vector<std::string>& candidates);

// "; did you mean X?", or nothing for an empty name.
std::string did_you_mean(const std::string& name);

// "1001, 1002, 1003 and 7 more".
std::string shortened_list(const std::vector<std::string>& names, size_t total);

// A value as a message quotes it: whole up to 60 bytes, else what fits of it and "...".
std::string shortened(const std::string& value);

// Whether the daemon, reading the cell as an integer, takes it for another value than it holds.
// What holds nothing is 0, and not misread.
bool is_misread(const HostCell& cell);

// How to make an integer of a number that is stored as text, for the end of a message.
std::string integer_advice(const std::string& column);

// What is wrong with a text that is to be a number, with what it is taken as; empty when nothing
// is.
std::string integer_problem(const std::string& text, int taken);

// integer-invalid for a key that is read as a number, if it is there.
void check_integer(const CIniFile& ini, const std::string& section, const std::string& key,
                   CFindings& findings);

// What follows a table's name in the key that says how many of its columns are posted.
constexpr char kCountKey[] = ".flds";

// Takes `end` off the text where it ends so and has more in front of it; whether it did.
bool strip_end(std::string& text, const std::string& end);

// The number that a text spells exactly as the daemon would ("7", "-1"; not "07"); false otherwise.
bool read_plain_number(const std::string& text, int& number);

// The characters in the text that a receiver of form bodies takes for separators or escapes, each
// once, as a text for a message ("\"&\" and \"%\""); empty when there are none.
std::string form_characters(std::string_view text);

// What becomes of those characters, for the end of a message.
constexpr char kUnescaped[] =
    "nothing is escaped, so the receiver may split the value there or read it differently";

} // namespace vkctl
