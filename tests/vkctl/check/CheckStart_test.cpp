// Findings about what the daemon needs to start.

#include <gmock/gmock.h>

#include "tests/vkctl/check/CheckTest.h"
#include "vkctl/check/CheckStart.h"

namespace
{

const std::string kEnds = ": the daemon ends at start; put the database library of this board "
                          "beside vkApp.ini";

} // namespace

std::vector<CheckCase> start_cases()
{
    return {
        {"library-unusable",
         {"remove libvkdb.so"},
         "./libvkdb.so: error: is not there or cannot be read" + kEnds,
         {"remove libvkdb.so", "remove flash"}},
        {"library-unusable",
         {"write libvkdb.so " + std::string(5000, 'x')},
         "./libvkdb.so: error: cannot be loaded (./libvkdb.so: invalid ELF header)" + kEnds,
         {}},
        {"library-unusable",
         {"write libvkdb.so " + std::string(5000, 'x'), "remove flash"},
         "./libvkdb.so: note: cannot be loaded (./libvkdb.so: invalid ELF header) on this machine; "
         "see on the board",
         {"remove flash"}},
        {"log-folder",
         {"remove flash/tmp"},
         "flash/tmp: warning: cannot be written by this user: No such file or directory; the "
         "daemon's log goes there, and without it nobody learns what went wrong",
         {"remove flash"}},
        {"board-absent",
         {"remove flash"},
         "flash: note: is not there, so this is not the board: whether the daemon can start on it "
         "is for a check there; --away leaves that out",
         {"remove flash/tmp"}},
    };
}

TEST(CheckStartTest, ALibraryWithoutTheEntriesOfADatabaseLibraryIsNone)
{
    EXPECT_EQ(vkctl::library_problem(VK_OTHER_LIBRARY), "has no function GetDbManager");
}

TEST(CheckStartTest, ALibraryThatEndsItsProcessDoesNotEndTheCheck)
{
    EXPECT_EQ(vkctl::library_problem(VK_ENDING_LIBRARY), "ends or hangs the program that loads it");
}
