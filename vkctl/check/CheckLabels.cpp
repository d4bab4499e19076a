#include "vkctl/check/CheckLabels.h"

#include <algorithm>

#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr std::size_t kLongestSuffix = 11; // "-2147483648"

// A number, "x", or a whole byte, in whatever case.
bool is_label_suffix(const std::string& suffix)
{
    const std::size_t sign = suffix[0] == '-' ? 1 : 0;
    const bool number = suffix.size() > sign && suffix.size() <= kLongestSuffix &&
                        suffix.find_first_not_of("0123456789", sign) == std::string::npos;
    const bool byte = suffix.size() == 2 && suffix.find_first_not_of("0Ff") == std::string::npos;
    return suffix == "x" || suffix == "X" || number || byte;
}

bool has_kind(const CIniFile& ini, int type, const std::string& column)
{
    return ini.Has(kFieldSection, field_key(type, column));
}

// The columns whose label a key of that name could be, the longest first: `name` without a suffix.
std::vector<std::string> possible_owners(const std::string& name)
{
    std::vector<std::string> owners;
    const std::size_t shortest =
        std::max(name.size(), kLongestSuffix + 1) - kLongestSuffix; // at least one
    for (std::size_t length = name.size() - 1; length >= shortest; --length)
    {
        if (is_label_suffix(name.substr(length)))
        {
            owners.push_back(name.substr(0, length));
        }
    }
    return owners;
}

// The column with a kind whose label it is, one that asks for it if possible. Empty: none.
std::string owner_with_kind(const CIniFile& ini, const CTypeColumns& columns, int type,
                            const std::string& name)
{
    std::string longest;
    for (const std::string& owner : possible_owners(name))
    {
        if (columns.Named(type, owner).empty() || !has_kind(ini, type, owner))
        {
            continue;
        }
        longest = longest.empty() ? owner : longest;
        if (is_asked_for(ini.Int(kFieldSection, field_key(type, owner)), name.substr(owner.size())))
        {
            return owner;
        }
    }
    return longest;
}

// The column without a kind whose label it would be. Empty: none.
std::string owner_without_kind(const CTypeColumns& columns, int type, const std::string& name)
{
    for (const std::string& owner : possible_owners(name))
    {
        if (!columns.Named(type, owner).empty())
        {
            return owner;
        }
    }
    return "";
}

// The shortest one with a kind that is no column at all. Empty: none.
std::string owner_without_column(const CIniFile& ini, int type, const std::string& name)
{
    std::string shortest;
    for (const std::string& owner : possible_owners(name))
    {
        shortest = has_kind(ini, type, owner) ? owner : shortest;
    }
    return shortest;
}

void set_owner(FieldKey& one, FieldKeyRole role, const std::string& name, const std::string& owner)
{
    one.role = role;
    one.column = owner;
    one.suffix = name.substr(owner.size());
}

void resolve(FieldKey& one, const CIniFile& ini, const CTypeColumns& columns,
             const std::string& name)
{
    const std::string owner = owner_with_kind(ini, columns, one.type, name);
    if (!columns.Named(one.type, name).empty())
    {
        set_owner(one, FieldKeyRole::kKind, name, name);
        const int kind = ini.Int(kFieldSection, field_key(one.type, owner));
        one.labelOf = !owner.empty() && is_asked_for(kind, name.substr(owner.size())) ? owner : "";
        return;
    }
    const std::string column = owner_without_kind(columns, one.type, name);
    const std::string stranger = owner_without_column(ini, one.type, name);
    if (!owner.empty())
    {
        set_owner(one, FieldKeyRole::kLabel, name, owner);
    }
    else if (!column.empty())
    {
        set_owner(one, FieldKeyRole::kNoKind, name, column);
    }
    else if (!stranger.empty())
    {
        set_owner(one, FieldKeyRole::kLabel, name, stranger);
    }
    else
    {
        set_owner(one, FieldKeyRole::kNoColumn, name, name);
    }
}

} // namespace

std::string field_key(int type, const std::string& column)
{
    return std::to_string(type) + "." + column;
}

bool is_asked_for(int kind, const std::string& suffix)
{
    int number = -1;
    const bool plain = read_plain_number(suffix, number);
    switch (kind)
    {
    case 1:
        return suffix == "x" || plain;
    case 2:
        return suffix == "00" || suffix == "0F" || suffix == "F0" || suffix == "FF" ||
               (plain && number >= 0 && number < 8);
    case 3:
    case 4:
        return plain && number >= 0 && number < 8 * (kind - 1);
    default:
        return false;
    }
}

std::vector<FieldKey> field_keys(const CIniFile& ini, const CTypeColumns& columns)
{
    std::vector<FieldKey> keys;
    for (const std::string& key : ini.Keys(kFieldSection))
    {
        FieldKey one;
        one.key = key;
        const std::size_t dot = key.find('.');
        if (dot != std::string::npos && dot + 1 < key.size() &&
            read_plain_number(key.substr(0, dot), one.type))
        {
            resolve(one, ini, columns, key.substr(dot + 1));
        }
        keys.push_back(one);
    }
    return keys;
}

} // namespace vkctl
