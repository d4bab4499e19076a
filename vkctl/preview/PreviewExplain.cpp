#include "vkctl/preview/PreviewExplain.h"

#include <algorithm>
#include <set>

#include "app/AppRules.h"
#include "vkctl/preview/PreviewSource.h"

namespace vkctl
{

namespace
{

// --- Heads ---------------------------------------------------------------------------------------

// Where the eight values of Fmt0 come from, by the row of the body's kind.
class CHeadSources
{
public:
    CHeadSources(const PreviewBody& body, const CAppPost& poster)
        : m_body(body), m_poster(poster), m_ini(poster.m_ini)
    {
    }

    std::string Of(HeadValue value) const
    {
        const HeadField& field = body_kind(m_body.kind).Field(value);
        const std::string column = field.column != nullptr ? field.column : "";
        switch (field.source)
        {
        case HeadSource::kSetting:
            return OfSetting(value);
        case HeadSource::kColumn:
            return OfColumn(value, column);
        case HeadSource::kState:
            return OfState(find_cell(m_body.head, column), column);
        case HeadSource::kKnownName:
        case HeadSource::kKnownFirst:
            return NameByDiscovery();
        case HeadSource::kZero:
            return IsOfHost(value) ? "the host" : "always 0";
        case HeadSource::kPlace:
            return std::to_string(kFirstGeneralSid) +
                   " and the table's place among the general ones";
        case HeadSource::kOutput:
            return value == HeadValue::kName ? "DO and the number of the output"
                                             : "number of the output";
        case HeadSource::kOutputState:
            return OfOutputState();
        case HeadSource::kNow:
            return "time of reading";
        case HeadSource::kAlarmClass:
            return "class of the alarm, bits 8 to 15 of " + from_number(m_body.head, column) +
                   ByTitle(column);
        case HeadSource::kAlarmState:
            return OfAlarmState(column);
        }
        return {};
    }

private:
    bool IsOfHost(HeadValue value) const
    {
        return m_body.kind == BodyKind::kHost &&
               (value == HeadValue::kSid || value == HeadValue::kType);
    }

    std::string OfSetting(HeadValue value) const
    {
        const bool is_general = m_body.kind == BodyKind::kGeneral;
        switch (value)
        {
        case HeadValue::kType:
            return setting(m_ini, setting_place(SettingId::kGeneralType, m_body.table));
        case HeadValue::kName:
            return setting(m_ini, is_general ? setting_place(SettingId::kGeneralName, m_body.table)
                                             : setting_place(SettingId::kDeptName));
        case HeadValue::kState:
            return setting(m_ini, setting_place(state_setting(0)));
        default:
            return setting(m_ini, setting_place(SettingId::kDept));
        }
    }

    std::string OfColumn(HeadValue value, const std::string& column) const
    {
        if (value == HeadValue::kTime)
        {
            return from_cell(m_body.head, column);
        }
        if (value != HeadValue::kName)
        {
            return from_number(m_body.head, column);
        }
        const PreviewCell* name = find_cell(m_body.head, column);
        return name != nullptr && name->value.empty() ? NoName() : from_cell(m_body.head, column);
    }

    // What discovery has read from tbSM: of several rows for a SID the last. An empty name stands
    // there, too, for a device that tbSM does not know.
    std::string NameByDiscovery() const
    {
        const auto known = m_poster.m_mapSmName.find(m_body.sid);
        return known != m_poster.m_mapSmName.end() && !known->second.empty()
                   ? "tbSM.Name = " + shown_value(known->second)
                   : NoName();
    }

    std::string NoName() const { return "tbSM has no name for SID " + std::to_string(m_body.sid); }

    // A class that the words of the title refine.
    std::string ByTitle(const std::string& column) const
    {
        const PreviewCell* type = find_cell(m_body.head, column);
        const bool is_titled = type != nullptr && alarm_class(type->number) == kTitledClass;
        return is_titled ? "; class 9 by " + from_cell(m_body.head, "AlmBrief") : "";
    }

    std::string OfAlarmState(const std::string& column) const
    {
        const PreviewCell* cell = find_cell(m_body.head, column);
        const bool cleared = cell != nullptr && is_alarm_cleared(cell->number);
        return from_number(m_body.head, column) +
               (cleared ? ", bit 4: cleared: " : ", without bit 4: active: ") +
               setting(m_ini, setting_place(state_setting(alarm_state(cleared))));
    }

    std::string OfState(const PreviewCell* cell, const std::string& column) const
    {
        const int state = cell != nullptr ? cell->number : 0;
        return (cell != nullptr ? number_text(*cell) : "no column " + column) + ": " +
               setting(m_ini, setting_place(state_setting(state)));
    }

    // An output's own column is that of the pair behind the head.
    std::string OfOutputState() const
    {
        const auto own = std::find_if(m_body.parts.begin(), m_body.parts.end(),
                                      [](const PreviewPart& part)
                                      { return part.origin == PartOrigin::kNumber; });
        const bool is_known = own != m_body.parts.end() && !own->cells.empty();
        return OfState(is_known ? &own->cells.front() : nullptr, "of the output");
    }

