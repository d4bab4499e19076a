// The section POST.General: tables that do not exist or are posted as something else, first columns
// out of range, names that a receiver splits.
#pragma once

#include "vkctl/CheckCatalogue.h"
#include "vkctl/Finding.h"

namespace vkctl
{

// key-unread, integer-invalid, general-column, value-unescaped.
void check_generals(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings);

} // namespace vkctl
