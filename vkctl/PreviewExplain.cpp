#include "vkctl/PreviewExplain.h"

#include <algorithm>

namespace vkctl
{

namespace
{

constexpr char kFieldSection[] = "POST.xFld";

std::string line_of(const SimpleIni& ini, const std::string& section, const std::string& key)
{
    const int line = ini.GetLine(section, key);
    return line > 0 ? std::string(" (") + kConfigFile + ":" + std::to_string(line) + ")"
                    : " (default)";
}

std::string setting(const SimpleIni& ini, const std::string& section, const std::string& key)
{
    return key + line_of(ini, section, key);
}

std::string cell_text(const PreviewCell& cell)
{
    return cell.table + "." + cell.column + " = " + (cell.value.empty() ? "(empty)" : cell.value);
}

// All cells that a body's head was made of.
std::vector<PreviewCell> head_cells(const PreviewBody& body)
{
    std::vector<PreviewCell> cells;
    for (const PreviewPart& part : body.parts)
    {
        if (part.part == BodyPart::kHead)
        {
            cells.insert(cells.end(), part.cells.begin(), part.cells.end());
        }
    }
    return cells;
}

const PreviewCell* find_cell(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const auto found = std::find_if(cells.rbegin(), cells.rend(),
                                    [&](const PreviewCell& cell) { return cell.column == column; });
    return found != cells.rend() ? &*found : nullptr;
}

std::string from_cell(const std::vector<PreviewCell>& cells, const std::string& column)
{
    const PreviewCell* cell = find_cell(cells, column);
    return cell != nullptr ? cell_text(*cell) : "no column " + column;
}

std::string without_separator(const std::string& text)
{
    return !text.empty() && text[0] == '&' ? text.substr(1) : text;
}

// --- Heads ---------------------------------------------------------------------------------------

// Where the eight values of Fmt0 come from.
class CHeadSources
{
public:
    CHeadSources(const PreviewBody& body, const SimpleIni& ini)
        : m_body(body), m_ini(ini), m_cells(head_cells(body))
    {
    }

    std::string Of(size_t value) const
    {
        switch (value)
        {
        case 0:
            return setting(m_ini, "POST", "Dept");
        case 1:
            return Sid();
        case 2:
            return Type();
        case 3:
            return Tag();
        case 4:
            return Name();
        case 5:
            return SubSystem();
        case 6:
            return Time();
        default:
            return State();
        }
    }

private:
    bool IsMadeUp() const { return m_body.kind == BodyKind::kGeneral || IsHost(); }
    bool IsHost() const { return m_body.kind == BodyKind::kHost; }

    std::string Sid() const
    {
        if (IsMadeUp())
        {
            return IsHost() ? "the host" : "900 and the table's place among the general ones";
        }
        return from_cell(m_cells, "SID");
    }

    std::string Type() const
    {
        if (IsMadeUp())
        {
            return IsHost() ? "the host" : setting(m_ini, "POST.General", m_body.table);
        }
        return from_cell(m_cells, "Type");
    }

    std::string Tag() const
    {
        if (m_body.kind == BodyKind::kOutput)
        {
            return "number of the output";
        }
        return IsMadeUp() || m_body.kind == BodyKind::kAlarm ? "always 0"
                                                             : from_cell(m_cells, "Tag1");
    }

    std::string Name() const
    {
        switch (m_body.kind)
        {
        case BodyKind::kGeneral:
            return setting(m_ini, "POST.General", m_body.table + ".Name");
        case BodyKind::kHost:
            return setting(m_ini, "POST", "DeptName");
        case BodyKind::kOutput:
            return "DO and the number of the output";
        case BodyKind::kAlarm:
            return "tbSM.Name of SID " + std::to_string(m_body.sid);
        default:
            return from_cell(m_cells, "Name");
        }
    }

    std::string SubSystem() const
    {
        if (m_body.kind == BodyKind::kAlarm)
        {
            return "class of the alarm, bits 8 to 15 of " + from_cell(m_cells, "Type") +
                   "; class 9 by " + from_cell(m_cells, "AlmBrief");
        }
        return IsMadeUp() || m_body.kind == BodyKind::kOutput ? "always 0"
                                                              : from_cell(m_cells, "ASubSys");
    }

