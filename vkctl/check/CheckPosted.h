// Which texts of a body come from the database, word for word: they may hold whatever somebody has
// written there. Texts of vkApp.ini, the daemon's own words and numbers do not count.
//
// Pure function. The views point into its arguments.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

struct PostedText
{
    std::string_view text;
    std::string_view table;
    std::string_view column;
    bool isName = false; // it is the column's name, and not a value in it
};

// In the order of the body. names: of devices, as discovery has read them from tbSM.
std::vector<PostedText> posted_texts(const PreviewBody& body,
                                     const std::map<int, std::string>& names);

} // namespace vkctl
