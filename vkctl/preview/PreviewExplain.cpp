#include "vkctl/preview/PreviewExplain.h"

#include <algorithm>
#include <set>

#include "vkctl/preview/PreviewHead.h"
#include "vkctl/preview/PreviewSource.h"

namespace vkctl
{

namespace
{

constexpr char kFieldSection[] = "POST.xFld";

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
    if (kind < 1 || kind > 4)
    {
        return cell_text(cell) + ", as stored";
    }
    std::string source =
        number_text(cell) + ", kind " + std::to_string(kind) + line_of(ini, kFieldSection, key);
    const std::vector<std::string> texts = text_keys(ini, type, cell.column, cell.number);
    if (texts.empty())
    {
        source += cell.number == 0 ? ", no bit is set" : ", no bit is set that the kind looks at";
    }
    for (const std::string& text : texts)
    {
        const int line = ini.GetLine(kFieldSection, text);
        source += line > 0 ? ", " + setting(ini, kFieldSection, text) : ", no text " + text;
    }
    return source;
}

// What a column would be posted as; empty when it is not.
std::string rendered(const SimpleIni& ini, int type, const PreviewCell& cell)
{
    const int kind = ini.GetValue<int>(kFieldSection, field_key(type, cell.column), 0);
    if (kind < 1 || kind > 4)
    {
        return cell.value;
    }
    std::string value;
    for (const std::string& key : text_keys(ini, type, cell.column, cell.number))
    {
        value += (value.empty() ? "" : " ") + ini.GetValue(kFieldSection, key, "");
    }
    return value;
}

// --- Detail rows ---------------------------------------------------------------------------------

struct DetailMode
{
    int mode;
    std::vector<const char*> columns; // that it reads; the one that decides comes first
};

const DetailMode* find_mode(int mode)
{
    static const std::vector<DetailMode> kModes = {
        {100, {"Addr", "State", "Vol", "Reg", "Tem"}},
        {101, {"Fld", "State", "V", "T"}},
        {102, {"Fld", "Vol", "Tem", "bSt"}},
        {103, {"Fld", "dat0"}},
        {200, {"ValStr", "Fld", "Val"}},
        {201, {"Val", "Fld"}},
        {202, {"Val", "Fld"}},
    };
    const auto found = std::find_if(kModes.begin(), kModes.end(),
                                    [&](const DetailMode& known) { return known.mode == mode; });
    return found != kModes.end() ? &*found : nullptr;
}

// Why a row that was read has become nothing.
std::string left_out_row(const DetailMode& mode, const std::vector<PreviewCell>& cells)
{
    const PreviewCell* decisive = find_cell(cells, mode.columns.front());
    if (mode.mode >= 200 && decisive != nullptr && decisive->value.empty())
    {
        return std::string(", no ") + mode.columns.front();
    }
    const bool isComplete =
        std::all_of(mode.columns.begin(), mode.columns.end(),
                    [&](const char* column) { return find_cell(cells, column) != nullptr; });
    return isComplete ? kNoRoom : ", a column of that mode is missing";
}

// A row of a detail table: every cell once, in the order of their names, since they are read in
// no order that would mean anything; and the mode that lays them out. Of a row that has become
// nothing its number is told, since the cells that would tell it apart may not have been read.
std::string detail_source(const SimpleIni& ini, const PreviewBody& body, const PreviewPart& part,
                          int row)
{
    const std::string& table = part.cells.back().table;
    std::set<std::string> cells;
    for (const PreviewCell& cell : part.cells)
    {
        cells.insert(cell.column + "=" + (cell.value.empty() ? "" : shown_value(cell.value)));
    }
    std::string source =
        table +
        (part.text.empty() ? ", row " + std::to_string(row) + " of SID " + std::to_string(body.sid)
                           : "") +
        ":";
    for (const std::string& cell : cells)
    {
        source += " " + cell;
    }
    const int mode = ini.GetValue<int>("POST.Detail", table, 0);
    source += ", mode " + std::to_string(mode) + line_of(ini, "POST.Detail", table);
    const DetailMode* known = find_mode(mode);
    return part.text.empty() && known != nullptr ? source + left_out_row(*known, part.cells)
                                                 : source;
}

bool is_detail(const SimpleIni& ini, const PreviewBody& body, const PreviewPart& part)
{
    return body.kind == BodyKind::kDevice && !part.cells.empty() &&
           part.cells.back().table == ini.GetValue("POST.Master", body.table, "");
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
        return "class of the alarm, from " + from_number(cells, "Type");
    }
    if (name == "location" || name == "datainfo")
    {
        return "always empty";
    }
    if (name == "recovertime")
    {
        const PreviewCell* alarm = find_cell(cells, "Alm");
        return alarm != nullptr && is_cleared(*alarm) ? from_cell(cells, "LastUpd") : "not cleared";
    }
    return name == "suggestion" ? from_number(cells, "AlmMask")
                                : from_cell(cells, name == "title" ? "AlmBrief" : "AlmImg");
}

// The pairs of an alarm's body that did not fit.
std::vector<Explanation> left_out_of_alarm(const PreviewBody& body)
{
    std::vector<Explanation> result;
    for (const char* const name :
         {"level", "title", "suggestion", "location", "datainfo", "recovertime", "AlmImg"})
    {
        const std::string begin = std::string("&") + name + "=";
        const bool isPosted =
            std::any_of(body.parts.begin(), body.parts.end(),
                        [&](const PreviewPart& part) { return part.text.rfind(begin, 0) == 0; });
        if (!isPosted)
        {
            result.push_back({"", alarm_source(name, head_cells(body)) + kNoRoom});
        }
    }
    return result;
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
        return head.empty() ? "" : number_text(head.front());
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
    int row = 0;
    for (const PreviewPart& part : body.parts)
    {
        if (part.part == BodyPart::kHead)
        {
            continue;
        }
        const std::string pairs = without_separator(part.text);
        if (is_detail(ini, body, part))
        {
            result.push_back({pairs, detail_source(ini, body, part, ++row)});
            continue;
        }
        if (body.kind != BodyKind::kDevice && body.kind != BodyKind::kGeneral)
        {
            result.push_back({pairs, other_source(body, part, pairs)});
            continue;
        }
        for (size_t i = 0; i < part.cells.size(); ++i)
        {
            const PreviewCell& cell = part.cells[i];
            const bool posted = !part.text.empty() && i + 1 == part.cells.size();
            const bool hasNoRoom = !posted && !rendered(ini, body.type, cell).empty();
            result.push_back({posted ? pairs : "",
                              column_source(ini, body.type, cell) + (hasNoRoom ? kNoRoom : "")});
        }
    }
    if (body.kind == BodyKind::kAlarm)
    {
        const std::vector<Explanation> more = left_out_of_alarm(body);
        result.insert(result.end(), more.begin(), more.end());
    }
    return result;
}

} // namespace vkctl
