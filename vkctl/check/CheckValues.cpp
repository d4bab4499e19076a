#include "vkctl/check/CheckValues.h"

#include <strings.h>

#include <algorithm>
#include <set>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr size_t kValuesShown = 5;

std::string shown(const std::vector<std::string>& values)
{
    const size_t count = std::min(values.size(), kValuesShown);
    return shortened_list({values.begin(), values.begin() + static_cast<ptrdiff_t>(count)},
                          values.size());
}

bool has_bits_beyond(int kind, int value)
{
    const int bits = field_bits(kind);
    return bits > 0 && static_cast<unsigned>(value) >> bits != 0;
}

std::string kind_for(int value)
{
    for (int kind = kFirstFieldKind; kind <= kLastFieldKind; ++kind)
    {
        if (field_bits(kind) > 0 && !has_bits_beyond(kind, value))
        {
            return "kind " + std::to_string(kind) + " has " + std::to_string(field_bits(kind));
        }
    }
    return "no kind has as many";
}

} // namespace

CFieldValues::CFieldValues(const CIniFile& ini, const CTypeColumns& columns) : m_ini(ini)
{
    for (const FieldKey& one : field_keys(ini, columns))
    {
        const int kind = ini.Int(kFieldSection, one.key);
        if (one.role != FieldKeyRole::kKind || !is_text_kind(kind))
        {
            continue;
        }
        Column column{one, kind, {}, {}};
        for (const TypeColumn& named : columns.Named(one.type, one.column))
        {
            if (named.posted)
            {
                column.tables[named.table];
            }
        }
        if (!column.tables.empty())
        {
            m_columns.insert({{one.type, one.column}, column});
        }
    }
}

void CFieldValues::Body(const PreviewBody& body)
{
    if (body.kind != BodyKind::kDevice && body.kind != BodyKind::kGeneral)
    {
        return;
    }
    for (const PreviewPart& part : body.parts)
    {
        if (part.part != BodyPart::kPair)
        {
            continue;
        }
        for (const PreviewCell& cell : part.cells)
        {
            const auto column = m_columns.find({body.type, cell.column});
            if (column != m_columns.end())
            {
                Cell(column->second, body, cell);
            }
        }
    }
}

void CFieldValues::Cell(Column& column, const PreviewBody& body, const PreviewCell& cell) const
{
    const auto found =
        std::find_if(column.tables.begin(), column.tables.end(),
                     [&](const auto& entry)
                     { return strcasecmp(entry.first.c_str(), cell.table.c_str()) == 0; });
    if (found == column.tables.end())
    {
        return; // a detail row, which kinds do not render
    }
    auto& [table, seen] = *found;
    const bool own_row = cell.table == body.table; // an extension's row is that of many bodies
    const std::string sid =
        own_row && body.kind == BodyKind::kDevice ? "SID " + std::to_string(body.sid) : "";
    column.numbers.insert({cell.number, (sid.empty() ? "a row" : sid) + " of " + table});
    const HostCell read{cell.value, cell.number};
    if (seen.misread.text.empty() && is_misread(read))
    {
        seen.misread = read;
    }
    seen.has_empty = seen.has_empty || cell.value.empty();
    if (has_bits_beyond(column.kind, cell.number))
    {
        seen.wide = seen.wide_rows == 0 ? cell.number : seen.wide;
        seen.wide_row = seen.wide_rows == 0 ? sid : seen.wide_row;
        seen.wide_rows = own_row ? seen.wide_rows + 1 : 1;
    }
}

bool CFieldValues::HasText(const Column& column, const std::string& suffix) const
{
    return m_ini.Has(kFieldSection, column.key.key + suffix);
}

void CFieldValues::Report(CFindings& findings) const
{
    for (const auto& [name, column] : m_columns)
    {
        for (const auto& [table, seen] : column.tables)
        {
            ReportTable(column, table, seen, findings);
        }
        if (field_bits(column.kind) > 0)
        {
            ReportBits(column, findings);
        }
        else
        {
            ReportFallback(column, findings);
        }
    }
}

