#include "vkctl/preview/PreviewCommand.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

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

constexpr std::size_t kPairColumns = 30; // longer ones have a line of their own

constexpr char kExamples[] = R"(
DIR is the daemon's working directory, with vkApp.ini and tmp/. The bodies are
made by the daemon's own code, in the order of a sweep; nothing is sent, marked
or written, and the daemon may be at work meanwhile. Alarms come outside of
sweeps: --alarms shows those that the next alarm signal would send.

Bodies go to standard output, one line each; notes go to standard error.

Examples:
  vkctl preview                            one sweep of the host in this folder
  vkctl preview room --sid 1001            one device
  vkctl preview room --sid 1001 --explain  where each value comes from
  vkctl preview room --table tbUps         all devices of a table
  vkctl preview room --kind general        general tables only
  vkctl preview room --alarms --encoding   alarms, byte by byte

Exit status: 0 shown, with a note where the daemon could not read everything
either, 1 nothing to show for that SID or table, 64 command line not
understood, 74 a file or database cannot be read.
)";

struct PreviewArguments
{
    std::string directory = ".";
    int sid = 0;
    std::string table;
    std::vector<std::string> kinds;
    bool alarms = false;
    bool explain = false;
    bool encoding = false;
    bool null = false;
    bool log = false;
};

const std::vector<std::string> kKinds = {"device", "general", "input", "output",
                                         "camera", "host",    "alarm"};

PreviewSelection selection_of(const PreviewArguments& arguments, bool hasSid)
{
    PreviewSelection selection;
    if (hasSid)
    {
        selection.sid = arguments.sid;
    }
    selection.table = arguments.table;
    if (arguments.alarms)
    {
        selection.kinds = {BodyKind::kAlarm};
    }
    if (!arguments.kinds.empty())
    {
        selection.kinds.clear();
    }
    for (const std::string& kind : arguments.kinds)
    {
        const auto at = std::find(kKinds.begin(), kKinds.end(), kind) - kKinds.begin();
        selection.kinds.insert(kBodyKinds.at(static_cast<size_t>(at)));
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
        const bool isControl = byte < 0x20 || byte == 0x7F;
        shown +=
            isControl ? format_text("\\x%02x", static_cast<unsigned>(byte)) : std::string(1, c);
    }
    return shown;
}

void show_explanation(const PreviewBody& body, const CAppPost& poster)
{
    for (const Explanation& line : explain(body, poster))
    {
        const std::string pairs = line.pairs.empty() ? "(left out)" : printable(line.pairs);
        const std::size_t width = display_width(pairs);
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
void show_plain(const std::string& text, bool hasNull)
{
    const bool asIs = hasNull || isatty(STDOUT_FILENO) == 0;
    std::cout << (asIs ? text : printable(text)) << (hasNull ? '\0' : '\n');
}

void show_body(const PreviewBody& body, const CAppPost& poster, const PreviewArguments& arguments,
               CCuts& cuts)
{
    const std::string arrives = cuts.Look(body);
    if (!arguments.explain && !arguments.encoding)
    {
        show_plain(arrives, arguments.null);
        return;
    }
    std::cout << heading(body) << "\n";
    if (arguments.explain)
    {
        show_explanation(body, poster);
    }
    if (arguments.encoding)
    {
        show_encoding(body);
    }
    std::cout << "\n";
}

int show(const PreviewArguments& arguments, const PreviewSelection& selection)
{
    CPreview preview(arguments.directory);
    note_missing_urls(preview.Poster(), selection);
    // Beside bodies on the same terminal, or lines of the log, a count would only be in the way.
    const bool isCounted = is_progress_wanted() && isatty(STDOUT_FILENO) == 0 && !arguments.log;
    CProgress progress(std::cerr, isCounted, "bodies");
    CCuts cuts;
    size_t count = 0;
    preview.Run(
        selection,
        [&](const PreviewBody& body)
        {
            show_body(body, preview.Poster(), arguments, cuts);
            progress.Show(++count, 0);
        },
        [&](const std::string& line)
        {
            if (arguments.log)
            {
                std::cerr << line << "\n";
            }
        });
    progress.Clear();
    if (!arguments.encoding)
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

} // namespace

void add_preview_command(CLI::App& app, int& exitStatus)
{
    CLI::App* command = app.add_subcommand("preview", "Show what the daemon would post now");
    const auto arguments = std::make_shared<PreviewArguments>();
    command->add_option("DIR", arguments->directory, "The daemon's working directory")
        ->capture_default_str();
    CLI::Option* sid = command->add_option("--sid", arguments->sid, "Only bodies of that SID");
    command->add_option("--table", arguments->table, "Only bodies with rows of that table");
    CLI::Option* kind =
        command->add_option("--kind", arguments->kinds, "Only that kind; may be repeated")
            ->allow_extra_args(false)
            ->check(CLI::IsMember(kKinds));
    command->add_flag("--alarms", arguments->alarms, "The alarms that wait, instead of a sweep")
        ->excludes(kind);
    CLI::Option* explain =
        command->add_flag("--explain", arguments->explain, "Where each pair comes from");
    CLI::Option* encoding = command->add_flag("--encoding", arguments->encoding,
                                              "The bytes in the configured encoding");
    command->add_flag("--null", arguments->null, "A NUL behind each body instead of a line end")
        ->excludes(explain)
        ->excludes(encoding);
    command->add_flag("--log", arguments->log, "What the daemon would log, on standard error");
    command->footer(kExamples);
    command->callback(
        [=, &exitStatus]
        { exitStatus = show(*arguments, selection_of(*arguments, sid->count() > 0)); });
}

} // namespace vkctl
