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

void post_row(CAppPost& app, const GeneralTable& table, CRows& rows, int row, ColumnRange columns)
{
    CBodyWriter body(app.m_szPostBuf, CAppPost::kPostBufBytes);
    body.Head(app.m_strFmt0, {app.m_strDept.c_str(), table.sid, table.type, 0, table.name.c_str(),
                              0, table.stamp.c_str(), app.GetState(0), BodyKind::kGeneral, &rows});
    append_columns(app, body, rows, table.type, columns.first, columns.end);
    body.LogLeftOut("sid", table.sid);

    app.m_iPostRow = row;
    app.DoPost(nullptr, nullptr);
    rows.Next();
    app.SendMsgToTray(0, 1);
}

void post_rows(CAppPost& app, GeneralTable& table, const std::string& name, CRows& rows,
               int& columns)
{
    if (rows.End())
    {
        return;
    }
    columns = rows.Columns();
    table.type = setting_number(app.m_ini, SettingId::kGeneralType, name);
    table.name = setting_text(app.m_ini, SettingId::kGeneralName, name);
    const ColumnRange posted = general_columns(app.m_ini, name, columns);
    for (int row = 0; !rows.End(); ++row)
    {
        post_row(app, table, rows, row, posted);
    }
}

// False when the table's query could not be started. columns keeps the column count of the last
// table that was read.
bool try_table(CAppPost& app, GeneralTable& table, const std::string& name, int& columns)
{
    CRows rows(*app.pDb);
    try
    {
        app.pDb->Open(nullptr, -2); // inside the guard: what it throws ends the table, silently
        if (!open_with_retry(app, rows, general_query(name)))
        {
            VKLOG_TRACE("   iqryX=%d iflds=%d\n", rows.Index(), columns);
            return false;
        }
        post_rows(app, table, name, rows, columns);
        rows.Free();
    }
    catch (...) // without a message, on purpose: the table's remaining rows come next time
    {
    }
    return true;
}

bool post_table(CAppPost& app, GeneralTable table, const std::string& name, int& columns)
{
    const bool started = try_table(app, table, name, columns);
    if (started)
    {
        end_work(app);
    }
    return started;
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
