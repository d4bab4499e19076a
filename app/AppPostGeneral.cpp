// General tables: one body for each row, under a made-up SID and the time of the call.
#include "app/AppClock.h"
#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPostDevice.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"
#include "app/AppRules.h"

#include "vkPub/vkLog.h"

namespace
{

// What the bodies of one table have in common.
struct GeneralTable
{
    int sid;
    int type;
    std::string name;
    std::string stamp;
};

void post_row(CAppPost& app, const GeneralTable& table, int iqry, int row, ColumnRange columns)
{
    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    body.Head(app.m_strFmt0, {app.m_strDept.c_str(), table.sid, table.type, 0, table.name.c_str(),
                              0, table.stamp.c_str(), app.GetState(0)});
    append_columns(app, body, iqry, table.type, columns.first, columns.end);
    body.LogLeftOut("sid", table.sid);

    app.m_iPostRow = row;
    app.DoPost(nullptr, nullptr);
    app.pDb->QryNext(iqry);
    app.SendMsgToTray(0, 1);
}

void post_rows(CAppPost& app, GeneralTable& table, const std::string& name, int iqry, int& columns)
{
    if (app.pDb->QryEof(iqry))
    {
        return;
    }
    columns = app.pDb->QryFldCount(iqry);
    table.type = setting_number(app.m_ini, SettingId::kGeneralType, name);
    table.name = setting_text(app.m_ini, SettingId::kGeneralName, name);
    const ColumnRange posted = general_columns(app.m_ini, name, columns);
    for (int row = 0; !app.pDb->QryEof(iqry); ++row)
    {
        post_row(app, table, iqry, row, posted);
    }
}

// False when the table's query could not be started. columns keeps the column count of the last
// table that was read.
bool post_table(CAppPost& app, GeneralTable table, const std::string& name, int& columns)
{
    int iqry = -1;
    try
    {
        app.pDb->Open(nullptr, -2); // inside the guard: what it throws ends the table, silently
        iqry = query_with_retry(app, general_query(name));
        if (iqry < 0)
        {
            VKLOG_TRACE("   iqryX=%d iflds=%d\n", iqry, columns);
            return false;
        }
        post_rows(app, table, name, iqry, columns);
        app.pDb->QryFree(iqry);
        iqry = -1;
    }
    catch (...) // without a message, on purpose: the table's remaining rows come next time
    {
    }
    free_quietly(*app.pDb, iqry);
    end_work(app);
    return true;
}

} // namespace

void CAppPost::PostGeneral()
{
    VKLOG_TRACE("PostGeneral...\n");
    const std::string stamp = local_time_stamp();
    int columns = 0;
    for (size_t i = 0; i < m_vGenTbls.size(); ++i)
    {
        const std::string& name = m_vGenTbls[i];
        VKLOG_TRACE("   %s...\n", name.c_str());
        const GeneralTable table{general_sid(i), 0, "", stamp};
        if (!post_table(*this, table, name, columns))
        {
            continue; // on purpose without Close, pause and service
        }
        pause_ms(kPassPauseMs);
        serve_requests(*this, "PostGeneral", kLinePostGeneralServe);
    }
}
