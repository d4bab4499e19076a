// The tables that are searched for devices: whether SQL finds them, and the columns that all have.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// What a search that fails ten times costs.
constexpr char kPhaseStall[] = "stalls the start of the daemon, and each new search, for 100 s";

// no-device-table, table-no-sid, table-name, device-columns, device-layout.
void check_device_tables(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                         CFindings& findings);

} // namespace vkctl
