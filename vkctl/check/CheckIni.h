// vkApp.ini as a check sees it: line by line, as the daemon's reader takes it, and what is wrong
// with it as a text, whatever its keys mean.
//
// A CIniFile owns the lines and the document. A file that cannot be read is an empty one that says
// so. Pure reading, one thread.
#pragma once

#include <string>
#include <vector>

#include "common/IniReader.h"
#include "common/SimpleIni.h"
#include "vkctl/check/Finding.h"

namespace vkctl
{

class CIniFile
{
public:
    explicit CIniFile(const std::string& path);

    bool IsReadable() const { return m_bReadable; }
    const SimpleIni& Document() const { return m_ini; }
    const std::vector<IniItem>& Items() const { return m_vItems; }
    const std::string& Line(int line) const; // as it stands in the file, counted from 1

    // Where the value that counts stands: of several equal keys the last.
    Place At(const std::string& section, const std::string& key) const;
    Place At(int line) const { return {m_strPath, line}; }

    bool Has(const std::string& section, const std::string& key) const;
    std::string Text(const std::string& section, const std::string& key,
                     const std::string& missing = "") const;
    int Int(const std::string& section, const std::string& key, int missing = 0) const;

    // The names of a section's keys, in name order; without those that check_ini_text tells of:
    // lines without a name and headings that are indented.
    std::vector<std::string> Keys(const std::string& section) const;

private:
    const std::string m_strPath;
    bool m_bReadable = false;
    std::vector<std::string> m_vLines;
    std::vector<IniItem> m_vItems;
    SimpleIni m_ini{""};
};

// file-unreadable, file-bom, section-indented, line-without-value, key-empty, key-twice, value-cut,
// text-not-utf8.
void check_ini_text(const CIniFile& ini, CFindings& findings);

bool is_utf8(const std::string& text);

} // namespace vkctl
