// The section POST.General: tables that do not exist or are posted as something else, first columns
// out of range, names that a receiver splits.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// key-unread, integer-invalid, table-name, general-column, value-unescaped.
void check_generals(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                    CFindings& findings);

} // namespace vkctl
