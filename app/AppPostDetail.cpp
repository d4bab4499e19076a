// Detail and extension rows of a device, appended to a body that its caller has begun and sends.
// Both run inside the caller's unit of work: no Open, no Close.
#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppText.h"

#include <algorithm>

#include "vkPub/vkLog.h"

namespace
{

constexpr int kDetailTries = 5;
constexpr int kDetailFailedPauseMs = 2000;
constexpr int kDetailExceptionPauseMs = 3000;

// One row in the layout of its mode. What a mode reads and what it prints need not bear the same
// name: mode 101 prints V and T as Vol and Tem, on purpose.
void append_detail_row(CBodyWriter& body, DbDatabase& db, int iqry, int mode)
{
    const auto number = [&](const char* column)
    {
        return db.QryGetInt(iqry, column);
    };
    const auto text = [&](const char* column)
    {
        return text_or_empty(db.QryGetStr(iqry, column));
    };
    switch (mode)
    {
    case 100:
    {
        const int addr = number("Addr");
        body.Group("&State%d=%d&Vol%d=%d&Reg%d=%d&Tem%d=%d", addr, number("State"), addr,
                   number("Vol"), addr, number("Reg"), addr, number("Tem"));
        break;
    }
    case 101:
    {
        const int fld = number("Fld");
        body.Group("&State%d=%d&Vol%d=%d&Tem%d=%d", fld, number("State"), fld, number("V"), fld,
                   number("T"));
        break;
    }
    case 102:
    {
        const int fld = number("Fld");
        body.Group("&Vol%d=%d&Tem%d=%d&bSt%d=%d", fld, number("Vol"), fld, number("Tem"), fld,
                   number("bSt"));
        break;
    }
    case 103:
        body.Group("&Tem%d=%d", number("Fld"), number("dat0"));
        break;
    case 200:
        // The unit stands straight behind the value, on purpose.
        if (*text("ValStr") != '\0')
        {
            body.Field(format_text("Fld%d", number("Fld")),
                       std::string(text("Val")) + text("ValStr"));
        }
        break;
    case 201:
        if (*text("Val") != '\0')
        {
            body.Field(format_text("Fld%d", number("Fld")), text("Val"));
        }
        break;
    case 202:
        if (*text("Val") != '\0')
        {
            body.Field(text("Fld"), text("Val"));
        }
        break;
    default: // a mode that nobody defined: its rows are read and add nothing
        break;
    }
}

// Appends all rows of the open query.
void append_detail_rows(CAppPost& app, CBodyWriter& body, int iqry, int mode)
{
    for (DbDatabase& db = *app.pDb; !db.QryEof(iqry);)
    {
        append_detail_row(body, db, iqry, mode);
        db.QryNext(iqry);
        app.SendMsgToTray(0, 1);
    }
}

// One try to append a device's detail rows. True when it succeeded.
bool try_detail(CAppPost& app, CBodyWriter& body, const std::string& table, int sid, int mode,
                int tryNumber)
{
    app.SendMsgToTray(0, 1);
    int iqry = -1;
    try
    {
        iqry =
            query_with_retry(app, format_text("select * from %s where SID=%d", table.c_str(), sid));
        if (iqry >= 0)
        {
            append_detail_rows(app, body, iqry, mode);
            app.pDb->QryFree(iqry);
            return true;
        }
        // The text ends in a backslash and an n, on purpose: log readers look for it.
        VKLOG_TRACE("   PostDetail...%s Error, TryCnt=%d iqryX=%d iSID=%d\\n", table.c_str(),
                    tryNumber, iqry, sid);
        pause_ms(kDetailFailedPauseMs);
    }
    catch (...)
    {
        VKLOG_TRACE("   PostDetail...%s  exception, TryCnt=%d\n", table.c_str(), tryNumber);
        app.SendMsgToTray(0, 1);
        pause_ms(kDetailExceptionPauseMs);
        free_quietly(*app.pDb, iqry);
    }
    return false;
}

// An extension table's row and the columns of it that are posted.
struct Extension
{
    int iqry;
    int type;
    int64_t fieldCount; // one more than the number of columns that may be posted
    bool hasRow;
};

void append_listed_columns(CAppPost& app, CBodyWriter& body, const Extension& ext,
                           const std::string& table)
{
    const std::string section = format_text("%d.%s", ext.type, table.c_str());
    const auto end = app.m_ini.endKey(section);
    for (auto key = app.m_ini.beginKey(section); key != end; ++key)
    {
        const int64_t index = int64_t{app.m_ini.GetValue<int>(section, *key, 0)} - 1;
        if (index < 0 || index >= ext.fieldCount - 1)
        {
            VKLOG_TRACE("Err,%s %s line=%d,iindextmp=%d\n", kSource, "PostExt", kLinePostExtIndex,
                        static_cast<int>(index));
            continue;
        }
        const int column = static_cast<int>(index);
        if (ext.hasRow)
        {
            append_columns(app, body, ext.iqry, ext.type, column, column + 1);
        }
    }
}

void append_extension(CAppPost& app, CBodyWriter& body, Extension ext, const std::string& table,
                      int first)
{
    const int columns = app.pDb->QryFldCount(ext.iqry);
    ext.fieldCount = std::min<int64_t>(ext.fieldCount, int64_t{columns} + 1);
    ext.hasRow = !app.pDb->QryEof(ext.iqry); // a type without a row has nothing to say
    if (first < 1)
    {
        append_listed_columns(app, body, ext, table);
    }
    else if (ext.hasRow)
    {
        append_columns(app, body, ext.iqry, ext.type, first - 1,
                       static_cast<int>(ext.fieldCount - 1));
    }
}

} // namespace

