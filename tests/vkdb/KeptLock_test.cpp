// A lock that SQLite takes on its way to another one and cannot release: it knows of none, and
// keeps the host's writer out for as long as the file is open.
#include "tests/vkdb/ChildProcess.h"
#include "tests/vkdb/DatabaseTest.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

namespace
{

using SystemCall = int (*)(int, int, ...);

SystemCall g_fcntl = nullptr; // SQLite's own
int g_nBadReleases = 0;

// Fails to release a single byte, so often as it is ordered.
int failing_fcntl(int nFd, int nCommand, ...)
{
    va_list args;
    va_start(args, nCommand);
    auto* const pLock = va_arg(args, struct flock*);
    va_end(args);
    if (nCommand == F_SETLK && g_nBadReleases > 0 && pLock->l_type == F_UNLCK && pLock->l_len == 1)
    {
        --g_nBadReleases;
        errno = EIO;
        return -1;
    }
    return g_fcntl(nFd, nCommand, pLock);
}

class KeptLockTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        sqlite3_vfs* const pVfs = sqlite3_vfs_find(nullptr);
        g_fcntl = reinterpret_cast<SystemCall>(pVfs->xGetSystemCall(pVfs, "fcntl"));
        pVfs->xSetSystemCall(pVfs, "fcntl", reinterpret_cast<sqlite3_syscall_ptr>(failing_fcntl));
    }
    void TearDown() override
    {
        sqlite3_vfs* const pVfs = sqlite3_vfs_find(nullptr);
        pVfs->xSetSystemCall(pVfs, "fcntl", nullptr);
    }

    // Whether another process finds the file locked, in whatever way.
    bool IsLocked() const
    {
        const auto look = [this]
        {
            struct flock lock = {};
            lock.l_type = F_WRLCK;
            const int nFd = ::open(file.Path().c_str(), O_RDWR | O_CLOEXEC);
            return nFd >= 0 && ::fcntl(nFd, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK ? 0 : 1;
        };
        return run_in_child(look) != 0;
    }
};

// The next unit of work may be hours away, and would never come: the host could write no alarm.
TEST_F(KeptLockTest, IsGoneWithTheUnitThatChanges)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    g_nBadReleases = 1;
    EXPECT_EQ(thrown_by([&] { Db().Exec("update tbSM set Name='x'"); }), "10 disk I/O error");
    ASSERT_TRUE(IsLocked());
    Db().Close();
    EXPECT_FALSE(IsLocked());
}

TEST_F(KeptLockTest, IsGoneWithTheUnitThatReads)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    g_nBadReleases = 1;
    thrown_by([&] { read_rows(Db(), "select Name from tbSM"); });
    EXPECT_EQ(g_nBadReleases, 0);
    Db().Close();
    EXPECT_FALSE(IsLocked());
}

} // namespace
