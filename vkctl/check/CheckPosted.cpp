#include "vkctl/check/CheckPosted.h"

#include <strings.h>

#include <algorithm>

namespace vkctl
{

namespace
{

using Texts = std::vector<PostedText>;

bool is_column(const PreviewCell& cell, const char* column)
{
    return strcasecmp(cell.column.c_str(), column) == 0;
}

void add_value(Texts& texts, const PreviewCell& cell)
{
    texts.push_back({cell.value, cell.table, cell.column, false});
}

// --- The head ------------------------------------------------------------------------------------

// The head's first group holds all that was read for it.
const PreviewCell* head_cell(const PreviewBody& body, const char* column)
{
    if (body.parts.empty())
    {
        return nullptr;
    }
    const std::vector<PreviewCell>& cells = body.parts[0].cells;
    const auto found =
        std::find_if(cells.begin(), cells.end(),
                     [&](const PreviewCell& cell) { return is_column(cell, column); });
    return found != cells.end() ? &*found : nullptr;
}

const char* time_column(BodyKind kind)
{
    switch (kind)
    {
    case BodyKind::kDevice:
    case BodyKind::kOutput:
        return "DateUpd";
    case BodyKind::kInput:
    case BodyKind::kAlarm:
        return "LastUpd";
    default:
        return nullptr; // the time of the post
    }
}

// Devices and alarms have their name from discovery, others from their row, or none.
PostedText name_of(const PreviewBody& body, const std::map<int, std::string>& names)
{
    const bool known = body.kind == BodyKind::kDevice || body.kind == BodyKind::kAlarm;
    const auto found = known ? names.find(body.sid) : names.end();
    if (found != names.end())
    {
        return {found->second, "tbSM", "Name", false};
    }
    const bool inRow = body.kind == BodyKind::kInput || body.kind == BodyKind::kCamera;
    const PreviewCell* cell = inRow ? head_cell(body, "Name") : nullptr;
    return cell != nullptr ? PostedText{cell->value, cell->table, cell->column, false}
                           : PostedText{};
}

// Fmt0 need not take all values.
bool is_in_head(const PreviewBody& body, std::string_view text)
{
    return !text.empty() && std::any_of(body.parts.begin(), body.parts.end(),
                                        [&](const PreviewPart& part) {
                                            return part.part == BodyPart::kHead &&
                                                   part.text.find(text) != std::string::npos;
                                        });
}

void add_head(Texts& texts, const PreviewBody& body, const std::map<int, std::string>& names)
{
    const PostedText name = name_of(body, names);
    if (is_in_head(body, name.text))
    {
        texts.push_back(name);
    }
    const char* column = time_column(body.kind);
    const PreviewCell* time = column != nullptr ? head_cell(body, column) : nullptr;
    if (time != nullptr && is_in_head(body, time->value))
    {
        add_value(texts, *time);
    }
}

// --- Pairs ---------------------------------------------------------------------------------------

// "&name=" in front of the text.
bool begins_pair(std::string_view text, std::string_view name)
{
    return text.size() > name.size() + 1 && text.substr(1, name.size()) == name &&
           text[name.size() + 1] == '=';
}

bool has_column(Texts::const_iterator begin, Texts::const_iterator end, const std::string& column)
{
    return std::any_of(begin, end, [&](const PostedText& one) { return one.column == column; });
}

// An alarm's cells were all read before its head, which may have posted them already.
void add_alarm_pair(Texts& texts, const PreviewBody& body, const PreviewPart& part)
{
    constexpr std::pair<const char*, const char*> kColumns[] = {
        {"title", "AlmBrief"}, {"AlmImg", "AlmImg"}, {"recovertime", "LastUpd"}};
    for (const auto& [name, column] : kColumns)
    {
        const PreviewCell* cell = head_cell(body, column);
        if (cell != nullptr && !cell->value.empty() && begins_pair(part.text, name) &&
            part.text.size() > std::string_view(name).size() + 2 &&
            !has_column(texts.begin(), texts.end(), cell->column))
        {
            add_value(texts, *cell);
        }
    }
}

// A column by its name. Without a text of vkApp.ini in its place, its value is the last cell.
void add_column_pair(Texts& texts, const PreviewPart& part)
{
    const PreviewCell& cell = part.cells.back();
    texts.push_back({cell.column, cell.table, cell.column, true});
    if (std::string_view(part.text).substr(cell.column.size() + 2) == cell.value)
    {
        add_value(texts, cell);
    }
}

// A row of a detail table, whose column Fld may name the pair, or a camera. Some cells were read
// twice.
void add_row_pair(Texts& texts, const PreviewPart& part)
{
    const auto before = static_cast<std::ptrdiff_t>(texts.size());
    for (const PreviewCell& cell : part.cells)
    {
        const bool known = has_column(texts.begin() + before, texts.end(), cell.column);
        const bool posted =
            is_column(cell, "Fld")
                ? begins_pair(part.text, cell.value)
                : part.text.find(cell.value, part.text.find('=') + 1) != std::string::npos;
        if (!known && posted && !cell.value.empty())
        {
            add_value(texts, cell);
        }
    }
}

} // namespace

std::vector<PostedText> posted_texts(const PreviewBody& body,
                                     const std::map<int, std::string>& names)
{
    Texts texts;
    add_head(texts, body, names);
    for (const PreviewPart& part : body.parts)
    {
        if (part.part != BodyPart::kPair || part.text.empty())
        {
            continue;
        }
        if (body.kind == BodyKind::kAlarm)
        {
            add_alarm_pair(texts, body, part);
        }
        else if (!part.cells.empty() && begins_pair(part.text, part.cells.back().column))
        {
            add_column_pair(texts, part);
        }
        else
        {
            add_row_pair(texts, part);
        }
    }
    return texts;
}

} // namespace vkctl
