#include "vkctl/check/CheckExtensions.h"

#include <algorithm>
#include <cstdint>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kSectionStart[] = "POST.Ext.";

std::string text_of(int number)
{
    return std::to_string(number);
}

// One key of an extension section and all that belongs to it.
class CExtensionCheck
{
public:
    CExtensionCheck(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                    CFindings& findings, const ExtendedType& extended, std::string key)
        : m_db(db), m_catalogue(catalogue), m_ini(ini), m_findings(findings), m_extended(extended),
          m_strKey(std::move(key)), m_place(ini.At(extended.section, m_strKey))
    {
    }

    void Run()
    {
        check_integer(m_ini, m_extended.section, m_strKey, m_findings);
        check_integer(m_ini, m_extended.section, m_strKey + kCountKey, m_findings);
        const HostTable* table = m_catalogue.FindSql(m_strKey);
        if (table != nullptr && !table->problem.empty())
        {
            return; // told already
        }
        if (table == nullptr || !table->Has("Type"))
        {
            ReportMissing(table);
            return;
        }
        const std::string problem = name_problem(m_db, *table, m_strKey);
        if (!problem.empty())
        {
            m_findings.Error(m_place, FindingId::kTableName,
                             problem + ": nothing of it is appended to the devices of type " +
                                 text_of(m_extended.type) + "; rename it");
            return;
        }
        CheckPlace(*table);
        CheckRows(*table);
        CheckCount(*table);
    }

private:
    void ReportMissing(const HostTable* table)
    {
        m_findings.Error(
            m_place, FindingId::kExtensionMissing,
            (table == nullptr ? "there is no table " + m_strKey
                              : m_strKey + " has no column Type") +
                ": nothing of it is appended to the devices of type " + text_of(m_extended.type) +
                (table == nullptr ? did_you_mean(likely_name(m_strKey, m_catalogue.Names())) : ""));
    }

    void CheckPlace(const HostTable& table)
    {
        if (table.role == TableRole::kDevice || table.role == TableRole::kGeneral)
        {
            m_findings.Warning(
                m_place, FindingId::kTableTwice,
                table.name + " extends the devices of type " + text_of(m_extended.type) +
                    " and is " +
                    (table.role == TableRole::kDevice ? "searched for devices"
                                                      : "posted as a general table") +
                    " as well; list it in section [POST.Detail]: " + table.name + "=1");
        }
    }

    int RowsOf(const HostTable& table, const std::string& type)
    {
        return m_db.Number("select count(*) from " + quoted(table.name) + " where Type=" + type);
    }

    void CheckRows(const HostTable& table)
    {
        const std::string type = text_of(m_extended.type);
        const int rows = RowsOf(table, type);
        if (rows == 0)
        {
            const bool is_text = RowsOf(table, "'" + type + "'") > 0;
            m_findings.Warning(
                m_place, FindingId::kExtensionEmpty,
                is_text
                    ? "the Type " + type + " of " + table.name +
                          " is stored as text, and an integer is asked for: nothing of it is "
                          "appended; " +
                          integer_advice("Type")
                    : table.name + " has no row with Type " + type + ": nothing of it is appended");
        }
        else if (rows > 1)
        {
            m_findings.Warning(m_place, FindingId::kExtensionRows,
                               table.name + " has " + text_of(rows) + " rows with Type " + type +
                                   ": only the first is used, whichever that is");
        }
    }

    void CheckCount(const HostTable& table)
    {
        const int count = m_ini.Int(m_extended.section, m_strKey + kCountKey);
        if (count < 1)
        {
            const std::string key = m_strKey + kCountKey;
            const bool there = m_ini.Has(m_extended.section, key);
            Index(there ? m_ini.At(m_extended.section, key) : m_place,
                  (there ? key + "=" + text_of(count) : "there is no " + key) +
                      ": nothing is appended; it tells how many columns are");
        }
        else if (m_ini.Int(m_extended.section, m_strKey) < 1)
        {
            CheckList(table);
        }
        else
        {
            CheckRange(table, count);
        }
    }

