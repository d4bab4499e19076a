// How findings are kept, sorted and printed.

#include <gmock/gmock.h>

#include <sstream>

#include "vkctl/base/Progress.h"
#include "vkctl/check/Finding.h"

using namespace vkctl;

namespace
{

constexpr char kJson[] = R"({
  "findings": [
    {
      "file": "vkApp.ini",
      "line": 41,
      "severity": "error",
      "id": "no-url",
      "message": "b \"quoted\""
    },
    {
      "file": "tmp/dbDat0.db3",
      "line": null,
      "severity": "warning",
      "id": "sid-twice",
      "message": ")"
                         "\xEF\xBF\xBD"
                         R"("
    }
  ],
  "errors": 1,
  "warnings": 1,
  "notes": 0
}
)";

std::string printed(const CFindings& findings, bool color)
{
    std::ostringstream out;
    print_findings(out, findings, color);
    return out.str();
}

} // namespace

TEST(FindingTextTest, LinesStandInOrderAndTheConfigurationFirst)
{
    CFindings findings;
    findings.Warning({"tmp/dbDat0.db3", 0}, FindingId::kSidTwice, "a");
    findings.Error({"vkApp.ini", 41}, FindingId::kNoUrl, "b");
    findings.Note({"vkApp.ini", 7}, FindingId::kTypeUnused, "c");
    findings.Warning({"vkApp.ini", 7}, FindingId::kKeyUnread, "d");
    EXPECT_EQ(printed(findings, false), "vkApp.ini:7: note: c [type-unused]\n"
                                        "vkApp.ini:7: warning: d [key-unread]\n"
                                        "vkApp.ini:41: error: b [no-url]\n"
                                        "tmp/dbDat0.db3: warning: a [sid-twice]\n");
}

TEST(FindingTextTest, ColoursAreThoseOfCompilers)
{
    CFindings findings;
    findings.Warning({"vkApp.ini", 7}, FindingId::kKeyUnread, "d");
    EXPECT_EQ(printed(findings, true), "\033[1mvkApp.ini:7:\033[0m \033[1;35mwarning:\033[0m d "
                                       "[key-unread]\n");
}

TEST(FindingTextTest, AFindingIsOneLineWhateverItQuotes)
{
    CFindings findings;
    findings.Note({"vkApp.ini", 0}, FindingId::kKeyUnread, "a\nb\x1b[1m");
    EXPECT_EQ(printed(findings, false), "vkApp.ini: note: a?b?[1m [key-unread]\n");
}

TEST(FindingTextTest, ToolsGetTheSameAsJson)
{
    CFindings findings;
    findings.Error({"vkApp.ini", 41}, FindingId::kNoUrl, "b \"quoted\"");
    findings.Warning({"tmp/dbDat0.db3", 0}, FindingId::kSidTwice, "\xBB");
    std::ostringstream out;
    print_findings_json(out, findings);
    EXPECT_EQ(out.str(), kJson);
}

TEST(FindingTextTest, TheSummaryCounts)
{
    CFindings findings;
    EXPECT_EQ(findings_summary(findings), "");
    findings.Error({"vkApp.ini", 41}, FindingId::kNoUrl, "b");
    findings.Note({"vkApp.ini", 41}, FindingId::kTypeUnused, "b");
    findings.Note({"vkApp.ini", 42}, FindingId::kTypeUnused, "b");
    EXPECT_EQ(findings_summary(findings), "1 error, 2 notes");
}

TEST(ProgressTest, CountsOnOneLineAndClearsIt)
{
    std::ostringstream out;
    {
        CProgress progress(out, true, "devices", 100);
        for (size_t i = 1; i <= 150; ++i)
        {
            progress.Show(i, 150);
        }
    }
    EXPECT_EQ(out.str(), "\r      1 of 150 devices\r    101 of 150 devices\r                      "
                         "\r");
}

TEST(ProgressTest, SaysNothingWhereNobodyWatches)
{
    std::ostringstream out;
    CProgress(out, false, "devices").Show(5000, 0);
    EXPECT_EQ(out.str(), "");
}
