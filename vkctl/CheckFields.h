// Section POST.xFld: kinds and texts of columns.
//
// key-unread, key-ambiguous, integer-invalid, kind-unknown, column-missing, column-not-posted,
// type-unused, kind-narrow, fallback-missing, bit-label-missing, bit-label-unused,
// value-not-integer, value-unescaped, character-lost. One query for each column that has a kind,
// none for each device.
#pragma once

#include "vkctl/CheckCatalogue.h"
#include "vkctl/Finding.h"

namespace vkctl
{

void check_fields(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings);

} // namespace vkctl
