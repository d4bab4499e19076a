// Where the head of a body comes from.
#pragma once

#include <vector>

#include "vkctl/preview/PreviewExplain.h"

namespace vkctl
{

// One explanation for each group of Fmt0, from "&" to "&".
std::vector<Explanation> explain_head(const PreviewBody& body, const CAppPost& poster);

} // namespace vkctl
