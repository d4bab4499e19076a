#include "vkctl/preview/PreviewHead.h"

#include "vkctl/preview/PreviewSource.h"

namespace vkctl
{

namespace
{

// Where the eight values of Fmt0 come from.
class CHeadSources
{
public:
    CHeadSources(const PreviewBody& body, const CAppPost& poster)
        : m_body(body), m_poster(poster), m_ini(poster.m_ini), m_cells(head_cells(body))
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
        return from_number(m_cells, "SID");
    }

    std::string Type() const
    {
        if (IsMadeUp())
        {
            return IsHost() ? "the host" : setting(m_ini, "POST.General", m_body.table);
        }
        return from_number(m_cells, "Type");
    }

    std::string Tag() const
    {
        if (m_body.kind == BodyKind::kOutput)
        {
            return "number of the output";
        }
        return IsMadeUp() || m_body.kind == BodyKind::kAlarm ? "always 0"
                                                             : from_number(m_cells, "Tag1");
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
        case BodyKind::kDevice:
            return NameByDiscovery();
        default:
            return NameOfRow();
        }
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

    std::string NameOfRow() const
    {
        const PreviewCell* name = find_cell(m_cells, "Name");
        return name != nullptr && name->value.empty() ? NoName() : from_cell(m_cells, "Name");
    }

    std::string NoName() const { return "tbSM has no name for SID " + std::to_string(m_body.sid); }

    std::string SubSystem() const
    {
        if (m_body.kind == BodyKind::kAlarm)
        {
            return "class of the alarm, bits 8 to 15 of " + from_number(m_cells, "Type") +
                   ByTitle();
        }
        return IsMadeUp() || m_body.kind == BodyKind::kOutput ? "always 0"
                                                              : from_number(m_cells, "ASubSys");
    }

    // A class that the words of the title refine.
    std::string ByTitle() const
    {
        constexpr int kTitledClass = 9;
        const PreviewCell* type = find_cell(m_cells, "Type");
        const bool isTitled = type != nullptr && (type->number >> 8 & 0xFF) == kTitledClass;
        return isTitled ? "; class 9 by " + from_cell(m_cells, "AlmBrief") : "";
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
            const bool cleared = cell != nullptr && is_cleared(*cell);
            return from_number(m_cells, "Alm") +
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
        return from_number(m_cells, column) + ": " + setting(m_ini, "POST", key);
    }

    // The column that was read first of all is the output's own.
    std::string OutputColumn() const { return m_cells.empty() ? "" : m_cells.front().column; }

    const PreviewBody& m_body;
    const CAppPost& m_poster;
    const SimpleIni& m_ini;
    std::vector<PreviewCell> m_cells;
};

// A group of Fmt0.
struct HeadGroup
{
    std::string begin; // what it says before its first value, without "&"
    size_t values = 0;
};

std::vector<HeadGroup> head_groups(const std::string& format)
{
    std::vector<HeadGroup> groups;
    bool isBegin = true;
    for (size_t at = 0; at < format.size(); ++at)
    {
        if (groups.empty() || (format[at] == '&' && at > 0))
        {
            groups.emplace_back();
            isBegin = true;
        }
        if (format[at] == '%')
        {
            ++at; // what follows: a conversion, or another "%"
            groups.back().values += format[at] == '%' ? 0U : 1U;
            isBegin = false;
        }
        else if (isBegin && !(format[at] == '&' && groups.back().begin.empty()))
        {
            groups.back().begin += format[at];
        }
    }
    return groups;
}

std::vector<std::string> posted_groups(const PreviewBody& body)
{
    std::vector<std::string> texts;
    for (const PreviewPart& part : body.parts)
    {
        if (part.part == BodyPart::kHead)
        {
            texts.push_back(without_separator(part.text));
        }
    }
    return texts;
}

} // namespace

std::vector<Explanation> explain_head(const PreviewBody& body, const CAppPost& poster)
{
    const CHeadSources sources(body, poster);
    const std::vector<std::string> texts = posted_groups(body);
    auto text = texts.begin();
    std::vector<Explanation> result;
    size_t value = 0;
    for (const HeadGroup& group : head_groups(poster.m_strFmt0))
    {
        Explanation line;
        for (const size_t end = value + group.values; value < end; ++value)
        {
            line.source += (line.source.empty() ? "" : "; ") + sources.Of(value);
        }
        line.source += line.source.empty() ? setting(poster.m_ini, "POST", "Fmt0") : "";
        const bool isPosted = text != texts.end() && text->rfind(group.begin, 0) == 0;
        isPosted ? line.pairs = *text++ : line.source += kNoRoom;
        result.push_back(std::move(line));
    }
    return result;
}

} // namespace vkctl
