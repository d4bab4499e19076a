#include "vkctl/check/CheckNames.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace vkctl
{

namespace
{

std::string lower(std::string text)
{
    for (char& c : text)
    {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return text;
}

// The number of slips between two names: a character more, less, other, or two changed over.
size_t slips(const std::string& a, const std::string& b)
{
    std::vector<std::vector<size_t>> table(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i)
    {
        for (size_t k = 0; k <= b.size(); ++k)
        {
            if (i == 0 || k == 0)
            {
                table[i][k] = i + k;
                continue;
            }
            const size_t other = a[i - 1] == b[k - 1] ? 0 : 1;
            size_t best =
                std::min({table[i - 1][k] + 1, table[i][k - 1] + 1, table[i - 1][k - 1] + other});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
            {
                best = std::min(best, table[i - 2][k - 2] + 1);
            }
            table[i][k] = best;
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::string likely_name(const std::string& name, const std::vector<std::string>& candidates)
{
    constexpr size_t kLongestName = 200; // of two such, the table of slips stays small
    std::string likely;
    size_t fewest = std::max<size_t>(1, name.size() / 4) + 1;
    for (const std::string& candidate : candidates)
    {
        if (name.size() > kLongestName || candidate.size() > kLongestName)
        {
            continue;
        }
        const size_t found = slips(lower(name), lower(candidate));
        if (found < fewest && found < candidate.size())
        {
            fewest = found;
            likely = candidate;
        }
    }
    return likely;
}

std::string did_you_mean(const std::string& name)
{
    return name.empty() ? "" : "; did you mean " + name + "?";
}

std::string shortened_list(const std::vector<std::string>& names, size_t total)
{
    std::string text;
    for (size_t i = 0; i < names.size(); ++i)
    {
        const bool last = i + 1 == names.size() && total == names.size();
        text += (i == 0 ? "" : last ? " and " : ", ") + names[i];
    }
    return total > names.size() ? text + " and " + std::to_string(total - names.size()) + " more"
                                : text;
}

std::string shortened(const std::string& value)
{
    constexpr size_t kShown = 60;
    if (value.size() <= kShown)
    {
        return value;
    }
    size_t end = kShown; // not within a character
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80)
    {
        --end;
    }
    return value.substr(0, end) + "...";
}

bool is_misread(const HostCell& cell)
{
    const std::string blanks = " \t\r\n";
    const size_t begin = cell.text.find_first_not_of(blanks);
    if (begin == std::string::npos)
    {
        return false;
    }
    const size_t length = cell.text.find_last_not_of(blanks) + 1 - begin;
    const std::string text = cell.text.substr(begin, length);
    char* end = nullptr;
    const double held = std::strtod(text.c_str(), &end); // exact for every integer of 32 bits
    return *end != '\0' || held != cell.number;
}

std::string integer_advice(const std::string& column)
{
    return "make the column an INTEGER, or set it to cast(" + column + " as integer) there";
}

std::string integer_problem(const std::string& text, int taken)
{
    const std::string as = ": it is taken as " + std::to_string(taken);
    if (text.empty())
    {
        return "is empty" + as + ", and not as the default";
    }
    if (!is_misread({text, taken}))
    {
        return "";
    }
    if (text.find_first_not_of("0123456789", text.find_first_of("+-") == 0 ? 1 : 0) ==
        std::string::npos)
    {
        return shortened(text) + " is beyond 32 bits" + as;
    }
    return "\"" + shortened(text) + "\" is no number" + as +
           (taken == 0 ? ", and not as the default" : "");
}

void check_integer(const CIniFile& ini, const std::string& section, const std::string& key,
                   CFindings& findings)
{
    if (!ini.Has(section, key))
    {
        return;
    }
    const std::string problem = integer_problem(ini.Text(section, key), ini.Int(section, key));
    if (!problem.empty())
    {
        findings.Warning(ini.At(section, key), FindingId::kIntegerInvalid,
                         key + " " + problem + "; write digits only");
    }
}

bool strip_end(std::string& text, const std::string& end)
{
    const bool has =
        text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
    text.resize(has ? text.size() - end.size() : text.size());
    return has;
}

bool read_plain_number(const std::string& text, int& number)
{
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || std::to_string(value) != text)
    {
        return false;
    }
    number = value;
    return true;
}

std::string form_characters(std::string_view text)
{
    std::vector<std::string> found;
    for (const char c : {'&', '=', '+', '%'})
    {
        if (text.find(c) != std::string_view::npos)
        {
            found.push_back(std::string("\"") + c + "\"");
        }
    }
    if (text.find_first_of("\r\n") != std::string_view::npos)
    {
        found.emplace_back("a line end");
    }
    return shortened_list(found, found.size());
}

} // namespace vkctl
