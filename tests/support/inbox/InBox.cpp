// main() of a test program that needs the daemon's fixed paths and queue keys: it starts itself
// again inside scripts/box, where /NandFlash, /run, /tmp and all queues are its own. So the
// program is called like any other one. Listing the tests, as discovery does, needs no box.
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace
{

constexpr char kInBox[] = "VK_TEST_IN_BOX"; // set: we are inside already

// Does not return: the box becomes this process, and its exit status is the tests'.
[[noreturn]] void enter_box(const std::vector<char*>& command)
{
    setenv(kInBox, "1", 1);
    std::vector<char*> arguments{const_cast<char*>(VK_BOX)};
    if (VK_EMULATOR[0] != '\0') // the program was built for another machine
    {
        arguments.push_back(const_cast<char*>(VK_EMULATOR));
    }
    arguments.insert(arguments.end(), command.begin(), command.end());
    execv(VK_BOX, arguments.data());
    std::perror(VK_BOX);
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<char*> command(argv,
                                     argv + argc + 1); // before GoogleTest takes its flags out
    testing::InitGoogleMock(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && std::getenv(kInBox) == nullptr)
    {
        enter_box(command);
    }
    return RUN_ALL_TESTS();
}
