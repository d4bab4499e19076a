// Devices, inputs and cameras: whose SID is whose, which have no name, and which of their integers
// the daemon reads as others. Every row counts as it does for the daemon's discovery.
//
// sid-twice, sid-taken, device-unnamed, value-not-integer.
#pragma once

#include <string>

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

void check_devices(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

// value-not-integer: rows of a table with SIDs that no query for the integer finds which the daemon
// reads there. effect: what becomes of such a row ("is never posted").
void check_lost_sids(CHostDatabase& db, const HostTable& table, const std::string& where,
                     const std::string& effect, const Place& place, CFindings& findings);

} // namespace vkctl
