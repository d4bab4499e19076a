#include "vkctl/CommandWords.h"

#include <algorithm>
#include <sstream>

namespace vkctl
{

namespace
{

constexpr size_t kNameColumns = 26; // of a name, with what stands around it

// Slips that lead from one word to the other; each letter takes part in one of them.
size_t slips(const std::string& a, const std::string& b)
{
    std::vector<std::vector<size_t>> table(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i)
    {
        for (size_t j = 0; j <= b.size(); ++j)
        {
            if (i == 0 || j == 0)
            {
                table[i][j] = i + j;
                continue;
            }
            const size_t changed = a[i - 1] == b[j - 1] ? 0 : 1;
            table[i][j] =
                std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + changed});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
            {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::string help_entry(const std::string& name, const std::string& description)
{
    const std::string indent(kNameColumns, ' ');
    std::string text = "  " + name;
    text += text.size() + 2 <= kNameColumns ? indent.substr(text.size()) : "\n" + indent;
    size_t used = kNameColumns;
    std::istringstream words(description);
    for (std::string word; words >> word;)
    {
        if (used == kNameColumns) // the first one of its line
        {
            text += word;
        }
        else if (used + 1 + word.size() <= kHelpWidth)
        {
            text += " " + word;
            ++used;
        }
        else
        {
            text += "\n" + indent + word;
            used = kNameColumns;
        }
        used += word.size();
    }
    return text + "\n";
}

std::string closest_word(const std::string& word, const std::vector<std::string>& candidates)
{
    constexpr size_t kMostSlips = 2;
    std::string closest;
    size_t least = kMostSlips + 1;
    for (const std::string& candidate : candidates)
    {
        const bool is_beginning = word.size() > 1 && candidate.compare(0, word.size(), word) == 0;
        const size_t distance = is_beginning ? 1 : slips(word, candidate);
        if (distance < least && distance < candidate.size() - 1)
        {
            least = distance;
            closest = candidate;
        }
    }
    return closest;
}

} // namespace vkctl
