#include "vkctl/check/Finding.h"

#include <algorithm>
#include <array>
#include <tuple>

#include <nlohmann/json.hpp>

namespace vkctl
{

namespace
{

constexpr char kIniFile[] = "vkApp.ini";

constexpr std::array<Severity, 3> kSeverities = {Severity::kError, Severity::kWarning,
                                                 Severity::kNote};

const char* severity_color(Severity severity)
{
    switch (severity)
    {
    case Severity::kError:
        return "\033[1;31m";
    case Severity::kWarning:
        return "\033[1;35m";
    default:
        return "\033[1;36m";
    }
}

auto sort_key(const Finding& finding)
{
    return std::make_tuple(finding.place.file != kIniFile, finding.place.file, finding.place.line);
}

// A message is one line, whatever stands in the file that it quotes.
std::string printable(const std::string& text)
{
    std::string shown;
    for (const char c : text)
    {
        const auto code = static_cast<unsigned char>(c);
        const bool control = code < ' ' || code == 0x7f; // char is unsigned on ARM
        shown += control ? '?' : c;
    }
    return shown;
}

std::string place_text(const Place& place)
{
    return place.line > 0 ? place.file + ":" + std::to_string(place.line) : place.file;
}

} // namespace

const char* severity_name(Severity severity)
{
    switch (severity)
    {
    case Severity::kError:
        return "error";
    case Severity::kWarning:
        return "warning";
    default:
        return "note";
    }
}

void CFindings::Add(Severity severity, const Place& place, FindingId id, const std::string& message)
{
    m_vFindings.push_back({place, severity, id, message});
}

void CFindings::Error(const Place& place, FindingId id, const std::string& message)
{
    Add(Severity::kError, place, id, message);
}

void CFindings::Warning(const Place& place, FindingId id, const std::string& message)
{
    Add(Severity::kWarning, place, id, message);
}

void CFindings::Note(const Place& place, FindingId id, const std::string& message)
{
    Add(Severity::kNote, place, id, message);
}

std::vector<Finding> CFindings::Sorted() const
{
    std::vector<Finding> sorted = m_vFindings;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Finding& a, const Finding& b) { return sort_key(a) < sort_key(b); });
    return sorted;
}

size_t CFindings::Count(Severity severity) const
{
    const auto count = std::count_if(m_vFindings.begin(), m_vFindings.end(),
                                     [=](const Finding& one) { return one.severity == severity; });
    return static_cast<size_t>(count);
}

void print_findings(std::ostream& out, const CFindings& findings, bool color)
{
    const char* const bold = color ? "\033[1m" : "";
    const char* const plain = color ? "\033[0m" : "";
    for (const Finding& one : findings.Sorted())
    {
        const char* const tint = color ? severity_color(one.severity) : "";
        out << bold << place_text(one.place) << ":" << plain << " " << tint
            << severity_name(one.severity) << ":" << plain << " " << printable(one.message) << " ["
            << id_text(one.id) << "]\n";
    }
}

void print_findings_json(std::ostream& out, const CFindings& findings)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Finding& one : findings.Sorted())
    {
        nlohmann::ordered_json entry;
        entry["file"] = one.place.file;
        entry["line"] = one.place.line > 0 ? nlohmann::ordered_json(one.place.line) : nullptr;
        entry["severity"] = severity_name(one.severity);
        entry["id"] = id_text(one.id);
        entry["message"] = one.message;
        list.push_back(entry);
    }
    nlohmann::ordered_json document;
    document["findings"] = list;
    for (const Severity severity : kSeverities)
    {
        document[severity_name(severity) + std::string("s")] = findings.Count(severity);
    }
    // Quoted texts may be in any encoding: what is no UTF-8 is replaced.
    out << document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

std::string findings_summary(const CFindings& findings)
{
    std::string text;
    for (const Severity severity : kSeverities)
    {
        const size_t count = findings.Count(severity);
        if (count > 0)
        {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " +
                    severity_name(severity) + (count == 1 ? "" : "s");
        }
    }
    return text;
}

} // namespace vkctl
