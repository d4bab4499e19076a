// The sections POST.Detail, POST.General and POST.Master: tables that do not exist, modes that
// print nothing, detail tables that fail or that nobody names, columns out of range.
//
// key-unread, integer-invalid, detail-mode-unknown, detail-columns, detail-unused, master-missing,
// master-not-detail, master-columns, general-column, value-unescaped.
#pragma once

#include "vkctl/CheckCatalogue.h"
#include "vkctl/Finding.h"

namespace vkctl
{

void check_details(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);
void check_generals(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings);
void check_masters(const CCatalogue& catalogue, const CIniFile& ini, CFindings& findings);

} // namespace vkctl
