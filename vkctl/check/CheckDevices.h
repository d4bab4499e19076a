// The identifiers of devices, inputs and cameras: no integers, doubled, unnamed, or taken by
// something else.
//
// sid-twice, sid-taken, device-unnamed, and that of CheckIntegers.h. A few queries for each table,
// none for each device.
#pragma once

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

void check_devices(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                   CFindings& findings);

} // namespace vkctl
