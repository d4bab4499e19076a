// Columns as pairs of a body: the value tables of POST.xFld, and the heads that rows give.
#include "app/AppPostFields.h"

#include <algorithm>

#include "app/AppRules.h"
#include "app/AppText.h"

void CAppPost::GetQryFld(int iqry, int iFld, int iType, std::string& sName, std::string& sVal)
{
    sName = text_or_empty(pDb->QryFldName(iqry, iFld));
    sVal.clear();
    const std::string key = field_key(iType, sName);
    const int kind = field_kind(m_ini, key);
    if (is_text_kind(kind))
    {
        sVal = field_text(m_ini, key, kind, pDb->QryGetIntAt(iqry, iFld));
    }
    else
    {
        sVal = text_or_empty(pDb->QryGetStrAt(iqry, iFld));
    }
}

CHead row_head(CAppPost& app, const CRows& rows, BodyKind kind, const char* now)
{
    const BodyKindRow& row = body_kind(kind);
    const auto number = [&](HeadValue value)
    {
        return rows.Int(row.Column(value));
    };
    const char* const time = row.Column(HeadValue::kTime);
    return {app.m_strDept.c_str(),
            number(HeadValue::kSid),
            number(HeadValue::kType),
            number(HeadValue::kTag),
            rows.Str(row.Column(HeadValue::kName)),
            number(HeadValue::kSubSystem),
            time != nullptr ? rows.Str(time) : now,
            app.GetState(number(HeadValue::kState)),
            kind,
            &rows};
}

void append_columns(CAppPost& app, CBodyWriter& body, const CRows& rows, int type, int first,
                    int end)
{
    std::string name;
    std::string value;
    for (int column = std::max(first, 0); column < end; ++column)
    {
        app.GetQryFld(rows.Index(), column, type, name, value);
        body.Pair(name, value, {PartOrigin::kRendered, &rows, nullptr, column, type});
    }
}
