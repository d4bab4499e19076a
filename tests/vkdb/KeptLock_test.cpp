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
int g_bad_releases = 0;

// Fails to release a single byte, so often as it is ordered.
int failing_fcntl(int fd, int command, ...)
{
    va_list args;
    va_start(args, command);
    auto* const lock = va_arg(args, struct flock*);
    va_end(args);
    if (command == F_SETLK && g_bad_releases > 0 && lock->l_type == F_UNLCK && lock->l_len == 1)
    {
        --g_bad_releases;
        errno = EIO;
        return -1;
    }
    return g_fcntl(fd, command, lock);
}

class KeptLockTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
        g_fcntl = reinterpret_cast<SystemCall>(vfs->xGetSystemCall(vfs, "fcntl"));
        vfs->xSetSystemCall(vfs, "fcntl", reinterpret_cast<sqlite3_syscall_ptr>(failing_fcntl));
    }
    void TearDown() override
    {
        sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
        vfs->xSetSystemCall(vfs, "fcntl", nullptr);
    }

    // Whether another process finds the file locked, in whatever way.
    bool IsLocked() const
    {
        const auto look = [this]
        {
            struct flock lock = {};
            lock.l_type = F_WRLCK;
            const int fd = ::open(file.Path().c_str(), O_RDWR | O_CLOEXEC);
            return fd >= 0 && ::fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK ? 0 : 1;
        };
        return run_in_child(look) != 0;
    }
};

// The next unit of work may be hours away, and would never come: the host could write no alarm.
TEST_F(KeptLockTest, IsGoneWithTheUnitThatChanges)
{
    ASSERT_TRUE(Db().Open(nullptr, 0));
    g_bad_releases = 1;
    EXPECT_EQ(thrown_by([&] { Db().Exec("update tbSM set Name='x'"); }), "10 disk I/O error");
    ASSERT_TRUE(IsLocked());
    Db().Close();
    EXPECT_FALSE(IsLocked());
}

TEST_F(KeptLockTest, IsGoneWithTheUnitThatReads)
{
    ASSERT_TRUE(Db().Open(nullptr, -2));
    g_bad_releases = 1;
    thrown_by([&] { read_rows(Db(), "select Name from tbSM"); });
    EXPECT_EQ(g_bad_releases, 0);
    Db().Close();
    EXPECT_FALSE(IsLocked());
}

} // namespace
