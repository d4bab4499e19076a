// Collects what the poster reads, composes and posts while a preview runs.
//
// There is one, since the poster's replaced functions have no other way to it. Begin and End
// enclose a preview; outside of it everything is ignored. Owns copies of all texts. Main thread.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "vkctl/preview/Preview.h"

namespace vkctl
{

class CPreviewRecorder
{
public:
    static CPreviewRecorder& Get();

    void Begin(CPreview::OnBody onBody, CPreview::OnLog onLog);
    void End();

    // Which step of the sweep the poster works on; none: what it reads is of no interest.
    void SetStep(std::optional<BodyKind> step);

    // Called by the databases and the poster's replaced functions.
    void Query(const std::string& table); // a query on that table begins
    void NextRow();                       // what was read of the last one belongs together
    void Read(PreviewCell cell);
    void Part(BodyPart part, std::string text);
    void Post(const char* text, std::vector<std::string> urls);
    void Log(const std::string& message);

    // A failure of a database, told where it is thrown; and that a later try of the same statement
    // came to its end, so that nothing is missing for it.
    void Failed(const std::string& sql, const std::string& table, const std::string& message);
    void Succeeded(const std::string& sql);
    const std::vector<PreviewFailure>& Failures() const { return m_failures; }

    bool IsRecording() const { return m_step.has_value(); }

private:
    void BeginBody();
    void KeepUnusedCells();

    CPreview::OnBody m_onBody;
    CPreview::OnLog m_onLog;
    std::optional<BodyKind> m_step;
    std::string m_table;                    // of the latest query
    std::vector<PreviewCell> m_cells;       // read and not yet part of a body
    std::deque<PreviewBody> m_composed;     // begun and not yet posted
    bool m_inHead = false;                  // the latest part was a group of a head
    std::vector<PreviewFailure> m_failures; // since Begin, those without a later success
};

} // namespace vkctl
