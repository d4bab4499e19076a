// The tables that discovery meets, and the fixed ones that the daemon reads: what stalls the start,
// what fails at every sweep, what is posted twice.
//
// table-required, table-no-sid, table-name, table-hidden, table-twice, table-two-lists,
// no-device-table, device-columns, device-layout, output-columns, output-row, alarm-table.
#pragma once

#include "vkctl/CheckCatalogue.h"
#include "vkctl/Finding.h"

namespace vkctl
{

void check_tables(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings);

// tbSMAlarm of the alarm database. False when no alarm could be read from it.
bool check_alarm_table(CCheckDatabase& db, CFindings& findings);

} // namespace vkctl
