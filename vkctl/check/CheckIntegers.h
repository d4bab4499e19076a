// The columns of devices and inputs that are read as integers of 32 bits: SID, State and Type.
#pragma once

#include <string>

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// The SQL condition that the daemon finds a row again: it asks for the integer that it has read.
std::string is_sid_found();

// value-not-integer. Of those rows of a table with SIDs for which the SQL condition holds.
void check_integers(CCheckDatabase& db, const HostTable& table, const std::string& rows,
                    CFindings& findings);

} // namespace vkctl
