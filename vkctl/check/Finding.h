// What a check has found: where, how bad, which kind, and what to do about it.
//
// A CFindings owns its list. Values only; nothing fails. One thread at a time.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "vkctl/check/FindingIds.h"

namespace vkctl
{

enum class Severity
{
    kError,   // the configuration does not do what it says, or nothing arrives at all
    kWarning, // it will surprise
    kNote,    // worth knowing
};

const char* severity_name(Severity severity); // "error", "warning", "note"

// A line of a file of the host; line 0 stands for the file as a whole.
struct Place
{
    std::string file;
    int line = 0;
};

struct Finding
{
    Place place;
    Severity severity = Severity::kWarning;
    FindingId id; // a paragraph of docs/check.md explains it
    std::string message;
};

class CFindings
{
public:
    void Add(Severity severity, const Place& place, FindingId id, const std::string& message);
    void Error(const Place& place, FindingId id, const std::string& message);
    void Warning(const Place& place, FindingId id, const std::string& message);
    void Note(const Place& place, FindingId id, const std::string& message);

    // vkApp.ini first, then the other files by name; lines in order; what was found first first.
    std::vector<Finding> Sorted() const;

    size_t Count(Severity severity) const;
    bool Empty() const { return m_vFindings.empty(); }

private:
    std::vector<Finding> m_vFindings;
};

// "vkApp.ini:41: warning: text [id]", one a line, with colours if asked for.
void print_findings(std::ostream& out, const CFindings& findings, bool color);

// One JSON object: the findings, and how many there are of each severity.
void print_findings_json(std::ostream& out, const CFindings& findings);

// "1 error, 2 warnings"; empty when there is nothing.
std::string findings_summary(const CFindings& findings);

} // namespace vkctl
