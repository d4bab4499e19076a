// Writing profile strings: what the file holds then.
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include "tests/vkPub/ProfileTest.h"

namespace
{

using WriteProfileString = ProfileTest;

TEST_F(WriteProfileString, MissingFileIsMade)
{
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\nk=v\n");
}

TEST_F(WriteProfileString, EmptyFileIsLikeAMissingOne)
{
    Given("");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\nk=v\n");
}

TEST_F(WriteProfileString, MissingSectionIsAppendedBehindAnEmptyLine)
{
    Given("[A]\nk=v\n");
    EXPECT_EQ(AfterWrite("B", "x", "1"), "[A]\nk=v\n\n[B]\nx=1\n");
}

TEST_F(WriteProfileString, MissingSectionEndsAnOpenLine)
{
    Given("x");
    EXPECT_EQ(AfterWrite("B", "x", "1"), "x\n[B]\nx=1\n");
}

TEST_F(WriteProfileString, ValueIsReplaced)
{
    Given(";c\n[A]\nj=1\nk=old\nl=2\n");
    EXPECT_EQ(AfterWrite("A", "k", "newer"), ";c\n[A]\nj=1\nk=newer\nl=2\n");
    EXPECT_EQ(AfterWrite("A", "k", ""), ";c\n[A]\nj=1\nk=\nl=2\n");
}

TEST_F(WriteProfileString, LineEndsStay)
{
    Given("[A]\r\nk=old\r\n");
    EXPECT_EQ(AfterWrite("A", "k", "new"), "[A]\r\nk=new\r\n");
}

TEST_F(WriteProfileString, LastLineStaysOpen)
{
    Given("[A]\nk=old");
    EXPECT_EQ(AfterWrite("A", "k", "new"), "[A]\nk=new");
}

TEST_F(WriteProfileString, NewKeyComesFirstInItsSection)
{
    Given("[A]\nj=1\n[B]\nx=2\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\nk=v\nj=1\n[B]\nx=2\n");
}

TEST_F(WriteProfileString, NewKeyComesBehindTheWhiteSpaceOfTheHeader)
{
    Given("[A]\n\n  j=1\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\n\n  k=v\nj=1\n");
}

TEST_F(WriteProfileString, NewKeyJoinsAHeaderThatEndsTheFile)
{
    Given("[A]");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]k=v\n");
    EXPECT_EQ(Read("A", "k"), "v");
}

TEST_F(WriteProfileString, KeyThatIsTheBeginningOfTheNameIsReplaced)
{
    Given("[A]\nUrl=x\nUrl1=y\n");
    EXPECT_EQ(AfterWrite("A", "Url1", "z"), "[A]\nUrl=z\nUrl1=y\n");
}

TEST_F(WriteProfileString, SectionThatIsTheBeginningOfTheNameIsTaken)
{
    Given("[POST]\nx=1\n");
    EXPECT_EQ(AfterWrite("POSTX", "k", "v"), "[POST]\nk=v\nx=1\n");
}

TEST_F(WriteProfileString, WhatIsWrittenIsRead)
{
    AfterWrite("A", "k", "v");
    AfterWrite("A", "l", "w");
    AfterWrite("B", "k", "x");
    EXPECT_EQ(Text(), "[A]\nl=w\nk=v\n\n[B]\nk=x\n");
    EXPECT_EQ(Read("A", "k"), "v");
    EXPECT_EQ(Read("A", "l"), "w");
    EXPECT_EQ(Read("B", "k"), "x");
}

TEST_F(WriteProfileString, FileEndsAtAByteFf)
{
    Given("[A]\nk=v\n\xFFj=1\n");
    EXPECT_EQ(AfterWrite("A", "k", "w"), "[A]\nk=w\n");
}

TEST_F(WriteProfileString, FileEndsAtANul)
{
    Given(std::string("[A]\nk=v\n\0j=1\n", 13));
    EXPECT_EQ(AfterWrite("A", "k", "w"), "[A]\nk=w\n");
}

TEST_F(WriteProfileString, PercentBehindANewKeyIsAFormat)
{
    Given("[A]\np=100%%\nq=%d,%5.1f,%s.\n[B]\nr=%x\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\nk=v\np=100%\nq=0,  0.0,.\n[B]\nr=0\n");
}

TEST_F(WriteProfileString, NothingIsWrittenThroughPercentN)
{
    Given("[A]\nj=a%nb%hhn%ln\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A]\nk=v\nj=ab\n");
}

TEST_F(WriteProfileString, PercentBeforeANewKeyStays)
{
    Given("[0]\np=%d%n\n[A]\nx=%%\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[0]\np=%d%n\n[A]\nk=v\nx=%\n");
}

