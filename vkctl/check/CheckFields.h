// Section POST.xFld, its keys taken apart: which tells the kind of a column, which is a text of one
// of its values, which is neither.
//
// key-unread, key-ambiguous, integer-invalid, kind-unknown, column-missing, column-not-posted,
// type-unused, bit-label-unused, value-unescaped, character-lost. Pure functions; one thread.
#pragma once

#include <string>
#include <vector>

#include "app/AppRules.h"
#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

enum class FieldKeyRole
{
    kKind,     // TYPE.COLUMN
    kLabel,    // TYPE.COLUMNsuffix, and TYPE.COLUMN is there
    kNoKind,   // looks like a label of a column, but TYPE.COLUMN is not there
    kNoColumn, // TYPE.something that is no column
    kForeign,  // does not begin with a type
};

struct FieldKey
{
    std::string key;
    FieldKeyRole role = FieldKeyRole::kForeign;
    int type = 0;
    std::string column; // kKind, kNoColumn: all behind the type; kLabel, kNoKind: without suffix
    std::string suffix;
    std::string label_of; // of kKind: the column that takes the kind for one of its texts; or empty
};

std::vector<FieldKey> field_keys(const CIniFile& ini, const CTypeColumns& columns);

// Whether the daemon ever asks for a text of that suffix when the column has that kind.
bool is_asked_for(int kind, const std::string& suffix);

// texts: takes those of values, see CheckTexts.h.
void check_fields(const CTypeColumns& columns, const CIniFile& ini, std::vector<std::string>& texts,
                  CFindings& findings);

} // namespace vkctl
