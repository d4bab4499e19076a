// Discovery: which tables hold devices, which are general ones, which device lives in which table
// under which name, which digital inputs and cameras there are. Reads only. Each phase has its
// own tries and gives up on its own; the tray tick before each try shows that a waiting daemon is
// alive.
#include "app/AppPostTables.h"

#include "app/AppPause.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "vkPub/vkLog.h"

namespace
{

enum class Try
{
    kDone,
    kFailed,  // to be tried again after the long pause
    kNoQuery, // the query could not be started: to be tried again after the short pause
};

// --- Tables and names ----------------------------------------------------------------------------

void sort_table(CAppPost& app, const std::string& table)
{
    switch (discovery_role(app.m_ini, table))
    {
    case DiscoveryRole::kDetail:
        VKLOG_TRACE("   %s...is detail\n", table.c_str());
        break;
    case DiscoveryRole::kGeneral:
        app.m_vGenTbls.push_back(table);
        break;
    case DiscoveryRole::kDevice:
        app.m_vTbls.push_back(table);
        break;
    case DiscoveryRole::kHidden: // the query has left them out
        break;
    }
}

// False when the query could not be started: nothing is known of the names then.
bool read_names(CAppPost& app, CRows& rows)
{
    const bool started = rows.Open(names_query()); // not tested below: no query is an empty one
    for (; !rows.End(); rows.Next())
    {
        const std::string name = rows.Str("Name");
        const int sid = rows.Int("SID");
        app.m_mapSmName[sid] = name;
        VKLOG_TRACE("   sid,name=%d,%s\n", sid, name.c_str());
    }
    rows.Free();
    return started;
}

Try read_tables_and_names(CAppPost& app, int try_number, CRows& rows, bool& has_names)
{
    if (!rows.Open(tables_query()))
    {
        VKLOG_TRACE("[CAppPost::GetTbls] Read Tables: qryExec Error! iqry=%d, Try Count: %d\n",
                    rows.Index(), try_number);
        return Try::kNoQuery;
    }
    for (; !rows.End(); rows.Next())
    {
        sort_table(app, rows.Str("name"));
    }
    rows.Free();

    has_names = read_names(app, rows);
    return Try::kDone;
}

// The query of one that threw is freed at the end, behind the line about it.
Try try_tables_and_names(CAppPost& app, int try_number, bool& has_names)
{
    CRows rows(*app.pDb);
    try
    {
        return read_tables_and_names(app, try_number, rows, has_names);
    }
    catch (const CppSQLite3Exception& e)
    {
        VKLOG_TRACE("[CAppPost::GetTbls] read tables exception: %d %s\r\n", e.errorCode(),
                    e.errorMessage());
    }
    catch (...) // what was read so far decides
    {
    }
    return Try::kFailed;
}

// Alarms do not wait for the phase, which may take minutes, and none goes out a second time. So
// they get what each try has read. But what a failed try has read of the names takes the place of
// others only if it is all of them.
void publish_names_of_try(CAppPost& app, bool has_all)
{
    const auto published = std::atomic_load(&app.m_pAlmNames);
    const bool has_none = published == nullptr || published->empty();
    if (!app.m_mapSmName.empty() && (has_all || has_none))
    {
        publish_names(app);
    }
}

// has_names: whether all names were read, be there any or none.
Try try_tables(CAppPost& app, int try_number, bool& has_names)
{
    has_names = false;
    app.m_vTbls.clear();
    app.m_vGenTbls.clear();
    app.m_mapSmName.clear();
    app.SendMsgToTray(0, 1);

    if (try_tables_and_names(app, try_number, has_names) == Try::kNoQuery)
    {
        return Try::kNoQuery;
    }
    const bool done = !app.m_vTbls.empty() && !app.m_mapSmName.empty();
    publish_names_of_try(app, done || has_names);
    if (done)
    {
        return Try::kDone;
    }
    VKLOG_TRACE("Read Tables Error! Try Count: %d\n", try_number);
    return Try::kFailed;
}

// --- Rows of one SID list ------------------------------------------------------------------------

// What differs between the phases that read a list of SIDs row by row.
struct SidReader
{
    std::string sql;
    const char* what; // named in the line about a query that could not be started
    bool says_failed; // whether a try that threw is logged as failed
    void (*on_row)(CAppPost& app, const CRows& rows, const std::string& table);
    std::string table; // for on_row, where there is one
};

void log_no_query(const char* what, int iqry, int try_number)
{
    VKLOG_TRACE("[CAppPost::GetTbls] Read %s: qryExec Error! iqry=%d, Try Count: %d\n", what, iqry,
                try_number);
}

Try try_sids(CAppPost& app, const SidReader& reader, int try_number)
{
    app.SendMsgToTray(0, 1);
    CRows rows(*app.pDb);
    try
    {
        if (!rows.Open(reader.sql))
        {
            log_no_query(reader.what, rows.Index(), try_number);
            return Try::kNoQuery;
        }
        for (; !rows.End(); rows.Next())
        {
            reader.on_row(app, rows, reader.table);
        }
        rows.Free();
        return Try::kDone;
    }
    catch (const CppSQLite3Exception& e)
    {
        VKLOG_TRACE("[CAppPost::GetTbls] read sid exception: %d %s\r\n", e.errorCode(),
                    e.errorMessage());
    }
    catch (...) // the try has failed, whoever threw
    {
    }
    if (reader.says_failed)
    {
        VKLOG_TRACE("Read Tables Error! Try Count: %d\n", try_number);
    }
    return Try::kFailed;
}

void add_device(CAppPost& app, const CRows& rows, const std::string& table)
{
    const int sid = rows.Int("SID");
    // The look-up gives a SID that tbSM does not know an empty name.
    VKLOG_TRACE("   table: sid,name,table=%d,%s,%s\n", sid, app.m_mapSmName[sid].c_str(),
                table.c_str());
    app.m_mapSidTbl[sid] = table; // a SID found in two tables stays with the later one
    app.m_mapSidTry[sid] = 0;
}

void add_input(CAppPost& app, const CRows& rows, const std::string&)
{
    const int sid = rows.Int("SID");
    VKLOG_TRACE("   DI: sid,name=%d,%s\n", sid, rows.Str("Name"));
    app.m_vDiSid.push_back(sid);
    app.m_vDiTry.push_back(0);
}

void add_camera(CAppPost& app, const CRows& rows, const std::string&)
{
    const int sid = rows.Int("SID");
    VKLOG_TRACE("   Cam: sid,name=%d,%s\n", sid, rows.Str("Name"));
    app.m_vCamSid.push_back(sid);
    app.m_vCamTry.push_back(0);
}

// --- Phases --------------------------------------------------------------------------------------

// Up to kDiscoveryTries tries with their pauses. attempt(n) makes try n, counted from 1.
template <typename Attempt> void with_tries(CAppPost& app, Attempt attempt)
{
    for (int try_number = 1; try_number <= kDiscoveryTries; ++try_number)
    {
        const Try result = attempt(try_number);
        if (result == Try::kDone)
        {
            return;
        }
        if (result == Try::kNoQuery)
        {
            pause_ms(kDiscoveryNoQueryPauseMs);
            continue;
        }
        app.SendMsgToTray(0, 1);
        pause_ms(kDiscoveryFailedPauseMs);
    }
}

void discover_tables(CAppPost& app)
{
    bool has_names = false;
    with_tries(app, [&](int try_number) { return try_tables(app, try_number, has_names); });
    if (has_names && app.m_mapSmName.empty())
    {
        publish_names(app); // in all tries there were none: the last discovery's are no longer true
    }
    VKLOG_TRACE("[CAppPost::GetTbls] table size: %d\n", static_cast<int>(app.m_vTbls.size()));
}

void discover_devices(CAppPost& app)
{
    VKLOG_TRACE("[CAppPost::GetTbls] Read SID with table name\n");
    if (app.m_vTbls.empty())
    {
        return; // the devices of the last discovery stay
    }
    app.m_mapSidTbl.clear();
    app.m_mapSidTry.clear();
    for (const std::string& table : app.m_vTbls)
    {
        const SidReader reader{sids_query(table), "SID", true, add_device, table};
        with_tries(app, [&](int try_number) { return try_sids(app, reader, try_number); });
    }
}

void discover_inputs(CAppPost& app)
{
    VKLOG_TRACE("[CAppPost::GetTbls] Read DI\n");
    const SidReader reader{inputs_query(), "DI", true, add_input, ""};
    with_tries(app,
               [&](int try_number)
               {
                   app.m_vDiSid.clear();
                   app.m_vDiTry.clear();
                   return try_sids(app, reader, try_number);
               });
}

void discover_cameras(CAppPost& app)
{
    VKLOG_TRACE("[CAppPost::GetTbls] Read Camera\n");
    // The text names DI, and a try that threw is not logged as failed, both on purpose: these are
    // the lines that log readers know.
    const SidReader reader{cameras_query(), "DI", false, add_camera, ""};
    with_tries(app,
               [&](int try_number)
               {
                   app.m_vCamSid.clear();
                   app.m_vCamTry.clear();
                   return try_sids(app, reader, try_number);
               });
}

} // namespace

void publish_names(CAppPost& app)
{
    auto names = std::make_shared<const std::map<int, std::string>>(app.m_mapSmName);
    std::atomic_store(&app.m_pAlmNames, std::move(names));
}

void CAppPost::GetTbls()
{
    VKLOG_TRACE("[CAppPost::GetTbls] Read Tables\n");
    begin_work(*this);

    discover_tables(*this);
    discover_devices(*this);
    discover_inputs(*this);
    discover_cameras(*this);

    end_work(*this);
}
