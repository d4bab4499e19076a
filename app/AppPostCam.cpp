// Cameras: one body for each, whatever its state, with the time of its reading.
#include "app/AppClock.h"
#include "app/AppPause.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"

#include "vkPub/vkLog.h"

namespace
{

void compose_camera(CAppPost& app, const CRows& rows, const std::string& stamp)
{
    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    const CHead head = row_head(app, rows, BodyKind::kCamera, stamp.c_str());
    body.Head(app.m_strFmt0, head);
    body.Field("info", rows.Str("SerDef"), {PartOrigin::kText, &rows, "SerDef"});
    body.LogLeftOut("sid", head.sid);
}

void post_camera(CAppPost& app, size_t i, int& number, CRows& rows)
{
    const int sid = app.m_vCamSid[i];
    const std::string stamp = local_time_stamp();
    if (!open_with_retry(app, rows, camera_query(sid)))
    {
        VKLOG_TRACE("   iqryX=%d iSID=%d\n", rows.Index(), sid);
        return;
    }
    const bool gone = rows.End();
    if (!gone)
    {
        compose_camera(app, rows, stamp);
        app.m_iPostRow = number++;
        app.SendMsgToTray(0, 1);
    }
    rows.Free(); // one that throws leaves the query to try_camera
    if (gone)
    {
        app.SendMsgToTray(0, 1);
        return;
    }
    app.DoPost(nullptr, nullptr);
    app.m_vCamTry[i] = 0;
}

// Posts camera i; false when it threw and is to be tried once more. An exception while the query
// of a failed try is freed passes to the caller.
bool try_camera(CAppPost& app, size_t i, int& number)
{
    CRows rows(*app.pDb, CRows::AtEnd::kLeft); // freed below, once and not quietly
    bool again = false;
    try
    {
        post_camera(app, i, number, rows);
    }
    catch (...)
    {
        int& failures = app.m_vCamTry[i];
        ++failures;
        // The text names PostDio, on purpose: it is the line that log readers know.
        VKLOG_TRACE("[CAppPost::PostDio] Post Cam exception, SID=%d, TryCnt=%d\n", app.m_vCamSid[i],
                    failures);
        again = failures < kExceptionTries;
        if (again)
        {
            pause_ms(kExceptionRetryPauseMs);
        }
        else
        {
            failures = 0;
        }
        if (rows.IsOpen())
        {
            rows.Free();
        }
    }
    return !again;
}

} // namespace

void CAppPost::PostCam()
{
    VKLOG_TRACE("PostCam...\n");
    begin_work(*this);
    int number = 0;
    try
    {
        for (size_t i = 0; i < m_vCamSid.size();)
        {
            if (try_camera(*this, i, number))
            {
                ++i;
            }
        }
    }
    catch (...)
    {
        VKLOG_TRACE("CAppPost::PostCam exception\n");
    }
    end_work(*this);
}
