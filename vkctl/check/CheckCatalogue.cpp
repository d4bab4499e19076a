#include "vkctl/check/CheckCatalogue.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

bool is_hidden(const std::string& name)
{
    return strncasecmp(name.c_str(), "tbSM", 4) == 0;
}

TableRole role_of(const CIniFile& ini, const std::string& name, bool view)
{
    if (view)
    {
        return TableRole::kView;
    }
    if (is_hidden(name))
    {
        return TableRole::kHidden;
    }
    if (ini.Int("POST.Detail", name) >= 1)
    {
        return TableRole::kDetail;
    }
    return ini.Int("POST.General", name) >= 1 ? TableRole::kGeneral : TableRole::kDevice;
}

// A view may be broken: it has no columns then.
std::vector<std::string> columns_of(CCheckDatabase& db, const std::string& name)
{
    try
    {
        return db.Names("select * from " + quoted(name) + " limit 0");
    }
    catch (const CCheckProblem&)
    {
        return {};
    }
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

CCatalogue::CCatalogue(CCheckDatabase& db, const CIniFile& ini)
{
    for (const auto& row : db.Rows("select name,type='view' from sqlite_master"
                                   " where type in ('table','view')"))
    {
        m_vTables.push_back({row[0], role_of(ini, row[0], row[1] == "1"), columns_of(db, row[0])});
    }
    for (const HostTable& table : m_vTables)
    {
        if (table.role == TableRole::kDevice && table.Has("SID") && table.Has("Type"))
        {
            ReadTypes(db, table);
        }
    }
}

void CCatalogue::ReadTypes(CCheckDatabase& db, const HostTable& table)
{
    const std::string sql =
        "select distinct coalesce(cast(Type as integer),0) from " + quoted(table.name);
    for (const std::string& type : db.Column(sql))
    {
        m_types[cell_number(type)].push_back(table.name);
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
    const auto found = std::find_if(m_vTables.begin(), m_vTables.end(),
                                    [&](const HostTable& table)
                                    { return strcasecmp(table.name.c_str(), name.c_str()) == 0; });
    return found != m_vTables.end() ? &*found : nullptr;
}

const HostTable* CCatalogue::FindSql(const std::string& name) const
{
    const std::size_t size = name.size();
    const bool isQuoted =
        size > 2 && std::strchr("\"'`", name[0]) != nullptr && name[size - 1] == name[0];
    return FindAnyCase(isQuoted ? name.substr(1, size - 2) : name);
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
    findings.Warning(ini.At(section, key), "key-unread",
                     "there is no table " + table + ", so " + key + " in section [" + section +
                         "] has no effect" + did_you_mean(likely_name(table, candidates)));
}

std::string name_problem(CCheckDatabase& db, const HostTable& table, const std::string& text)
{
    const bool isQuoted = strcasecmp(text.c_str(), table.name.c_str()) != 0;
    std::string problem = table.columns.empty() ? "" : db.Problem("select * from " + text);
    if (problem.empty() && !isQuoted && !is_one_name(text) && !table.columns.empty())
    {
        problem = "another table is read"; // that of its first word
    }
    return problem.empty()
               ? ""
               : "the name " + text + " does not stand in SQL without quotes (" + problem + ")";
}

} // namespace vkctl
