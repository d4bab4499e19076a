// The sections that say what a table is: POST.Detail, POST.Master and POST.General.
//
// key-unread, integer-invalid, table-name, detail-mode-unknown, detail-columns, detail-unused,
// value-not-integer, master-not-detail, master-missing, master-columns, general-column,
// value-unescaped.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// key-unread, integer-invalid, detail-mode-unknown, detail-columns, detail-unused,
// value-not-integer.
void check_details(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

// key-unread, integer-invalid, table-name, master-not-detail, master-missing, master-columns.
void check_masters(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

// key-unread, integer-invalid, table-name, general-column, value-unescaped.
void check_generals(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                    CFindings& findings);

} // namespace vkctl
