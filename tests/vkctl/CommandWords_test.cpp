// How an entry of the help is laid out, and what a misspelt word was meant to be.
#include "vkctl/CommandWords.h"

#include <gtest/gtest.h>

using namespace vkctl;

TEST(HelpEntry, BreaksBetweenWordsAtEightyColumns)
{
    EXPECT_EQ(help_entry("--live", "Keep the values moving until Ctrl+C; alone, on a room there"),
              "  --live                  Keep the values moving until Ctrl+C; alone, on a room\n"
              "                          there\n");
}

TEST(HelpEntry, FillsTheLastColumn)
{
    EXPECT_EQ(help_entry("x", std::string(40, 'a') + " " + std::string(13, 'b')),
              "  x                       " + std::string(40, 'a') + " " + std::string(13, 'b') +
                  "\n");
}

TEST(HelpEntry, GivesALongNameALineOfItsOwn)
{
    EXPECT_EQ(help_entry("--a-name-without-any-room", "What it does"),
              "  --a-name-without-any-room\n"
              "                          What it does\n");
}

TEST(ClosestWord, IsTheOneWithTheFewestSlips)
{
    const std::vector<std::string> words = {"check", "preview", "post", "room"};
    EXPECT_EQ(closest_word("chek", words), "check");      // a letter missing
    EXPECT_EQ(closest_word("checkk", words), "check");    // one too many
    EXPECT_EQ(closest_word("rpeview", words), "preview"); // two that changed places
    EXPECT_EQ(closest_word("pots", words), "post");
    EXPECT_EQ(closest_word("rome", words), "room");
}

TEST(ClosestWord, IsTheOneThatBeginsThatWay)
{
    EXPECT_EQ(closest_word("prev", {"post", "preview"}), "preview");
}

TEST(ClosestWord, IsNoneForAWordThatIsFarFromAll)
{
    EXPECT_EQ(closest_word("nonsense", {"check", "post", ""}), "");
    EXPECT_EQ(closest_word("p", {"post", "preview"}), "");
    EXPECT_EQ(closest_word("", {"tray"}), "");
}
