#include "vkctl/CheckFields.h"

#include <algorithm>
#include <cstdlib>
#include <set>

#include "app/AppInternal.h"
#include "vkctl/CheckColumns.h"
#include "vkctl/CheckLabels.h"
#include "vkctl/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kValuesShown = 5;
constexpr std::size_t kValuesRead = 1000; // distinct ones of a column

std::vector<std::string> names_of(const std::vector<TypeColumn>& columns)
{
    std::vector<std::string> names;
    std::transform(columns.begin(), columns.end(), std::back_inserter(names),
                   [](const TypeColumn& column) { return column.name; });
    return names;
}

std::string shown(const std::vector<std::string>& values)
{
    const std::size_t count = std::min(values.size(), kValuesShown);
    return shortened_list({values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)},
                          values.size());
}

// A text that an INI key gives to a value, with the separators that it must not hold.
void check_label_text(const CIniFile& ini, const FieldKey& one, CFindings& findings)
{
    const std::string held = form_characters(ini.Text(kFieldSection, one.key));
    if (!held.empty())
    {
        findings.Warning(ini.At(kFieldSection, one.key), "value-unescaped",
                         "the text of " + one.key + " holds " + held + ": " + kUnescaped +
                             "; write other characters");
    }
}

void check_label(const CIniFile& ini, const FieldKey& one, CFindings& findings)
{
    const std::string owner = field_key(one.type, one.column);
    const int kind = ini.Int(kFieldSection, owner);
    if (is_asked_for(kind, one.suffix))
    {
        check_label_text(ini, one, findings);
        return;
    }
    std::string reason = "it has " + std::to_string((kind - 1) * 8) + " bits, 0 to " +
                         std::to_string((kind - 1) * 8 - 1);
    if (kind == 2)
    {
        reason += ", and the whole values 00, 0F, F0 and FF";
    }
    if (kind < 1 || kind > 4)
    {
        reason = "its values are posted as stored";
    }
    else if (kind == 1)
    {
        reason = "texts are asked for by x and by the number without leading zeros";
    }
    findings.Warning(ini.At(kFieldSection, one.key), "bit-label-unused",
                     one.key + " is never asked for: " + owner + " is of kind " +
                         std::to_string(kind) + ", " + reason);
}

// --- The columns that a kind is for
// ---------------------------------------------------------------------------------------

class CKindCheck
{
public:
    CKindCheck(CCheckDatabase& db, const CIniFile& ini, const CTypeColumns& columns,
               CFindings& findings, const FieldKey& one)
        : m_db(db), m_ini(ini), m_columns(columns), m_findings(findings), m_one(one),
          m_place(ini.At(kFieldSection, one.key)), m_iKind(ini.Int(kFieldSection, one.key))
    {
    }

    void Run()
    {
        if (!m_one.labelOf.empty())
        {
            Warn("key-ambiguous", m_one.key + " is the kind of column " + m_one.column +
                                      ", and a text of column " + m_one.labelOf +
                                      " as well; one of the columns needs another name");
        }
        else
        {
            check_integer(m_ini, kFieldSection, m_one.key, m_findings);
        }
        if (m_iKind < 0 || m_iKind > 4)
        {
            Warn("kind-unknown", m_one.key + "=" + std::to_string(m_iKind) +
                                     " is no kind: the value is posted as stored; the kinds are 0 "
                                     "to 4");
        }
        const std::vector<TypeColumn> columns = m_columns.Named(m_one.type, m_one.column);
        if (std::none_of(columns.begin(), columns.end(),
                         [](const TypeColumn& column) { return column.posted; }))
        {
            Warn("column-not-posted",
                 "column " + m_one.column + " of " + columns[0].table +
                     " is not posted as a value, so " + m_one.key +
                     " has no effect: it stands outside of the columns that are");
            return;
        }
        CheckValues(columns);
    }

private:
    void CheckValues(const std::vector<TypeColumn>& columns)
    {
        std::set<long> numbers;
        for (const TypeColumn& column : columns)
        {
            if (column.posted && m_iKind >= 1 && m_iKind <= 4)
            {
                CheckTexts(column);
                ReadNumbers(column, numbers);
            }
        }
        if (m_iKind == 1)
        {
            CheckFallback(numbers);
        }
        else if (m_iKind >= 2 && m_iKind <= 4)
        {
            CheckBits(numbers);
        }
    }

    // The numbers that the daemon would read now.
    void ReadNumbers(const TypeColumn& column, std::set<long>& numbers)
    {
        const std::string sql = "select distinct coalesce(cast(" + quoted(column.name) +
                                " as integer),0) from " + quoted(column.table) + " where " +
                                column.where + " limit " + std::to_string(kValuesRead);
        for (const std::string& value : m_db.Column(sql))
        {
            numbers.insert(cell_number(value));
        }
    }

    void CheckTexts(const TypeColumn& column)
    {
        const std::string name = quoted(column.name);
        const std::string text =
            m_db.Value("select " + name + " from " + quoted(column.table) + " where " +
                       column.where + " and (typeof(" + name + ")='text' and trim(" + name +
                       ") glob '*[^0-9+-]*' or typeof(" + name + ")='real' and " + name +
                       "<>cast(" + name + " as integer)) limit 1");
        if (!text.empty())
        {
            Warn("value-not-integer", column.table + "." + column.name + " holds \"" + text +
                                          "\", and kind " + std::to_string(m_iKind) +
                                          " reads numbers: it is taken as " +
                                          std::to_string(std::strtol(text.c_str(), nullptr, 10)));
        }
    }

