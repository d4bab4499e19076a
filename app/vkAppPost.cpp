// The process entry: puts in order what was inherited, clears the last run's log, takes the
// single-instance lock, installs the signals and hands over to the poster. Composition only.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "app/AlarmSignal.h"
#include "app/AppPost.h"
#include "app/Inherited.h"
#include "app/SingleInstance.h"
#include "vkPub/vkLog.h"

const char* filename = "/NandFlash/tmp/vkapppost.log.ini"; // the log writer's file

static CAppPost m_aApp;

// Nothing may leave a signal handler but by its end.
static void handle_alarms()
try
{
    m_aApp.OnAlmIns();
}
catch (...)
{
    VKLOG_TRACE("_OnAlmIns: exception\r\n");
}

// A new alarm is waiting. The whole alarm routine runs in here, on a thread that is at rest.
static void _OnAlmIns(int sig)
{
    const int interrupted_errno = errno;
    if (!pass_alarm_signal_on(sig))
    {
        VKLOG_TRACE("_OnAlmIns: %d\r\n", sig);
        handle_alarms();
    }
    errno = interrupted_errno;
}

// Also when another instance turns out to run: it makes its log anew with its next line.
static void delete_last_log()
{
    std::array<char, 64> command{};
    std::snprintf(command.data(), command.size(), "rm -rf %s", filename);
    // If that fails, the old lines stay in front of the new ones: no reason not to start.
    [[maybe_unused]] const int ignored = std::system(command.data());
}

static void install_signals()
{
    if (!prepare_alarm_signal(SIGRTMIN + 1))
    {
        VKLOG_TRACE("vkAppPost timer err\r\n");
    }
    if (std::signal(SIGRTMIN + 1, _OnAlmIns) == SIG_ERR)
    {
        VKLOG_TRACE("vkAppPost signal err\r\n"); // the signal stays ignored, the alarms wait
    }
    else
    {
        VKLOG_TRACE("vkAppPost signal %d\r\n", SIGRTMIN + 1);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

int main()
try
{
    // From here until its handler stands: whoever reads the pid may send it at once.
    std::signal(SIGRTMIN + 1, SIG_IGN);
    put_inherited_in_order();

    delete_last_log();
    if (runSingleInstance() != 1)
    {
        VKLOG_TRACE("exit -3 !is already running\n");
        return -3;
    }
    VKLOG_TRACE("vkAppPost compile time: %s %s\n", __DATE__, __TIME__);
    install_signals();

    m_aApp.Init();
    if (!m_aApp.IsOk())
    {
        m_aApp.SendMsgToTray(1, 0);
        m_aApp.Free();
        VKLOG_TRACE("vkAppPost exit\r\n");
        return 0;
    }
    m_aApp.Run();
}
catch (...)
{
    // Memory, before there was a pid file: the poster lets nothing through.
    VKLOG_TRACE("vkAppPost exception\r\n");
    return 1;
}
