// Where each pair of a body comes from: table, column, stored value, and the line of vkApp.ini
// that rendered it.
#pragma once

#include <string>
#include <vector>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

// One pair, or a group of pairs that come from one row, and its origin. Without text: a cell that
// was not posted, and why.
struct Explanation
{
    std::string pairs; // as in the body, without the leading "&"
    std::string source;
};

std::vector<Explanation> explain(const PreviewBody& body, const CAppPost& poster);

// The keys of section POST.xFld whose texts make a value of that column, in order. Empty: the
// value is posted as stored, or nothing is.
std::vector<std::string> text_keys(const SimpleIni& ini, int type, const std::string& column,
                                   int value);

} // namespace vkctl