    std::string Time() const
    {
        switch (m_body.kind)
        {
        case BodyKind::kDevice:
        case BodyKind::kOutput:
            return from_cell(m_cells, "DateUpd");
        case BodyKind::kInput:
        case BodyKind::kAlarm:
            return from_cell(m_cells, "LastUpd");
        default:
            return "time of reading";
        }
    }

    std::string State() const
    {
        if (IsMadeUp())
        {
            return setting(m_ini, "POST", "State0");
        }
        if (m_body.kind == BodyKind::kAlarm)
        {
            const PreviewCell* cell = find_cell(m_cells, "Alm");
            const bool cleared = cell != nullptr && (cell->number & 4) != 0;
            return from_cell(m_cells, "Alm") +
                   (cleared ? ", bit 4: cleared: " : ", without bit 4: active: ") +
                   setting(m_ini, "POST", cleared ? "State3" : "State1");
        }
        return FromStateCell(m_body.kind == BodyKind::kOutput ? OutputColumn() : "State");
    }

    std::string FromStateCell(const std::string& column) const
    {
        const PreviewCell* cell = find_cell(m_cells, column);
        const int state = cell != nullptr ? cell->number : 0;
        const std::string key = "State" + std::to_string(state >= 1 && state <= 3 ? state : 0);
        return from_cell(m_cells, column) + ": " + setting(m_ini, "POST", key);
    }

    // The column that was read first of all is the output's own.
    std::string OutputColumn() const { return m_cells.empty() ? "" : m_cells.front().column; }

