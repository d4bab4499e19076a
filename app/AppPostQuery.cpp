// Queries on the data database with the retries that all posting routines share.
#include "app/AppInternal.h"

#include <cstdarg>
#include <cstdio>

#include "vkPub/vkLog.h"

std::string format_text(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char small[256];
    const int length = std::vsnprintf(small, sizeof(small), format, args);
    va_end(args);

    std::string text;
    if (length >= 0 && static_cast<size_t>(length) < sizeof(small))
    {
        text.assign(small, static_cast<size_t>(length));
    }
    else if (length > 0)
    {
        text.resize(static_cast<size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

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
