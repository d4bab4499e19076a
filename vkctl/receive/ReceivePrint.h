// How a received body is shown, and the count of what has arrived.
//
// A CReceivePrinter is called from the server's threads; its mutex guards the stream, the counts
// and the order of lines. It borrows the stream. A stream that fails (a closed pipe) is told by
// Show's result.
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>

#include "vkctl/receive/ReceiveBody.h"

namespace vkctl
{

struct ReceivedBody
{
    std::string path;  // of the URL, query included
    std::string bytes; // as they arrived
    std::string time;  // local, "YYYY-MM-DD hh:mm:ss"
};

enum class PrintStyle
{
    kText, // several lines for a terminal, one line for anything else
    kRaw,  // the bytes and a line end
    kJson, // one object a line
};

struct PrintOptions
{
    PrintStyle style = PrintStyle::kText;
    bool color = false; // only with a terminal
    size_t width = 0;   // of the terminal in columns; 0: one line for each body
    std::string encoding = "UTF-8";
};

// "device 1001 UPS主机1# ..." as one line without its line end. Control characters become "\xNN".
std::string text_line(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind);

// The same for a terminal: a heading, then the other pairs in lines of at most `width` columns.
std::string text_block(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind,
                       const PrintOptions& options);

// {"kind":...,"time":...,"path":...,"bytes":...,"fields":{...}}. Values are strings; a name that
// comes again has all its values in an array.
std::string json_line(const ReceivedBody& body, const std::vector<Field>& pairs, BodyKind kind);

// Columns that a text takes on a terminal; Chinese characters take two.
size_t display_width(const std::string& text);

class CTally
{
public:
    void Add(BodyKind kind, size_t bytes);
    size_t Bodies(BodyKind kind) const { return m_aCounts[Index(kind)].bodies; }
    size_t Total() const;
    std::string Table() const; // kinds, counts and bytes, lines ended

private:
    struct Count
    {
        size_t bodies = 0;
        size_t bytes = 0;
    };
    static size_t Index(BodyKind kind) { return static_cast<size_t>(kind); }

    std::array<Count, kBodyKinds.size()> m_aCounts;
};

class CReceivePrinter
{
public:
    CReceivePrinter(std::ostream& out, PrintOptions options);

    // Shows and counts one body, and flushes. False: the stream cannot be written any more.
    bool Show(const ReceivedBody& body);

    CTally Tally() const;

private:
    std::string Format(const ReceivedBody& body, const std::vector<Field>& pairs,
                       BodyKind kind) const;

    std::ostream& m_out;
    const PrintOptions m_options;
    mutable std::mutex m_mutex; // guards m_out and m_tally
    CTally m_tally;
};

} // namespace vkctl
