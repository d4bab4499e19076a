// The section POST.Detail: tables that do not exist, modes that print nothing, columns that a mode
// lacks or prints as another value, tables that nobody names.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// key-unread, integer-invalid, detail-mode-unknown, detail-columns, detail-unused,
// value-not-integer.
void check_details(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

} // namespace vkctl
