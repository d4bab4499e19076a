// Device posting: one body for each device, in SID order. Between two devices waiting requests
// are served, so that none waits for a whole sweep.
#include "app/AppPostDevice.h"

#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "vkPub/vkLog.h"

namespace
{

enum class Outcome
{
    kDone,    // posted, or nothing to post
    kGivenUp, // the query could not be started
    kAgain,   // threw; to be tried once more
    kDropped, // threw for the last time
};

Outcome post_row(CAppPost& app, int sid, const char* table, CRows& rows)
{
    if (!open_with_retry(app, rows, device_query(table, sid)))
    {
        VKLOG_TRACE("   iqryX=%d iSID=%d\n", rows.Index(), sid);
        return Outcome::kGivenUp;
    }

    CDeviceBody body = compose_device(app, rows, table, app.m_szPostBuf);
    rows.Free();
    app.m_mapSidTry[sid] = 0;

    if (body.due)
    {
        append_extras(app, sid, table, body, app.m_szPostBuf);
        app.DoPost(nullptr, nullptr);
    }
    app.SendMsgToTray(0, 1);
    return Outcome::kDone;
}

// The number that the exception line prints as TryCnt: on purpose the failure count of the
// digital input at this position, as far as there is one, and not the device's own.
int printed_try_count(const CAppPost& app, int sid)
{
    const bool inside = sid >= 0 && static_cast<size_t>(sid) < app.m_vDiTry.size();
    return inside ? app.m_vDiTry[static_cast<size_t>(sid)] : 0;
}

Outcome count_exception(CAppPost& app, int sid, const char* table, const CppSQLite3Exception& e)
{
    int& failures = app.m_mapSidTry[sid];
    ++failures;
    VKLOG_TRACE("[CAppPost::PostNormal] db exception: SID:%d, Table:%s, TryCnt=%d\n", sid, table,
                printed_try_count(app, sid));
    VKLOG_TRACE("[CAppPost::PostNormal] db exception: %d %s\r\n", e.errorCode(), e.errorMessage());
    if (failures < kExceptionTries)
    {
        pause_ms(kExceptionRetryPauseMs);
        return Outcome::kAgain;
    }
    failures = 0;
    return Outcome::kDropped;
}

Outcome post_device(CAppPost& app, int sid, const std::string& table)
{
    VKLOG_TRACE("   %s...\n", table.c_str());
    app.SendMsgToTray(0, 1);

    CRows rows(*app.pDb); // at the end still open only after an exception
    Outcome outcome = Outcome::kDropped;
    try
    {
        outcome = post_row(app, sid, table.c_str(), rows);
    }
    catch (const CppSQLite3Exception& e)
    {
        outcome = count_exception(app, sid, table.c_str(), e);
    }
    catch (...) // not the database's: this device waits for the next sweep
    {
    }
    return outcome;
}

} // namespace

CDeviceBody compose_device(CAppPost& app, const CRows& rows, const char* table, char* buffer)
{
    CDeviceBody result;
    if (rows.End() || rows.Int("State") < 0)
    {
        return result;
    }

    CHead head = row_head(app, rows, BodyKind::kDevice);
    const auto known = app.m_mapSmName.find(head.sid);
    if (known != app.m_mapSmName.end())
    {
        head.sname = known->second.c_str();
    }
    result.type = head.stype;

    CBodyWriter body(buffer, CAppPost::kPostBufBytes);
    body.Head(app.m_strFmt0, head);
    const ColumnRange columns = device_columns(app.m_ini, table, rows.Columns());
    append_columns(app, body, rows, result.type, columns.first, columns.end);
    body.LogLeftOut("sid", head.sid);

    app.m_iPostRow = 0;
    app.SendMsgToTray(0, 1);
    result.due = true;
    result.length = body.Position();
    return result;
}

void append_extras(CAppPost& app, int sid, const char* table, CDeviceBody& body, char* buffer)
{
    const std::string section = setting_place(SettingId::kExtFirst, "", body.type).section;
    const auto end = app.m_ini.endKey(section);
    for (auto key = app.m_ini.beginKey(section); key != end; ++key)
    {
        if (is_extension_key(*key))
        {
            const int first = setting_number(app.m_ini, SettingId::kExtFirst, *key, body.type);
            body.length += app.PostExt(body.length, body.type, *key, first, buffer);
        }
    }

    const std::string detail = setting_text(app.m_ini, SettingId::kMasterDetail, table);
    if (!detail.empty())
    {
        VKLOG_TRACE("   detail=%s\n", detail.c_str());
        body.length += app.PostDetail(body.length, detail, sid, buffer);
    }
}

void serve_requests(CAppPost& app, const char* function, int line)
{
    if (app.m_devCtrlupdSta == 1)
    {
        VKLOG_TRACE("%s %s line=%d m_devCtrlupdSta=%d \r\n", kSource, function, line,
                    app.m_devCtrlupdSta.load());
        app.PostMsgrecv();
    }
}

void CAppPost::PostNormal()
{
    VKLOG_TRACE("PostNormal...\n");
    begin_work(*this);

    for (auto device = m_mapSidTbl.begin(); device != m_mapSidTbl.end();)
    {
        const Outcome outcome = post_device(*this, device->first, device->second);
        if (outcome != Outcome::kAgain)
        {
            ++device;
        }
        if (outcome == Outcome::kGivenUp)
        {
            continue; // on purpose without pause and service: the retries took long enough
        }
        pause_ms(kPassPauseMs);
        serve_requests(*this, "PostNormal", kLinePostNormalServe);
    }

    end_work(*this);
}
