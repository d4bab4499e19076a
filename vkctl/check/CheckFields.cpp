#include "vkctl/check/CheckFields.h"

#include <algorithm>
#include <set>

#include "vkctl/check/CheckColumns.h"
#include "vkctl/check/CheckKind.h"
#include "vkctl/check/CheckLabels.h"
#include "vkctl/check/CheckNames.h"
#include "vkctl/check/CheckTexts.h"

namespace vkctl
{

namespace
{

std::vector<std::string> names_of(const std::vector<TypeColumn>& columns)
{
    std::vector<std::string> names;
    std::transform(columns.begin(), columns.end(), std::back_inserter(names),
                   [](const TypeColumn& column) { return column.name; });
    return names;
}

void check_label(const CIniFile& ini, const FieldKey& one, CFindings& findings)
{
    const std::string owner = field_key(one.type, one.column);
    const int kind = ini.Int(kFieldSection, owner);
    if (is_asked_for(kind, one.suffix))
    {
        return;
    }
    std::string reason = "it has " + std::to_string((kind - 1) * 8) + " bits, 0 to " +
                         std::to_string((kind - 1) * 8 - 1);
    if (kind == 2)
    {
        reason += ", and the whole values 00, 0F, F0 and FF";
    }
    if (kind < 1 || kind > 4)
    {
        reason = "its values are posted as stored";
    }
    else if (kind == 1)
    {
        reason = "texts are asked for by x and by the number without leading zeros";
    }
    findings.Warning(ini.At(kFieldSection, one.key), "bit-label-unused",
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
        findings.Warning(ini.At(kFieldSection, one.key), "key-unread",
                         "nothing reads " + one.key + ": there is no " + kind +
                             ", which tells how column " + one.column + " is rendered");
    }
}

void check_no_column(const CIniFile& ini, const CTypeColumns& columns, const FieldKey& one,
                     CFindings& findings)
{
    findings.Warning(ini.At(kFieldSection, one.key), "column-missing",
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
        findings.Note(ini.At(kFieldSection, one.key), "type-unused",
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
               ? !one.labelOf.empty()
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

void check_fields(CCheckDatabase& db, const CCatalogue& catalogue, const CIniFile& ini,
                  std::vector<std::string>& texts, CFindings& findings)
{
    const CTypeColumns columns(catalogue, ini);
    std::set<int> toldTypes;
    std::set<std::string> toldKinds;
    const std::vector<FieldKey> keys = field_keys(ini, columns);
    for (const FieldKey& one : keys)
    {
        if (one.role == FieldKeyRole::kForeign)
        {
            findings.Warning(ini.At(kFieldSection, one.key), "key-unread",
                             "nothing reads " + one.key +
                                 " in section [POST.xFld]: keys begin with a type and a dot, such "
                                 "as 257.Run");
        }
        else if (check_type(ini, columns, one, toldTypes, findings))
        {
            continue;
        }
        else if (one.role == FieldKeyRole::kKind)
        {
            check_kind(db, ini, columns, one, findings);
        }
        else if (one.role == FieldKeyRole::kLabel)
        {
            check_label(ini, one, findings);
        }
        else if (one.role == FieldKeyRole::kNoKind)
        {
            check_no_kind(ini, one, toldKinds, findings);
        }
        else
        {
            check_no_column(ini, columns, one, findings);
        }
    }
    check_label_texts(ini, posted_keys(ini, columns, keys), texts, findings);
}

} // namespace vkctl
