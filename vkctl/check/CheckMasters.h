// The section POST.Master: tables that are no device tables, detail tables that do not exist or
// have no mode, more columns than there are.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// key-unread, integer-invalid, table-name, master-not-detail, master-missing, master-columns.
void check_masters(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

} // namespace vkctl
