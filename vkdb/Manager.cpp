// Database objects by path.
#include "vkdb/Manager.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>

namespace vkdb
{

namespace
{

bool is_missing(const char* path)
{
    struct stat st = {};
    return ::stat(path, &st) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

} // namespace

DbDatabase* CManager::OpenDb(const char* path, int /*flags*/)
{
    if (path == nullptr || is_missing(path))
    {
        return nullptr;
    }
    for (int attempt = 0; attempt < CDatabase::kTries; ++attempt)
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

DbDatabase* CManager::Make(const char* path)
{
    auto db = std::make_unique<CDatabase>(path, m_nBusyMs);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_vDatabase.push_back(std::move(db));
    return m_vDatabase.back().get();
}

} // namespace vkdb
