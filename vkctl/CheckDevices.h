// The identifiers of devices and inputs: doubled, unnamed, or taken by something else.
//
// sid-twice, sid-taken, device-unnamed. A few queries for each table, none for each device.
#pragma once

#include "vkctl/CheckCatalogue.h"
#include "vkctl/Finding.h"

namespace vkctl
{

void check_devices(CCheckDatabase& db, const CCatalogue& catalogue, CFindings& findings);

} // namespace vkctl
