#include "vkctl/receive/ReceiveBody.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "app/AppRules.h"
#include "vkctl/base/CliError.h"

namespace vkctl
{

namespace
{

constexpr int kGeneralSidEnd = 1000;

bool has(const std::vector<Field>& pairs, const char* name)
{
    return find_value(pairs, name) != nullptr;
}

bool is_zero(const std::vector<Field>& pairs, const char* name)
{
    const std::string* value = find_value(pairs, name);
    return value != nullptr && *value == "0";
}

// A camera's one own pair follows the head; a device may have a column of the same name, but
// hardly as its first.
bool is_camera(const std::vector<Field>& pairs)
{
    for (size_t i = 0; i + 1 < pairs.size(); ++i)
    {
        if (pairs[i].first == "state")
        {
            return pairs[i + 1].first == "info";
        }
    }
    return !pairs.empty() && pairs.back().first == "info";
}

bool is_general(const std::vector<Field>& pairs)
{
    const std::string* sid = find_value(pairs, "sid");
    const long number = sid ? std::strtol(sid->c_str(), nullptr, 10) : 0;
    return number >= kFirstGeneralSid && number < kGeneralSidEnd && is_zero(pairs, "stag1") &&
           is_zero(pairs, "subsys");
}

struct IconvCloser
{
    void operator()(void* handle) const { iconv_close(handle); }
};

} // namespace

const char* kind_name(BodyKind kind)
{
    return kind == BodyKind::kOther ? "other" : body_kind(kind).name;
}

std::vector<Field> parse_body(const std::string& body)
{
    std::vector<Field> pairs;
    size_t begin = 0;
    while (begin < body.size())
    {
        const size_t end = std::min(body.find('&', begin), body.size());
        const std::string piece = body.substr(begin, end - begin);
        const size_t equals = piece.find('=');
        if (equals != std::string::npos)
        {
            pairs.emplace_back(piece.substr(0, equals), piece.substr(equals + 1));
        }
        else if (!pairs.empty())
        {
            pairs.back().second += "&" + piece;
        }
        else
        {
            pairs.emplace_back(piece, "");
        }
        begin = end + 1;
    }
    return pairs;
}

const std::string* find_value(const std::vector<Field>& pairs, const std::string& name)
{
    for (const Field& pair : pairs)
    {
        if (pair.first == name)
        {
            return &pair.second;
        }
    }
    return nullptr;
}

BodyKind classify(const std::vector<Field>& pairs)
{
    if (has(pairs, "level") && has(pairs, "title") && has(pairs, "recovertime"))
    {
        return BodyKind::kAlarm;
    }
    if (has(pairs, "cpu1") && has(pairs, "memtotal"))
    {
        return BodyKind::kHost;
    }
    if (has(pairs, "psid") && has(pairs, "pfld"))
    {
        return BodyKind::kInput;
    }
    if (has(pairs, "DoState"))
    {
        return BodyKind::kOutput;
    }
    if (is_camera(pairs))
    {
        return BodyKind::kCamera;
    }
    if (is_general(pairs))
    {
        return BodyKind::kGeneral;
    }
    return has(pairs, "sid") ? BodyKind::kDevice : BodyKind::kOther;
}

std::string to_utf8(const std::string& bytes, const std::string& encoding)
{
    // GNU's "//" suffixes could turn errors into silence; only a plain name is passed on.
    const iconv_t opened = encoding.find('/') == std::string::npos
                               ? iconv_open("UTF-8", encoding.c_str())
                               : reinterpret_cast<iconv_t>(-1);
    if (opened == reinterpret_cast<iconv_t>(-1))
    {
        throw CCliError("unknown encoding " + encoding + "; 'iconv -l' lists the known ones",
                        kExitUsage);
    }
    const std::unique_ptr<void, IconvCloser> converter(opened);

    std::string input = bytes; // iconv asks for a pointer to bytes that it could change
    char* in = input.data();
    size_t in_left = input.size();
    std::string text;
    while (in_left > 0)
    {
        char block[4096];
        char* out = block;
        size_t out_left = sizeof block;
        const size_t done = iconv(opened, &in, &in_left, &out, &out_left);
        const int error = done == static_cast<size_t>(-1) ? errno : 0;
        text.append(block, static_cast<size_t>(out - block));
        if (error == EILSEQ || error == EINVAL)
        {
            text += "\xEF\xBF\xBD";
            ++in;
            --in_left;
        }
    }
    return text;
}

} // namespace vkctl
