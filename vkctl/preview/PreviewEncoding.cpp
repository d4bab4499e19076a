#include "vkctl/preview/PreviewEncoding.h"

#include <iconv.h>

#include <cstring>

#include "app/AppPost.h"
#include "app/AppPostEncoding.h"
#include "app/AppText.h"
#include "common/BufHelper.h"

namespace vkctl
{

namespace
{

constexpr size_t kBytesALine = 16;

// How much of the body the converted bytes stand for: they are read back.
size_t converted_length(const std::string& body, const std::string& bytes)
{
    std::string back(4 * bytes.size() + 1, '\0');
    const int length = CBufHelper::conv_code(kUtf8, CAppPost::m_sEncoding.c_str(), back.data(),
                                             std::string(bytes).data());
    back.resize(static_cast<size_t>(length));
    return body.compare(0, back.size(), back) == 0 ? back.size() : body.size();
}

} // namespace

EncodedBody encode_body(const std::string& body)
{
    EncodedBody result;
    const CBodyText text = outgoing_body(body.c_str());
    result.bytes = text != nullptr ? text.get() : "";
    if (CAppPost::m_sEncoding != kUtf8 && result.bytes != body)
    {
        result.lost = body.substr(converted_length(body, result.bytes));
    }
    return result;
}

// Opens as the daemon would; the handle is given back at once.
bool is_known_encoding(const std::string& name)
{
    const iconv_t handle = iconv_open(name.c_str(), kUtf8);
    if (handle == reinterpret_cast<iconv_t>(-1))
    {
        return false;
    }
    iconv_close(handle);
    return true;
}

std::string hex_dump(const std::string& bytes)
{
    std::string dump;
    for (size_t line = 0; line < bytes.size(); line += kBytesALine)
    {
        const std::string part = bytes.substr(line, kBytesALine);
        std::string shown;
        dump += format_text("  %06zx ", line);
        for (const char c : part)
        {
            const auto byte = static_cast<unsigned char>(c);
            dump += format_text(" %02x", static_cast<unsigned>(byte));
            shown += byte >= 0x20 && byte < 0x7F ? c : '.';
        }
        dump += std::string(3 * (kBytesALine - part.size()), ' ') + "  " + shown + "\n";
    }
    return dump;
}

} // namespace vkctl
