#include "vkctl/check/CheckCatalogue.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>

#include "vkctl/check/CheckExtensions.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

TableRole role_of(const CIniFile& ini, const std::string& name, bool view)
{
    if (view)
    {
        return TableRole::kView;
    }
    switch (discovery_role(ini.Document(), name))
    {
    case DiscoveryRole::kHidden:
        return TableRole::kHidden;
    case DiscoveryRole::kDetail:
        return TableRole::kDetail;
    case DiscoveryRole::kGeneral:
        return TableRole::kGeneral;
    case DiscoveryRole::kDevice:
        break;
    }
    return TableRole::kDevice;
}

bool is_same_table(const std::string& a, const std::string& b)
{
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

// Whether the daemon reads the table by a name of its own, or as one that belongs to another.
bool is_named(const CIniFile& ini, const std::string& name)
{
    std::vector<std::string> names = {kNamesTable, kInputTable, kOutputTable};
    for (const std::string& key : ini.Keys("POST.Master"))
    {
        names.push_back(ini.Text("POST.Master", key));
    }
    for (const ExtendedType& extended : extended_types(ini))
    {
        names.insert(names.end(), extended.tables.begin(), extended.tables.end());
    }
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& one) { return is_same_table(one, name); });
}

// Columns, or why there are none: a view may be broken.
void read_columns(CHostDatabase& db, HostTable& table)
try
{
    table.columns = db.Names("select * from " + quoted(table.name) + " limit 0");
}
catch (const CHostProblem& problem)
{
    table.problem = problem.what();
}

// Whether SQL takes the whole text for one name.
bool is_one_name(const std::string& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c)
                       { return c >= 0x80 || std::isalnum(c) != 0 || c == '_' || c == '$'; });
}

} // namespace

int HostTable::Find(const std::string& column) const
{
    if (!problem.empty())
    {
        return -1;
    }
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const std::string& one)
                                    { return strcasecmp(one.c_str(), column.c_str()) == 0; });
    return found != columns.end() ? static_cast<int>(found - columns.begin()) : -1;
}

std::vector<std::string> HostTable::Lacks(const std::vector<std::string>& wanted) const
{
    std::vector<std::string> lacking;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(lacking),
                 [&](const std::string& column) { return !Has(column); });
    return lacking;
}

CCatalogue::CCatalogue(CHostDatabase& db, const CIniFile& ini)
{
    for (const auto& row : db.Rows("select name,type='view' from sqlite_master"
                                   " where type in ('table','view')"))
    {
        m_vTables.push_back(
            {row[0].text, role_of(ini, row[0].text, row[1].number != 0), {}, "", false});
        read_columns(db, m_vTables.back());
    }
    for (HostTable& table : m_vTables)
    {
        table.is_read = table.role == TableRole::kDevice || table.role == TableRole::kGeneral ||
                        is_named(ini, table.name);
        if (table.problem.empty() && table.is_read)
        {
            table.problem = db.ReadProblem("select * from " + quoted(table.name));
        }
        if (table.role == TableRole::kDevice && table.Has("SID") && table.Has("Type"))
        {
            ReadTypes(db, table);
        }
    }
}

void CCatalogue::ReadTypes(CHostDatabase& db, const HostTable& table)
{
    std::set<int> types;
    for (const auto& row : db.Rows("select distinct Type from " + quoted(table.name)))
    {
        types.insert(row[0].number);
    }
    for (const int type : types)
    {
        m_types[type].push_back(table.name);
    }
}

const HostTable* CCatalogue::Find(const std::string& name) const
{
    const auto found = std::find_if(m_vTables.begin(), m_vTables.end(),
                                    [&](const HostTable& table) { return table.name == name; });
    return found != m_vTables.end() ? &*found : nullptr;
}

const HostTable* CCatalogue::FindAnyCase(const std::string& name) const
{
    const auto found =
        std::find_if(m_vTables.begin(), m_vTables.end(),
                     [&](const HostTable& table) { return is_same_table(table.name, name); });
    return found != m_vTables.end() ? &*found : nullptr;
}

const HostTable* CCatalogue::FindSql(const std::string& name) const
{
    const size_t size = name.size();
    const bool is_quoted =
        size > 2 && std::strchr("\"'`", name[0]) != nullptr && name[size - 1] == name[0];
    return FindAnyCase(is_quoted ? name.substr(1, size - 2) : name);
}

