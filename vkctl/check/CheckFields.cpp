#include "vkctl/check/CheckFields.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "vkctl/check/CheckNames.h"
#include "vkctl/check/CheckTexts.h"

namespace vkctl
{

namespace
{

constexpr size_t kLongestSuffix = 11; // "-2147483648"

// A number, "x", or a whole byte, in whatever case.
bool is_label_suffix(const std::string& suffix)
{
    const size_t sign = suffix[0] == '-' ? 1 : 0;
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
    const size_t shortest =
        std::max(name.size(), kLongestSuffix + 1) - kLongestSuffix; // at least one
    for (size_t length = name.size() - 1; length >= shortest; --length)
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

// All that a kind that looks at bits can ask for: by each bit alone, and by each whole byte.
std::set<std::string> suffixes_of(int kind)
{
    std::set<std::string> all;
    for (int value = 0; value < 1 << field_bits(kind); value = value < 256 ? value + 1 : value * 2)
    {
        for (const std::string& suffix : field_suffixes(kind, value))
        {
            all.insert(suffix);
        }
    }
    return all;
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
        one.label_of = !owner.empty() && is_asked_for(kind, name.substr(owner.size())) ? owner : "";
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

bool is_asked_for(int kind, const std::string& suffix)
{
    int number = 0;
    if (field_bits(kind) == 0)
    {
        return is_text_kind(kind) &&
               (suffix == kFallbackSuffix || read_plain_number(suffix, number));
    }
    const std::set<std::string> all = suffixes_of(kind);
    return all.count(suffix) != 0;
}

std::vector<FieldKey> field_keys(const CIniFile& ini, const CTypeColumns& columns)
{
    std::vector<FieldKey> keys;
    for (const std::string& key : ini.Keys(kFieldSection))
    {
        FieldKey one;
        one.key = key;
        const size_t dot = key.find('.');
        if (dot != std::string::npos && dot + 1 < key.size() &&
            read_plain_number(key.substr(0, dot), one.type))
        {
            resolve(one, ini, columns, key.substr(dot + 1));
        }
        keys.push_back(one);
    }
    return keys;
}

namespace
{

// The key of a column's kind, in itself.
void check_kind(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                CFindings& findings)
{
    const Place place = ini.At(kFieldSection, one.key);
    const int kind = ini.Int(kFieldSection, one.key);
    if (!one.label_of.empty())
    {
        findings.Warning(place, FindingId::kKeyAmbiguous,
                         one.key + " is the kind of column " + one.column +
                             ", and a text of column " + one.label_of +
                             " as well; one of the columns needs another name");
    }
    else
    {
        check_integer(ini, kFieldSection, one.key, findings);
    }
    if (kind != 0 && !is_text_kind(kind))
    {
        findings.Warning(place, FindingId::kKindUnknown,
                         one.key + "=" + std::to_string(kind) +
                             " is no kind: the value is posted as stored; the kinds are 0 to " +
                             std::to_string(kLastFieldKind));
    }
    const std::vector<TypeColumn> named = columns.Named(one.type, one.column);
    if (std::none_of(named.begin(), named.end(),
                     [](const TypeColumn& column) { return column.posted; }))
    {
        findings.Warning(place, FindingId::kColumnNotPosted,
                         "column " + one.column + " of " + named[0].table +
                             " is not posted as a value, so " + one.key +
                             " has no effect: it stands outside of the columns that are");
    }
}

std::vector<std::string> names_of(const std::vector<TypeColumn>& columns)
{
    std::vector<std::string> names;
    std::transform(columns.begin(), columns.end(), std::back_inserter(names),
                   [](const TypeColumn& column) { return column.name; });
    return names;
}

// ", and the whole values 00, 0F, F0 and FF", where the kind has such texts.
std::string whole_values(int kind)
{
    int number = 0;
    std::vector<std::string> values;
    for (const std::string& suffix : suffixes_of(kind))
    {
        if (!read_plain_number(suffix, number))
        {
            values.push_back(suffix);
        }
    }
    return values.empty() ? "" : ", and the whole values " + shortened_list(values, values.size());
}

void check_label(const CIniFile& ini, const FieldKey& one, CFindings& findings)
{
    const std::string owner = field_key(one.type, one.column);
    const int kind = ini.Int(kFieldSection, owner);
    if (is_asked_for(kind, one.suffix))
    {
        return;
    }
    const int bits = field_bits(kind);
    std::string reason = "its values are posted as stored";
    if (bits > 0)
    {
        reason = "it has " + std::to_string(bits) + " bits, 0 to " + std::to_string(bits - 1) +
                 whole_values(kind);
    }
    else if (is_text_kind(kind))
    {
        reason = std::string("texts are asked for by ") + kFallbackSuffix +
                 " and by the number without leading zeros";
    }
    findings.Warning(ini.At(kFieldSection, one.key), FindingId::kBitLabelUnused,
                     one.key + " is never asked for: " + owner + " is of kind " +
                         std::to_string(kind) + ", " + reason);
}

// --- Keys that are neither kind nor text ---------------------------------------------------------

void check_no_kind(const CIniFile& ini, const FieldKey& one, std::set<std::string>& told,
                   CFindings& findings)
{
    const std::string kind = field_key(one.type, one.column);
    if (told.insert(kind).second)
    {
        findings.Warning(ini.At(kFieldSection, one.key), FindingId::kKeyUnread,
                         "nothing reads " + one.key + ": there is no " + kind +
                             ", which tells how column " + one.column + " is rendered");
    }
}

void check_no_column(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                     CFindings& findings)
{
    findings.Warning(ini.At(kFieldSection, one.key), FindingId::kColumnMissing,
                     "nothing reads " + one.key + ": no table with values of type " +
                         std::to_string(one.type) + " has a column " + one.column +
                         did_you_mean(likely_name(one.column, names_of(columns.Of(one.type)))));
}

// True when told, once for a type, that nothing has it.
bool check_type(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                std::set<int>& told, CFindings& findings)
{
    if (columns.HasType(one.type))
    {
        return false;
    }
    if (told.insert(one.type).second)
    {
        findings.Note(ini.At(kFieldSection, one.key), FindingId::kTypeUnused,
                      "the keys of type " + std::to_string(one.type) +
                          " have no effect now: no device and no general table has it");
    }
    return true;
}

// Whether the daemon posts the key's value as a text for some number.
bool is_text(const CIniFile& ini, const FieldKey& one)
{
    const int kind = ini.Int(kFieldSection, field_key(one.type, one.column));
    return one.role == FieldKeyRole::kKind
               ? !one.label_of.empty()
               : one.role == FieldKeyRole::kLabel && is_asked_for(kind, one.suffix);
}

std::vector<std::string> posted_keys(const CIniFile& ini, const CTypeColumns& columns,
                                     const std::vector<FieldKey>& keys)
{
    std::vector<std::string> posted;
    for (const FieldKey& one : keys)
    {
        if (columns.HasType(one.type) && is_text(ini, one))
        {
            posted.push_back(one.key);
        }
    }
    return posted;
}

} // namespace

void check_fields(const CTypeColumns& columns, const CIniFile& ini, std::vector<std::string>& texts,
                  CFindings& findings)
{
    std::set<int> told_types;
    std::set<std::string> told_kinds;
    const std::vector<FieldKey> keys = field_keys(ini, columns);
    for (const FieldKey& one : keys)
    {
        if (one.role == FieldKeyRole::kForeign)
        {
            findings.Warning(ini.At(kFieldSection, one.key), FindingId::kKeyUnread,
                             "nothing reads " + one.key +
                                 " in section [POST.xFld]: keys begin with a type and a dot, such "
                                 "as 257.Run");
        }
        else if (check_type(ini, columns, one, told_types, findings))
        {
            continue;
        }
        else if (one.role == FieldKeyRole::kKind)
        {
            check_kind(ini, columns, one, findings);
        }
        else if (one.role == FieldKeyRole::kLabel)
        {
            check_label(ini, one, findings);
        }
        else if (one.role == FieldKeyRole::kNoKind)
        {
            check_no_kind(ini, one, told_kinds, findings);
        }
        else
        {
            check_no_column(ini, columns, one, findings);
        }
    }
    check_label_texts(ini, posted_keys(ini, columns, keys), texts, findings);
}

} // namespace vkctl
