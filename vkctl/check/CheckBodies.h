// The bodies that the daemon would post now: what does not fit, what a receiver will misread, what
// the encoding cannot say.
//
// body-full, value-unescaped, character-lost, text-not-utf8, name-twice, name-empty. One finding
// for a column, not for a row.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vkctl/check/CheckIni.h"
#include "vkctl/check/CheckTexts.h"
#include "vkctl/check/CheckValues.h"
#include "vkctl/check/Finding.h"
#include "vkctl/preview/Preview.h"

namespace vkctl
{

struct PostedText
{
    std::string_view text;
    std::string_view table;
    std::string_view column;
    bool is_name = false; // it is the column's name, and not a value in it
};

// In the order of the body. names: of devices, as discovery has read them from tbSM.
std::vector<PostedText> posted_texts(const PreviewBody& body,
                                     const std::map<int, std::string>& names);

class CBodyCheck
{
public:
    // names: of devices, as discovery reads them meanwhile; must outlive this object.
    CBodyCheck(const std::string& encoding, const std::map<int, std::string>& names)
        : m_encoding(encoding), m_names(names)
    {
    }

    void Log(const std::string& line); // of the body that comes next
    void Body(const PreviewBody& body);

    // ini_texts: of vkApp.ini, what has been looked at there.
    void Report(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                CFindings& findings) const;

private:
    // What was seen first, and how often.
    struct Example
    {
        std::string file; // the database
        int sid = 0;
        std::string text;
        std::string what;
        size_t count = 0;
    };
    using Examples = std::map<std::string, Example>; // by what a message calls the source

    static void Count(Examples& examples, const std::string& key, const PreviewBody& body,
                      const std::string& text, const std::string& what);
    void Count(Examples& examples, const PostedText& one, const PreviewBody& body,
               const std::string& what);
    void CheckFull(const PreviewBody& body);
    void CheckForm(const PreviewBody& body, const std::vector<PostedText>& texts);
    void CheckNames(const PreviewBody& body);
    void CheckUtf8(const PreviewBody& body, const std::vector<PostedText>& texts);
    void CheckEncoding(const PreviewBody& body, const std::vector<PostedText>& texts);
    void ReportPairs(CFindings& findings) const;
    void ReportCharacters(CFindings& findings) const;
    void ReportOwnWords(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                        CFindings& findings) const;

    const CEncoding m_encoding;
    const std::map<int, std::string>& m_names;
    std::set<int> m_named; // SIDs of devices whose name a body has said
    std::string m_leftOut; // of the body that comes next; empty: nothing
    Examples m_full;
    Examples m_unescaped;
    Examples m_twice;
    Examples m_nameless;
    Examples m_lost;
    Examples m_notUtf8;
    Examples m_ownLost; // by character: of vkApp.ini, or the daemon's own words
};

// Makes all bodies and checks them. The preview opens the databases: nobody else may have them
// open. ini_texts: what of vkApp.ini has been looked at, see CheckTexts.h. progress: counted on
// standard error. Throws CCliError as the preview does.
void check_bodies(const CIniFile& ini, const std::vector<std::string>& ini_texts,
                  CFieldValues& values, bool alarms, bool progress, CFindings& findings);

} // namespace vkctl