void CFieldValues::ReportTable(const Column& column, const std::string& table, const Seen& seen,
                               CFindings& findings) const
{
    const Place place = m_ini.At(kFieldSection, column.key.key);
    const std::string name = table + "." + column.key.column;
    const std::string kind = "kind " + std::to_string(column.kind);
    if (!seen.misread.text.empty())
    {
        findings.Warning(place, FindingId::kValueNotInteger,
                         name + " holds \"" + shortened(seen.misread.text) + "\", and " + kind +
                             " reads numbers: it is taken as " +
                             std::to_string(seen.misread.number));
    }
    const std::string text = field_text(m_ini.Document(), column.key.key, column.kind, 0);
    if (seen.has_empty && !text.empty())
    {
        findings.Warning(place, FindingId::kValueNotInteger,
                         name + " holds no value in a row: it is taken as 0 and posted as \"" +
                             shortened(text) + "\"");
    }
    if (seen.wide_rows > 0)
    {
        const std::string more =
            seen.wide_rows > 1 ? "and " + std::to_string(seen.wide_rows - 1) + " more" : "";
        const std::string rest =
            seen.wide_row + (seen.wide_row.empty() || more.empty() ? "" : ", ") + more;
        findings.Warning(
            place, FindingId::kKindNarrow,
            name + " holds " + std::to_string(seen.wide) + (rest.empty() ? "" : " (" + rest + ")") +
                ", which has bits beyond the " + std::to_string(field_bits(column.kind)) + " of " +
                kind + ": they are not posted; " + kind_for(seen.wide));
    }
}

// An empty text that is there is meant: the value is to be left out.
void CFieldValues::ReportFallback(const Column& column, CFindings& findings) const
{
    if (HasText(column, kFallbackSuffix))
    {
        return;
    }
    std::vector<std::string> dropped;
    for (const auto& [number, row] : column.numbers)
    {
        if (!HasText(column, field_suffixes(column.kind, number).at(0)))
        {
            dropped.push_back(std::to_string(number));
        }
    }
    const Place place = m_ini.At(kFieldSection, column.key.key);
    const std::string missing =
        "there is no " + column.key.key + kFallbackSuffix + " for values without a text: ";
    if (dropped.empty())
    {
        findings.Note(place, FindingId::kFallbackMissing,
                      missing + "such a value is left out; there is none now");
        return;
    }
    findings.Warning(place, FindingId::kFallbackMissing,
                     missing + "the value is left out, now for " + shown(dropped));
}

// A whole 0 without a text is what most hosts want: nothing is posted while nothing is wrong.
void CFieldValues::ReportBits(const Column& column, CFindings& findings) const
{
    struct Missing
    {
        const char* effect;
        std::set<std::string> texts;
        std::string example; // the first number that asks for one
    };
    Missing left_out{"left out for ", {}, ""}; // nothing else of the number has a text: no pair
    Missing partial{"posted without a text for it for ", {}, ""};
    for (const auto& [number, row] : column.numbers)
    {
        const bool posted =
            !field_text(m_ini.Document(), column.key.key, column.kind, number).empty();
        Missing& missing = posted ? partial : left_out;
        for (const std::string& suffix : field_suffixes(column.kind, number))
        {
            if (number != 0 && !HasText(column, suffix))
            {
                missing.texts.insert(column.key.key + suffix);
                missing.example = !missing.example.empty()
                                      ? missing.example
                                      : row + ", which holds " + std::to_string(number) + " now";
            }
        }
    }
    for (const Missing& missing : {left_out, partial})
    {
        if (!missing.texts.empty())
        {
            findings.Warning(m_ini.At(kFieldSection, column.key.key), FindingId::kBitLabelMissing,
                             "there is no " + shown({missing.texts.begin(), missing.texts.end()}) +
                                 ": " + column.key.column + " is " + missing.effect +
                                 missing.example);
        }
    }
}

} // namespace vkctl
