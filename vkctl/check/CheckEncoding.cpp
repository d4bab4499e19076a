#include "vkctl/check/CheckEncoding.h"

#include <iconv.h>

#include <cstdio>

#include "app/AppInternal.h"
#include "common/BufHelper.h"
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
    return converted.substr(0, static_cast<std::size_t>(length)) == plain;
}

// The first character of a text that cannot be converted, or its first byte when it is none.
std::string first_character(const std::string& text)
{
    for (std::size_t length = 1; length <= 4 && length <= text.size(); ++length)
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
        findings.Error(place, "encoding-unfit",
                       "Encoding is empty, which is the daemon's own locale, usually ASCII: every "
                       "body is cut at its first other character; write Encoding=UTF-8, or remove "
                       "the line");
    }
    else if (!is_known_encoding(encoding))
    {
        findings.Error(place, "encoding-unknown",
                       "iconv does not know the encoding " + encoding +
                           ": the bodies are posted in UTF-8; 'iconv -l' lists the known ones");
    }
    else if (!keeps_form(encoding))
    {
        findings.Error(place, "encoding-unfit",
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
    std::size_t inLeft = input.size();
    std::size_t outLeft = output.size();
    iconv(m_pConverter.get(), nullptr, nullptr, nullptr, nullptr); // from its first state
    iconv(m_pConverter.get(), &in, &inLeft, &out, &outLeft);       // what is left is the answer
    return inLeft > 0 ? first_character(input.substr(input.size() - inLeft)) : "";
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

} // namespace vkctl
