// The tables that discovery meets, and the fixed ones that the daemon reads: what stalls the start,
// what fails at every sweep, what is posted twice.
//
// table-required, table-unreadable, table-hidden, table-twice, table-two-lists, output-columns,
// output-row, no-device-table, table-no-sid, table-name, device-columns, device-layout.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

void check_tables(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings);

} // namespace vkctl