    const PreviewBody& m_body;
    const SimpleIni& m_ini;
    std::vector<PreviewCell> m_cells;
};

// How many values of Fmt0 each of its groups takes.
std::vector<size_t> values_by_group(const std::string& format)
{
    std::vector<size_t> counts;
    for (size_t at = 0; at < format.size(); ++at)
    {
        if (counts.empty() || (format[at] == '&' && at > 0))
        {
            counts.push_back(0);
        }
        if (format[at] == '%')
        {
            ++at;
            counts.back() += format[at] == '%' ? 0U : 1U;
        }
    }
    return counts;
}

std::vector<Explanation> explain_head(const PreviewBody& body, const CAppPost& poster)
{
    const CHeadSources sources(body, poster.m_ini);
    const std::vector<size_t> counts = values_by_group(poster.m_strFmt0);
    std::vector<Explanation> result;
    size_t value = 0;
    for (const PreviewPart& part : body.parts)
    {
        if (part.part != BodyPart::kHead)
        {
            continue;
        }
        Explanation group{without_separator(part.text), ""};
        const size_t count = result.size() < counts.size() ? counts[result.size()] : 0;
        for (size_t end = value + count; value < end; ++value)
        {
            group.source += (group.source.empty() ? "" : "; ") + sources.Of(value);
        }
        group.source += group.source.empty() ? setting(poster.m_ini, "POST", "Fmt0") : "";
        result.push_back(std::move(group));
    }
    return result;
}

// --- Columns -------------------------------------------------------------------------------------

bool is_whole_byte(int value)
{
    return value == 0x00 || value == 0x0F || value == 0xF0 || value == 0xFF;
}

std::string field_key(int type, const std::string& column)
{
    return std::to_string(type) + "." + column;
}

std::string column_source(const SimpleIni& ini, int type, const PreviewCell& cell)
{
    const std::string key = field_key(type, cell.column);
    const int kind = ini.GetValue<int>(kFieldSection, key, 0);
    std::string source = cell_text(cell);
    if (kind < 1 || kind > 4)
    {
        return source + ", as stored";
    }
    source += ", kind " + std::to_string(kind) + line_of(ini, kFieldSection, key);
    for (const std::string& text : text_keys(ini, type, cell.column, cell.number))
    {
        const int line = ini.GetLine(kFieldSection, text);
        source += line > 0 ? ", " + setting(ini, kFieldSection, text) : ", no text " + text;
    }
    return source;
}

// A row of a detail table: every cell once, in the order of their names, since they are read in
// no order that would mean anything; and the mode that lays them out.
std::string detail_source(const SimpleIni& ini, const PreviewPart& part)
{
    const std::string& table = part.cells.back().table;
    std::set<std::string> cells;
    for (const PreviewCell& cell : part.cells)
    {
        cells.insert(cell.column + "=" + cell.value);
    }
    std::string source = table + ":";
    for (const std::string& cell : cells)
    {
        source += " " + cell;
    }
    return source + ", mode " + std::to_string(ini.GetValue<int>("POST.Detail", table, 0)) +
           line_of(ini, "POST.Detail", table);
}

bool is_detail(const SimpleIni& ini, const PreviewBody& body, const PreviewPart& part)
{
    return body.kind == BodyKind::kDevice && !part.cells.empty() &&
           part.cells.back().table != body.table &&
           ini.GetValue<int>("POST.Detail", part.cells.back().table, 0) >= 100;
}

std::string pair_name(const std::string& pair)
{
    return pair.substr(0, pair.find('='));
}

// --- Other pairs ---------------------------------------------------------------------------------

std::string alarm_source(const std::string& name, const std::vector<PreviewCell>& cells)
{
    if (name == "level")
    {
        return "class of the alarm, from " + from_cell(cells, "Type");
    }
    if (name == "location" || name == "datainfo")
    {
        return "always empty";
    }
    if (name == "recovertime")
    {
        return "of a cleared alarm: " + from_cell(cells, "LastUpd");
    }
    return from_cell(cells, name == "title"        ? "AlmBrief"
                            : name == "suggestion" ? "AlmMask"
                                                   : "AlmImg");
}

std::string host_source(const std::string& pairs)
{
    return pairs.compare(0, 4, "cpu1") == 0
               ? "/proc/loadavg, times 100"
               : "/proc/meminfo, the CPU's highest clock in kHz, /dev/mtd* in MB";
}

std::string other_source(const PreviewBody& body, const PreviewPart& part, const std::string& pairs)
{
    const std::vector<PreviewCell> head = head_cells(body);
    switch (body.kind)
    {
    case BodyKind::kAlarm:
        return alarm_source(pair_name(pairs), head);
    case BodyKind::kHost:
        return host_source(pairs);
    case BodyKind::kOutput:
        return head.empty() ? "" : cell_text(head.front());
    default:
        return part.cells.empty() ? "" : cell_text(part.cells.back());
    }
}

} // namespace

std::vector<std::string> text_keys(const SimpleIni& ini, int type, const std::string& column,
                                   int value)
{
    const std::string key = field_key(type, column);
    const int kind = ini.GetValue<int>(kFieldSection, key, 0);
    if (kind == 1)
    {
        const std::string own = key + std::to_string(value);
        return {ini.GetLine(kFieldSection, own) > 0 ? own : key + "x"};
    }
    if (kind == 2 && is_whole_byte(value))
    {
        return {key + format_text("%02X", static_cast<unsigned>(value))};
    }
    std::vector<std::string> keys;
    for (int bit = 0; kind >= 2 && kind <= 4 && bit < (kind - 1) * 8; ++bit)
    {
        if ((static_cast<unsigned>(value) >> bit & 1U) != 0)
        {
            keys.push_back(key + std::to_string(bit));
        }
    }
    return keys;
}

std::vector<Explanation> explain(const PreviewBody& body, const CAppPost& poster)
{
    const SimpleIni& ini = poster.m_ini;
    std::vector<Explanation> result = explain_head(body, poster);
    for (const PreviewPart& part : body.parts)
    {
        if (part.part == BodyPart::kHead)
        {
            continue;
        }
        const std::string pairs = without_separator(part.text);
        if (is_detail(ini, body, part))
        {
            result.push_back({pairs, detail_source(ini, part)});
            continue;
        }
        if (body.kind != BodyKind::kDevice && body.kind != BodyKind::kGeneral)
        {
            result.push_back({pairs, other_source(body, part, pairs)});
            continue;
        }
        for (size_t i = 0; i < part.cells.size(); ++i)
        {
            const bool posted = !part.text.empty() && i + 1 == part.cells.size();
            result.push_back({posted ? pairs : "", column_source(ini, body.type, part.cells[i])});
        }
    }
    return result;
}

} // namespace vkctl
