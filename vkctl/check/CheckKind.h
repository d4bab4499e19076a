// The part of a check that looks at one kind of section POST.xFld: at the columns that it is for,
// and at the values that they hold now.
#pragma once

#include "vkctl/check/CheckColumns.h"
#include "vkctl/check/CheckDatabase.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/CheckLabels.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// The key is a kind, and a table has its column.
void check_kind(CCheckDatabase& db, const CIniFile& ini, const CTypeColumns& columns,
                const FieldKey& key, CFindings& findings);

} // namespace vkctl
