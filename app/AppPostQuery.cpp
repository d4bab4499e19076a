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

void free_quietly(DbDatabase& db, int& iqry)
{
    if (iqry < 0)
    {
        return;
    }
    try
    {
        db.QryFree(iqry);
    }
    catch (...) // the failure that led here has been logged; this one says nothing new
    {
    }
    iqry = -1;
}

int query_with_retry(CAppPost& app, const std::string& sql)
{
    int iqry = app.pDb->QryExec(sql.c_str(), -1);
    for (int retry = 0; iqry < 0 && retry < kQueryRetries; ++retry)
    {
        app.SendMsgToTray(0, 1);
        pause_ms(kQueryRetryPauseMs);
        iqry = app.pDb->QryExec(sql.c_str(), -1);
        VKLOG_TRACE("   iqryX=%d iSmTry=%d\n", iqry, retry);
    }
    return iqry;
}