TEST_F(WriteProfileString, PercentOfTheArgumentsStays)
{
    EXPECT_EQ(AfterWrite("A%d", "k%s", "%n"), "[A%d]\nk%s=%n\n");
}

TEST_F(WriteProfileString, PercentStaysWhereAValueIsReplaced)
{
    Given("[A]\nk=v\nx=%d%%\n");
    EXPECT_EQ(AfterWrite("A", "k", "w"), "[A]\nk=w\nx=%d%%\n");
}

TEST_F(WriteProfileString, PercentStaysWhereASectionIsAppended)
{
    Given("[A]\nx=%d%%\n");
    EXPECT_EQ(AfterWrite("B", "k", "v"), "[A]\nx=%d%%\n\n[B]\nk=v\n");
}

TEST_F(WriteProfileString, TextThatIsTooLongLeavesTheFileAlone)
{
    const std::string most = "[A]\nj=" + std::string(MAX_FILE_SIZE - 1 - 6, 'x');
    Given(most);
    EXPECT_EQ(write_profile_string("A", "k", "v", path.c_str()), 0);
    EXPECT_EQ(write_profile_string("B", "k", "v", path.c_str()), 0);
    EXPECT_EQ(write_profile_string("A", "j", (most.substr(6) + "x").c_str(), path.c_str()), 0);
    EXPECT_EQ(Text(), most);
}

TEST_F(WriteProfileString, LongestText)
{
    Given("[A]\nj=1");
    const std::string value(MAX_FILE_SIZE - 1 - 6, 'x');
    EXPECT_EQ(AfterWrite("A", "j", value.c_str()), "[A]\nj=" + value);
}

TEST_F(WriteProfileString, WidthThatIsTooLongLeavesTheFileAlone)
{
    Given("[A]\nj=%2000000000d\n");
    EXPECT_EQ(write_profile_string("A", "k", "v", path.c_str()), 0);
    EXPECT_EQ(Text(), "[A]\nj=%2000000000d\n");
}

TEST_F(WriteProfileString, FileThatCannotBeOpenedIsReported)
{
    const std::string below = path + "/no/such/folder";
    EXPECT_EQ(write_profile_string("A", "k", "v", below.c_str()), 0);
    EXPECT_EQ(write_profile_string("A", "k", "v", "/tmp"), 0);
}

// The next descriptor that an open would give.
int next_descriptor()
{
    const int fd = dup(STDIN_FILENO);
    close(fd);
    return fd;
}

TEST_F(WriteProfileString, LeavesNoDescriptorBehind)
{
    const int before = next_descriptor();
    EXPECT_EQ(write_profile_string("A", "k", "v", path.c_str()), 1);
    EXPECT_EQ(write_profile_string("A", "k", "w", path.c_str()), 1);
    EXPECT_EQ(Read("A", "k"), "w");
    EXPECT_EQ(next_descriptor(), before);
}

using WriteProfileStringDeathTest = ProfileTest;

// In a process that may write no byte, as on a device that is full.
TEST_F(WriteProfileStringDeathTest, FileThatTakesNoTextIsReported)
{
    const auto write = [this]
    {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        _exit(10 + write_profile_string("A", "k", "v", path.c_str()));
    };
    EXPECT_EXIT(write(), testing::ExitedWithCode(10), "");
}

// The text is longer than what the system takes at once, so it fails before the file is closed.
TEST_F(WriteProfileStringDeathTest, FileThatTakesAPartOfTheTextIsReported)
{
    const std::string value(100000, 'v');
    const auto write = [&]
    {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit page{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &page);
        _exit(10 + write_profile_string("A", "k", value.c_str(), path.c_str()));
    };
    EXPECT_EXIT(write(), testing::ExitedWithCode(10), "");
}

TEST_F(WriteProfileStringDeathTest, ArgumentsMustBeThere)
{
    const char* file = path.c_str();
    EXPECT_DEATH(write_profile_string(nullptr, "k", "v", file),
                 "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(write_profile_string("", "k", "v", file),
                 "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(write_profile_string("A", nullptr, "v", file), "key != NULL && strlen\\(key\\)");
    EXPECT_DEATH(write_profile_string("A", "", "v", file), "key != NULL && strlen\\(key\\)");
    EXPECT_DEATH(write_profile_string("A", "k", nullptr, file), "value != NULL");
    EXPECT_DEATH(write_profile_string("A", "k", "v", nullptr), "file != NULL && strlen\\(key\\)");
}

} // namespace