    void CheckFallback(const std::set<long>& numbers)
    {
        if (!m_ini.Text(kFieldSection, m_one.key + "x").empty())
        {
            return;
        }
        std::vector<std::string> dropped;
        for (const long number : numbers)
        {
            if (m_ini.Text(kFieldSection, m_one.key + std::to_string(number)).empty())
            {
                dropped.push_back(std::to_string(number));
            }
        }
        const std::string missing = "there is no " + m_one.key + "x for values without a text: ";
        if (dropped.empty())
        {
            m_findings.Note(m_place, "fallback-missing",
                            missing + "such a value is left out; there is none now");
            return;
        }
        Warn("fallback-missing", missing + "the value is left out, now for " + shown(dropped));
    }

    void CheckBits(const std::set<long>& numbers)
    {
        std::set<int> bits;
        std::set<std::string> wholes;
        for (const long number : numbers)
        {
            const std::string whole =
                format_text("%02X", static_cast<unsigned>(static_cast<int>(number)));
            if (m_iKind == 2 && is_asked_for(2, whole) && whole.size() == 2 && number >= 0)
            {
                AddWhole(number, whole, wholes);
                continue;
            }
            for (int bit = 0; bit < 8 * (m_iKind - 1); ++bit)
            {
                if (((static_cast<unsigned long>(number) >> bit) & 1U) != 0)
                {
                    bits.insert(bit);
                }
            }
        }
        ReportBits(bits, wholes);
    }

    // A whole 00 without a text is what most hosts want: nothing is posted while nothing is wrong.
    void AddWhole(long number, const std::string& whole, std::set<std::string>& wholes) const
    {
        if (number != 0 && m_ini.Text(kFieldSection, m_one.key + whole).empty())
        {
            wholes.insert(whole);
        }
    }

    void ReportBits(const std::set<int>& bits, const std::set<std::string>& wholes)
    {
        std::vector<std::string> missing;
        for (const int bit : bits)
        {
            if (!m_ini.Has(kFieldSection, m_one.key + std::to_string(bit)))
            {
                missing.push_back(m_one.key + std::to_string(bit));
            }
        }
        for (const std::string& whole : wholes)
        {
            missing.push_back(m_one.key + whole);
        }
        if (!missing.empty())
        {
            Warn("bit-label-missing", "there is no " + shown(missing) +
                                          ", and a device has such a value now: it is posted "
                                          "without a text for it");
        }
    }

    void Warn(const char* id, const std::string& message)
    {
        m_findings.Warning(m_place, id, message);
    }

    CCheckDatabase& m_db;
    const CIniFile& m_ini;
    const CTypeColumns& m_columns;
    CFindings& m_findings;
    const FieldKey& m_one;
    const Place m_place;
    const int m_iKind;
};

// --- Keys that are neither kind nor text
// ---------------------------------------------------------------------------------

void check_no_kind(const CIniFile& ini, const FieldKey& one, std::set<std::string>& told,
                   CFindings& findings)
{
    const std::string kind = field_key(one.type, one.column);
    if (told.insert(kind).second)
    {
        findings.Warning(ini.At(kFieldSection, one.key), "key-unread",
                         "nothing reads " + one.key + ": there is no " + kind +
                             ", which tells how column " + one.column + " is rendered");
    }
}

void check_no_column(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                     CFindings& findings)
{
    findings.Warning(ini.At(kFieldSection, one.key), "column-missing",
                     "nothing reads " + one.key + ": no table with values of type " +
                         std::to_string(one.type) + " has a column " + one.column +
                         did_you_mean(likely_name(one.column, names_of(columns.Of(one.type)))));
}

// True when told, once for a type, that nothing has it.
bool check_type(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                std::set<int>& told, CFindings& findings)
{
    if (columns.HasType(one.type))
    {
        return false;
    }
    if (told.insert(one.type).second)
    {
        findings.Note(ini.At(kFieldSection, one.key), "type-unused",
                      "the keys of type " + std::to_string(one.type) +
                          " have no effect now: no device and no general table has it");
    }
    return true;
}

} // namespace

void check_fields(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  CFindings& findings)
{
    const CTypeColumns columns(catalogue, ini);
    std::set<int> toldTypes;
    std::set<std::string> toldKinds;
    for (const FieldKey& one : field_keys(ini, columns))
    {
        if (one.role == FieldKeyRole::kForeign)
        {
            findings.Warning(ini.At(kFieldSection, one.key), "key-unread",
                             "nothing reads " + one.key +
                                 " in section [POST.xFld]: keys begin with a type and a dot, such "
                                 "as 257.Run");
        }
        else if (check_type(ini, columns, one, toldTypes, findings))
        {
            continue;
        }
        else if (one.role == FieldKeyRole::kKind)
        {
            CKindCheck(db, ini, columns, findings, one).Run();
        }
        else if (one.role == FieldKeyRole::kLabel)
        {
            check_label(ini, one, findings);
        }
        else if (one.role == FieldKeyRole::kNoKind)
        {
            check_no_kind(ini, one, toldKinds, findings);
        }
        else
        {
            check_no_column(ini, columns, one, findings);
        }
    }
}

} // namespace vkctl
