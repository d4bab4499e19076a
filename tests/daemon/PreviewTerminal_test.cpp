// vkctl preview on a terminal: a count on standard error while the bodies go elsewhere.
#include "tests/daemon/support/DaemonTest.h"

#include "tests/daemon/support/Command.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

class PreviewTerminal : public ::testing::Test
{
protected:
    PreviewTerminal()
    {
        host.SimpleRoom();
        host.Post("Url", "http://127.0.0.1:1/");
        host.WriteIni();
    }

    std::vector<std::string> Preview() const
    {
        return vkctl_command({"preview", host.Path(), "--sid", "7"});
    }

    CHostDir host;
};

} // namespace

TEST_F(PreviewTerminal, CountIsShownAndTakenAwayWhileBodiesGoElsewhere)
{
    const std::string count = "\r      1 bodies";
    EXPECT_EQ(run_on_terminal(Preview(), "/dev/null", kTerminal),
              count + "\r" + std::string(count.size() - 1, ' ') + "\r");
}

TEST_F(PreviewTerminal, BodiesOnTheTerminalAreAlone)
{
    EXPECT_EQ(run_on_terminal(Preview(), kTerminal, kTerminal), std::string(kDevice7Body) + "\r\n");
}

TEST_F(PreviewTerminal, CountIsNotShownToAFile)
{
    EXPECT_EQ(run_on_terminal(Preview(), "/dev/null", host.File("err")), "");
    EXPECT_EQ(read_file(host.File("err")), "");
}

TEST_F(PreviewTerminal, CountIsNotShownAmongTheLog)
{
    std::vector<std::string> command = Preview();
    command.emplace_back("--log");
    EXPECT_THAT(run_on_terminal(command, "/dev/null", kTerminal),
                AllOf(HasSubstr("PostNormal..."), Not(HasSubstr("bodies"))));
}
