// `vkctl receive` as a user runs it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/vkctl/VkctlTest.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr char kForm[] = "application/x-www-form-urlencoded";
constexpr char kDevice[] = "suid=xxx&sid=1001&sname=UPS主机1#&state=正常&Uin=221.0";
constexpr char kInput[] = "suid=xxx&sid=101&sname=门磁1#&state=正常&psid=1&pfld=0";

std::vector<std::string> receive(const std::vector<std::string>& more)
{
    std::vector<std::string> arguments = {VKCTL_PROGRAM, "receive", "--port", "0"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

int post(int port, const std::string& body)
{
    const auto result = httplib::Client("127.0.0.1", port).Post("/data", body, kForm);
    return result ? result->status : -1;
}

// Runs the command until it has received the bodies.
Outcome outcome_of(std::vector<std::string> more, const std::vector<std::string>& bodies)
{
    more.insert(more.end(), {"--count", std::to_string(bodies.size())});
    CProgram program(receive(more));
    const int port = program.Port();
    for (const std::string& body : bodies)
    {
        post(port, body);
    }
    return program.Wait();
}

} // namespace

TEST(ReceiveCommandTest, ShowsBodiesAndEndsWithTheTable)
{
    const Outcome outcome = outcome_of({}, {kDevice, kInput, kDevice});
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr(" device suid=xxx sid=1001 sname=UPS主机1# state=正常 "
                                       "Uin=221.0\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\ndevice             2         116\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\ninput              1          "));
    EXPECT_THAT(outcome.out, Not(HasSubstr("\033")));
}

TEST(ReceiveCommandTest, RawKeepsStandardOutputForBodies)
{
    const Outcome outcome = outcome_of({"--raw"}, {kDevice});
    EXPECT_EQ(outcome.out, std::string(kDevice) + "\n");
    EXPECT_THAT(outcome.err, HasSubstr("total              1"));
}

TEST(ReceiveCommandTest, JsonLinesCanBeRead)
{
    const Outcome outcome = outcome_of({"--json"}, {kInput});
    const auto object = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(object["kind"], "input");
    EXPECT_EQ(object["fields"]["sname"], "门磁1#");
}

TEST(ReceiveCommandTest, LargeBodiesAreWhole)
{
    const std::string large = "sid=1&a=" + std::string(400 * 1024, 'x');
    EXPECT_EQ(outcome_of({"--raw"}, {large}).out, large + "\n");
}

TEST(ReceiveCommandTest, GbkIsDecoded)
{
    EXPECT_THAT(outcome_of({"--encoding", "GBK"}, {"sid=1&state=\xB8\xE6\xBE\xAF"}).out,
                HasSubstr("state=告警\n"));
}

TEST(ReceiveCommandTest, EachSignalEndsItWithTheTable)
{
    for (const int number : {SIGINT, SIGTERM})
    {
        CProgram program(receive({}));
        EXPECT_EQ(post(program.Port(), kDevice), 200);
        program.Signal(number);
        const Outcome outcome = program.Wait();
        EXPECT_EQ(outcome.exit_status, 0);
        EXPECT_THAT(outcome.out, HasSubstr("total              1"));
    }
}

TEST(ReceiveCommandTest, ABodyIsShownAtOnce)
{
    CProgram program(receive({}));
    EXPECT_EQ(post(program.Port(), kDevice), 200); // it is answered after it is shown
    EXPECT_THAT(program.Shown(), HasSubstr("sid=1001"));
}

TEST(ReceiveCommandTest, APipeThatNobodyReadsEndsItSilently)
{
    const CTempDir dir;
    const std::string fifo = dir.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    CProgram program(receive({}), {}, fifo);
    const int port = program.Port();
    EXPECT_EQ(post(port, kDevice), 200);
    close(reader); // as head does when it has seen enough
    post(port, kDevice);
    const Outcome outcome = program.Wait();
    EXPECT_EQ(outcome.exit_status, 128 + SIGPIPE);
    EXPECT_EQ(outcome.err, "listening on http://127.0.0.1:" + std::to_string(port) + "/\n");
}

TEST(ReceiveCommandTest, SecondsEndIt)
{
    const Outcome outcome = run_program(receive({"--seconds", "50ms"}));
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("total              0"));
}

TEST(ReceiveCommandTest, TheStatusIsAnswered)
{
    CProgram program(receive({"--status", "500", "--delay", "10ms"}));
    EXPECT_EQ(post(program.Port(), kDevice), 500);
}

TEST(ReceiveCommandTest, ATakenPortIsSaidAndFails)
{
    CProgram first(receive({}));
    const std::string port = std::to_string(first.Port());
    const Outcome second = run_program({VKCTL_PROGRAM, "receive", "--port", port});
    EXPECT_EQ(second.exit_status, 1);
    EXPECT_EQ(second.err, "vkctl: 127.0.0.1 port " + port +
                              " is taken by another program; choose another with --port, or --port "
                              "0 for any that is free\n");
    EXPECT_EQ(second.out, "");
}

TEST(ReceiveCommandTest, TlsWritesItsAuthorityWhereAsked)
{
    CTempDir dir;
    CProgram program(receive({"--tls", "--ca-out", dir.Path("ca.pem")}));
    const int port = program.Port();
    httplib::SSLClient client("localhost", port);
    client.set_ca_cert_path(dir.Path("ca.pem").c_str());
    client.enable_server_certificate_verification(true);
    const auto result = client.Post("/data", kDevice, kForm);
    ASSERT_TRUE(result) << httplib::to_string(result.error());
    EXPECT_EQ(result->status, 200);
    program.Signal(SIGTERM);
    EXPECT_THAT(program.Wait().err, StartsWith("CA certificate: " + dir.Path("ca.pem") + "\n"));
    EXPECT_TRUE(std::filesystem::exists(dir.Path("ca.pem")));
}

TEST(ReceiveCommandTest, AnAuthorityFileOfItsOwnGoesWithIt)
{
    const Outcome outcome = run_program(receive({"--tls", "--seconds", "10ms"}));
    const std::string head = "CA certificate: ";
    ASSERT_THAT(outcome.err, StartsWith(head));
    const std::string path = outcome.err.substr(head.size(), outcome.err.find('\n') - head.size());
    EXPECT_FALSE(std::filesystem::exists(path)) << path;
}

TEST(ReceiveCommandTest, AnAuthorityFileThatCannotBeWrittenIsNamed)
{
    const Outcome outcome = run_program(receive({"--tls", "--ca-out", "/no/such/ca.pem"}));
    EXPECT_EQ(outcome.exit_status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write the certificate to /no/such/ca.pem"));
}

TEST(ReceiveCommandTest, AnUnknownEncodingIsRefusedBeforeItListens)
{
    const Outcome outcome = run_program(receive({"--encoding", "KLINGON"}));
    EXPECT_EQ(outcome.exit_status, 64);
    EXPECT_EQ(outcome.err, "vkctl: unknown encoding KLINGON; 'iconv -l' lists the known ones\n");
}