    const PreviewBody& m_body;
    const CAppPost& m_poster;
    const SimpleIni& m_ini;
};

// --- Columns -------------------------------------------------------------------------------------

// A text of a value, or the one that stands in for it.
std::string label(const SimpleIni& ini, const std::string& key, int kind, const std::string& suffix)
{
    const bool has_fallback =
        kind == kFirstFieldKind && ini.GetLine(kFieldSection, key + suffix) == 0;
    const std::string name = key + (has_fallback ? kFallbackSuffix : suffix);
    return ini.GetLine(kFieldSection, name) > 0 ? ", " + setting(ini, {kFieldSection, name})
                                                : ", no text " + name;
}

std::string column_source(const SimpleIni& ini, int type, const PreviewCell& cell)
{
    const std::string key = field_key(type, cell.column);
    const int kind = field_kind(ini, key);
    if (!is_text_kind(kind))
    {
        return cell_text(cell) + ", as stored";
    }
    std::string source =
        number_text(cell) + ", kind " + std::to_string(kind) + line_of(ini, {kFieldSection, key});
    const std::vector<std::string> suffixes = field_suffixes(kind, cell.number);
    if (suffixes.empty())
    {
        source += cell.number == 0 ? ", no bit is set" : ", no bit is set that the kind looks at";
    }
    for (const std::string& suffix : suffixes)
    {
        source += label(ini, key, kind, suffix);
    }
    return source;
}

// --- Detail rows ---------------------------------------------------------------------------------

// Every cell once, in the order of their names, since they are read in no order that would mean
// anything; and the mode that lays them out. Of a row that has become nothing its number is told,
// since the cells that would tell it apart may not have been read.
std::string detail_source(const SimpleIni& ini, const PreviewBody& body, const PreviewPart& part,
                          int row)
{
    std::set<std::string> cells;
    for (const PreviewCell& cell : part.cells)
    {
        cells.insert(cell.column + "=" + (cell.value.empty() ? "" : shown_value(cell.value)));
    }
    std::string source = part.table;
    if (part.left_out)
    {
        source += ", row " + std::to_string(row) + " of SID " + std::to_string(body.sid);
    }
    source += ":";
    for (const std::string& cell : cells)
    {
        source += " " + cell;
    }
    source += (cells.empty() ? " mode " : ", mode ") + std::to_string(part.number) +
              line_of(ini, setting_place(SettingId::kDetailMode, part.table));
    return part.left_out == LeftOut::kEmpty ? source + ", no " + part.cells.front().column : source;
}

// --- All -----------------------------------------------------------------------------------------

// Why it was left out, where the source does not say so already.
std::string reason(const PreviewPart& part)
{
    if (part.left_out == LeftOut::kNoRoom)
    {
        return ", no room left in the body";
    }
    return part.left_out == LeftOut::kUnknownMode ? ", which is none" : "";
}

class CExplainer
{
public:
    CExplainer(const PreviewBody& body, const CAppPost& poster)
        : m_body(body), m_ini(poster.m_ini), m_head(body, poster)
    {
    }

    std::string Source(const PreviewPart& part)
    {
        const PreviewCell* cell = part.cells.empty() ? nullptr : &part.cells.front();
        switch (part.origin)
        {
        case PartOrigin::kHead:
            return Head(part.number);
        case PartOrigin::kRendered:
            return cell == nullptr || part.left_out == LeftOut::kNoColumn
                       ? NoColumn(part)
                       : column_source(m_ini, part.type, *cell);
        case PartOrigin::kText:
            return cell != nullptr ? cell_text(*cell) : "";
        case PartOrigin::kNumber:
            return cell != nullptr ? number_text(*cell) : "";
        case PartOrigin::kDetailRow:
            return detail_source(m_ini, m_body, part, ++m_row);
        case PartOrigin::kAlarmLevel:
            return "class of the alarm, from " + (cell != nullptr ? number_text(*cell) : "");
        case PartOrigin::kNotCleared:
            return "not cleared";
        case PartOrigin::kNothing:
            return "always empty";
        case PartOrigin::kLoad:
            return "/proc/loadavg, times 100";
        case PartOrigin::kSystem:
            return "/proc/meminfo, the CPU's highest clock in kHz, /dev/mtd* in MB";
        }
        return {};
    }

private:
    // The next values of the head.
    std::string Head(int values)
    {
        std::string source;
        for (const int end = m_value + values; m_value < end; ++m_value)
        {
            source += (source.empty() ? "" : "; ") + m_head.Of(static_cast<HeadValue>(m_value));
        }
        return source.empty() ? setting(m_ini, setting_place(SettingId::kFmt0)) : source;
    }

    static std::string NoColumn(const PreviewPart& part)
    {
        return part.table + ", column " + std::to_string(part.number + 1) +
               ": not there, or beyond its .flds";
    }

    const PreviewBody& m_body;
    const SimpleIni& m_ini;
    const CHeadSources m_head;
    int m_value = 0; // of the head, that comes next
    int m_row = 0;   // of the detail table
};

} // namespace

std::vector<Explanation> explain(const PreviewBody& body, const CAppPost& poster)
{
    CExplainer explainer(body, poster);
    std::vector<Explanation> result;
    for (const PreviewPart& part : body.parts)
    {
        const std::string source = explainer.Source(part); // in the order of the parts
        result.push_back({without_separator(part.text), source + reason(part)});
    }
    return result;
}

} // namespace vkctl
