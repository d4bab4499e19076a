// Which columns the daemon renders for which type, and from which tables.
//
// Values only. One thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "vkctl/check/CheckCatalogue.h"

namespace vkctl
{

// A column of a table whose rows are posted for a type.
struct TypeColumn
{
    std::string name;
    std::string table;
    bool posted;       // false: it stands where no value is posted from
    std::string where; // the rows of the table that are posted for the type, as an SQL condition
};

class CTypeColumns
{
public:
    CTypeColumns(const CCatalogue& catalogue, const CIniFile& ini);

    bool HasType(int type) const { return m_columns.count(type) != 0; }

    // In the order of tables and columns; none for a type that nothing has.
    const std::vector<TypeColumn>& Of(int type) const;

    // Those of that name, spelled exactly so.
    std::vector<TypeColumn> Named(int type, const std::string& name) const;

private:
    void AddDevices(const CCatalogue& catalogue, const CIniFile& ini);
    void AddGenerals(const CCatalogue& catalogue, const CIniFile& ini);
    void AddExtensions(const CCatalogue& catalogue, const CIniFile& ini);

    std::map<int, std::vector<TypeColumn>> m_columns;
};

} // namespace vkctl
