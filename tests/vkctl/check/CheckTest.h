// A host to be checked: the sample room on a board, with a few lines or rows changed, and what the
// check says about it. The table of all findings, each with what brings it about and what nearly
// does.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/vkctl/VkctlTest.h"
#include "vkctl/check/Check.h"

// An edit is one of
//   SECTION/KEY=VALUE   the key's line in vkApp.ini, replaced or added to the section
//   SECTION/KEY         the key's line removed
//   +TEXT               appended to vkApp.ini
//   ^TEXT               put in front of vkApp.ini
//   data: SQL, alarms: SQL
//   write FILE TEXT, remove FILE
class CCheckedHost
{
public:
    static constexpr int kOldSqlite = 3040001;
    static constexpr int kNewSqlite = 3051003;

    explicit CCheckedHost(const std::vector<std::string>& edits = {});

    std::string Dir() const { return m_dir.Path("host"); }
    std::string Path(const std::string& file) const { return Dir() + "/" + file; }

    std::vector<std::string> Files() const; // all, sorted

    // Checks without a network; the working directory is as before afterwards. What is said does
    // not depend on the machine's SQLite.
    vkctl::CFindings Findings(bool offline = true, int sqlite_version = kOldSqlite) const;

    // All that is printed.
    std::string Check() const;

    // What is printed about one identifier, "N" for every line number of vkApp.ini.
    std::string Check(const std::string& id) const;

private:
    void Edit(const std::string& edit);

    CTempDir m_dir;
};

// The text with the key's line in its section replaced; added at the section's end when there is
// none. An empty line removes it.
std::string with_ini_line(const std::string& text, const std::string& section,
                          const std::string& key, const std::string& line);

struct CheckCase
{
    std::string id;
    std::vector<std::string> edits; // bring it about
    std::string printed;            // as Check(id) gives it, without the last line end
    std::vector<std::string> near;  // nearly do
};

void PrintTo(const CheckCase& one, std::ostream* out); // in the name of a failed test

std::vector<CheckCase> joined(const std::vector<std::vector<CheckCase>>& parts);

std::vector<CheckCase> start_cases();
std::vector<CheckCase> text_cases();
std::vector<CheckCase> setting_cases();
std::vector<CheckCase> url_cases();
std::vector<CheckCase> certificate_cases();
std::vector<CheckCase> table_cases();
std::vector<CheckCase> device_cases();
std::vector<CheckCase> detail_cases();
std::vector<CheckCase> extension_cases();
std::vector<CheckCase> field_cases();
std::vector<CheckCase> body_cases();

// What only a server can bring about; tested with one.
inline const std::vector<std::string> kServerFindings = {"certificate-refused",
                                                         "server-unreachable"};
