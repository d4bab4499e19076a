// Queries on the data database with the retries that all posting routines share.
#include "app/AppPostQuery.h"

#include "app/AppPause.h"
#include "vkPub/vkLog.h"

void begin_work(CAppPost& app)
{
    try
    {
        app.pDb->Open(nullptr, -2); // its result says nothing that the queries would not
    }
    catch (const CppSQLite3Exception& e)
    {
        VKLOG_TRACE("   database not opened: %d %s\n", e.errorCode(), e.errorMessage());
    }
    catch (...)
    {
        VKLOG_TRACE("   database not opened\n");
    }
}

void end_work(CAppPost& app)
{
    try
    {
        app.pDb->Close();
    }
    catch (...)
    {
        VKLOG_TRACE("   database not closed\n");
    }
}

bool open_with_retry(CAppPost& app, CRows& rows, const std::string& sql)
{
    bool started = rows.Open(sql);
    for (int retry = 0; !started && retry < kQueryRetries; ++retry)
    {
        app.SendMsgToTray(0, 1);
        pause_ms(kQueryRetryPauseMs);
        started = rows.Open(sql);
        VKLOG_TRACE("   iqryX=%d iSmTry=%d\n", rows.Index(), retry);
    }
    return started;
}
