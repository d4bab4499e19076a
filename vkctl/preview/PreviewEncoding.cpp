#include "vkctl/preview/PreviewEncoding.h"

#include <iconv.h>

#include "app/AppPost.h"
#include "app/AppPostEncoding.h"
#include "app/AppText.h"
#include "vkctl/receive/ReceiveBody.h"

namespace vkctl
{

namespace
{

constexpr size_t kBytesALine = 16;

// A descriptor from UTF-8, given back with this object.
class CIconv
{
public:
    explicit CIconv(const std::string& to) : m_handle(iconv_open(to.c_str(), kUtf8)) {}
    ~CIconv()
    {
        if (IsKnown())
        {
            iconv_close(m_handle);
        }
    }
    CIconv(const CIconv&) = delete;
    CIconv& operator=(const CIconv&) = delete;

    bool IsKnown() const { return m_handle != reinterpret_cast<iconv_t>(-1); }
    iconv_t Handle() const { return m_handle; }

private:
    iconv_t m_handle;
};

constexpr size_t kRoomForAByte = 4; // as the daemon's conversion has it
constexpr size_t kMoreRoom = 64;    // for marks of byte order and the like
constexpr size_t kStopped = static_cast<size_t>(-1);

// What iconv answers, and how much of the text it did not come to.
struct Answer
{
    size_t replaced; // characters; kStopped: at one that the encoding lacks, or that it leaves out
    size_t left;     // bytes
};

Answer convert(const CIconv& encoding, const std::string& text, size_t room)
{
    std::string input = text;
    std::string output(room, '\0');
    char* in = input.data();
    char* out = output.data();
    size_t in_left = input.size();
    iconv(encoding.Handle(), nullptr, nullptr, nullptr, nullptr); // as freshly opened
    const size_t replaced = iconv(encoding.Handle(), &in, &in_left, &out, &room);
    return {replaced, in_left};
}

// The characters of a text that do not stand for themselves any more, one by one: "//IGNORE" gives
// no number.
size_t count_left_out(const CIconv& encoding, const std::string& text)
{
    size_t count = 0;
    for (size_t begin = 0; begin < text.size();)
    {
        size_t end = begin + 1;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        {
            ++end;
        }
        const std::string one = text.substr(begin, end - begin);
        count += convert(encoding, one, kRoomForAByte * one.size() + kMoreRoom).replaced > 0;
        begin = end;
    }
    return count;
}

size_t count_replaced(const CIconv& encoding, const std::string& text)
{
    const size_t replaced =
        convert(encoding, text, kRoomForAByte * text.size() + kMoreRoom).replaced;
    return replaced != kStopped ? replaced : count_left_out(encoding, text);
}

// The encoding's name without what is to be done about characters that it lacks.
std::string plain_name(const std::string& encoding)
{
    return encoding.substr(0, encoding.find("//"));
}

} // namespace

// The bytes are the daemon's own. Beside them the same conversion is asked what the daemon does not
// look at: how far it came, and how many characters it replaced.
EncodedBody encode_body(const std::string& body)
{
    const CBodyText text = outgoing_body(body.c_str());
    EncodedBody result{text != nullptr ? text.get() : "", body, "", 0};
    const CIconv encoding(CAppPost::m_sEncoding);
    if (CAppPost::m_sEncoding == kUtf8 || !encoding.IsKnown())
    {
        return result;
    }
    const Answer answer = convert(encoding, body, kRoomForAByte * body.size());
    result.lost = body.substr(body.size() - answer.left);
    result.arrives = body.substr(0, body.size() - answer.left);
    result.replaced = answer.replaced;
    if (answer.replaced == kStopped)
    {
        result.replaced = count_replaced(encoding, result.arrives);
    }
    if (result.replaced > 0)
    {
        result.arrives = to_utf8(result.bytes, plain_name(CAppPost::m_sEncoding));
    }
    return result;
}

bool is_known_encoding(const std::string& name)
{
    return CIconv(name).IsKnown();
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
