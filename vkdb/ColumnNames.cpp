// Column names resolved once per query.
#include "vkdb/ColumnNames.h"

namespace vkdb
{

namespace
{

// FNV-1a over the name in lower case, so that names that differ only in case meet in one chain.
size_t fold_hash(const char* name)
{
    uint32_t h = 2166136261U;
    for (; *name != '\0'; ++name)
    {
        const bool is_upper = *name >= 'A' && *name <= 'Z';
        const auto c = static_cast<unsigned char>(*name);
        h = (h ^ (is_upper ? c + 32U : c)) * 16777619U;
    }
    return h;
}

} // namespace

bool CColumnNames::Load(sqlite3_stmt* stmt)
{
    Clear();
    bool is_whole = true;
    const int count = sqlite3_column_count(stmt);
    for (int i = 0; i < count; ++i)
    {
        const char* name = sqlite3_column_name(stmt, i);
        m_vStart.push_back(m_strNames.size());
        m_strNames.append(name != nullptr ? name : "").push_back('\0');
        is_whole = is_whole && name != nullptr;
    }
    BuildIndex();
    return is_whole;
}

void CColumnNames::Clear()
{
    m_strNames.clear();
    m_vStart.clear();
    m_vHash.clear();
}

bool CColumnNames::AreThoseOf(sqlite3_stmt* stmt) const
{
    CColumnNames other;
    other.Load(stmt);
    return other.m_strNames == m_strNames;
}

const char* CColumnNames::Name(int column) const
{
    return column >= 0 && column < Count() ? &m_strNames[m_vStart[static_cast<size_t>(column)]]
                                           : "";
}

int CColumnNames::Find(const char* name)
{
    if (m_vHash.empty())
    {
        BuildIndex();
    }
    const size_t mask = m_vHash.size() - 1;
    for (size_t i = fold_hash(name) & mask; m_vHash[i] != 0; i = (i + 1) & mask)
    {
        const int column = m_vHash[i] - 1;
        if (sqlite3_stricmp(Name(column), name) == 0)
        {
            return column;
        }
    }
    return -1;
}

// At most half full: a chain always ends at a free place. Entering the columns in order makes the
// first of several names that differ in case only the first of its chain.
void CColumnNames::BuildIndex()
{
    size_t size = 8;
    while (size < 2 * m_vStart.size())
    {
        size *= 2;
    }
    m_vHash.assign(size, 0);
    for (int column = 0; column < Count(); ++column)
    {
        size_t i = fold_hash(Name(column)) & (size - 1);
        while (m_vHash[i] != 0)
        {
            i = (i + 1) & (size - 1);
        }
        m_vHash[i] = static_cast<uint16_t>(column + 1);
    }
}

} // namespace vkdb
