// The keys of section POST.xFld taken apart: which tells the kind of a column, which is a text of
// one of its values, which is neither.
//
// Pure functions. One thread.
#pragma once

#include <string>
#include <vector>

#include "vkctl/check/CheckColumns.h"
#include "vkctl/check/CheckIni.h"

namespace vkctl
{

constexpr char kFieldSection[] = "POST.xFld";

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
    std::string labelOf; // of kKind: the column that takes the kind for one of its texts; or empty
};

std::vector<FieldKey> field_keys(const CIniFile& ini, const CTypeColumns& columns);

// "257.Run"
std::string field_key(int type, const std::string& column);

// Whether the daemon ever asks for a text of that suffix when the column has that kind.
bool is_asked_for(int kind, const std::string& suffix);

} // namespace vkctl
