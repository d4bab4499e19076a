// The poster's effects, replaced: a post is recorded, a log line is handed over, nobody is told
// and nothing is waited for. With these definitions in the program the poster's own ones stay in
// their archive.
#include <cstdarg>

#include "app/AppBodyReport.h"
#include "app/AppPause.h"
#include "app/AppPost.h"
#include "vkctl/preview/PreviewRecorder.h"
#include "vkPub/vkLog.h"

using vkctl::CPreviewRecorder;

namespace
{

// Where a body goes that is posted without a URL of its own.
std::vector<std::string> configured_urls(const CAppPost& app)
{
    if (app.m_vUrls.size() > 1)
    {
        return app.m_vUrls;
    }
    return app.m_strUrl.empty() ? std::vector<std::string>() : std::vector{app.m_strUrl};
}

__attribute__((format(printf, 1, 0))) void log(const char* format, va_list args)
{
    va_list again;
    va_copy(again, args);
    std::string message(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    std::vsnprintf(message.data(), message.size() + 1, format, args);
    CPreviewRecorder::Get().Log(message);
}

} // namespace

int CAppPost::DoPost(const char* msg, const char* url)
{
    const bool has_url = url != nullptr && *url != '\0';
    CPreviewRecorder::Get().Post(msg != nullptr ? msg : m_szPostBuf,
                                 has_url ? std::vector<std::string>{url} : configured_urls(*this));
    return 1;
}

void CAppPost::SendMsgToTray(int /*wParam*/, int /*lParam*/)
{
}

void pause_ms(int /*ms*/)
{
}

bool at_rest()
{
    return false;
}

void body_begun(const CHead& head)
{
    CPreviewRecorder::Get().BodyBegun(head);
}

void body_part(BodyPart part, const char* text, size_t length, const PartSource& source)
{
    CPreviewRecorder::Get().Part(part, std::string(text, length), source);
}

void body_left_out(BodyPart part, const PartSource& source, LeftOut why)
{
    CPreviewRecorder::Get().PartLeftOut(part, source, why);
}

void body_details_begun(bool is_again)
{
    CPreviewRecorder::Get().DetailsBegun(is_again);
}

int trace_log_vkapppost(const char* /*tag*/, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log(format, args);
    va_end(args);
    return 1;
}

int trace_console_vkapppost(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log(format, args);
    va_end(args);
    return 1;
}
