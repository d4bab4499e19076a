#include "vkctl/check/CheckKind.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "app/AppInternal.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kValuesShown = 5;
constexpr std::size_t kValuesRead = 1000; // distinct ones of a column

std::string shown(const std::vector<std::string>& values)
{
    const std::size_t count = std::min(values.size(), kValuesShown);
    return shortened_list({values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)},
                          values.size());
}

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
    using Numbers = std::map<long, std::string>; // with a row that holds it, for a message

    void CheckValues(const std::vector<TypeColumn>& columns)
    {
        Numbers numbers;
        for (const TypeColumn& column : columns)
        {
            if (column.posted && m_iKind >= 1 && m_iKind <= 4)
            {
                CheckTexts(column);
                CheckEmpty(column);
                CheckWidth(column);
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

    // No value at all, where a text would be posted for 0.
    void CheckEmpty(const TypeColumn& column)
    {
        const std::string fallback = m_ini.Text(kFieldSection, m_one.key + "x");
        const std::string text = m_iKind == 1 ? m_ini.Text(kFieldSection, m_one.key + "0", fallback)
                                              : m_ini.Text(kFieldSection, m_one.key + "00");
        const std::string name = quoted(column.name);
        if (m_iKind > 2 || text.empty() ||
            m_db.Rows("select 1 from " + quoted(column.table) + " where " + column.where +
                      " and (" + name + " is null or " + name + "='') limit 1")
                .empty())
        {
            return;
        }
        Warn("value-not-integer",
             column.table + "." + column.name +
                 " holds no value in a row: it is taken as 0 and posted as \"" + shortened(text) +
                 "\"");
    }

    bool HasSid(const TypeColumn& column)
    {
        return m_db.Problem("select SID from " + quoted(column.table)).empty();
    }

    // The numbers that the daemon would read now.
    void ReadNumbers(const TypeColumn& column, Numbers& numbers)
    {
        const bool hasSid = HasSid(column);
        const std::string sql = "select coalesce(cast(" + quoted(column.name) + " as integer),0)," +
                                (hasSid ? "min(SID)" : "''") + " from " + quoted(column.table) +
                                " where " + column.where + " group by 1 limit " +
                                std::to_string(kValuesRead);
        for (const auto& row : m_db.Rows(sql))
        {
            numbers.insert({cell_number(row[0]), (hasSid ? "SID " + shortened(row[1]) : "a row") +
                                                     " of " + column.table});
        }
    }

    // Bits beyond those of the kind, in the 32 that the daemon reads.
    void CheckWidth(const TypeColumn& column)
    {
        const int bits = 8 * (m_iKind - 1);
        if (m_iKind < 2)
        {
            return;
        }
        const std::string read = "(cast(" + quoted(column.name) + " as integer)&4294967295)";
        const bool hasSid = HasSid(column);
        const std::vector<CCheckDatabase::Row> rows = m_db.Rows(
            "select " + read + "," + (hasSid ? "SID" : "''") + " from " + quoted(column.table) +
            " where " + column.where + " and " + read + ">>" + std::to_string(bits) + "<>0");
        if (rows.empty())
        {
            return;
        }
        const int value = static_cast<int>(std::strtoul(rows[0][0].c_str(), nullptr, 10));
        const std::string more =
            rows.size() > 1 ? "and " + std::to_string(rows.size() - 1) + " more" : "";
        const std::string sid = hasSid ? "SID " + shortened(rows[0][1]) : "";
        const std::string rest = sid + (sid.empty() || more.empty() ? "" : ", ") + more;
        Warn("kind-narrow", column.table + "." + column.name + " holds " + std::to_string(value) +
                                (rest.empty() ? "" : " (" + rest + ")") +
                                ", which has bits beyond the " + std::to_string(bits) +
                                " of kind " + std::to_string(m_iKind) + ": they are not posted; " +
                                kind_for(value));
    }

    static std::string kind_for(int value)
    {
        for (int kind = 3; kind <= 4; ++kind)
        {
            if (static_cast<unsigned>(value) >> (8 * (kind - 1)) == 0)
            {
                return "kind " + std::to_string(kind) + " has " + std::to_string(8 * (kind - 1));
            }
        }
        return "no kind has as many";
    }

    void CheckTexts(const TypeColumn& column)
    {
        const std::string name = quoted(column.name);
        const std::string text =
            m_db.Value("select " + name + " from " + quoted(column.table) + " where " +
                       column.where + " and " + is_no_integer(name) + " limit 1");
        if (!text.empty())
        {
            Warn("value-not-integer",
                 column.table + "." + column.name + " holds \"" + shortened(text) +
                     "\", and kind " + std::to_string(m_iKind) + " reads numbers: it is taken as " +
                     std::to_string(std::strtol(text.c_str(), nullptr, 10)));
        }
    }

    // An empty text that is there is meant: the value is to be left out.
    void CheckFallback(const Numbers& numbers)
    {
        if (HasText("x"))
        {
            return;
        }
        std::vector<std::string> dropped;
        for (const auto& [number, row] : numbers)
        {
            if (!HasText(std::to_string(number)))
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

    bool HasText(const std::string& suffix) const
    {
        return m_ini.Has(kFieldSection, m_one.key + suffix);
    }

    // Texts that are not there, and the first number that asks for one.
    struct Missing
    {
        std::set<std::string> texts;
        std::string example;
    };

    void CheckBits(const Numbers& numbers)
    {
        Missing leftOut; // nothing else of the number has a text: no pair at all
        Missing partial;
        for (const auto& [number, row] : numbers)
        {
            bool hasOther = false;
            const std::vector<std::string> texts = MissingTexts(number, hasOther);
            Missing& missing = hasOther ? partial : leftOut;
            missing.texts.insert(texts.begin(), texts.end());
            if (!texts.empty() && missing.example.empty())
            {
                missing.example = row + ", which holds " + std::to_string(number) + " now";
            }
        }
        ReportMissing(leftOut, "left out for ");
        ReportMissing(partial, "posted without a text for it for ");
    }

    // hasOther: a text that is not empty is posted for another bit.
    // A whole 00 without a text is what most hosts want: nothing is posted while nothing is wrong.
    std::vector<std::string> MissingTexts(long number, bool& hasOther) const
    {
        const std::string whole =
            format_text("%02X", static_cast<unsigned>(static_cast<int>(number)));
        std::vector<std::string> suffixes = {whole};
        if (m_iKind != 2 || !is_asked_for(2, whole) || whole.size() != 2)
        {
            suffixes.clear();
            for (int bit = 0; bit < 8 * (m_iKind - 1); ++bit)
            {
                if (((static_cast<unsigned long>(number) >> bit) & 1U) != 0)
                {
                    suffixes.push_back(std::to_string(bit));
                }
            }
        }
        std::vector<std::string> missing;
        for (const std::string& suffix : suffixes)
        {
            hasOther = hasOther || !m_ini.Text(kFieldSection, m_one.key + suffix).empty();
            if (number != 0 && !HasText(suffix))
            {
                missing.push_back(m_one.key + suffix);
            }
        }
        return missing;
    }

    void ReportMissing(const Missing& missing, const std::string& effect)
    {
        if (!missing.texts.empty())
        {
            Warn("bit-label-missing", "there is no " +
                                          shown({missing.texts.begin(), missing.texts.end()}) +
                                          ": " + m_one.column + " is " + effect + missing.example);
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

} // namespace

void check_kind(CCheckDatabase& db, const CIniFile& ini, const CTypeColumns& columns,
                const FieldKey& key, CFindings& findings)
{
    CKindCheck(db, ini, columns, findings, key).Run();
}

} // namespace vkctl
