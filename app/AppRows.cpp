#include "app/AppRows.h"

#include "app/AppText.h"

CRows::~CRows()
{
    if (m_atEnd == AtEnd::kFreed)
    {
        FreeQuietly();
    }
}

bool CRows::Open(const std::string& sql)
{
    m_iqry = m_db.QryExec(sql.c_str(), -1);
    return IsOpen();
}

const char* CRows::Str(const char* column) const
{
    return text_or_empty(m_db.QryGetStr(m_iqry, column));
}

void CRows::Free()
{
    m_db.QryFree(m_iqry);
    m_iqry = -1;
}

void CRows::FreeQuietly()
{
    if (!IsOpen())
    {
        return;
    }
    try
    {
        m_db.QryFree(m_iqry);
    }
    catch (...)
    {
    }
    m_iqry = -1;
}
