#include "vkctl/check/CheckTexts.h"

#include <iconv.h>

#include <algorithm>
#include <cstdio>

#include "app/AppHeadFormat.h"
#include "app/AppPostEncoding.h"
#include "common/BufHelper.h"
#include "vkctl/check/CheckFields.h"
#include "vkctl/check/CheckNames.h"
#include "vkctl/preview/PreviewEncoding.h"

namespace vkctl
{

namespace
{

constexpr char kPost[] = "POST";

// Whether the letters of a form body stay the bytes that they are.
bool keeps_form(const std::string& encoding)
{
    std::string plain = "suid=A-1&sid=20 : z";
    std::string converted(4 * plain.size(), '\0');
    const int length =
        CBufHelper::conv_code(encoding.c_str(), kUtf8, converted.data(), plain.data());
    return converted.substr(0, static_cast<size_t>(length)) == plain;
}

// The first character of a text that cannot be converted, or its first byte when it is none.
std::string first_character(const std::string& text)
{
    for (size_t length = 1; length <= 4 && length <= text.size(); ++length)
    {
        if (is_utf8(text.substr(0, length)))
        {
            return text.substr(0, length);
        }
    }
    return text.substr(0, 1);
}

} // namespace

std::string configured_encoding(const CIniFile& ini)
{
    return ini.Text(kPost, "Encoding", kUtf8);
}

void check_encoding(const CIniFile& ini, CFindings& findings)
{
    const std::string encoding = configured_encoding(ini);
    const Place place = ini.At(kPost, "Encoding");
    if (encoding.empty())
    {
        findings.Error(place, FindingId::kEncodingUnfit,
                       "Encoding is empty, which is the daemon's own locale, usually ASCII: every "
                       "body is cut at its first other character; write Encoding=UTF-8, or remove "
                       "the line");
    }
    else if (!is_known_encoding(encoding))
    {
        findings.Error(place, FindingId::kEncodingUnknown,
                       "iconv does not know the encoding " + encoding +
                           ": the bodies are posted in UTF-8; 'iconv -l' lists the known ones");
    }
    else if (!keeps_form(encoding))
    {
        findings.Error(place, FindingId::kEncodingUnfit,
                       "in " + encoding +
                           " letters, \"&\" and \"=\" are other bytes than in "
                           "ASCII: no receiver finds the pairs, and a zero byte "
                           "ends the body; write UTF-8, GBK or GB18030");
    }
}

CEncoding::CEncoding(const std::string& name) : m_strName(name)
{
    if (name != kUtf8 && !name.empty() && is_known_encoding(name) && keeps_form(name))
    {
        m_pConverter.reset(iconv_open(name.c_str(), kUtf8));
    }
}

void CEncoding::Closer::operator()(void* converter) const
{
    iconv_close(converter);
}

std::string CEncoding::FirstLost(std::string_view text) const
{
    if (m_pConverter == nullptr || text.empty())
    {
        return "";
    }
    std::string input(text);
    std::string output(4 * input.size() + 64, '\0'); // shift sequences included
    char* in = input.data();
    char* out = output.data();
    size_t in_left = input.size();
    size_t out_left = output.size();
    iconv(m_pConverter.get(), nullptr, nullptr, nullptr, nullptr); // from its first state
    iconv(m_pConverter.get(), &in, &in_left, &out, &out_left);     // what is left is the answer
    return in_left > 0 ? first_character(input.substr(input.size() - in_left)) : "";
}

std::string shown_character(const std::string& character)
{
    if (is_utf8(character))
    {
        return "\"" + character + "\"";
    }
    char text[64];
    std::snprintf(text, sizeof text, "byte %02X, which is no UTF-8",
                  static_cast<unsigned>(static_cast<unsigned char>(character[0])));
    return text;
}

namespace
{

constexpr char kGeneral[] = "POST.General";
// Where an encoding lacks a whole script, the other texts only count.
constexpr size_t kToldTexts = 5;

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
        findings.Warning(ini.At(one.section, one.key), FindingId::kValueUnescaped,
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
    const size_t told = std::min(lost.size(), kToldTexts);
    for (size_t i = 0; i < told; ++i)
    {
        const IniText& one = *lost[i].first;
        const size_t more = i + 1 == told ? lost.size() - told : 0;
        findings.Warning(ini.At(one.section, one.key), FindingId::kCharacterLost,
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
