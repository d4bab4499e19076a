// A reader of the few words of SQL that the queries of a poller are made of. What it does not know
// it refuses, so that it need not know how SQLite reads it.
#include "vkdb/BindableInteger.h"

#include <charconv>

namespace vkdb
{

namespace
{

enum class Kind
{
    kEnd,
    kWord,
    kDigits,
    kSign,    // a minus in front of a digit
    kEqual,   // = and ==
    kCompare, // < > <= >= <> !=
    kDot,
    kOther,  // , * ( )
    kUnknown // ends the reading
};

struct CToken
{
    Kind kind = Kind::kEnd;
    size_t begin = 0;
    std::string_view text;
};

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// SQLite takes every byte beyond ASCII for a letter, but for the byte order mark, which begins with
// 0xef and is a blank where a word would begin.
bool is_letter(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           (byte >= 0x80U && byte != 0xefU);
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

bool is_word(const CToken& token, std::string_view lower)
{
    if (token.kind != Kind::kWord || token.text.size() != lower.size())
    {
        return false;
    }
    for (size_t i = 0; i < lower.size(); ++i)
    {
        const char c = token.text[i];
        if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lower[i])
        {
            return false;
        }
    }
    return true;
}

class CReader
{
public:
    explicit CReader(std::string_view text) : m_text(text) {}

    CToken Next()
    {
        while (is_blank(At(0)))
        {
            ++m_i;
        }
        CToken token;
        token.begin = m_i;
        token.kind = Take();
        token.text = m_text.substr(token.begin, m_i - token.begin);
        return token;
    }

private:
    char At(size_t ahead) const { return m_i + ahead < m_text.size() ? m_text[m_i + ahead] : '\0'; }

    Kind Take()
    {
        const char c = At(0);
        if (is_letter(c))
        {
            return TakeWord();
        }
        if (is_digit(c))
        {
            return TakeDigits();
        }
        switch (c)
        {
        case '\0':
            return m_i == m_text.size() ? Kind::kEnd : Kind::kUnknown;
        case ',':
        case '*':
        case '(':
        case ')':
            return Take(1, Kind::kOther);
        case '.':
            return is_digit(At(1)) ? Kind::kUnknown : Take(1, Kind::kDot);
        case '-':
            return is_digit(At(1)) ? Take(1, Kind::kSign) : Kind::kUnknown;
        case '=':
            return Take(At(1) == '=' ? 2 : 1, Kind::kEqual);
        case '<':
            return Take(At(1) == '=' || At(1) == '>' ? 2 : 1, Kind::kCompare);
        case '>':
            return Take(At(1) == '=' ? 2 : 1, Kind::kCompare);
        case '!':
            return At(1) == '=' ? Take(2, Kind::kCompare) : Kind::kUnknown;
        default:
            return Kind::kUnknown;
        }
    }

    Kind Take(size_t byte_count, Kind kind)
    {
        m_i += byte_count;
        return kind;
    }

    Kind TakeWord()
    {
        while (is_letter(At(0)) || is_digit(At(0)))
        {
            ++m_i;
        }
        return Kind::kWord;
    }

    Kind TakeDigits()
    {
        while (is_digit(At(0)))
        {
            ++m_i;
        }
        return is_letter(At(0)) || At(0) == '.' ? Kind::kUnknown : Kind::kDigits;
    }

    const std::string_view m_text;
    size_t m_i = 0;
};

// Everything up to the one "where". False when it is not understood.
bool read_select(CReader& reader)
{
    if (!is_word(reader.Next(), "select"))
    {
        return false;
    }
    for (CToken token = reader.Next(); !is_word(token, "where"); token = reader.Next())
    {
        if (token.kind == Kind::kEnd || token.kind == Kind::kUnknown || token.kind == Kind::kSign ||
            is_word(token, "select"))
        {
            return false;
        }
    }
    return true;
}

// A column's name, with its table's or without; "token" is its first word, and afterwards what
// stands behind it.
bool read_column(CReader& reader, CToken& token)
{
    if (token.kind != Kind::kWord)
    {
        return false;
    }
    token = reader.Next();
    if (token.kind == Kind::kDot)
    {
        token = reader.Next();
        if (token.kind != Kind::kWord)
        {
            return false;
        }
        token = reader.Next();
    }
    return true;
}

// The number of those digits; nothing when it must stay in the text.
std::optional<int> bindable_value(std::string_view digits)
{
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool is_plain = error == std::errc() && digits[0] != '0';
    return is_plain && value > 1 ? std::optional<int>(value) : std::nullopt;
}

// A number, with what stands behind it in "token". False when it is none.
bool read_number(CReader& reader, CToken& token, std::optional<CBindableInteger>& found)
{
    const size_t begin = token.begin;
    const bool is_negative = token.kind == Kind::kSign;
    if (is_negative)
    {
        token = reader.Next();
    }
    if (token.kind != Kind::kDigits)
    {
        return false;
    }
    const std::optional<int> value = bindable_value(token.text);
    found.reset();
    if (value)
    {
        found = {begin, token.begin + token.text.size(), is_negative ? -*value : *value};
    }
    token = reader.Next();
    return true;
}

// One comparison, with what stands behind it in "token". False when it is not understood. Of its
// number, if it has one, "last" tells whether it may be bound.
bool read_comparison(CReader& reader, CToken& token, std::optional<CBindableInteger>& last)
{
    token = reader.Next();
    if (!read_column(reader, token))
    {
        return false;
    }
    const Kind compare = token.kind;
    if (compare != Kind::kEqual && compare != Kind::kCompare)
    {
        return false;
    }
    token = reader.Next();
    if (token.kind == Kind::kWord)
    {
        return read_column(reader, token);
    }
    const bool is_number = read_number(reader, token, last);
    if (compare != Kind::kEqual)
    {
        last.reset();
    }
    return is_number;
}

} // namespace

std::optional<CBindableInteger> bindable_integer(std::string_view text)
{
    CReader reader(text);
    if (!read_select(reader))
    {
        return std::nullopt;
    }
    std::optional<CBindableInteger> last;
    CToken token;
    do
    {
        if (!read_comparison(reader, token, last))
        {
            return std::nullopt;
        }
    } while (is_word(token, "and"));
    return token.kind == Kind::kEnd ? last : std::nullopt;
}

} // namespace vkdb
