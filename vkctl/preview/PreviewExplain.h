// Where each pair of a body comes from: table, column, stored value, and the line of vkApp.ini
// that rendered it.
#pragma once

#include <string>
#include <vector>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

// One pair, or a group of pairs that come from one row, and its origin. Without text: what was left
// out, and why.
struct Explanation
{
    std::string pairs; // as in the body, without the leading "&"
    std::string source;
};

std::vector<Explanation> explain(const PreviewBody& body, const CAppPost& poster);

} // namespace vkctl
