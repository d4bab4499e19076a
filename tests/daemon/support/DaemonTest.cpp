#include "tests/daemon/support/DaemonTest.h"

#include <iostream>

namespace
{

constexpr size_t kLogShownBytes = 20000;

std::string tail(const std::string& text)
{
    return text.size() <= kLogShownBytes ? text
                                         : "...\n" + text.substr(text.size() - kLogShownBytes);
}

} // namespace

const char* const kHostStatusPattern =
    "suid=xxx&sid=0&stype=0&stag1=0&sname=动环监控主机&subsys=0"
    "&dtupd=[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}&state=0"
    "&cpu1=[0-9]+&cpu5=[0-9]+&cpu15=[0-9]+"
    "&memtotal=[0-9]+&memfree=[0-9]+&membuf=[0-9]+&memcach=[0-9]+&cpufreq=[0-9]+&flashsize=[0-9]+";

DaemonTest::DaemonTest()
{
    host.Post("Url", receiver.Url());
    host.Post("Delay", "100000000"); // ms, more than a day
    host.UseLibrary(VK_DBLIB);
}

DaemonTest::~DaemonTest() = default;

void DaemonTest::Start()
{
    host.WriteIni();
    daemon.Start(host.Path());
}

void DaemonTest::StartSimpleRoom()
{
    host.SimpleRoom();
    Start();
    ASSERT_EQ(receiver.Body(0), kDevice7Body);
}

void DaemonTest::ExpectExit(int status)
{
    m_hasEnded = true;
    EXPECT_EQ(daemon.WaitExit(), status);
}

void DaemonTest::TearDown()
{
    EXPECT_TRUE(m_hasEnded || daemon.Pid() < 0 || daemon.IsRunning()) << "the daemon has ended";
    daemon.Kill();
    EXPECT_EQ(daemon.Stderr().find("Sanitizer"), std::string::npos) << "see its standard error";
    if (HasFailure())
    {
        std::cerr << "--- log of the daemon ---\n"
                  << tail(read_file(kLogPath)) << "\n--- its standard error ---\n"
                  << tail(daemon.Stderr()) << "\n";
    }
}
