// The part of a check that looks at one kind of section POST.xFld: at the columns that it is for,
// and at the values that they hold now.
#pragma once

#include "vkctl/CheckColumns.h"
#include "vkctl/CheckDatabase.h"
#include "vkctl/CheckIni.h"
#include "vkctl/CheckLabels.h"
#include "vkctl/Finding.h"

namespace vkctl
{

// The key is a kind, and a table has its column.
void check_kind(CCheckDatabase& db, const CIniFile& ini, const CTypeColumns& columns,
                const FieldKey& key, CFindings& findings);

} // namespace vkctl
