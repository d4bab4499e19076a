// The alarm table: whether alarms can be read, and whether each is posted and marked as sent.
//
// alarm-table, alarm-did.
#pragma once

#include "vkctl/base/HostDatabase.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// False when no alarm could be read from the database.
bool check_alarm_table(CHostDatabase& db, CFindings& findings);

} // namespace vkctl