int CAppPost::PostDetail(int iPos, std::string table, int sid)
{
    return PostDetail(iPos, table, sid, m_szPostBuf);
}

int CAppPost::PostDetail(int iPos, std::string sTbl, int iSid, char* pBuf)
{
    if (pBuf == nullptr)
    {
        VKLOG_TRACE("Err!!!: NULL==PostBuf\n");
        return 0;
    }
    const int mode = m_ini.GetValue<int>("POST.Detail", sTbl, 0);
    VKLOG_TRACE("   PostDetail...%s sid=%d mode=%d\n", sTbl.c_str(), iSid, mode);
    if (mode == 0)
    {
        return 0;
    }

    int appended = 0;
    bool done = false;
    for (int tryNumber = 1; !done && tryNumber <= kDetailTries; ++tryNumber)
    {
        CBodyWriter body(pBuf, kPostBufBytes, iPos); // each try begins afresh
        done = try_detail(*this, body, sTbl, iSid, mode, tryNumber);
        body.LogLeftOut("sid", iSid);
        appended = body.Appended();
    }
    return appended;
}

int CAppPost::PostExt(int iPos, int type, std::string table, int first)
{
    return PostExt(iPos, type, table, first, m_szPostBuf);
}

int CAppPost::PostExt(int iPos, int iType, std::string sKey, int iVal, char* pBuf)
{
    Extension ext{-1, iType, 0, false};
    ext.fieldCount = m_ini.GetValue<int>(format_text("POST.Ext.%d", iType), sKey + ".flds", 0);
    if (ext.fieldCount > 0)
    {
        ext.fieldCount += iVal;
    }

    CBodyWriter body(pBuf, kPostBufBytes, iPos);
    try
    {
        ext.iqry = pDb->QryExec(
            format_text("select * from %s where Type=%d", sKey.c_str(), iType).c_str(), -1);
        if (ext.iqry < 0)
        {
            return 0;
        }
        append_extension(*this, body, ext, sKey, iVal);
        pDb->QryFree(ext.iqry);
    }
    catch (...)
    {
        VKLOG_TRACE("   PostExt...%s  exception, Type=%d\n", sKey.c_str(), iType);
        free_quietly(*pDb, ext.iqry);
    }
    body.LogLeftOut("stype", iType);
    return body.Appended();
}
