// How a value of a column with a kind asks for texts.
#pragma once

#include <string>
#include <vector>

#include "app/AppText.h"
#include "common/SimpleIni.h"

namespace vkctl
{

constexpr char kFieldSection[] = "POST.xFld";
constexpr int kFirstFieldKind = 1;
constexpr int kLastFieldKind = 4;
constexpr char kFallbackSuffix[] = "x";

inline bool is_text_kind(int kind)
{
    return kind >= kFirstFieldKind && kind <= kLastFieldKind;
}

inline int field_bits(int kind)
{
    return is_text_kind(kind) ? (kind - kFirstFieldKind) * 8 : 0;
}

inline std::string field_key(int type, const std::string& column)
{
    return std::to_string(type) + "." + column;
}

inline std::vector<std::string> field_suffixes(int kind, int value)
{
    if (kind == kFirstFieldKind)
    {
        return {std::to_string(value)};
    }
    if (kind == 2 && (value == 0x00 || value == 0x0F || value == 0xF0 || value == 0xFF))
    {
        return {format_text("%02X", static_cast<unsigned>(value))};
    }
    std::vector<std::string> suffixes;
    for (int bit = 0; bit < field_bits(kind); ++bit)
    {
        if ((static_cast<unsigned>(value) >> bit & 1U) != 0)
        {
            suffixes.push_back(std::to_string(bit));
        }
    }
    return suffixes;
}

inline std::string field_text(const SimpleIni& ini, const std::string& key, int kind, int value)
{
    const std::string fallback =
        kind == kFirstFieldKind ? ini.GetValue(kFieldSection, key + kFallbackSuffix, "") : "";
    std::string text;
    for (const std::string& suffix : field_suffixes(kind, value))
    {
        text += (text.empty() ? "" : " ") + ini.GetValue(kFieldSection, key + suffix, fallback);
    }
    return text;
}

} // namespace vkctl
