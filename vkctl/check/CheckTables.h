// The tables that discovery meets, and the fixed ones that the daemon reads: what stalls the start,
// what fails at every sweep, what is posted twice.
//
// table-required, table-hidden, table-twice, table-two-lists, output-columns, output-row, and those
// of CheckDeviceTables.h.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

void check_tables(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings);

} // namespace vkctl
