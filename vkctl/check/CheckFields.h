// Section POST.xFld: kinds and texts of columns.
//
// key-unread, key-ambiguous, integer-invalid, kind-unknown, column-missing, column-not-posted,
// type-unused, kind-narrow, fallback-missing, bit-label-missing, bit-label-unused,
// value-not-integer, value-unescaped, character-lost. One query for each column that has a kind,
// none for each device.
#pragma once

#include <string>
#include <vector>

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// texts: takes those of values, see CheckTexts.h.
void check_fields(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  std::vector<std::string>& texts, CFindings& findings);

} // namespace vkctl
