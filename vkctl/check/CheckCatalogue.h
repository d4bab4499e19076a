// The tables of the data database and what vkApp.ini makes of each, as the daemon's discovery would
// find them; with the types that the devices have, and the columns that are rendered for a type.
//
// Read once; values only afterwards. CHostProblem when the database cannot be asked.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "vkctl/base/HostDatabase.h"
#include "vkctl/check/CheckIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

enum class TableRole
{
    kDevice,  // searched for SIDs
    kGeneral, // each row is a body
    kDetail,  // kept out of the search
    kHidden,  // its name begins with tbSM, in whatever case: never searched
    kView,    // no table: never searched, but queries on it work
};

struct HostTable
{
    std::string name;
    TableRole role = TableRole::kDevice;
    std::vector<std::string> columns; // as a query reports them
    std::string problem;              // why it cannot be read, damaged or a broken view; or empty
    bool is_read = false;             // by the daemon

    // The column's position whatever its case, as the library finds it; -1 without one, and in a
    // table that cannot be read.
    int Find(const std::string& column) const;
    bool Has(const std::string& column) const { return Find(column) >= 0; }
    // Those of `wanted` that the table lacks.
    std::vector<std::string> Lacks(const std::vector<std::string>& wanted) const;
};

class CCatalogue
{
public:
    CCatalogue(CHostDatabase& db, const CIniFile& ini);

    const std::vector<HostTable>& Tables() const { return m_vTables; } // in the schema's order

    // By name as vkApp.ini must spell it; as SQL finds it, whatever the case. Null: no such table.
    const HostTable* Find(const std::string& name) const;
    const HostTable* FindAnyCase(const std::string& name) const;

    // As it stands in SQL: in whatever case, quoted or not.
    const HostTable* FindSql(const std::string& name) const;

    // The tables of a role, in the schema's order.
    std::vector<const HostTable*> Of(TableRole role) const;
    std::vector<std::string> Names() const;

    // Device tables with a row of that type; the types of all devices.
    std::vector<const HostTable*> OfType(int type) const;
    bool HasType(int type) const { return m_types.count(type) != 0; }
    std::vector<int> Types() const;

private:
    void ReadTypes(CHostDatabase& db, const HostTable& table);

    std::vector<HostTable> m_vTables;
    std::map<int, std::vector<std::string>> m_types; // type -> device tables
};

// key-unread: the key in the section names a table that does not exist. `others`: what may have
// been meant instead of a table.
void warn_of_no_table(const CCatalogue& catalogue, const CIniFile& ini, const std::string& section,
                      const std::string& key, const std::string& table, CFindings& findings,
                      const std::vector<std::string>& others = {});

// Why the daemon's SQL, in which `text` stands for the table without quotes, does not read it, as
// "the name X ... (why)". Empty when it does, and for a table that nobody can read.
std::string name_problem(CHostDatabase& db, const HostTable& table, const std::string& text);

// A column of a table whose rows are posted for a type.
struct TypeColumn
{
    std::string name;
    std::string table;
    bool posted; // false: it stands where no value is posted from
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
    void Add(int type, const HostTable& table, const std::function<bool(int)>& is_posted);
    void AddDevices(const CCatalogue& catalogue, const CIniFile& ini);
    void AddGenerals(const CCatalogue& catalogue, const CIniFile& ini);
    void AddExtensions(const CCatalogue& catalogue, const CIniFile& ini);

    std::map<int, std::vector<TypeColumn>> m_columns;
};

} // namespace vkctl
