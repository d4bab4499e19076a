#include "vkctl/check/CheckTexts.h"

#include <algorithm>

#include "app/AppInternal.h"
#include "vkctl/check/CheckEncoding.h"
#include "vkctl/check/CheckLabels.h"
#include "vkctl/check/CheckNames.h"

namespace vkctl
{

namespace
{

constexpr char kPost[] = "POST";
constexpr char kGeneral[] = "POST.General";
// Where an encoding lacks a whole script, the other texts only count.
constexpr std::size_t kToldTexts = 5;

// A key with a text, and how a message names it.
struct IniText
{
    std::string section;
    std::string key;
    std::string name;
};

void check_form(const CIniFile& ini, const IniText& one, CFindings& findings)
{
    const std::string held = form_characters(ini.Text(one.section, one.key));
    if (!held.empty())
    {
        findings.Warning(ini.At(one.section, one.key), "value-unescaped",
                         one.name + " holds " + held + ": " + kUnescaped +
                             "; write other characters");
    }
}

// A text that is no UTF-8 is told as such.
void check_lost(const CIniFile& ini, const std::vector<IniText>& keys,
                std::vector<std::string>& texts, CFindings& findings)
{
    const CEncoding encoding(configured_encoding(ini));
    std::vector<std::pair<const IniText*, std::string>> lost;
    for (const IniText& one : keys)
    {
        texts.push_back(ini.Text(one.section, one.key));
        const std::string& text = texts.back();
        const std::string character = is_utf8(text) ? encoding.FirstLost(text) : "";
        if (!character.empty())
        {
            lost.emplace_back(&one, character);
        }
    }
    std::sort(lost.begin(), lost.end(),
              [&](const auto& a, const auto& b)
              {
                  return ini.At(a.first->section, a.first->key).line <
                         ini.At(b.first->section, b.first->key).line;
              });
    const std::size_t told = std::min(lost.size(), kToldTexts);
    for (std::size_t i = 0; i < told; ++i)
    {
        const IniText& one = *lost[i].first;
        const std::size_t more = i + 1 == told ? lost.size() - told : 0;
        findings.Warning(ini.At(one.section, one.key), "character-lost",
                         one.name + " holds " + shown_character(lost[i].second) + ", which " +
                             encoding.Name() + " cannot express: a body is cut there" +
                             (more > 0 ? " (so it is with " + std::to_string(more) +
                                             " more texts of [" + one.section + "])"
                                       : "") +
                             "; write other characters, or Encoding=UTF-8 or GB18030");
    }
}

std::vector<IniText> general_names(const CIniFile& ini)
{
    std::vector<IniText> names;
    for (const std::string& key : ini.Keys(kGeneral))
    {
        std::string table = key;
        if (strip_end(table, ".Name") && ini.Int(kGeneral, table) >= 1)
        {
            names.push_back({kGeneral, key, key});
        }
    }
    return names;
}

} // namespace

void check_setting_texts(const CIniFile& ini, std::vector<std::string>& texts, CFindings& findings)
{
    std::vector<IniText> settings;
    for (const char* key : {"Dept", "DeptName", "State0", "State1", "State2", "State3"})
    {
        settings.push_back({kPost, key, key});
        check_form(ini, settings.back(), findings);
    }
    if (head_format_problem(ini.Text(kPost, "Fmt0")).empty())
    {
        settings.push_back({kPost, "Fmt0", "Fmt0"});
    }
    check_lost(ini, settings, texts, findings);
    check_lost(ini, general_names(ini), texts, findings);
}

void check_label_texts(const CIniFile& ini, const std::vector<std::string>& keys,
                       std::vector<std::string>& texts, CFindings& findings)
{
    std::vector<IniText> labels;
    for (const std::string& key : keys)
    {
        labels.push_back({kFieldSection, key, "the text of " + key});
        check_form(ini, labels.back(), findings);
    }
    check_lost(ini, labels, texts, findings);
}

bool is_in_texts(const std::vector<std::string>& texts, const std::string& character)
{
    const bool whole = is_utf8(character);
    return std::any_of(texts.begin(), texts.end(),
                       [&](const std::string& text) {
                           return whole ? text.find(character) != std::string::npos
                                        : !is_utf8(text);
                       });
}

} // namespace vkctl
