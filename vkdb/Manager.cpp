// Database objects by path.
#include "vkdb/Manager.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>

namespace vkdb
{

namespace
{

bool is_missing(const char* szPath)
{
    struct stat st = {};
    return ::stat(szPath, &st) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

} // namespace

DbDatabase* CManager::OpenDb(const char* path, int /*flags*/)
{
    if (path == nullptr || is_missing(path))
    {
        return nullptr;
    }
    for (int nTry = 0; nTry < CDatabase::kTries; ++nTry)
    {
        try
        {
            return Make(path);
        }
        catch (const std::bad_alloc&) // may be there again
        {
        }
    }
    return nullptr;
}

DbDatabase* CManager::Make(const char* szPath)
{
    auto db = std::make_unique<CDatabase>(szPath, m_nBusyMs);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_vDatabase.push_back(std::move(db));
    return m_vDatabase.back().get();
}

} // namespace vkdb
