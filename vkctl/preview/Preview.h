// What the daemon would post now, made by the daemon's own code.
//
// A CPreview is the daemon in the host directory without its effects: nothing is sent, nothing is
// marked, no file is written, no queue is touched, the databases are opened to be read and left as
// they are. It owns the poster and both database objects.
// Failure: a host directory, configuration or database that cannot be read is thrown as CCliError
// with kExitFile. What the daemon would only log is handed to on_log.
// Threads: main thread, one CPreview at a time: the poster's replaced functions report to it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/AppInternal.h"
#include "vkctl/receive/ReceiveBody.h"

namespace vkctl
{

class CPreviewDatabase;

// One stored value that the daemon looked at.
struct PreviewCell
{
    std::string table;
    std::string column;
    std::string value;
    int number = 0; // as the daemon reads it where it wants a number
};

// One part of a body, or what would have been one: then it has no text and a reason. What it comes
// from is told by the daemon as it composes, and its cells are those of the row at that moment:
// the column of a pair, whatever its value was rendered to; the columns that the mode of a detail
// row reads, or the empty one that left the row out; none of what comes from no row. The cells of
// the head stand in the body.
struct PreviewPart
{
    BodyPart part = BodyPart::kPair;
    PartOrigin origin = PartOrigin::kNothing;
    int number = 0; // see PartSource
    int type = 0;
    std::string table; // of its row; empty without one
    std::vector<PreviewCell> cells;
    std::string text;
    std::optional<LeftOut> left_out;
};

// What the daemon could not read from a database, all its tries included. A body, or a part of one,
// may be missing for it.
struct PreviewFailure
{
    std::string sql;
    std::string table; // of the statement; empty where it has none
    std::string message;
};

struct PreviewBody
{
    BodyKind kind = BodyKind::kDevice;
    std::string table; // of its row; empty for the host
    int sid = 0;
    int type = 0;
    std::vector<PreviewCell> head;  // what the columns hold that the kind's head is made from
    std::vector<PreviewPart> parts; // in the order of composing
    std::string text;               // UTF-8, as composed
    std::vector<std::string> urls;  // where it would go; empty: nowhere
};

// The kinds of a sweep: all but alarms.
std::set<BodyKind> swept_kinds();

// Which bodies are made. Everything by default, without alarms.
struct PreviewSelection
{
    std::set<BodyKind> kinds = swept_kinds();
    std::optional<int> sid;
    std::string table; // empty: all. Of the body's row, or of a detail table that is part of it
};

class CPreview
{
public:
    using OnBody = std::function<void(const PreviewBody&)>;
    using OnLog = std::function<void(const std::string&)>; // a line of the daemon, without line end

    // Changes into the host directory, reads its configuration and opens its databases.
    explicit CPreview(const std::string& directory);
    ~CPreview();
    CPreview(const CPreview&) = delete;
    CPreview& operator=(const CPreview&) = delete;

    // One sweep, or what of it is selected; hands every body over as it is made.
    void Run(const PreviewSelection& selection, const OnBody& on_body, const OnLog& on_log);

    // What the run could not read, in the order in which it was thrown. Valid until the next run.
    const std::vector<PreviewFailure>& Failures() const;

    // The poster: configuration, and after Run the catalogue of tables and devices.
    const CAppPost& Poster() const { return *m_pPoster; }

private:
    void Restrict(const PreviewSelection& selection);
    void Sweep(const PreviewSelection& selection);
    void Alarms();
    void Complete(PreviewBody& body) const;

    std::unique_ptr<CAppPost> m_pPoster;
    std::vector<std::string> m_vAlmUrls; // the poster's own, which holds one place only
    std::unique_ptr<CPreviewDatabase> m_pData;
    std::unique_ptr<CPreviewDatabase> m_pAlarms; // only when alarms are asked for
};

} // namespace vkctl
