#include "vkctl/preview/Preview.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "vkctl/base/CliError.h"
#include "vkctl/base/HostFiles.h"
#include "vkctl/preview/PreviewDatabase.h"
#include "vkctl/preview/PreviewRecorder.h"

namespace vkctl
{

namespace
{

void enter(const std::string& directory)
{
    std::error_code error;
    std::filesystem::current_path(directory, error);
    if (error)
    {
        throw CCliError(directory + ": " + error.message(), kExitFile);
    }
    if (!is_readable_file(kConfigFile))
    {
        throw CCliError(directory + "/" + kConfigFile +
                            ": cannot be read; give the daemon's working directory",
                        kExitFile);
    }
}

bool wants(const PreviewSelection& selection, BodyKind kind)
{
    return selection.kinds.count(kind) != 0;
}

bool has_part_of(const PreviewBody& body, const std::string& table)
{
    return std::any_of(body.parts.begin(), body.parts.end(),
                       [&](const PreviewPart& part) { return part.table == table; });
}

bool is_selected(const PreviewSelection& selection, const PreviewBody& body)
{
    return wants(selection, body.kind) && (!selection.sid || *selection.sid == body.sid) &&
           (selection.table.empty() || selection.table == body.table ||
            has_part_of(body, selection.table));
}

// Standard error leads nowhere meanwhile: what the commands behind the host's figures say there is
// no message of this program.
class CQuietErrors
{
public:
    CQuietErrors() : m_saved(dup(STDERR_FILENO))
    {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDERR_FILENO);
        close(null);
    }
    ~CQuietErrors()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }
    CQuietErrors(const CQuietErrors&) = delete;
    CQuietErrors& operator=(const CQuietErrors&) = delete;

private:
    int m_saved;
};

// What the poster does is recorded, as long as this object lives.
class CRecording
{
public:
    CRecording(CPreview::OnBody on_body, CPreview::OnLog on_log)
    {
        CPreviewRecorder::Get().Begin(std::move(on_body), std::move(on_log));
    }
    ~CRecording() { CPreviewRecorder::Get().End(); }
    CRecording(const CRecording&) = delete;
    CRecording& operator=(const CRecording&) = delete;
};

// As often as discovery has found it, which is how often a sweep posts it.
void keep_only(std::vector<int>& sids, std::vector<int>& tries, int sid)
{
    sids.erase(std::remove_if(sids.begin(), sids.end(), [&](int other) { return other != sid; }),
               sids.end());
    tries.assign(sids.size(), 0);
}

} // namespace

std::set<BodyKind> swept_kinds()
{
    std::set<BodyKind> kinds;
    for (const BodyKindRow& row : body_kinds())
    {
        if (row.step != kNoStep)
        {
            kinds.insert(row.kind);
        }
    }
    return kinds;
}

CPreview::CPreview(const std::string& directory)
{
    enter(directory);
    m_pPoster = std::make_unique<CAppPost>();
    load_configuration(*m_pPoster);
    m_vAlmUrls.swap(m_pPoster->m_vAlmUrls);
    m_pPoster->m_vAlmUrls = {m_pPoster->m_strAlmUrl}; // one post for each alarm, also to nowhere
    m_pData = std::make_unique<CPreviewDatabase>(kDataDb);
    m_pPoster->pDb = m_pData.get();
}

CPreview::~CPreview() = default;

void CPreview::Run(const PreviewSelection& selection, const OnBody& on_body, const OnLog& on_log)
{
    const CRecording recording(
        [&](const PreviewBody& made)
        {
            PreviewBody body = made;
            Complete(body);
            if (is_selected(selection, body))
            {
                on_body(body);
            }
        },
        on_log);
    m_pPoster->GetTbls();
    Restrict(selection);
    Sweep(selection);
    if (wants(selection, BodyKind::kAlarm))
    {
        Alarms();
    }
}

const std::vector<PreviewFailure>& CPreview::Failures() const
{
    return CPreviewRecorder::Get().Failures();
}

// Leaves out of the catalogue what would only be made to be thrown away.
void CPreview::Restrict(const PreviewSelection& selection)
{
    if (selection.sid)
    {
        const auto device = m_pPoster->m_mapSidTbl.find(*selection.sid);
        std::map<int, std::string> kept;
        if (device != m_pPoster->m_mapSidTbl.end())
        {
            kept.insert(*device);
        }
        m_pPoster->m_mapSidTbl = kept;
        keep_only(m_pPoster->m_vDiSid, m_pPoster->m_vDiTry, *selection.sid);
        keep_only(m_pPoster->m_vCamSid, m_pPoster->m_vCamTry, *selection.sid);
    }
    if (!wants(selection, BodyKind::kInput))
    {
        m_pPoster->m_vDiSid.clear();
    }
}

void CPreview::Sweep(const PreviewSelection& selection)
{
    for (int step = 0; step < kSweepSteps; ++step)
    {
        const bool wanted = std::any_of(body_kinds().begin(), body_kinds().end(),
                                        [&](const BodyKindRow& row)
                                        { return row.step == step && wants(selection, row.kind); });
        if (wanted)
        {
            const auto quiet = step == body_kind(BodyKind::kHost).step
                                   ? std::make_unique<CQuietErrors>()
                                   : nullptr;
            (m_pPoster.get()->*sweep_step(static_cast<size_t>(step)))();
        }
    }
}

// The daemon's routine marks what it has posted and asks for the next. It finds the alarms that
// wait in a temporary table, which hides the real one and lives in this process's memory. Index
// and trigger keep many alarms from being gone through again for each of them.
void CPreview::Alarms()
{
    m_pAlarms = std::make_unique<CPreviewDatabase>(kAlarmDb);
    try
    {
        m_pAlarms->Exec("create temp table tbSMAlarm as"
                        " select * from main.tbSMAlarm where AFld is null or AFld<1;"
                        "create index temp.ixAlarm on tbSMAlarm(DID);"
                        "create temp trigger tgMarked after update on tbSMAlarm begin"
                        " delete from tbSMAlarm where rowid=new.rowid; end");
    }
    catch (const CppSQLite3Exception& e)
    {
        throw CCliError(std::string(kAlarmDb) + ": " + e.errorMessage(), kExitFile);
    }
    m_pPoster->pDbAlm = m_pAlarms.get();
    m_pPoster->OnAlmIns();
    m_pPoster->pDbAlm = nullptr;
}

// What the recorder cannot know: where alarms go.
void CPreview::Complete(PreviewBody& body) const
{
    if (body.kind == BodyKind::kAlarm)
    {
        body.urls = m_vAlmUrls;
    }
}

} // namespace vkctl
