// The manager: makes the database objects and keeps them.
//
// Owns every object that it made; they go with it. OpenDb may be called from any thread; nothing
// may be in use any more when the manager goes.
#pragma once

#include "db/DbInterface.h"
#include "vkdb/Database.h"

#include <memory>
#include <mutex>
#include <vector>

namespace vkdb
{

// How long an operation waits for a lock of another process: longer than any sound transaction of
// a poller takes, short enough that the caller's sign of life does not stop.
constexpr int kBusyWaitMs = 3000;

class CManager final : public DbManager
{
public:
    explicit CManager(int busy_ms = kBusyWaitMs) : m_nBusyMs(busy_ms) {}
    ~CManager() = default;

    // Null when there is no such file. The file is not read yet, and need not be one that can be
    // opened just now: what fails for a while must not cost the caller his database for good.
    DbDatabase* OpenDb(const char* path, int flags) override;

private:
    DbDatabase* Make(const char* path);

    const int m_nBusyMs;
    std::mutex m_mutex; // guards m_vDatabase
    std::vector<std::unique_ptr<CDatabase>> m_vDatabase;
};

} // namespace vkdb
