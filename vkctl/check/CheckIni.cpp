#include "vkctl/check/CheckIni.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "vkctl/base/HostFiles.h"

namespace vkctl
{

namespace
{

constexpr char kBom[] = "\xEF\xBB\xBF";
constexpr char kExtensionSections[] = "POST.Ext.";

bool begins_with(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

// In these sections every key counts, even one without a name.
bool is_walked(const CIniFile& ini, const std::string& section)
{
    const size_t dot = section.find('.');
    const bool lists =
        dot != std::string::npos &&
        ini.Has(kExtensionSections + section.substr(0, dot), section.substr(dot + 1));
    return begins_with(section, kExtensionSections) || lists;
}

void check_key_line(const CIniFile& ini, const IniItem& item, CFindings& findings)
{
    const Place place = ini.At(item.line);
    const std::string& line = ini.Line(item.line);
    if (item.line == 1 && begins_with(line, kBom) && line.substr(3, 1) == "[")
    {
        findings.Error(place, FindingId::kFileBom,
                       "the file begins with a byte order mark, so " + line.substr(3) +
                           " is no section header: its keys are not read; save the file without "
                           "one");
    }
    else if (begins_with(item.key, "["))
    {
        findings.Error(place, FindingId::kSectionIndented,
                       item.key +
                           " does not begin in the first column, so it is a key and no "
                           "section header: the keys below it " +
                           (item.section.empty() ? "stand in no section"
                                                 : "stay in section [" + item.section + "]") +
                           "; remove the blanks in front of it");
    }
    else if (!item.has_equals && !item.key.empty() && !begins_with(line, kBom))
    {
        findings.Warning(place, FindingId::kLineWithoutValue,
                         "\"" + item.key +
                             "\" has no \"=\": it is a key with an empty value; write " + item.key +
                             "=value, or a \";\" in the first column");
    }
}

void check_empty_key(const CIniFile& ini, const IniItem& item, CFindings& findings)
{
    if (!item.key.empty() || !(item.has_equals || is_walked(ini, item.section)))
    {
        return;
    }
    const std::string what =
        item.has_equals ? "nothing stands in front of the \"=\"" : "the line begins with blanks";
    const std::string effect = is_walked(ini, item.section)
                                   ? "a key without a name, and in section [" + item.section +
                                         "] the daemon takes each key for a table or column"
                                   : "a key without a name, which nothing reads";
    findings.Warning(ini.At(item.line), FindingId::kKeyEmpty,
                     what + ": " + effect + "; remove the line, or begin it with \";\"");
}

void check_cut(const CIniFile& ini, const IniItem& item, CFindings& findings)
{
    const std::string& line = ini.Line(item.line);
    const size_t at = line.find_first_of(";#");
    if (!item.has_equals || at == std::string::npos || line[at - 1] == ' ' || line[at - 1] == '\t')
    {
        return;
    }
    findings.Warning(
        ini.At(item.line), FindingId::kValueCut,
        std::string("\"") + line[at] + "\" begins a comment, also here: the value of " + item.key +
            " is \"" + item.value +
            "\"; no value can hold it, so write another character, or a blank in front "
            "of a comment");
}

void check_double(const CIniFile& ini, const IniItem& item, CFindings& findings)
{
    const int counts = ini.At(item.section, item.key).line;
    if (!item.key.empty() && counts != item.line)
    {
        findings.Warning(ini.At(item.line), FindingId::kKeyTwice,
                         item.key + " stands again in line " + std::to_string(counts) +
                             ", which counts; this line has no effect: remove one of them");
    }
}

// A file that was saved in another encoding is told once.
void check_encoding(const CIniFile& ini, CFindings& findings)
{
    std::vector<const IniItem*> others;
    for (const IniItem& item : ini.Items())
    {
        if (item.kind == IniItemKind::kKey && !is_utf8(item.key + item.value))
        {
            others.push_back(&item);
        }
    }
    if (!others.empty())
    {
        const size_t more = others.size() - 1;
        const std::string rest = more == 1  ? " (and 1 more line)"
                                 : more > 1 ? " (and " + std::to_string(more) + " more lines)"
                                            : "";
        findings.Warning(ini.At(others[0]->line), FindingId::kTextNotUtf8,
                         "the text of " + others[0]->key + rest +
                             " is not UTF-8: it would be posted as it is, or cut there where "
                             "Encoding asks for another one; save the file as UTF-8");
    }
}

std::string file_text(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

CIniFile::CIniFile(const std::string& path) : m_strPath(path), m_bReadable(is_readable_file(path))
{
    if (!m_bReadable)
    {
        return;
    }
    std::istringstream lines(file_text(path));
    for (std::string line; std::getline(lines, line);)
    {
        m_vLines.push_back(line);
    }
    std::istringstream in(file_text(path));
    CIniReader reader(in);
    for (IniItem item; reader.Next(item);)
    {
        m_vItems.push_back(item);
    }
    m_ini.Load(path);
}

const std::string& CIniFile::Line(int line) const
{
    return m_vLines.at(static_cast<size_t>(line - 1));
}

Place CIniFile::At(const std::string& section, const std::string& key) const
{
    return {m_strPath, m_ini.GetLine(section, key)};
}

bool CIniFile::Has(const std::string& section, const std::string& key) const
{
    return m_ini.GetLine(section, key) > 0;
}

std::string CIniFile::Text(const std::string& section, const std::string& key,
                           const std::string& missing) const
{
    return m_ini.GetValue(section, key, missing);
}

int CIniFile::Int(const std::string& section, const std::string& key, int missing) const
{
    return m_ini.GetValue<int>(section, key, missing);
}

std::vector<std::string> CIniFile::Keys(const std::string& section) const
{
    std::vector<std::string> keys;
    const auto end = m_ini.endKey(section);
    for (auto key = m_ini.beginKey(section); key != end; ++key)
    {
        const std::string& name = *key;
        if (!name.empty() && name[0] != '[')
        {
            keys.push_back(name);
        }
    }
    return keys;
}

void check_ini_text(const CIniFile& ini, CFindings& findings)
{
    if (!ini.IsReadable())
    {
        findings.Error(ini.At(0), FindingId::kFileUnreadable,
                       "cannot be read: the daemon would take every default, have no URL and end; "
                       "start vkctl in the host's directory, or name it");
        return;
    }
    for (const IniItem& item : ini.Items())
    {
        if (item.kind != IniItemKind::kKey)
        {
            continue;
        }
        check_key_line(ini, item, findings);
        check_empty_key(ini, item, findings);
        check_cut(ini, item, findings);
        check_double(ini, item, findings);
    }
    check_encoding(ini, findings);
}

bool is_utf8(const std::string& text)
{
    for (size_t i = 0; i < text.size();)
    {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t more = lead < 0x80   ? 0
                            : lead < 0xC2 ? 9
                            : lead < 0xE0 ? 1
                            : lead < 0xF0 ? 2
                            : lead < 0xF5 ? 3
                                          : 9;
        if (more == 9 || i + more >= text.size())
        {
            return false;
        }
        for (size_t k = 1; k <= more; ++k)
        {
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80)
            {
                return false;
            }
        }
        i += more + 1;
    }
    return true;
}

} // namespace vkctl
