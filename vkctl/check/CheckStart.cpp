#include "vkctl/check/CheckStart.h"

#include <array>
#include <fstream>

#include "vkctl/base/HostFiles.h"

namespace vkctl
{

namespace
{

constexpr int kSafeVersion = 3051003;
constexpr std::size_t kWriteVersion = 18; // where a database's head says 2 for a write-ahead log

bool has_write_ahead_log(const std::string& path)
{
    std::array<char, kWriteVersion + 1> head{};
    if (!is_readable_file(path))
    {
        return false;
    }
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    return head[kWriteVersion] == 2;
}

// 3051003 as "3.51.3".
std::string version_text(int version)
{
    return std::to_string(version / 1000000) + "." + std::to_string(version / 1000 % 1000) + "." +
           std::to_string(version % 1000);
}

} // namespace

bool has_unsafe_checkpoints(int sqliteVersion)
{
    return sqliteVersion < kSafeVersion;
}

void check_write_ahead_log(const std::string& path, int sqliteVersion, CFindings& findings)
{
    if (has_unsafe_checkpoints(sqliteVersion) && has_write_ahead_log(path))
    {
        findings.Note({path, 0}, FindingId::kDatabaseWalReset,
                      "has a write-ahead log, and SQLite " + version_text(sqliteVersion) +
                          " can damage it when two connections checkpoint at the same instant; the "
                          "daemon never does, so leave it to one process of the host, or install "
                          "SQLite " +
                          version_text(kSafeVersion) + " or later");
    }
}

} // namespace vkctl
