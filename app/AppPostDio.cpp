// Digital points: one body for each input of a sub-system, one for each output of the host.
#include "app/AppPause.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "app/AppText.h"

#include "vkPub/vkLog.h"

namespace
{

void compose_input(CAppPost& app, int iqry)
{
    DbDatabase& db = *app.pDb;
    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    const CHead head = row_head(app, iqry, BodyKind::kInput);
    body.Head(app.m_strFmt0, head);
    body.Group("&psid=%d", db.QryGetInt(iqry, "SIDD"));
    body.Group("&pfld=%d", db.QryGetInt(iqry, "Fld"));
    body.LogLeftOut("sid", head.sid);
}

void post_input(CAppPost& app, size_t i, int& number, int& iqry)
{
    DbDatabase& db = *app.pDb;
    const int sid = app.m_vDiSid[i];
    iqry = query_with_retry(app, input_query(sid));
    if (iqry < 0)
    {
        VKLOG_TRACE("   iqryX=%d iSID=%d\n", iqry, sid);
        return;
    }
    const bool due = !db.QryEof(iqry) && db.QryGetInt(iqry, "State") >= 0;
    if (!due)
    {
        db.QryFree(iqry);
        iqry = -1;
        app.SendMsgToTray(0, 1);
        return;
    }

    compose_input(app, iqry);
    app.m_iPostRow = number++;
    app.SendMsgToTray(0, 1);
    db.QryFree(iqry);
    iqry = -1;
    app.DoPost(nullptr, nullptr);
    app.m_vDiTry[i] = 0;
}

// Posts input i; false when it threw and is to be tried once more.
bool try_input(CAppPost& app, size_t i, int& number)
{
    int iqry = -1;
    try
    {
        post_input(app, i, number, iqry);
        return true;
    }
    catch (...)
    {
        int& failures = app.m_vDiTry[i];
        ++failures;
        VKLOG_TRACE("[CAppPost::PostDio] Post DI exception, SID=%d, TryCnt=%d\n", app.m_vDiSid[i],
                    failures);
        free_quietly(*app.pDb, iqry);
        if (failures < kExceptionTries)
        {
            pause_ms(kExceptionRetryPauseMs);
            return false;
        }
        failures = 0;
        return true;
    }
}

void compose_output(CAppPost& app, int iqry, int output, int64_t column)
{
    DbDatabase& db = *app.pDb;
    const std::string name = output_name(output);
    const int value = db.QryGetInt(iqry, output_column(column).c_str());

    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    const BodyKindRow& row = body_kind(BodyKind::kOutput);
    const int sid = db.QryGetInt(iqry, row.Column(HeadValue::kSid));
    const int type = db.QryGetInt(iqry, row.Column(HeadValue::kType));
    const char* const updated = text_or_empty(db.QryGetStr(iqry, row.Column(HeadValue::kTime)));
    body.Head(app.m_strFmt0, {app.m_strDept.c_str(), sid, type, output, name.c_str(), 0, updated,
                              app.GetState(value)});
    body.Group("&DoState=%d", value);
    body.LogLeftOut("sid", sid);
}

// Builds all bodies before the first is posted, so that the query is closed by then. False when
// the query could not be started.
bool compose_outputs(CAppPost& app, int& number, int& iqry, std::vector<std::string>& bodies)
{
    const int count = setting_number(app.m_ini, SettingId::kDoCount);
    const int start = setting_number(app.m_ini, SettingId::kDoStart);
    iqry = query_with_retry(app, outputs_query());
    if (iqry < 0)
    {
        VKLOG_TRACE("   Post DO Query error. iqryX=%d\n", iqry);
        return false;
    }
    const bool has_row = !app.pDb->QryEof(iqry);
    for (int i = 0; has_row && i < count; ++i)
    {
        compose_output(app, iqry, i, int64_t{start} + i);
        app.m_iPostRow = number++;
        bodies.emplace_back(app.m_szPostBuf);
        app.SendMsgToTray(0, 1);
    }
    app.pDb->QryFree(iqry);
    iqry = -1;
    return true;
}

void post_outputs(CAppPost& app, int& number, int& iqry)
{
    std::vector<std::string> bodies;
    if (!compose_outputs(app, number, iqry, bodies))
    {
        return;
    }
    for (const std::string& body : bodies)
    {
        body.copy(app.m_szPostBuf, body.size());
        app.m_szPostBuf[body.size()] = '\0';
        app.DoPost(nullptr, nullptr);
        app.SendMsgToTray(0, 1);
    }
}

} // namespace

void CAppPost::PostDio()
{
    VKLOG_TRACE("PostDio...\n");
    begin_work(*this);
    int number = 0; // of the body, over inputs and outputs

    for (size_t i = 0; i < m_vDiSid.size();)
    {
        if (try_input(*this, i, number))
        {
            ++i;
        }
    }

    int iqry = -1;
    try
    {
        post_outputs(*this, number, iqry);
    }
    catch (...) // bodies not yet posted are dropped; the next sweep makes new ones
    {
        VKLOG_TRACE("[CAppPost::PostDio] Post DO exception\n");
    }
    free_quietly(*pDb, iqry);
    end_work(*this);
}
