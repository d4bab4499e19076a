#include "vkctl/check/CheckBodies.h"

#include <strings.h>

#include <algorithm>

#include "app/AppRules.h"
#include <cstdio>
#include <iostream>

#include "vkctl/base/Progress.h"
#include "vkctl/check/CheckNames.h"
#include "vkctl/check/CheckTexts.h"
#include "vkctl/preview/PreviewSource.h"

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

const PreviewCell* head_cell(const PreviewBody& body, const char* column)
{
    const auto found =
        std::find_if(body.head.begin(), body.head.end(),
                     [&](const PreviewCell& cell) { return is_column(cell, column); });
    return found != body.head.end() ? &*found : nullptr;
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
    const bool in_row = body.kind == BodyKind::kInput || body.kind == BodyKind::kCamera;
    const PreviewCell* cell = in_row ? head_cell(body, "Name") : nullptr;
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

// A column by its name. Without a text of vkApp.ini in its place, its value is the cell's.
void add_column_pair(Texts& texts, const PreviewPart& part)
{
    const PreviewCell& cell = part.cells.front();
    texts.push_back({cell.column, cell.table, cell.column, true});
    if (std::string_view(part.text).substr(cell.column.size() + 2) == cell.value)
    {
        add_value(texts, cell);
    }
}

// What is posted as it is stored. The time of an alarm may stand in its head already.
void add_text_pair(Texts& texts, const PreviewPart& part)
{
    const PreviewCell& cell = part.cells.front();
    const bool known =
        std::any_of(texts.begin(), texts.end(),
                    [&](const PostedText& one) { return one.column == cell.column; });
    if (!known && !cell.value.empty())
    {
        add_value(texts, cell);
    }
}

// A row of a detail table, whose index is a number unless it names the pair.
void add_row_pair(Texts& texts, const PreviewPart& part)
{
    const DetailMode* const mode = find_detail_mode(part.number);
    for (const PreviewCell& cell : part.cells)
    {
        const bool is_text =
            mode->layout == DetailLayout::kNamedText || !is_column(cell, mode->index);
        if (is_text && !cell.value.empty())
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
        if (part.part != BodyPart::kPair || part.left_out || part.cells.empty())
        {
            continue;
        }
        switch (part.origin)
        {
        case PartOrigin::kRendered:
            add_column_pair(texts, part);
            break;
        case PartOrigin::kText:
            add_text_pair(texts, part);
            break;
        case PartOrigin::kDetailRow:
            add_row_pair(texts, part);
            break;
        default: // numbers, and the daemon's own words
            break;
        }
    }
    return texts;
}

namespace
{

constexpr char kFull[] = "body of ";
constexpr char kLeftOut[] = "left out ";

// The names of the pairs in a part. Only groups have several, and hold numbers alone.
std::vector<std::string> names_in(const PreviewPart& part)
{
    std::vector<std::string> names;
    for (size_t at = 0; at < part.text.size();)
    {
        const size_t begin = part.text[at] == '&' ? at + 1 : at;
        const size_t equals = part.text.find('=', begin);
        if (equals == std::string::npos)
        {
            break;
        }
        names.push_back(part.text.substr(begin, equals - begin));
        at = part.part == BodyPart::kGroup ? std::min(part.text.find('&', equals), part.text.size())
                                           : part.text.size();
    }
    return names;
}

// Whose body it is, for a message.
std::string owner(const PreviewBody& body)
{
    return body.table.empty() ? kind_name(body.kind) : body.table;
}

// The alarm database holds alarms, but not the names in them.
const char* file_of(const PreviewBody& body, std::string_view table)
{
    return body.kind == BodyKind::kAlarm && table != "tbSM" ? kAlarmDb : kDataDb;
}

// What a message calls it.
std::string source_of(const PostedText& one)
{
    return one.is_name
               ? "the name of column " + std::string(one.column) + " of " + std::string(one.table)
               : std::string(one.table) + "." + std::string(one.column);
}

// As discovery has read it from tbSM; bodies of other kinds post a name of their row, or none.
bool is_device_name(const PreviewBody& body, const PostedText& one)
{
    return (body.kind == BodyKind::kDevice || body.kind == BodyKind::kAlarm) &&
           one.table == "tbSM" && one.column == "Name" && !one.is_name;
}

std::string and_more(size_t count)
{
    return count > 1 ? ", and " + std::to_string(count - 1) + " more" : "";
}

} // namespace

void CBodyCheck::Count(Examples& examples, const std::string& key, const PreviewBody& body,
                       const std::string& text, const std::string& what)
{
    Example& example = examples[key];
    if (example.count++ == 0)
    {
        example = {file_of(body, body.table), body.sid, shortened(text), what, 1};
    }
}

void CBodyCheck::Count(Examples& examples, const PostedText& one, const PreviewBody& body,
                       const std::string& what)
{
    if (is_device_name(body, one) && m_named.count(body.sid) != 0)
    {
        return; // a device has one name, however many bodies say it
    }
    const std::string key = source_of(one);
    Count(examples, key, body, std::string(one.text), what);
    examples[key].file = file_of(body, one.table);
}

void CBodyCheck::Log(const std::string& line)
{
    const size_t full = line.find(kFull);
    const size_t names = full == std::string::npos ? full : line.find(kLeftOut, full);
    if (names == std::string::npos)
    {
        return;
    }
    // Columns, extensions and details have a line each, and a second try repeats what it has said.
    if (m_leftOut.empty())
    {
        m_leftOut = line.substr(full);
    }
    else if ((m_leftOut + "; ").find(line.substr(names) + "; ") == std::string::npos)
    {
        m_leftOut += "; " + line.substr(names);
    }
}

void CBodyCheck::Body(const PreviewBody& body)
{
    const std::vector<PostedText> texts = posted_texts(body, m_names);
    CheckFull(body);
    CheckForm(body, texts);
    CheckNames(body);
    CheckEncoding(body, texts);
    if (std::any_of(texts.begin(), texts.end(),
                    [&](const PostedText& one) { return is_device_name(body, one); }))
    {
        m_named.insert(body.sid);
    }
}

void CBodyCheck::CheckFull(const PreviewBody& body)
{
    if (!m_leftOut.empty())
    {
        Count(m_full, owner(body), body, "", m_leftOut);
    }
    m_leftOut.clear();
}

void CBodyCheck::CheckForm(const PreviewBody& body, const std::vector<PostedText>& texts)
{
    for (const PostedText& one : texts)
    {
        const std::string held = form_characters(one.text);
        if (!held.empty())
        {
            Count(m_unescaped, one, body, held);
        }
    }
}

void CBodyCheck::CheckNames(const PreviewBody& body)
{
    std::set<std::string> seen;
    for (const PreviewPart& part : body.parts)
    {
        for (const std::string& name : names_in(part))
        {
            const bool twice = !seen.insert(name).second;
            if (name.empty() || twice)
            {
                Count(name.empty() ? m_nameless : m_twice,
                      part.cells.empty() ? owner(body) : part.cells[0].table, body,
                      without_separator(part.text), name);
            }
        }
    }
}

void CBodyCheck::CheckUtf8(const PreviewBody& body, const std::vector<PostedText>& texts)
{
    if (is_utf8(body.text))
    {
        return;
    }
    for (const PostedText& one : texts)
    {
        if (!is_utf8(std::string(one.text)))
        {
            Count(m_notUtf8, one, body, "");
        }
    }
}

void CBodyCheck::CheckEncoding(const PreviewBody& body, const std::vector<PostedText>& texts)
{
    if (m_encoding.Name() == kUtf8)
    {
        CheckUtf8(body, texts);
        return;
    }
    const std::string lost = m_encoding.FirstLost(body.text);
    bool found = lost.empty();
    for (size_t i = 0; !lost.empty() && i < texts.size(); ++i)
    {
        const std::string character = m_encoding.FirstLost(texts[i].text);
        found = found || character == lost;
        if (!character.empty())
        {
            Count(m_lost, texts[i], body, character);
        }
    }
    if (!found)
    {
        Count(m_ownLost, lost, body, "", kind_name(body.kind));
    }
}

void CBodyCheck::Report(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                        CFindings& findings) const
{
    ReportPairs(findings);
    ReportCharacters(findings);
    ReportOwnWords(ini, ini_texts, findings);
}

void CBodyCheck::ReportPairs(CFindings& findings) const
{
    for (const auto& [table, one] : m_full)
    {
        findings.Warning({one.file, 0}, FindingId::kBodyFull,
                         "the body of SID " + std::to_string(one.sid) + " (" + table +
                             and_more(one.count) + ") does not hold everything: " + one.what);
    }
    for (const auto& [column, one] : m_unescaped)
    {
        findings.Warning({one.file, 0}, FindingId::kValueUnescaped,
                         column + " holds " + one.what + " (SID " + std::to_string(one.sid) +
                             ": \"" + one.text + "\"" + and_more(one.count) + "): " + kUnescaped);
    }
    for (const auto& [table, one] : m_twice)
    {
        findings.Warning({one.file, 0}, FindingId::kNameTwice,
                         "the body of SID " + std::to_string(one.sid) + " has two pairs named " +
                             one.what + ", the second of them from " + table + and_more(one.count) +
                             ": most receivers keep one");
    }
    for (const auto& [table, one] : m_nameless)
    {
        findings.Warning({one.file, 0}, FindingId::kNameEmpty,
                         "the body of SID " + std::to_string(one.sid) +
                             " has a pair without a name, \"" + one.text + "\" from " + table +
                             and_more(one.count) + ": no receiver knows what it is");
    }
}

void CBodyCheck::ReportCharacters(CFindings& findings) const
{
    for (const auto& [column, one] : m_notUtf8)
    {
        findings.Warning({one.file, 0}, FindingId::kTextNotUtf8,
                         column + " holds text that is not UTF-8 (SID " + std::to_string(one.sid) +
                             and_more(one.count) + "): it is posted as it is");
    }
    for (const auto& [column, one] : m_lost)
    {
        findings.Warning({one.file, 0}, FindingId::kCharacterLost,
                         column + " holds " + shown_character(one.what) + " (SID " +
                             std::to_string(one.sid) + ": \"" + one.text + "\"" +
                             and_more(one.count) + "), which " + m_encoding.Name() +
                             " cannot express: a body is cut there");
    }
}

void CBodyCheck::ReportOwnWords(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                                CFindings& findings) const
{
    for (const auto& [character, one] : m_ownLost)
    {
        if (is_in_texts(ini_texts, character))
        {
            continue; // and is told of there
        }
        findings.Warning(ini.At("POST", "Encoding"), FindingId::kCharacterLost,
                         m_encoding.Name() + " cannot express " + shown_character(character) +
                             ", which the daemon itself puts into " +
                             (one.count == 1 ? "a body (of the kind " + one.what + "): it is"
                                             : std::to_string(one.count) +
                                                   " bodies (the first is of the kind " + one.what +
                                                   "): they are") +
                             " cut there");
    }
}

void check_bodies(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                  CFieldValues& values, bool alarms, bool progress, CFindings& findings)
{
    CPreview preview(".");
    CBodyCheck check(configured_encoding(ini), preview.Poster().m_mapSmName);
    CProgress shown(std::cerr, progress, "devices");
    PreviewSelection selection;
    if (alarms)
    {
        selection.kinds.insert(BodyKind::kAlarm);
    }
    size_t devices = 0;
    preview.Run(
        selection,
        [&](const PreviewBody& body)
        {
            check.Body(body);
            values.Body(body);
            devices += body.kind == BodyKind::kDevice ? 1 : 0;
            shown.Show(devices, preview.Poster().m_mapSidTbl.size());
        },
        [&](const std::string& line) { check.Log(line); });
    shown.Clear();
    check.Report(ini, ini_texts, findings);
    values.Report(findings);
}

} // namespace vkctl