std::vector<const HostTable*> CCatalogue::Of(TableRole role) const
{
    std::vector<const HostTable*> tables;
    for (const HostTable& table : m_vTables)
    {
        if (table.role == role)
        {
            tables.push_back(&table);
        }
    }
    return tables;
}

std::vector<std::string> CCatalogue::Names() const
{
    std::vector<std::string> names;
    std::transform(m_vTables.begin(), m_vTables.end(), std::back_inserter(names),
                   [](const HostTable& table) { return table.name; });
    return names;
}

std::vector<int> CCatalogue::Types() const
{
    std::vector<int> types;
    std::transform(m_types.begin(), m_types.end(), std::back_inserter(types),
                   [](const auto& entry) { return entry.first; });
    return types;
}

std::vector<const HostTable*> CCatalogue::OfType(int type) const
{
    std::vector<const HostTable*> tables;
    const auto found = m_types.find(type);
    if (found != m_types.end())
    {
        for (const std::string& name : found->second)
        {
            tables.push_back(Find(name));
        }
    }
    return tables;
}

void warn_of_no_table(const CCatalogue& catalogue, const CIniFile& ini, const std::string& section,
                      const std::string& key, const std::string& table, CFindings& findings,
                      const std::vector<std::string>& others)
{
    std::vector<std::string> candidates = catalogue.Names();
    candidates.insert(candidates.end(), others.begin(), others.end());
    findings.Warning(ini.At(section, key), FindingId::kKeyUnread,
                     "there is no table " + table + ", so " + key + " in section [" + section +
                         "] has no effect" + did_you_mean(likely_name(table, candidates)));
}

std::string name_problem(CHostDatabase& db, const HostTable& table, const std::string& text)
{
    const bool is_quoted = strcasecmp(text.c_str(), table.name.c_str()) != 0;
    std::string problem = table.problem.empty() ? db.Problem("select * from " + text) : "";
    if (problem.empty() && !is_quoted && !is_one_name(text) && table.problem.empty())
    {
        problem = "another table is read"; // that of its first word
    }
    return problem.empty()
               ? ""
               : "the name " + text + " does not stand in SQL without quotes (" + problem + ")";
}

namespace
{

bool is_within(const ColumnRange& range, int column)
{
    return column >= std::max(range.first, 0) && column < range.end;
}

} // namespace

CTypeColumns::CTypeColumns(const CCatalogue& catalogue, const CIniFile& ini)
{
    AddDevices(catalogue, ini);
    AddGenerals(catalogue, ini);
    AddExtensions(catalogue, ini);
}

void CTypeColumns::Add(int type, const HostTable& table, const std::function<bool(int)>& is_posted)
{
    int at = 0;
    for (const std::string& column : table.columns)
    {
        m_columns[type].push_back({column, table.name, is_posted(at)});
        ++at;
    }
}

void CTypeColumns::AddDevices(const CCatalogue& catalogue, const CIniFile& ini)
{
    for (const int type : catalogue.Types())
    {
        for (const HostTable* table : catalogue.OfType(type))
        {
            const ColumnRange range =
                device_columns(ini.Document(), table->name,
                               static_cast<int>(table->columns.size()) + kJoinedColumns);
            Add(type, *table, [=](int at) { return is_within(range, at + kJoinedColumns); });
        }
    }
}

void CTypeColumns::AddGenerals(const CCatalogue& catalogue, const CIniFile& ini)
{
    for (const HostTable* table : catalogue.Of(TableRole::kGeneral))
    {
        const ColumnRange range =
            general_columns(ini.Document(), table->name, static_cast<int>(table->columns.size()));
        Add(setting_number(ini.Document(), SettingId::kGeneralType, table->name), *table,
            [=](int at) { return is_within(range, at); });
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
            std::set<int64_t> posted;
            for (const ExtensionColumn& one : extension_columns(
                     ini.Document(), extended.type, key, ini.Int(extended.section, key),
                     static_cast<int>(table->columns.size())))
            {
                if (one.is_posted)
                {
                    posted.insert(one.column);
                }
            }
            Add(extended.type, *table, [&](int at) { return posted.count(at) != 0; });
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
