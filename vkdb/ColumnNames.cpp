// Column names resolved once per query.
#include "vkdb/ColumnNames.h"

namespace vkdb
{

namespace
{

// FNV-1a over the name in lower case, so that names that differ only in case meet in one chain.
std::size_t fold_hash(const char* szName)
{
    std::uint32_t h = 2166136261U;
    for (; *szName != '\0'; ++szName)
    {
        const bool bUpper = *szName >= 'A' && *szName <= 'Z';
        const auto c = static_cast<unsigned char>(*szName);
        h = (h ^ (bUpper ? c + 32U : c)) * 16777619U;
    }
    return h;
}

} // namespace

bool CColumnNames::Load(sqlite3_stmt* pStmt)
{
    Clear();
    bool bWhole = true;
    const int nCount = sqlite3_column_count(pStmt);
    for (int i = 0; i < nCount; ++i)
    {
        const char* szName = sqlite3_column_name(pStmt, i);
        m_vStart.push_back(m_strNames.size());
        m_strNames.append(szName != nullptr ? szName : "").push_back('\0');
        bWhole = bWhole && szName != nullptr;
    }
    BuildIndex();
    return bWhole;
}

void CColumnNames::Clear()
{
    m_strNames.clear();
    m_vStart.clear();
    m_vHash.clear();
}

bool CColumnNames::AreThoseOf(sqlite3_stmt* pStmt) const
{
    CColumnNames other;
    other.Load(pStmt);
    return other.m_strNames == m_strNames;
}

const char* CColumnNames::Name(int iColumn) const
{
    return iColumn >= 0 && iColumn < Count()
               ? &m_strNames[m_vStart[static_cast<std::size_t>(iColumn)]]
               : "";
}

int CColumnNames::Find(const char* szName)
{
    if (m_vHash.empty())
    {
        BuildIndex();
    }
    const std::size_t nMask = m_vHash.size() - 1;
    for (std::size_t i = fold_hash(szName) & nMask; m_vHash[i] != 0; i = (i + 1) & nMask)
    {
        const int iColumn = m_vHash[i] - 1;
        if (sqlite3_stricmp(Name(iColumn), szName) == 0)
        {
            return iColumn;
        }
    }
    return -1;
}

// At most half full: a chain always ends at a free place. Entering the columns in order makes the
// first of several names that differ in case only the first of its chain.
void CColumnNames::BuildIndex()
{
    std::size_t nSize = 8;
    while (nSize < 2 * m_vStart.size())
    {
        nSize *= 2;
    }
    m_vHash.assign(nSize, 0);
    for (int iColumn = 0; iColumn < Count(); ++iColumn)
    {
        std::size_t i = fold_hash(Name(iColumn)) & (nSize - 1);
        while (m_vHash[i] != 0)
        {
            i = (i + 1) & (nSize - 1);
        }
        m_vHash[i] = static_cast<std::uint16_t>(iColumn + 1);
    }
}

} // namespace vkdb