    void CheckRange(const HostTable& table, int count)
    {
        const int first = m_ini.Int(m_extended.section, m_strKey);
        const auto columns = static_cast<int64_t>(table.columns.size());
        if (first > columns)
        {
            Index(m_place, m_strKey + "=" + text_of(first) + ", but " + table.name + " has " +
                               std::to_string(columns) + " columns: nothing is appended");
        }
        else if (int64_t{first} + count - 1 > columns)
        {
            Index(m_ini.At(m_extended.section, m_strKey + kCountKey),
                  m_strKey + kCountKey + "=" + text_of(count) + ", but from column " +
                      text_of(first) + " on " + table.name + " has " +
                      std::to_string(columns - first + 1) + ": these are appended");
        }
    }

    void CheckList(const HostTable& table)
    {
        const std::string section = text_of(m_extended.type) + "." + m_strKey;
        if (m_ini.Keys(section).empty())
        {
            Index(m_place, m_strKey + "=" + text_of(m_ini.Int(m_extended.section, m_strKey)) +
                               " refers to section [" + section +
                               "], which is not there: nothing is appended");
        }
        const auto columns = static_cast<int64_t>(table.columns.size());
        const int64_t last = std::min(int64_t{m_ini.Int(m_extended.section, m_strKey + kCountKey)} +
                                          m_ini.Int(m_extended.section, m_strKey) - 1,
                                      columns);
        for (const ExtensionColumn& one :
             extension_columns(m_ini.Document(), m_extended.type, m_strKey,
                               m_ini.Int(m_extended.section, m_strKey), static_cast<int>(columns)))
        {
            check_integer(m_ini, section, one.key, m_findings);
            if (!one.key.empty() && one.key[0] != '[' && !one.is_posted)
            {
                Index(m_ini.At(section, one.key),
                      one.key + "=" + text_of(m_ini.Int(section, one.key)) +
                          " is left out, with a log line each time: " + table.name + " and " +
                          m_strKey + kCountKey + " allow the columns 1 to " +
                          std::to_string(std::max<int64_t>(last, 0)));
            }
        }
    }

    void Index(const Place& place, const std::string& message)
    {
        m_findings.Warning(place, FindingId::kExtensionIndex, message);
    }

    CHostDatabase& m_db;
    const CCatalogue& m_catalogue;
    const CIniFile& m_ini;
    CFindings& m_findings;
    const ExtendedType& m_extended;
    const std::string m_strKey;
    const Place m_place;
};

void check_count_keys(const CIniFile& ini, const ExtendedType& extended, CFindings& findings)
{
    for (const std::string& key : ini.Keys(extended.section))
    {
        const std::string table = key.substr(0, key.find(kCountKey));
        const bool is_count = table.size() < key.size();
        if (is_count && (table + kCountKey != key || !ini.Has(extended.section, table)))
        {
            findings.Warning(ini.At(extended.section, key), FindingId::kKeyUnread,
                             "nothing reads " + key + ": section [" + extended.section +
                                 "] has no key " + table +
                                 did_you_mean(likely_name(table, extended.tables)));
        }
    }
}

} // namespace

std::vector<ExtendedType> extended_types(const CIniFile& ini)
{
    std::vector<ExtendedType> found;
    const SimpleIni& document = ini.Document();
    const std::string start = kSectionStart;
    for (auto section = document.beginSection(); section != document.endSection(); ++section)
    {
        int type = 0;
        if ((*section).compare(0, start.size(), start) != 0 ||
            !read_plain_number((*section).substr(start.size()), type))
        {
            continue;
        }
        found.push_back({type, *section, {}});
        for (const std::string& key : ini.Keys(*section))
        {
            if (is_extension_key(key))
            {
                found.back().tables.push_back(key);
            }
        }
    }
    return found;
}

void check_extensions(CHostDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                      CFindings& findings)
{
    for (const ExtendedType& extended : extended_types(ini))
    {
        check_count_keys(ini, extended, findings);
        for (const std::string& key : extended.tables)
        {
            CExtensionCheck(db, catalogue, ini, findings, extended, key).Run();
        }
        if (!catalogue.HasType(extended.type) && !extended.tables.empty())
        {
            findings.Note(ini.At(extended.section, extended.tables[0]), FindingId::kTypeUnused,
                          "section [" + extended.section +
                              "] has no effect now: no device has "
                              "type " +
                              text_of(extended.type));
        }
    }
}

} // namespace vkctl
