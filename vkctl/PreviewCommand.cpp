#include "vkctl/PreviewCommand.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "vkctl/CliError.h"
#include "vkctl/Preview.h"
#include "vkctl/PreviewEncoding.h"
#include "vkctl/PreviewExplain.h"
#include "vkctl/Progress.h"
#include "vkctl/ReceivePrint.h"

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

Exit status: 0 shown, 1 nothing to show for that SID or table, 64 command line
not understood, 74 a file or database cannot be read.
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

void show_encoding(const PreviewBody& body)
{
    const EncodedBody encoded = encode_body(body.text);
    std::cout << "  " << encoded.bytes.size() << " bytes in " << CAppPost::m_sEncoding << "\n"
              << hex_dump(encoded.bytes);
    if (!encoded.lost.empty())
    {
        std::cout << "  cut before: " << printable(encoded.lost.substr(0, encoded.lost.find('&')))
                  << "\n";
    }
}

void show_body(const PreviewBody& body, const CAppPost& poster, const PreviewArguments& arguments)
{
    if (!arguments.explain && !arguments.encoding)
    {
        const bool asIs = arguments.null || isatty(STDOUT_FILENO) == 0;
        std::cout << (asIs ? body.text : printable(body.text)) << (arguments.null ? '\0' : '\n');
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

// What the bodies themselves cannot tell: that they would go nowhere.
void note_missing_urls(const CAppPost& poster, const PreviewSelection& selection)
{
    const bool onlyAlarms = selection.kinds == std::set{BodyKind::kAlarm};
    if (!onlyAlarms && poster.m_strUrl.empty() && poster.m_vUrls.size() < 2)
    {
        std::cerr << "vkctl: vkApp.ini sets no Url: the daemon would post none of these\n";
    }
    if (selection.kinds.count(BodyKind::kAlarm) == 0)
    {
        return;
    }
    if (poster.m_strAlmUrl.empty())
    {
        std::cerr << "vkctl: vkApp.ini sets no AlmUrl: alarms are neither read nor posted\n";
    }
    else if (poster.m_iMaxURLs < 2)
    {
        std::cerr << "vkctl: maxURLs in vkApp.ini is below 2: alarms are marked as sent and go "
                     "nowhere\n";
    }
}

// What the daemon would log about reads that fail. With it in the log a body may be missing.
class CFailures
{
public:
    void Look(const std::string& line)
    {
        const bool isFailure =
            line.find("exception") != std::string::npos || line.find("Error!") != std::string::npos;
        m_first = isFailure && m_count == 0 ? line : m_first;
        m_count += isFailure ? 1 : 0;
    }

    bool Any() const { return m_count > 0; }

    void Tell() const
    {
        if (Any())
        {
            std::cerr << "vkctl: not everything can be read. The daemon would log: " << m_first
                      << (m_count > 1 ? " (and " + std::to_string(m_count - 1) + " such lines more)"
                                      : "")
                      << "\n";
        }
    }

private:
    std::string m_first;
    size_t m_count = 0;
};

int show(const PreviewArguments& arguments, const PreviewSelection& selection)
{
    CPreview preview(arguments.directory);
    note_missing_urls(preview.Poster(), selection);
    // Beside bodies on the same terminal, or lines of the log, a count would only be in the way.
    const bool isCounted = is_progress_wanted() && isatty(STDOUT_FILENO) == 0 && !arguments.log;
    CProgress progress(std::cerr, isCounted, "bodies");
    CFailures failures;
    size_t count = 0;
    preview.Run(
        selection,
        [&](const PreviewBody& body)
        {
            show_body(body, preview.Poster(), arguments);
            progress.Show(++count, 0);
        },
        [&](const std::string& line)
        {
            failures.Look(line);
            if (arguments.log)
            {
                std::cerr << line << "\n";
            }
        });
    progress.Clear();
    if (!arguments.log)
    {
        failures.Tell();
    }
    if (count == 0 && failures.Any())
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
    CLI::Option* sid =
        command->add_option("--sid", arguments->sid, "Only bodies of that SID")->check(CLI::Number);
    command->add_option("--table", arguments->table, "Only bodies with rows of that table");
    CLI::Option* kind =
        command->add_option("--kind", arguments->kinds, "Only that kind; may be repeated")
            ->allow_extra_args(false)
            ->check(CLI::IsMember(kKinds));
    command->add_flag("--alarms", arguments->alarms, "The alarms that wait, instead of a sweep")
        ->excludes(kind);
    command->add_flag("--explain", arguments->explain, "Where each pair comes from");
    command->add_flag("--encoding", arguments->encoding, "The bytes in the configured encoding");
    command->add_flag("--null", arguments->null, "A NUL behind each body instead of a line end");
    command->add_flag("--log", arguments->log, "What the daemon would log, on standard error");
    command->footer(kExamples);
    command->callback(
        [=, &exitStatus]
        { exitStatus = show(*arguments, selection_of(*arguments, sid->count() > 0)); });
}

} // namespace vkctl
