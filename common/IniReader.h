// Reads the lines of an INI file one by one, in file order: what SimpleIni makes a document of, and
// what a checker wants to see line by line, doubles included.
//
// Owns nothing: the stream is the caller's and must outlive the reader. A stream that cannot be
// read, or no further, is taken for a file that ends there; whoever must know asks the stream, or
// lets it throw (std::istream::exceptions). One thread at a time.
#pragma once

#include <istream>
#include <string>

enum class IniItemKind
{
    kSection, // section
    kComment, // comment: the whole line behind its first character
    kKey,     // section, key, value, comment
};

// What one line says. Empty lines say nothing and are passed over.
struct IniItem
{
    IniItemKind kind = IniItemKind::kComment;
    int line = 0;        // counted from 1
    std::string section; // the section in force, also of a comment
    std::string key;     // trimmed
    std::string value;   // trimmed; empty when there is no "="
    std::string comment; // behind the first ";" or "#", without that character, not trimmed
    bool has_equals = false;
};

class CIniReader
{
public:
    explicit CIniReader(std::istream& in) : m_in(in) {}

    // The next line that says something; false at the end.
    bool Next(IniItem& item);

private:
    std::istream& m_in;
    std::string m_section;
    int m_line = 0;
};
