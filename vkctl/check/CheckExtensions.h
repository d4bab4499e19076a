// The sections POST.Ext.N and the lists of columns that they refer to.
//
// key-unread, integer-invalid, table-name, extension-missing, extension-index, extension-empty,
// extension-rows, table-twice, type-unused.
#pragma once

#include <vector>

#include "vkctl/check/CheckCatalogue.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

// The types that have a section POST.Ext.N, with the tables that extend them.
struct ExtendedType
{
    int type;
    std::string section;
    std::vector<std::string> tables;
};
std::vector<ExtendedType> extended_types(const CIniFile& ini);

void check_extensions(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                      CFindings& findings);

} // namespace vkctl
