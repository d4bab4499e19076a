#include "vkctl/receive/ReceivePrint.h"

#include <cstdio>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vkctl
{

namespace
{

constexpr char kIndent[] = "         "; // as wide as the time in front of a heading

// A value comes from a device's name plate or a bus: it must not steer the terminal.
std::string printable(const std::string& text)
{
    std::string result;
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F)
        {
            result += c;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
        result += escape;
    }
    return result;
}

std::string pair_text(const Field& pair)
{
    return printable(pair.first) + "=" + printable(pair.second);
}

const char* kind_color(BodyKind kind)
{
    switch (kind)
    {
    case BodyKind::kAlarm:
        return "\033[1;31m";
    case BodyKind::kDevice:
        return "\033[1;32m";
    case BodyKind::kInput:
    case BodyKind::kOutput:
        return "\033[1;36m";
    case BodyKind::kOther:
        return "\033[1;35m";
    default:
        return "\033[1;34m";
    }
}

bool is_in_heading(const std::string& name)
{
    return name == "sid" || name == "sname" || name == "state" || name == "title";
}

std::string heading(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind,
                    bool color)
{
    const size_t date_length = 11; // a terminal shows what arrives now: the date is known
    const std::string name = kind_name(kind);
    std::string text = body.time.size() > date_length ? body.time.substr(date_length) : body.time;
    text += " " + (color ? kind_color(kind) + name + "\033[0m" : name);
    text += std::string(name.size() < 8 ? 8 - name.size() : 1, ' ');
    const char* separator = "";
    for (const char* key : {"sid", "sname", "state", "title"})
    {
        if (const std::string* value = find_value(pairs, key))
        {
            text += separator + printable(*value);
            separator = "  ";
        }
    }
    return text + "\n";
}

std::string padded(const std::string& text, size_t width, bool left)
{
    const std::string blanks(text.size() < width ? width - text.size() : 0, ' ');
    return left ? text + blanks : blanks + text;
}

} // namespace

size_t display_width(const std::string& text)
{
    size_t width = 0;
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        const bool is_continuation = (byte & 0xC0) == 0x80;
        width += is_continuation ? 0 : (byte >= 0xE3 ? 2 : 1);
    }
    return width;
}

std::string text_line(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind)
{
    std::string line = body.time + " " + kind_name(kind);
    for (const Field& pair : pairs)
    {
        line += " " + pair_text(pair);
    }
    return line;
}

std::string text_block(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind,
                       const PrintOptions& options)
{
    std::string block = heading(body, pairs, kind, options.color);
    std::string line;
    size_t used = 0;
    for (const Field& pair : pairs)
    {
        if (is_in_heading(pair.first))
        {
            continue;
        }
        const std::string text = pair_text(pair);
        const size_t width = display_width(text);
        if (used > 0 && used + 2 + width > options.width)
        {
            block += line + "\n";
            used = 0;
        }
        line = used == 0 ? kIndent + text : line + "  " + text;
        used = (used == 0 ? sizeof kIndent - 1 : used + 2) + width;
    }
    return used > 0 ? block + line + "\n" : block;
}

std::string json_line(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind)
{
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    for (const Field& pair : pairs)
    {
        auto& field = fields[pair.first];
        if (field.is_null())
        {
            field = pair.second;
            continue;
        }
        if (!field.is_array())
        {
            field = nlohmann::ordered_json::array({field});
        }
        field.push_back(pair.second);
    }
    nlohmann::ordered_json object;
    object["kind"] = kind_name(kind);
    object["time"] = body.time;
    object["path"] = body.path;
    object["bytes"] = body.bytes.size();
    object["fields"] = std::move(fields);
    using Handler = nlohmann::ordered_json::error_handler_t;
    return object.dump(-1, ' ', false, Handler::replace);
}

void CTally::Add(BodyKind kind, size_t bytes)
{
    ++m_aCounts[Index(kind)].bodies;
    m_aCounts[Index(kind)].bytes += bytes;
}

size_t CTally::Total() const
{
    size_t total = 0;
    for (const Count& count : m_aCounts)
    {
        total += count.bodies;
    }
    return total;
}

std::string CTally::Table() const
{
    constexpr size_t kWidth = 10;
    const auto row = [](const std::string& a, const std::string& b, const std::string& c)
    {
        return padded(a, kWidth, true) + padded(b, kWidth, false) + padded(c, kWidth + 2, false) +
               "\n";
    };
    std::string table = row("kind", "bodies", "bytes");
    size_t bytes = 0;
    for (const BodyKind kind : kBodyKinds)
    {
        const Count& count = m_aCounts[Index(kind)];
        bytes += count.bytes;
        if (kind != BodyKind::kOther || count.bodies > 0)
        {
            table +=
                row(kind_name(kind), std::to_string(count.bodies), std::to_string(count.bytes));
        }
    }
    return table + row("total", std::to_string(Total()), std::to_string(bytes));
}

CReceivePrinter::CReceivePrinter(std::ostream& out, PrintOptions options)
    : m_out(out), m_options(std::move(options))
{
}

bool CReceivePrinter::Show(const ReceivedBody& body)
{
    const std::string text = to_utf8(body.bytes, m_options.encoding);
    const std::vector<Field> pairs = parse_body(text);
    const BodyKind kind = classify(pairs);
    const std::string shown = Format(body, pairs, kind);

    const std::lock_guard<std::mutex> lock(m_mutex);
    m_tally.Add(kind, body.bytes.size());
    m_out << shown << std::flush;
    return m_out.good();
}

CTally CReceivePrinter::Tally() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_tally;
}

std::string CReceivePrinter::Format(const ReceivedBody& body, const std::vector<Field>& pairs,
                                    BodyKind kind) const
{
    switch (m_options.style)
    {
    case PrintStyle::kRaw:
        return body.bytes + "\n";
    case PrintStyle::kJson:
        return json_line(body, pairs, kind) + "\n";
    default:
        return m_options.width == 0 ? text_line(body, pairs, kind) + "\n"
                                    : text_block(body, pairs, kind, m_options);
    }
}

} // namespace vkctl
