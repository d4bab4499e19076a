// Databases with a write-ahead log beside the daemon at work: it marks its alarms in the log and
// leaves it to the host's writer to copy that into the database.
#include "tests/daemon/support/DaemonTest.h"

#include <csignal>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>

#include "tests/daemon/support/SystemCalls.h"

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::Not;

namespace
{

// More than the thousand pages of log behind which SQLite would copy it by itself.
constexpr char kLongLog[] = "pragma journal_mode=wal; pragma wal_autocheckpoint=0;"
                            "create table tbSMx(v); insert into tbSMx values(zeroblob(5000000))";

struct CloseDb
{
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
using HostProcess = std::unique_ptr<sqlite3, CloseDb>; // has a database open, as a poller does

HostProcess with_a_long_log(const std::string& path)
{
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open(path.c_str(), &raw);
    HostProcess process(raw);
    if (rc != SQLITE_OK || sqlite3_exec(raw, kLongLog, nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        throw std::runtime_error(path + ": no write-ahead log");
    }
    return process;
}

class WriteAheadLog : public DaemonTest
{
protected:
    // The mark can be seen before its call has returned: a checkpoint would come behind it.
    void ExpectAlarmMarked()
    {
        daemon.Signal(SIGRTMIN + 1);
        EXPECT_TRUE(wait_until([] { return count_logged("CAppPost::OnAlmIns end\r\n") > 0; }));
        EXPECT_EQ(host.AlarmValue("select AFld from tbSMAlarm"), "1");
    }

    // What strace has written down when the daemon is gone.
    std::string Record() const
    {
        const std::string record = host.File("strace");
        EXPECT_TRUE(wait_until(
            [&] { return read_file(record).find("+++ killed by SIGTERM") != std::string::npos; }));
        return read_file(record);
    }
};

} // namespace

TEST_F(WriteAheadLog, DaemonNeverCopiesItIntoTheDatabase)
{
    host.SimpleRoom();
    host.Alarm(1, 7, "door");
    const HostProcess data = with_a_long_log(host.File("tmp/dbDat0.db3"));
    const HostProcess alarms = with_a_long_log(host.File("tmp/dbData.db3"));
    host.Post("maxURLs", "2");
    host.Post("AlmUrl", receiver.Url("/alarm"));
    daemon.Trace(host.File("strace"));
    Start();
    EXPECT_NE(receiver.Body(1), ""); // of the host, the last of a sweep
    ExpectAlarmMarked();
    daemon.Signal(SIGTERM);
    ExpectExit(1000 + SIGTERM);

    const std::set<std::string> written = written_files(Record());
    EXPECT_THAT(written, Contains(EndsWith("/tmp/dbData.db3-wal")));
    EXPECT_THAT(written, Not(Contains(EndsWith(".db3"))));
}
