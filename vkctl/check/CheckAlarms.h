// The alarm table: whether alarms can be read, and whether each is posted and marked as sent.
#pragma once

#include "vkctl/check/CheckDatabase.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// alarm-table, alarm-did. False when no alarm could be read from the database.
bool check_alarm_table(CCheckDatabase& db, CFindings& findings);

} // namespace vkctl
