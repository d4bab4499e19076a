// What vkctl does beside a daemon: queues and pid file of the box that this program runs in.
#include "vkctl/base/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "vkctl/base/CliError.h"
#include "vkctl/PostCommand.h"
#include "vkctl/TrayCommand.h"

using namespace vkctl;
using testing::HasSubstr;

namespace
{

constexpr char kTestPidFile[] = "/run/vkctl_host_test.pid"; // as this program is called

// A process that holds the lock on the pid file until it is ended, as a daemon does.
class CLockHolder
{
public:
    explicit CLockHolder(const char* file = kTestPidFile)
    {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        m_pid = fork();
        if (m_pid == 0)
        {
            const int fd = open(file, O_RDWR | O_CREAT, 0666);
            struct flock lock = {};
            lock.l_type = F_WRLCK;
            const bool locked = fcntl(fd, F_SETLK, &lock) == 0;
            _exit(write(ready[1], "x", 1) == 1 && locked ? pause() : 1);
        }
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
        close(ready[1]);
    }
    ~CLockHolder() { End(); }
    CLockHolder(const CLockHolder&) = delete;
    CLockHolder& operator=(const CLockHolder&) = delete;

    pid_t Pid() const { return m_pid; }

    // The signal that ended it.
    int WaitEnd()
    {
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = 0;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

private:
    void End()
    {
        if (m_pid > 0)
        {
            kill(m_pid, SIGKILL);
            WaitEnd();
        }
    }

    pid_t m_pid = 0;
};

std::string error_of_post()
{
    try
    {
        post_requests({7}, 0);
    }
    catch (const CCliError& error)
    {
        return error.what();
    }
    return {};
}

struct Received
{
    long type;
    long wParam;
    long lParam;
};

} // namespace

TEST(DaemonPid, IsThatOfTheProcessThatHoldsTheLock)
{
    const CLockHolder daemon;
    EXPECT_EQ(daemon_pid(kTestPidFile), daemon.Pid());
}

TEST(DaemonPid, IsNoneForAStaleFileAndForNoFile)
{
    close(open(kTestPidFile, O_RDWR | O_CREAT, 0666));
    EXPECT_EQ(daemon_pid(kTestPidFile), 0);
    EXPECT_EQ(daemon_pid("/run/none.pid"), 0);
}

TEST(SignalAlarm, SendsTheAlarmSignal)
{
    CLockHolder daemon; // without a handler the signal ends it
    signal_alarm(daemon.Pid(), kTestPidFile);
    EXPECT_EQ(daemon.WaitEnd(), SIGRTMIN + 1);
}

TEST(SignalAlarm, SparesWhoeverHoldsTheLockOfAnotherProgram)
{
    CLockHolder stranger("/run/other.pid");
    EXPECT_THROW(signal_alarm(stranger.Pid(), "/run/other.pid"), CCliError);
    EXPECT_EQ(waitpid(stranger.Pid(), nullptr, WNOHANG), 0);
}

TEST(SignalAlarm, SparesAProcessWithoutTheLock)
{
    CLockHolder stranger("/run/other.pid");
    EXPECT_THROW(signal_alarm(stranger.Pid(), kTestPidFile), CCliError);
    EXPECT_EQ(waitpid(stranger.Pid(), nullptr, WNOHANG), 0);
}

TEST(ProgramName, IsThatOfTheFileThatRuns)
{
    EXPECT_EQ(program_name(getpid()), "vkctl_host_test");
    EXPECT_EQ(program_name(0), "");
}

TEST(PostRequests, SaysWhoMakesTheQueueThatIsMissing)
{
    EXPECT_THAT(error_of_post(),
                HasSubstr("there is no message queue 0x9500: No such file or directory; the "
                          "daemon makes it when it starts"));
}

TEST(PostRequests, PutsOneRequestForEachDeviceOnTheQueue)
{
    const int queue = msgget(kRequestQueueKey, IPC_CREAT | 0666);
    post_requests({7, 65535}, 3);
    Received first{};
    Received second{};
    EXPECT_EQ(msgrcv(queue, &first, sizeof(first), 0, IPC_NOWAIT), 16);
    EXPECT_EQ(msgrcv(queue, &second, sizeof(second), 0, IPC_NOWAIT), 16);
    msgctl(queue, IPC_RMID, nullptr);
    EXPECT_EQ(first.type, 38154);
    EXPECT_EQ(first.wParam, 7);
    EXPECT_EQ(first.lParam, 3);
    EXPECT_EQ(second.wParam, 65535);
}

TEST(ReportText, TellsTheCodesThatThereAre)
{
    EXPECT_EQ(report_text(1, 1), "(1,1) the posting cycle starts");
    EXPECT_EQ(report_text(1, 0), "(1,0) start-up failed");
    EXPECT_EQ(report_text(0, 1), "(0,1) alive");
    EXPECT_EQ(report_text(2, 5), "(2,5) unknown");
}
