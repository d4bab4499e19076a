#include "common/SimpleIni.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>

#include "common/IniReader.h"

SimpleIni::SimpleIni(const std::string& fileName)
{
    if (!fileName.empty() && !Load(fileName))
    {
        throw std::string("Unable to open the file " + fileName + " in read mode.");
    }
}

SimpleIni::~SimpleIni()
{
    Free();
}

bool SimpleIni::Load(const std::string& fileName)
{
    Free();
    m_readError = 0;
    m_fileName = fileName;
    std::ifstream in(fileName);
    if (!in)
    {
        return false;
    }
    try
    {
        // Without this a stream takes a failed read, and lack of memory in it, for the file's end.
        in.exceptions(std::ios::badbit);
        Read(in);
        return true;
    }
    catch (const std::ios_base::failure& failed)
    {
        m_readError = failed.code().value() != 0 ? failed.code().value() : EIO;
        Free();
        return false;
    }
    catch (...)
    {
        Free();
        throw;
    }
}

void SimpleIni::Read(std::istream& in)
{
    std::string description; // the comment lines waiting for a section or a key
    const auto attach_description = [&](const std::string& section, const std::string& key)
    {
        if (!description.empty())
        {
            m_descriptions[section][key] = description;
            description.clear();
        }
    };
    CIniReader reader(in);
    for (IniItem item; reader.Next(item);)
    {
        switch (item.kind)
        {
        case IniItemKind::kComment:
            // An empty line that comes first adds nothing: the next is joined without a line break.
            description += (description.empty() ? "" : "\n") + item.comment;
            break;
        case IniItemKind::kSection:
            attach_description(item.section, "");
            break;
        case IniItemKind::kKey:
            m_sections[item.section][item.key] = {item.value, item.comment, item.line};
            attach_description(item.section, item.key);
            break;
        }
    }
}

bool SimpleIni::Save()
{
    return SaveAs(m_fileName);
}

bool SimpleIni::SaveAs(const std::string& fileName)
{
    std::ofstream out(fileName, std::ios::trunc);
    if (!out)
    {
        return false;
    }
    bool first = true;
    for (const auto& [section, keys] : m_sections)
    {
        if (!first)
        {
            out << '\n';
        }
        first = false;
        SaveDescription(section, "", out);
        if (!section.empty())
        {
            out << '[' << section << "]\n";
        }
        for (const auto& [key, line] : keys)
        {
            SaveDescription(section, key, out);
            if (!key.empty())
            {
                out << key << '=' << line.value;
            }
            if (!line.comment.empty())
            {
                out << (key.empty() ? "#" : "\t;") << line.comment;
            }
            out << '\n';
        }
    }
    return true;
}

void SimpleIni::SaveDescription(std::string section, std::string key, std::ofstream& out)
{
    const std::string& text = m_descriptions[section][key];
    for (size_t from = 0; !text.empty() && from != std::string::npos;)
    {
        const size_t end = text.find('\n', from);
        out << '#' << text.substr(from, end == std::string::npos ? end : end - from) << '\n';
        from = end == std::string::npos ? end : end + 1;
    }
}

void SimpleIni::Free()
{
    m_sections.clear();
}

std::string SimpleIni::GetValue(const std::string& section, const std::string& key,
                                const std::string& defaultValue) const
{
    const IniLine* line = Find(section, key);
    return line != nullptr ? line->value : defaultValue;
}

template <>
int SimpleIni::GetValue<int>(const std::string& section, const std::string& key,
                             const int& defaultValue) const
{
    const IniLine* line = Find(section, key);
    if (line == nullptr || line->value == ";") // ";" can only be set, never loaded: "missing"
    {
        return defaultValue;
    }
    return Number(line->value);
}

// As a stream reads an int: 0 where there are no digits, the nearest limit where there are too
// many. Without the stream, since every posted column may ask for its number.
int SimpleIni::Number(const std::string& value)
{
    const long number = std::strtol(value.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

void SimpleIni::SetValue(const std::string& section, const std::string& key,
                         const std::string& value)
{
    m_sections[section][key].value = value;
}

std::string SimpleIni::GetComment(const std::string& section, const std::string& key) const
{
    const IniLine* line = Find(section, key);
    return line != nullptr ? line->comment : std::string();
}

int SimpleIni::GetLine(const std::string& section, const std::string& key) const
{
    const IniLine* line = Find(section, key);
    return line != nullptr ? line->line : 0;
}

void SimpleIni::SetComment(const std::string& section, const std::string& key,
                           const std::string& comment)
{
    m_sections[section][key].comment = comment;
}

size_t SimpleIni::DeleteKey(const std::string& section, const std::string& key)
{
    return m_sections[section].erase(key);
}

SimpleIni::KeyIterator SimpleIni::beginKey(const std::string& section) const
{
    return KeyIterator(Keys(section).begin());
}

SimpleIni::KeyIterator SimpleIni::endKey(const std::string& section) const
{
    return KeyIterator(Keys(section).end());
}

void SimpleIni::ParasitCar(std::string& line)
{
    // Bytes are compared unsigned: the last byte of a UTF-8 character is no control character.
    if (!line.empty() && static_cast<unsigned char>(line.back()) < 32)
    {
        line.pop_back();
    }
}

std::string SimpleIni::Trim(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
    {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

const SimpleIni::KeyMap& SimpleIni::Keys(const std::string& section) const
{
    static const KeyMap kNoKeys; // one and the same empty range for every missing section
    const auto found = m_sections.find(section);
    return found != m_sections.end() ? found->second : kNoKeys;
}

const IniLine* SimpleIni::Find(const std::string& section, const std::string& key) const
{
    const KeyMap& keys = Keys(section);
    const auto found = keys.find(key);
    return found != keys.end() ? &found->second : nullptr;
}
