// Takes down what the poster composes, posts and logs while a preview runs, and what it fails to
// read.
//
// There is one, since the poster's replaced functions have no other way to it. Begin and End
// enclose a preview; outside of it everything is ignored. The poster tells what each part of a body
// comes from; the values behind it are read from its row at once. Owns copies of all texts. Main
// thread.
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

    void Begin(CPreview::OnBody on_body, CPreview::OnLog on_log);
    void End();

    // Called by the poster's replaced functions.
    void BodyBegun(const CHead& head);
    void Part(BodyPart part, std::string text, const PartSource& source);
    void PartLeftOut(BodyPart part, const PartSource& source, LeftOut why);
    void DetailsBegun(bool is_again);
    void Post(const char* text, std::vector<std::string> urls);
    void Log(const std::string& message);

    // A failure of a database, told where it is thrown; and that a later try of the same statement
    // came to its end, so that nothing is missing for it.
    void Failed(const std::string& sql, const std::string& table, const std::string& message);
    void Succeeded(const std::string& sql);
    const std::vector<PreviewFailure>& Failures() const { return m_failures; }

private:
    PreviewBody* Composed(); // the body that is being composed; null: nothing is recorded

    CPreview::OnBody m_onBody;
    CPreview::OnLog m_onLog;
    std::deque<PreviewBody> m_composed;     // begun and not yet posted
    size_t m_detailParts = 0;               // how many parts a body has in front of its detail rows
    std::vector<PreviewFailure> m_failures; // since Begin, those without a later success
};

} // namespace vkctl
