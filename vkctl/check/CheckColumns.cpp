#include "vkctl/check/CheckColumns.h"

#include <algorithm>
#include <set>

#include "vkctl/check/CheckExtensions.h"

namespace vkctl
{

namespace
{

// Where a device table's values end, as a configured count says.
int values_end(const CIniFile& ini, const HostTable& table)
{
    const auto columns = static_cast<int>(table.columns.size());
    const int wanted = ini.Int("POST.Master", table.name + ".flds");
    if (wanted == 0 || wanted > columns - kLeadingColumns)
    {
        return columns;
    }
    return wanted < 0 ? 0 : kLeadingColumns + wanted;
}

std::string device_rows(const HostTable& table, int type)
{
    const std::string rows = "coalesce(cast(Type as integer),0)=" + std::to_string(type);
    return table.Has("State") ? rows + " and coalesce(cast(State as integer),0)>=0" : rows;
}

} // namespace

CTypeColumns::CTypeColumns(const CCatalogue& catalogue, const CIniFile& ini)
{
    AddDevices(catalogue, ini);
    AddGenerals(catalogue, ini);
    AddExtensions(catalogue, ini);
}

void CTypeColumns::AddDevices(const CCatalogue& catalogue, const CIniFile& ini)
{
    for (const int type : catalogue.Types())
    {
        for (const HostTable* table : catalogue.OfType(type))
        {
            const int end = values_end(ini, *table);
            int at = 0;
            for (const std::string& column : table->columns)
            {
                const bool posted = at >= kLeadingColumns && at < end;
                m_columns[type].push_back({column, table->name, posted, device_rows(*table, type)});
                ++at;
            }
        }
    }
}

void CTypeColumns::AddGenerals(const CCatalogue& catalogue, const CIniFile& ini)
{
    for (const HostTable* table : catalogue.Of(TableRole::kGeneral))
    {
        const int type = ini.Int("POST.General", table->name);
        const int first = ini.Int("POST.General", table->name + ".0", 1);
        int at = 0;
        for (const std::string& column : table->columns)
        {
            m_columns[type].push_back({column, table->name, at >= first, "1"});
            ++at;
        }
    }
}

void CTypeColumns::AddExtensions(const CCatalogue& catalogue, const CIniFile& ini)
{
    for (const ExtendedType& extended : extended_types(ini))
    {
        for (const std::string& key : extended.tables)
        {
            const HostTable* table = catalogue.FindSql(key);
            if (table == nullptr || !catalogue.HasType(extended.type))
            {
                continue;
            }
            const std::vector<int> list = extension_columns(ini, extended.type, *table, key);
            const std::set<int> posted(list.begin(), list.end());
            int at = 0;
            for (const std::string& column : table->columns)
            {
                m_columns[extended.type].push_back({column, table->name, posted.count(at) != 0,
                                                    "Type=" + std::to_string(extended.type)});
                ++at;
            }
        }
    }
}

const std::vector<TypeColumn>& CTypeColumns::Of(int type) const
{
    static const std::vector<TypeColumn> kNone;
    const auto found = m_columns.find(type);
    return found != m_columns.end() ? found->second : kNone;
}

std::vector<TypeColumn> CTypeColumns::Named(int type, const std::string& name) const
{
    std::vector<TypeColumn> found;
    const std::vector<TypeColumn>& columns = Of(type);
    std::copy_if(columns.begin(), columns.end(), std::back_inserter(found),
                 [&](const TypeColumn& column) { return column.name == name; });
    return found;
}

} // namespace vkctl
