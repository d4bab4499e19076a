// main() of a test program whose tests run daemons: it starts itself again inside scripts/box, so
// that its queues, its /NandFlash and its /run are its own. Listing the tests needs no box.
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace
{

constexpr char kInBox[] = "VK_TEST_IN_BOX";

[[noreturn]] void enter_box(char** argv)
{
    setenv(kInBox, "1", 1);
    std::vector<char*> arguments{const_cast<char*>(VK_BOX)};
    for (char** argument = argv; *argument != nullptr; ++argument)
    {
        arguments.push_back(*argument);
    }
    arguments.push_back(nullptr);
    execv(VK_BOX, arguments.data());
    std::perror(VK_BOX);
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<char*> command(argv, argv + argc + 1);
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && std::getenv(kInBox) == nullptr)
    {
        enter_box(command.data());
    }
    return RUN_ALL_TESTS();
}
