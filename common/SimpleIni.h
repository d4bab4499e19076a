// An INI document in memory: sections of keys, each key with a value and an inline comment, and
// the comment lines ("descriptions") that stand above a section or a key.
//
//     ; comes before the section: its description
//     [POST]
//     # comes before the key: its description
//     Delay = 5000  ; an inline comment
//
// Section and key names are case-sensitive and kept in byte order. Keys before the first header
// belong to the section with the empty name. Look-ups never insert and never fail: they return
// the default given. Not synchronised: one thread at a time, or readers only.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>

// One key's content.
struct IniLine
{
    std::string value;
    std::string comment; // behind ";" or "#" on the same line, without that character, not trimmed
    int line = 0;        // of the file that was loaded, counted from 1; 0: set by SetValue
};

class SimpleIni
{
    using KeyMap = std::map<std::string, IniLine>;
    using SectionMap = std::map<std::string, KeyMap>;

public:
    // A position in the sections; * is the section's name.
    class SectionIterator
    {
    public:
        explicit SectionIterator(SectionMap::const_iterator at) : m_at(at) {}
        const std::string& operator*() const { return m_at->first; }
        SectionIterator& operator++()
        {
            ++m_at;
            return *this;
        }
        bool operator==(const SectionIterator& other) const { return m_at == other.m_at; }
        bool operator!=(const SectionIterator& other) const { return m_at != other.m_at; }

    private:
        SectionMap::const_iterator m_at;
    };

    // A position in one section's keys; * is the key's name.
    class KeyIterator
    {
    public:
        explicit KeyIterator(KeyMap::const_iterator at) : m_at(at) {}
        const std::string& operator*() const { return m_at->first; }
        KeyIterator& operator++()
        {
            ++m_at;
            return *this;
        }
        bool operator==(const KeyIterator& other) const { return m_at == other.m_at; }
        bool operator!=(const KeyIterator& other) const { return m_at != other.m_at; }

    private:
        KeyMap::const_iterator m_at;
    };

    // Loads the file when the name is not empty. Throws std::string "Unable to open the file
    // <name> in read mode." when that fails; never throws for an empty name.
    explicit SimpleIni(const std::string& fileName);
    ~SimpleIni();
    SimpleIni(const SimpleIni&) = default;
    SimpleIni& operator=(const SimpleIni&) = default;

    // Replaces the sections by the file's. False when the file cannot be opened, or not be read to
    // its end; the sections are empty then, also when an exception (memory) passes to the caller.
    // Descriptions of earlier loads stay.
    bool Load(const std::string& fileName);

    // Why the last Load could not read the file that it had opened, an errno such as EIO or EISDIR;
    // 0 when it could not be opened at all, or was read.
    int ReadError() const { return m_readError; }

    // Writes the document to the file last given to Load, or to another one, in normal form:
    // sections and keys in name order, key=value without blanks, comments behind "#" above and
    // behind a tab and ";" inline. False when the file cannot be written.
    bool Save();
    bool SaveAs(const std::string& fileName);

    // Writes one description as "#" lines; nothing when there is none.
    void SaveDescription(std::string section, std::string key, std::ofstream& out);

    // Empties the sections; descriptions and file name stay.
    void Free();

    std::string GetValue(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const;

    // The value as a number: leading digits count ("12abc" is 12), an empty or non-numeric value
    // is 0 and not the default, a number beyond the type's range is the nearest limit.
    template <typename T>
    T GetValue(const std::string& section, const std::string& key, const T& defaultValue) const;

    // The number that such a value counts as, for those who ask before they set or trust one.
    static int Number(const std::string& value);

    void SetValue(const std::string& section, const std::string& key, const std::string& value);
    std::string GetComment(const std::string& section, const std::string& key) const;

    // The line of the loaded file that the key's value stands in, counted from 1; 0 when it was
    // not loaded from a file.
    int GetLine(const std::string& section, const std::string& key) const;

    void SetComment(const std::string& section, const std::string& key, const std::string& comment);

    // The number of keys erased, 0 or 1. A missing section is made, empty, as a side effect.
    size_t DeleteKey(const std::string& section, const std::string& key);

    SectionIterator beginSection() const { return SectionIterator(m_sections.begin()); }
    SectionIterator endSection() const { return SectionIterator(m_sections.end()); }

    // The keys of a section in name order; an empty range for a section that does not exist.
    KeyIterator beginKey(const std::string& section) const;
    KeyIterator endKey(const std::string& section) const;

    // Takes one control character (a byte below 32) off the end of the line.
    static void ParasitCar(std::string& line);

    // The text without leading and trailing blanks and tabs; other white space stays.
    static std::string Trim(const std::string& text);

private:
    void Read(std::istream& in);
    const KeyMap& Keys(const std::string& section) const;
    const IniLine* Find(const std::string& section, const std::string& key) const;

    SectionMap m_sections;
    std::map<std::string, std::map<std::string, std::string>> m_descriptions; // "" is the section's
    std::string m_fileName;
    int m_readError = 0;
};

template <>
int SimpleIni::GetValue<int>(const std::string& section, const std::string& key,
                             const int& defaultValue) const;
