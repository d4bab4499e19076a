// Columns as pairs of a body: the value tables of POST.xFld, and the heads that rows give.
#include "app/AppPostFields.h"

#include <algorithm>

#include "app/AppText.h"

namespace
{

constexpr char kFieldSection[] = "POST.xFld";

// One bit of a value has its own label; a bit without one still separates.
std::string bit_labels(const SimpleIni& ini, const std::string& key, int value, int bits)
{
    std::string text;
    for (int bit = 0; bit < bits; ++bit)
    {
        if ((static_cast<unsigned>(value) >> bit & 1U) == 0)
        {
            continue;
        }
        if (!text.empty())
        {
            text += ' ';
        }
        text += ini.GetValue(kFieldSection, key + std::to_string(bit), "");
    }
    return text;
}

bool is_whole_byte(int value)
{
    return value == 0x00 || value == 0x0F || value == 0xF0 || value == 0xFF;
}

} // namespace

void CAppPost::GetQryFld(int iqry, int iFld, int iType, std::string& sName, std::string& sVal)
{
    sName = text_or_empty(pDb->QryFldName(iqry, iFld));
    sVal.clear();
    const std::string key = std::to_string(iType) + "." + sName;
    const int kind = m_ini.GetValue<int>(kFieldSection, key, 0);

    if (kind < 1 || kind > 4)
    {
        sVal = text_or_empty(pDb->QryGetStrAt(iqry, iFld));
        return;
    }
    const int value = pDb->QryGetIntAt(iqry, iFld);
    if (kind == 1)
    {
        const std::string fallback = m_ini.GetValue(kFieldSection, key + "x", "");
        sVal = m_ini.GetValue(kFieldSection, key + std::to_string(value), fallback);
    }
    else if (kind == 2 && is_whole_byte(value))
    {
        // A whole byte's text wins over the labels of its bits, also when there is none.
        sVal = m_ini.GetValue(kFieldSection,
                              key + format_text("%02X", static_cast<unsigned>(value)), "");
    }
    else
    {
        sVal = bit_labels(m_ini, key, value, (kind - 1) * 8);
    }
}

CHead row_head(CAppPost& app, int iqry, const char* dtupd)
{
    DbDatabase& db = *app.pDb;
    return {app.m_strDept.c_str(),
            db.QryGetInt(iqry, "SID"),
            db.QryGetInt(iqry, "Type"),
            db.QryGetInt(iqry, "Tag1"),
            text_or_empty(db.QryGetStr(iqry, "Name")),
            db.QryGetInt(iqry, "ASubSys"),
            dtupd,
            app.GetState(db.QryGetInt(iqry, "State"))};
}

void append_columns(CAppPost& app, CBodyWriter& body, int iqry, int type, int first, int end)
{
    std::string name;
    std::string value;
    for (int column = std::max(first, 0); column < end; ++column)
    {
        app.GetQryFld(iqry, column, type, name, value);
        body.Pair(name, value);
    }
}
