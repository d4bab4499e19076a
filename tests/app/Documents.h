// Documents as tests read them: lines, words, and what they call a setting.
#pragma once

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string>
#include <vector>

#include "app/AppSettings.h"
#include "tests/support/TempDir.h"

using Texts = std::vector<std::string>;

inline std::string document(const std::string& path)
{
    return read_file(std::string(VK_SOURCE_DIR) + "/" + path);
}

inline Texts lines_of(const std::string& text)
{
    std::istringstream in(text);
    Texts lines;
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

inline bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

inline std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at))
    {
        text.replace(at, what.size(), with);
        at += with.size();
    }
    return text;
}

// Whether a number or word stands in the text by itself.
inline bool has_word(const std::string& text, const std::string& word)
{
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
    {
        const auto is_part = [&](size_t i)
        {
            return i < text.size() && std::isalnum(static_cast<unsigned char>(text[i])) != 0;
        };
        if ((at == 0 || !is_part(at - 1)) && !is_part(at + word.size()))
        {
            return true;
        }
    }
    return false;
}

// How a document writes a number that belongs to a sentence.
inline std::string in_words(int number)
{
    static const Texts kWords = {"no",  "one",   "two",   "three", "four", "five",
                                 "six", "seven", "eight", "nine",  "ten"};
    return kWords.at(static_cast<size_t>(number));
}

// A default as documents write it.
inline std::string shown_default(const Setting& row)
{
    return *row.standard != '\0' ? row.standard : "empty";
}

// A key as documents name it: the first of those that have a number.
inline std::string shown_key(const Setting& row)
{
    return replaced(row.key, "<n>", "1");
}

inline bool is_of(const Setting& row, const std::string& section)
{
    return section == row.section;
}

// Rows "| a | b | c |" of a document, without the bars.
inline std::vector<Texts> table_rows(const std::string& text)
{
    std::vector<Texts> rows;
    for (const std::string& line : lines_of(text))
    {
        if (line.compare(0, 2, "| ") != 0)
        {
            continue;
        }
        Texts cells;
        for (size_t at = 2; at < line.size();)
        {
            const size_t end = std::min(line.find(" |", at), line.size());
            cells.push_back(line.substr(at, end - at));
            at = end + 3;
        }
        rows.push_back(cells);
    }
    return rows;
}

// What stands between backquotes.
inline Texts quoted_words(const std::string& text)
{
    Texts words;
    for (size_t at = text.find('`'); at != std::string::npos; at = text.find('`', at))
    {
        const size_t end = text.find('`', at + 1);
        words.push_back(text.substr(at + 1, end - at - 1));
        at = end == std::string::npos ? end : end + 1;
    }
    return words;
}
