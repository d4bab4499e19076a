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

void compose_input(CAppPost& app, const CRows& rows)
{
    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    const CHead head = row_head(app, rows, BodyKind::kInput);
    body.Head(app.m_strFmt0, head);
    body.Group(format_text("&psid=%d", rows.Int("SIDD")), {PartOrigin::kNumber, &rows, "SIDD"});
    body.Group(format_text("&pfld=%d", rows.Int("Fld")), {PartOrigin::kNumber, &rows, "Fld"});
    body.LogLeftOut("sid", head.sid);
}

void post_input(CAppPost& app, size_t i, int& number, CRows& rows)
{
    const int sid = app.m_vDiSid[i];
    if (!open_with_retry(app, rows, input_query(sid)))
    {
        VKLOG_TRACE("   iqryX=%d iSID=%d\n", rows.Index(), sid);
        return;
    }
    const bool due = !rows.End() && rows.Int("State") >= 0;
    if (!due)
    {
        rows.Free();
        app.SendMsgToTray(0, 1);
        return;
    }

    compose_input(app, rows);
    app.m_iPostRow = number++;
    app.SendMsgToTray(0, 1);
    rows.Free();
    app.DoPost(nullptr, nullptr);
    app.m_vDiTry[i] = 0;
}

// Posts input i; false when it threw and is to be tried once more.
bool try_input(CAppPost& app, size_t i, int& number)
{
    CRows rows(*app.pDb);
    try
    {
        post_input(app, i, number, rows);
        return true;
    }
    catch (...)
    {
        int& failures = app.m_vDiTry[i];
        ++failures;
        VKLOG_TRACE("[CAppPost::PostDio] Post DI exception, SID=%d, TryCnt=%d\n", app.m_vDiSid[i],
                    failures);
        rows.FreeQuietly(); // before the pause
        if (failures < kExceptionTries)
        {
            pause_ms(kExceptionRetryPauseMs);
            return false;
        }
        failures = 0;
        return true;
    }
}

void compose_output(CAppPost& app, const CRows& rows, int output, int64_t column)
{
    const std::string name = output_name(output);
    const std::string of_value = output_column(column);
    const int value = rows.Int(of_value.c_str());

    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    const BodyKindRow& row = body_kind(BodyKind::kOutput);
    const int sid = rows.Int(row.Column(HeadValue::kSid));
    const int type = rows.Int(row.Column(HeadValue::kType));
    const char* const updated = rows.Str(row.Column(HeadValue::kTime));
    body.Head(app.m_strFmt0, {app.m_strDept.c_str(), sid, type, output, name.c_str(), 0, updated,
                              app.GetState(value), BodyKind::kOutput, &rows});
    body.Group(format_text("&DoState=%d", value), {PartOrigin::kNumber, &rows, of_value.c_str()});
    body.LogLeftOut("sid", sid);
}

// Builds all bodies before the first is posted, so that the query is closed by then. False when
// the query could not be started.
bool compose_outputs(CAppPost& app, int& number, CRows& rows, std::vector<std::string>& bodies)
{
    const int count = setting_number(app.m_ini, SettingId::kDoCount);
    const int start = setting_number(app.m_ini, SettingId::kDoStart);
    if (!open_with_retry(app, rows, outputs_query()))
    {
        VKLOG_TRACE("   Post DO Query error. iqryX=%d\n", rows.Index());
        return false;
    }
    const bool has_row = !rows.End();
    for (int i = 0; has_row && i < count; ++i)
    {
        compose_output(app, rows, i, int64_t{start} + i);
        app.m_iPostRow = number++;
        bodies.emplace_back(app.m_szPostBuf);
        app.SendMsgToTray(0, 1);
    }
    rows.Free();
    return true;
}

void post_outputs(CAppPost& app, int& number, CRows& rows)
{
    std::vector<std::string> bodies;
    if (!compose_outputs(app, number, rows, bodies))
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

void try_outputs(CAppPost& app, int& number)
{
    CRows rows(*app.pDb);
    try
    {
        post_outputs(app, number, rows);
    }
    catch (...) // bodies not yet posted are dropped; the next sweep makes new ones
    {
        VKLOG_TRACE("[CAppPost::PostDio] Post DO exception\n");
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

    try_outputs(*this, number);
    end_work(*this);
}
