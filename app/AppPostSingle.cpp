// On-demand posting of one device, in a buffer of its own: a request may be served while the
// sweep's body is half built.
#include "app/AppPostDevice.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"

#include <cstring>

#include "vkPub/vkLog.h"

namespace
{

void post_requested(CAppPost& app, int sid, const char* table, char* buffer, CRows& rows)
{
    if (!open_with_retry(app, rows, device_query(table, sid)))
    {
        VKLOG_TRACE("   iqryX=%d iSid=%d\n", rows.Index(), sid);
        return;
    }
    CDeviceBody body = compose_device(app, rows, table, buffer);
    rows.Free();
    if (body.due)
    {
        append_extras(app, sid, table, body, buffer);
        app.DoPost(buffer, nullptr);
        app.SendMsgToTray(0, 1);
    }
}

// The query of one that threw is freed at the end, behind the line about it.
void try_requested(CAppPost& app, int sid, const char* table, char* buffer)
{
    CRows rows(*app.pDb);
    try
    {
        post_requested(app, sid, table, buffer, rows);
    }
    catch (const CppSQLite3Exception& e)
    {
        VKLOG_TRACE("[CAppPost::PostNormal] db exception: %d %s\r\n", e.errorCode(),
                    e.errorMessage());
    }
    catch (...) // not the database's: the request is not repeated before its next pick-up
    {
    }
}

} // namespace

int CAppPost::PostNormal(int iSid, const char* stbl)
{
    static char sPostBuf[kPostBufBytes]; // main thread only, never used by two calls at once
    if (stbl == nullptr)
    {
        VKLOG_TRACE("NULL = stbl,iSid=%d\n", iSid);
        return -1;
    }
    VKLOG_TRACE("iSid=%d,PostNormal...\n", iSid);
    std::memset(sPostBuf, 0, sizeof(sPostBuf));

    begin_work(*this);
    VKLOG_TRACE("iSid=%d   %s...\n", iSid, stbl);
    SendMsgToTray(0, 1);
    try_requested(*this, iSid, stbl, sPostBuf);
    end_work(*this);
    return 0;
}
