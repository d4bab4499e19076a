// Detail and extension rows of a device, appended to a body that its caller has begun and sends.
// Both run inside the caller's unit of work: no Open, no Close.
#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppQueries.h"
#include "app/AppRules.h"
#include "app/AppText.h"

#include <algorithm>

#include "vkPub/vkLog.h"

namespace
{

std::string text_of(const CRows& rows, const char* column)
{
    return column != nullptr ? rows.Str(column) : "";
}

// All numbers of a row are one group, taken or left out as one.
void append_detail_numbers(CBodyWriter& body, const CRows& rows, const DetailMode& mode,
                           const PartSource& source)
{
    const int index = rows.Int(mode.index);
    std::string group;
    for (const DetailPair& pair : mode.pairs)
    {
        if (pair.name != nullptr)
        {
            group += format_text("&%s%d=%d", pair.name, index, rows.Int(pair.column));
        }
    }
    body.Group(group, source);
}

// One row in the layout of its mode.
void append_detail_row(CBodyWriter& body, const CRows& rows, const DetailMode& mode)
{
    const PartSource source{PartOrigin::kDetailRow, &rows, nullptr, mode.mode};
    if (mode.decisive != nullptr && text_of(rows, mode.decisive).empty())
    {
        body_left_out(BodyPart::kPair, source, LeftOut::kEmpty);
        return;
    }
    switch (mode.layout)
    {
    case DetailLayout::kNumbers:
        append_detail_numbers(body, rows, mode, source);
        break;
    case DetailLayout::kFldText:
        body.Field("Fld" + std::to_string(rows.Int(mode.index)),
                   text_of(rows, mode.text) + text_of(rows, mode.unit), source);
        break;
    case DetailLayout::kNamedText:
        body.Field(text_of(rows, mode.index), text_of(rows, mode.text), source);
        break;
    }
}

// Appends all rows of the open query.
void append_detail_rows(CAppPost& app, CBodyWriter& body, CRows& rows, int mode)
{
    const DetailMode* const known = find_detail_mode(mode);
    while (!rows.End())
    {
        if (known != nullptr)
        {
            append_detail_row(body, rows, *known);
        }
        else // its rows are read and add nothing
        {
            body_left_out(BodyPart::kPair, {PartOrigin::kDetailRow, &rows, nullptr, mode},
                          LeftOut::kUnknownMode);
        }
        rows.Next();
        app.SendMsgToTray(0, 1);
    }
}

// One try to append a device's detail rows. True when it succeeded.
bool try_detail(CAppPost& app, CBodyWriter& body, const std::string& table, int sid, int mode,
                int try_number)
{
    app.SendMsgToTray(0, 1);
    CRows rows(*app.pDb);
    try
    {
        if (open_with_retry(app, rows, detail_query(table, sid)))
        {
            append_detail_rows(app, body, rows, mode);
            rows.Free();
            return true;
        }
        // The text ends in a backslash and an n, on purpose: log readers look for it.
        VKLOG_TRACE("   PostDetail...%s Error, TryCnt=%d iqryX=%d iSID=%d\\n", table.c_str(),
                    try_number, rows.Index(), sid);
        pause_ms(kDetailFailedPauseMs);
    }
    catch (...)
    {
        VKLOG_TRACE("   PostDetail...%s  exception, TryCnt=%d\n", table.c_str(), try_number);
        app.SendMsgToTray(0, 1);
        pause_ms(kDetailExceptionPauseMs);
    }
    return false;
}

// Appends the columns of the open query's first row. A type without a row has nothing to say.
void append_extension(CAppPost& app, CBodyWriter& body, const CRows& rows, int type,
                      const std::string& table, int first)
{
    const int columns = rows.Columns();
    const bool has_row = !rows.End();
    for (const ExtensionColumn& one : extension_columns(app.m_ini, type, table, first, columns))
    {
        if (!one.is_posted)
        {
            VKLOG_TRACE("Err,%s %s line=%d,iindextmp=%d\n", kSource, "PostExt", kLinePostExtIndex,
                        static_cast<int>(one.column));
            body_left_out(
                BodyPart::kPair,
                {PartOrigin::kRendered, &rows, nullptr, static_cast<int>(one.column), type},
                LeftOut::kNoColumn);
        }
        else if (has_row)
        {
            const int column = static_cast<int>(one.column);
            append_columns(app, body, rows, type, column, column + 1);
        }
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
    const int mode = setting_number(m_ini, SettingId::kDetailMode, sTbl);
    VKLOG_TRACE("   PostDetail...%s sid=%d mode=%d\n", sTbl.c_str(), iSid, mode);
    if (mode == 0)
    {
        return 0;
    }

    int appended = 0;
    bool done = false;
    for (int try_number = 1; !done && try_number <= kDetailTries; ++try_number)
    {
        CBodyWriter body(pBuf, kPostBufBytes, iPos); // each try begins afresh
        body_details_begun(try_number > 1);
        done = try_detail(*this, body, sTbl, iSid, mode, try_number);
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
    CBodyWriter body(pBuf, kPostBufBytes, iPos);
    CRows rows(*pDb);
    try
    {
        if (!rows.Open(extension_query(sKey, iType)))
        {
            return 0;
        }
        append_extension(*this, body, rows, iType, sKey, iVal);
        rows.Free();
    }
    catch (...)
    {
        VKLOG_TRACE("   PostExt...%s  exception, Type=%d\n", sKey.c_str(), iType);
        rows.FreeQuietly();
    }
    body.LogLeftOut("stype", iType);
    return body.Appended();
}
