#include "vkctl/CheckBodies.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "vkctl/CheckNames.h"
#include "vkctl/CheckSettings.h"
#include "vkctl/PreviewEncoding.h"
#include "vkctl/Progress.h"

namespace vkctl
{

namespace
{

constexpr char kFull[] = "body of ";
constexpr char kLeftOut[] = " is full, left out ";
constexpr std::size_t kValueShown = 60; // bytes of a value that a message quotes

std::string shortened(const std::string& value)
{
    if (value.size() <= kValueShown)
    {
        return value;
    }
    std::size_t end = kValueShown; // not within a character
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80)
    {
        --end;
    }
    return value.substr(0, end) + "...";
}

// The first character of a text that cannot be converted, or its first byte when it is none.
std::string first_character(const std::string& text)
{
    for (std::size_t length = 1; length <= 4 && length <= text.size(); ++length)
    {
        if (is_utf8(text.substr(0, length)))
        {
            return text.substr(0, length);
        }
    }
    return text.substr(0, 1);
}

std::string shown_character(const std::string& character)
{
    if (is_utf8(character))
    {
        return "\"" + character + "\"";
    }
    char text[64];
    std::snprintf(text, sizeof text, "byte %02X, which is no UTF-8",
                  static_cast<unsigned>(static_cast<unsigned char>(character[0])));
    return text;
}

// The first cell that the test is true for; null when there is none.
template <typename Test> const PreviewCell* find_cell(const PreviewBody& body, Test test)
{
    for (const PreviewPart& part : body.parts)
    {
        for (const PreviewCell& cell : part.cells)
        {
            if (test(cell))
            {
                return &cell;
            }
        }
    }
    return nullptr;
}

// The names of the pairs in a part. Only groups have several, and hold numbers alone.
std::vector<std::string> names_in(const PreviewPart& part)
{
    std::vector<std::string> names;
    for (std::size_t at = 0; at < part.text.size();)
    {
        const std::size_t begin = part.text[at] == '&' ? at + 1 : at;
        const std::size_t equals = part.text.find('=', begin);
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

std::string and_more(std::size_t count)
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
        const char* file = body.kind == BodyKind::kAlarm ? kAlarmDb : kDataDb;
        example = {file, body.sid, shortened(text), what, 1};
    }
}

void CBodyCheck::Log(const std::string& line)
{
    if (line.find(kLeftOut) != std::string::npos)
    {
        m_vLeftOut.push_back(line.substr(std::min(line.find(kFull), line.size())));
    }
}

void CBodyCheck::Body(const PreviewBody& body)
{
    CheckFull(body);
    CheckForm(body);
    CheckNames(body);
    CheckEncoding(body);
}

void CBodyCheck::CheckFull(const PreviewBody& body)
{
    if (!m_vLeftOut.empty())
    {
        Count(m_full, owner(body), body, "", m_vLeftOut[0]);
    }
    m_vLeftOut.clear();
}

void CBodyCheck::CheckForm(const PreviewBody& body)
{
    for (const PreviewPart& part : body.parts)
    {
        for (const PreviewCell& cell : part.cells)
        {
            const std::string held = form_characters(cell.value);
            if (!held.empty() && body.text.find(cell.value) != std::string::npos)
            {
                Count(m_unescaped, cell.table + "." + cell.column, body, cell.value, held);
            }
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
            if (!seen.insert(name).second)
            {
                Count(m_names, part.cells.empty() ? owner(body) : part.cells[0].table, body, "",
                      name);
            }
        }
    }
}

void CBodyCheck::CheckEncoding(const PreviewBody& body)
{
    if (CAppPost::m_sEncoding == kUtf8)
    {
        const PreviewCell* cell = is_utf8(body.text) ? nullptr
                                                     : find_cell(body, [](const PreviewCell& one)
                                                                 { return !is_utf8(one.value); });
        if (cell != nullptr)
        {
            Count(m_notUtf8, cell->table + "." + cell->column, body, "", "");
        }
        return;
    }
    const std::string lost = m_fitsForm ? encode_body(body.text).lost : "";
    if (lost.empty())
    {
        return;
    }
    const std::string character = first_character(lost);
    const PreviewCell* cell = find_cell(body, [&](const PreviewCell& one)
                                        { return one.value.find(character) != std::string::npos; });
    if (cell != nullptr)
    {
        Count(m_lost, cell->table + "." + cell->column, body, cell->value, character);
    }
    else
    {
        Count(m_ownLost, character, body, "", kind_name(body.kind));
    }
}

void CBodyCheck::Report(const CIniFile& ini, CFindings& findings) const
{
    for (const auto& [table, one] : m_full)
    {
        findings.Warning({one.file, 0}, "body-full",
                         "the body of SID " + std::to_string(one.sid) + " (" + table +
                             and_more(one.count) + ") does not hold everything: " + one.what);
    }
    for (const auto& [column, one] : m_unescaped)
    {
        findings.Warning({one.file, 0}, "value-unescaped",
                         column + " holds " + one.what + " (SID " + std::to_string(one.sid) +
                             ": \"" + one.text + "\"" + and_more(one.count) + "): " + kUnescaped);
    }
    for (const auto& [table, one] : m_names)
    {
        findings.Warning({one.file, 0}, "name-twice",
                         "the body of SID " + std::to_string(one.sid) + " has two pairs named " +
                             one.what + ", the second of them from " + table + and_more(one.count) +
                             ": most receivers keep one");
    }
    for (const auto& [column, one] : m_notUtf8)
    {
        findings.Warning({one.file, 0}, "text-not-utf8",
                         column + " holds text that is not UTF-8 (SID " + std::to_string(one.sid) +
                             and_more(one.count) + "): it is posted as it is");
    }
    for (const auto& [column, one] : m_lost)
    {
        findings.Warning({one.file, 0}, "character-lost",
                         column + " holds " + shown_character(one.what) + " (SID " +
                             std::to_string(one.sid) + ": \"" + one.text + "\"" +
                             and_more(one.count) + "), which " + CAppPost::m_sEncoding +
                             " cannot express: the body is cut there");
    }
    for (const auto& [character, one] : m_ownLost)
    {
        findings.Warning(ini.At("POST", "Encoding"), "character-lost",
                         CAppPost::m_sEncoding + " cannot express " + shown_character(character) +
                             ", which this file or the daemon itself puts into " +
                             (one.count == 1 ? "a body (of the kind " + one.what + "): it is"
                                             : std::to_string(one.count) +
                                                   " bodies (the first is of the kind " + one.what +
                                                   "): they are") +
                             " cut there");
    }
}

void check_bodies(const CIniFile& ini, bool alarms, bool progress, CFindings& findings)
{
    CPreview preview(".");
    CBodyCheck check(fits_form(CAppPost::m_sEncoding));
    CProgress shown(std::cerr, progress, "devices");
    PreviewSelection selection;
    if (alarms)
    {
        selection.kinds.insert(BodyKind::kAlarm);
    }
    std::size_t devices = 0;
    preview.Run(
        selection,
        [&](const PreviewBody& body)
        {
            check.Body(body);
            devices += body.kind == BodyKind::kDevice ? 1 : 0;
            shown.Show(devices, preview.Poster().m_mapSidTbl.size());
        },
        [&](const std::string& line) { check.Log(line); });
    shown.Clear();
    check.Report(ini, findings);
}

} // namespace vkctl
