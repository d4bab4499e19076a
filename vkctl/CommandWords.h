// Words of the command line: how an entry of the help is laid out, and what a misspelt word was
// meant to be. Pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vkctl
{

constexpr size_t kHelpWidth = 80; // columns

// "  name        description", broken between words; a name that is too long has a line of its own.
std::string help_entry(const std::string& name, const std::string& description);

// The candidate that begins with `word`, or is at most two slips away from it (a letter too many,
// too few, another, or two that changed places); the nearest one, the first of equals. Empty: none.
std::string closest_word(const std::string& word, const std::vector<std::string>& candidates);

} // namespace vkctl
