#include "vkctl/preview/PreviewCommand.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "vkctl/base/CliError.h"
#include "vkctl/base/Progress.h"
#include "vkctl/preview/Preview.h"
#include "vkctl/preview/PreviewEncoding.h"
#include "vkctl/preview/PreviewExplain.h"
#include "vkctl/preview/PreviewNotes.h"
#include "vkctl/receive/ReceivePrint.h"

namespace vkctl
{

namespace
{

constexpr size_t kPairColumns = 30; // longer ones have a line of their own

PreviewSelection selection_of(const PreviewCommand& command)
{
    PreviewSelection selection;
    selection.sid = command.sid;
    selection.table = command.table;
    if (command.alarms)
    {
        selection.kinds = {BodyKind::kAlarm};
    }
    if (!command.kinds.empty())
    {
        selection.kinds.clear();
    }
    for (const std::string& name : command.kinds)
    {
        selection.kinds.insert(*std::find_if(kBodyKinds.begin(), kBodyKinds.end(),
                                             [&name](BodyKind kind)
                                             { return name == kind_name(kind); }));
    }
    return selection;
}

std::string heading(const PreviewBody& body)
{
    std::string text = std::string(kind_name(body.kind)) + " " + std::to_string(body.sid);
    text += body.table.empty() ? "" : " of " + body.table;
    text += ", " + std::to_string(body.text.size()) + " bytes";
    for (const std::string& url : body.urls)
    {
        text += " -> " + url;
    }
    return text + (body.urls.empty() ? " -> nowhere" : "");
}

// A text on one line, with nothing in it that moves a terminal's cursor: control characters as
// "\x0a".
std::string printable(const std::string& text)
{
    std::string shown;
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        const bool is_control = byte < 0x20 || byte == 0x7F;
        shown +=
            is_control ? format_text("\\x%02x", static_cast<unsigned>(byte)) : std::string(1, c);
    }
    return shown;
}

void show_explanation(const PreviewBody& body, const CAppPost& poster)
{
    for (const Explanation& line : explain(body, poster))
    {
        const std::string pairs = line.pairs.empty() ? "(left out)" : printable(line.pairs);
        const size_t width = display_width(pairs);
        std::cout << "  " << pairs
                  << (width < kPairColumns ? std::string(kPairColumns - width, ' ')
                                           : "\n" + std::string(kPairColumns + 2, ' '))
                  << printable(line.source) << "\n";
    }
}

std::string encoding_name()
{
    const std::string& name = CAppPost::m_sEncoding;
    if (!is_known_encoding(name))
    {
        return "UTF-8, since iconv does not know " + printable(name);
    }
    return name.empty() ? "the locale's encoding" : name;
}

void show_encoding(const PreviewBody& body)
{
    const EncodedBody encoded = encode_body(body.text);
    std::cout << "  " << encoded.bytes.size() << " bytes in " << encoding_name() << "\n"
              << hex_dump(encoded.bytes);
    if (encoded.replaced > 0)
    {
        std::cout << "  replaced: " << encoded.replaced
                  << (encoded.replaced == 1 ? " character\n" : " characters\n");
    }
    if (!encoded.lost.empty())
    {
        std::cout << "  cut before: " << printable(encoded.lost.substr(0, encoded.lost.find('&')))
                  << "\n";
    }
}

// What arrives: up to where the encoding cuts the body.
void show_plain(const std::string& text, bool has_null)
{
    const bool as_is = has_null || isatty(STDOUT_FILENO) == 0;
    std::cout << (as_is ? text : printable(text)) << (has_null ? '\0' : '\n');
}

void show_body(const PreviewBody& body, const CAppPost& poster, const PreviewCommand& command,
               CCuts& cuts)
{
    const std::string arrives = cuts.Look(body);
    if (!command.explain && !command.encoding)
    {
        show_plain(arrives, command.null);
        return;
    }
    std::cout << heading(body) << "\n";
    if (command.explain)
    {
        show_explanation(body, poster);
    }
    if (command.encoding)
    {
        show_encoding(body);
    }
    std::cout << "\n";
}

} // namespace

std::vector<std::string> preview_kinds()
{
    std::vector<std::string> names;
    for (const BodyKind kind : kBodyKinds)
    {
        if (kind != BodyKind::kOther)
        {
            names.emplace_back(kind_name(kind));
        }
    }
    return names;
}

int run_preview(const PreviewCommand& command)
{
    const PreviewSelection selection = selection_of(command);
    CPreview preview(command.directory);
    note_missing_urls(preview.Poster(), selection);
    // Beside bodies on the same terminal, or lines of the log, a count would only be in the way.
    const bool is_counted = is_progress_wanted() && isatty(STDOUT_FILENO) == 0 && !command.log;
    CProgress progress(std::cerr, is_counted, "bodies");
    CCuts cuts;
    size_t count = 0;
    preview.Run(
        selection,
        [&](const PreviewBody& body)
        {
            show_body(body, preview.Poster(), command, cuts);
            progress.Show(++count, 0);
        },
        [&](const std::string& line)
        {
            if (command.log)
            {
                std::cerr << line << "\n";
            }
        });
    progress.Clear();
    if (!command.encoding)
    {
        cuts.Tell();
    }
    note_failures(preview.Failures());
    if (count == 0 && !preview.Failures().empty())
    {
        return kExitFile;
    }
    if (count == 0 && (selection.sid || !selection.table.empty()))
    {
        std::cerr << "vkctl: nothing is posted for that: no such table or row, or its State is "
                     "below 0. See what the daemon finds with --log\n";
        return kExitFailure;
    }
    return 0;
}

} // namespace vkctl
