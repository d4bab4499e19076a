// Database objects by path.
#include "vkdb/Manager.h"

#include <new>

namespace vkdb
{

DbDatabase* CManager::OpenDb(const char* path, int /*flags*/)
{
    if (path == nullptr)
    {
        return nullptr;
    }
    try
    {
        auto db = std::make_unique<CDatabase>(path, m_nBusyMs);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_vDatabase.push_back(std::move(db));
        return m_vDatabase.back().get();
    }
    catch (const CSqliteFailure&)
    {
        return nullptr;
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

} // namespace vkdb
