// vkctl preview on a terminal: a count on standard error while the bodies go elsewhere. script
// gives a program a terminal.
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

    // What a terminal shows while a shell runs vkctl preview with these words behind it.
    std::string Shown(const std::string& rest) const
    {
        const std::string command =
            vkctl_command({})[0] + " preview " + host.Path() + " --sid 7 " + rest;
        return run_command({"/usr/bin/script", "-qec", command, "/dev/null"}).out;
    }

    CHostDir host;
};

} // namespace

TEST_F(PreviewTerminal, CountIsShownAndTakenAwayWhileBodiesGoElsewhere)
{
    const std::string count = "\r      1 bodies";
    EXPECT_EQ(Shown(">/dev/null"), count + "\r" + std::string(count.size() - 1, ' ') + "\r");
}

TEST_F(PreviewTerminal, BodiesOnTheTerminalAreAlone)
{
    EXPECT_EQ(Shown(""), std::string(kDevice7Body) + "\r\n");
}

TEST_F(PreviewTerminal, CountIsNotShownToAFile)
{
    EXPECT_EQ(Shown(">/dev/null 2>" + host.File("err")), "");
    EXPECT_EQ(read_file(host.File("err")), "");
}

TEST_F(PreviewTerminal, CountIsNotShownAmongTheLog)
{
    EXPECT_THAT(Shown("--log >/dev/null"),
                AllOf(HasSubstr("PostNormal..."), Not(HasSubstr("bodies"))));
}
