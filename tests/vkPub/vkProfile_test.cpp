// Profile strings: characters, loading a file, and finding a key in its image. Reading values is in
// vkProfileRead_test.cpp, writing them in vkProfileWrite_test.cpp.
#include <array>
#include <memory>

#include "tests/vkPub/ProfileTest.h"

namespace
{

using testing::ElementsAre;

// What parse_file says about an image: found, then the six positions.
std::array<int, 7> parse(const char* section, const char* key, const char* image)
{
    std::array<int, 7> at{};
    at.fill(-7);
    at[0] = parse_file(section, key, image, &at[1], &at[2], &at[3], &at[4], &at[5], &at[6]);
    return at;
}

TEST(ProfileCharacters, NewlineIsALineFeedOrACarriageReturn)
{
    EXPECT_EQ(newline('\n'), 1);
    EXPECT_EQ(newline('\r'), 1);
    EXPECT_EQ(newline(' '), 0);
    EXPECT_EQ(newline('\0'), 0);
}

TEST(ProfileCharacters, EndOfStringIsNul)
{
    EXPECT_EQ(end_of_string('\0'), 1);
    EXPECT_EQ(end_of_string('0'), 0);
}

TEST(ProfileCharacters, BracesAreSquare)
{
    EXPECT_EQ(left_barce('['), 1);
    EXPECT_EQ(left_barce(']'), 0);
    EXPECT_EQ(left_barce('{'), 0);
    EXPECT_EQ(isright_brace(']'), 1);
    EXPECT_EQ(isright_brace('['), 0);
}

class LoadIniFile : public ProfileTest
{
protected:
    int Load() { return load_ini_file(path.c_str(), image.get(), &size); }

    std::unique_ptr<char[]> image{new char[MAX_FILE_SIZE]};
    int size = -1;
};

TEST_F(LoadIniFile, TakesTheWholeFileAndEndsItWithANul)
{
    Given("[A]\nk=v\n");
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(size, 8);
    EXPECT_STREQ(image.get(), "[A]\nk=v\n");
}

TEST_F(LoadIniFile, EmptyFileIsAnEmptyImage)
{
    Given("");
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(size, 0);
    EXPECT_STREQ(image.get(), "");
}

TEST_F(LoadIniFile, MissingFileIsReported)
{
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(size, 0);
}

TEST_F(LoadIniFile, ByteFfEndsTheImage)
{
    Given("[A]\nk=v\n\xFF[B]\n");
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(size, 8);
    EXPECT_STREQ(image.get(), "[A]\nk=v\n");
}

TEST_F(LoadIniFile, NulIsAByteOfTheImage)
{
    Given(std::string("a\0b", 3));
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(std::string(image.get(), 4), std::string("a\0b\0", 4));
}

TEST_F(LoadIniFile, LongestFile)
{
    Given(std::string(MAX_FILE_SIZE - 1, 'x'));
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(size, 1048575);
}

using LoadIniFileDeathTest = LoadIniFile;

TEST_F(LoadIniFileDeathTest, FileAndBufferMustBeThere)
{
    EXPECT_DEATH(load_ini_file(nullptr, image.get(), &size), "file != NULL");
    EXPECT_DEATH(load_ini_file(path.c_str(), nullptr, &size), "buf != NULL");
}

TEST_F(LoadIniFileDeathTest, FileMustBeShorterThanTheImage)
{
    Given(std::string(MAX_FILE_SIZE, 'x'));
    EXPECT_DEATH(Load(), "i < MAX_FILE_SIZE");
}

TEST_F(LoadIniFileDeathTest, TooLongAFileEndsReadersAndWritersAlike)
{
    Given(std::string(MAX_FILE_SIZE, 'x'));
    EXPECT_DEATH(Read("A", "k"), "i < MAX_FILE_SIZE");
    EXPECT_DEATH(AfterWrite("A", "k", "v"), "i < MAX_FILE_SIZE");
}

//                             0123456 7890 1234567890
constexpr char kTwoSections[] = "[One]\n\n a=1\r\n[Two]\nb=22";

TEST(ParseFile, SaysWhereSectionKeyAndValueStand)
{
    EXPECT_THAT(parse("Two", "b", kTwoSections), ElementsAre(1, 14, 19, 19, 19, 21, 23));
}

TEST(ParseFile, BodyBeginsBehindAllWhiteSpace)
{
    EXPECT_THAT(parse("One", "a", kTwoSections), ElementsAre(1, 1, 8, 8, 8, 10, 11));
}

TEST(ParseFile, WithoutTheKeyTheSectionIsStillFound)
{
    EXPECT_THAT(parse("Two", "x", kTwoSections), ElementsAre(0, 14, 19, -1, -1, -1, -1));
}

TEST(ParseFile, WithoutTheSectionNothingIs)
{
    EXPECT_THAT(parse("Six", "b", kTwoSections), ElementsAre(0, -1, -1, -1, -1, -1, -1));
    EXPECT_THAT(parse("Two", "b", ""), ElementsAre(0, -1, -1, -1, -1, -1, -1));
}

TEST(ParseFile, HeaderThatIsTheBeginningOfTheNameMatches)
{
    EXPECT_EQ(parse("POSTX", "k", "[POST]\nk=1")[0], 1);
    EXPECT_EQ(parse("POS", "k", "[POST]\nk=1")[0], 0);
    EXPECT_EQ(parse("post", "k", "[POST]\nk=1")[0], 0);
}

TEST(ParseFile, EmptyHeaderIsTheBeginningOfEveryName)
{
    EXPECT_THAT(parse("POST", "k", "[]\nk=1"), ElementsAre(1, 1, 3, 3, 3, 5, 6));
}

TEST(ParseFile, NextMatchingSectionIsLookedAtToo)
{
    EXPECT_THAT(parse("AB", "k", "[A]\nx=1\n[AB]\nk=2"), ElementsAre(1, 9, 13, 13, 13, 15, 16));
    EXPECT_THAT(parse("AB", "y", "[A]\nx=1\n[AB]\nk=2"), ElementsAre(0, 9, 13, -1, -1, -1, -1));
}

TEST(ParseFile, KeyOfAnotherSectionIsNotFound)
{
    EXPECT_EQ(parse("A", "k", "[A]\nx=1\n[B]\nk=2")[0], 0);
    EXPECT_EQ(parse("A", "k", "[A]\n[B]\nk=2")[0], 0);
    EXPECT_EQ(parse("A", "k", "k=1\n[A]\n")[0], 0);
}

TEST(ParseFile, HeaderStandsAtTheStartOfALine)
{
    EXPECT_EQ(parse("A", "k", " [A]\nk=1")[0], 0);
    EXPECT_EQ(parse("A", "k", "x[A]\nk=1")[0], 0);
    EXPECT_EQ(parse("A", "k", "\r[A]\rk=1")[0], 1);
}

TEST(ParseFile, BraceWithinALineEndsNoSection)
{
    EXPECT_EQ(parse("A", "k", "[A]\nx=[B]\n [B]\nk=1")[0], 1);
    EXPECT_EQ(parse("A", "k", "[A] [B]\nk=1")[0], 1);
}

TEST(ParseFile, HeaderRunsToItsBraceAcrossLines)
{
    EXPECT_THAT(parse("A\nB", "k", "[A\nB]k=1"), ElementsAre(1, 1, 5, 5, 5, 7, 8));
}

TEST(ParseFile, HeaderWithoutItsBraceRunsToTheEnd)
{
    EXPECT_THAT(parse("A", "k", "[A"), ElementsAre(0, 1, 2, -1, -1, -1, -1));
    EXPECT_THAT(parse("A", "k", "[A\nk=1"), ElementsAre(0, -1, -1, -1, -1, -1, -1));
}

TEST(ParseFile, KeyMayStandInTheHeadersLine)
{
    EXPECT_THAT(parse("A", "k", "[A] k=1"), ElementsAre(1, 1, 4, 4, 4, 6, 7));
}

TEST(ParseFile, KeyThatIsTheBeginningOfTheNameMatches)
{
    EXPECT_THAT(parse("A", "Url1", "[A]\nUrl=x\nUrl1=y"), ElementsAre(1, 1, 4, 4, 6, 8, 9));
    EXPECT_EQ(parse("A", "Url", "[A]\nUrl1=y")[0], 0);
}

TEST(ParseFile, BlanksBelongToTheKey)
{
    EXPECT_EQ(parse("A", "Key", "[A]\nKey =v")[0], 0);
    EXPECT_EQ(parse("A", "Key", "[A]\nx=1\n Key=v")[0], 0);
    EXPECT_EQ(parse("A", "Key ", "[A]\nKey =v")[0], 1);
}

TEST(ParseFile, SemicolonInTheFirstColumnMakesAComment)
{
    EXPECT_EQ(parse("A", ";k", "[A]\n;k=1")[0], 0);
    EXPECT_THAT(parse("A", "k", "[A]\n;k=1\nk=2"), ElementsAre(1, 1, 4, 9, 9, 11, 12));
    EXPECT_EQ(parse("A", "a;b", "[A]\na;b=1")[0], 1);
}

TEST(ParseFile, HashMakesNoComment)
{
    EXPECT_EQ(parse("A", "#k", "[A]\n#k=1")[0], 1);
}

TEST(ParseFile, LineNeedsAnEqualsSignBehindItsFirstColumn)
{
    EXPECT_EQ(parse("A", "k", "[A]\nk\n=1\n==2")[0], 0);
    EXPECT_THAT(parse("A", "k", "[A]\nk=1=2"), ElementsAre(1, 1, 4, 4, 4, 6, 9));
}

TEST(ParseFile, ValueMayBeEmpty)
{
    EXPECT_THAT(parse("A", "k", "[A]\nk=\nx=1"), ElementsAre(1, 1, 4, 4, 4, 6, 6));
    EXPECT_THAT(parse("A", "k", "[A]\nk="), ElementsAre(1, 1, 4, 4, 4, 6, 6));
}

TEST(ParseFile, ImageEndsAtItsNul)
{
    EXPECT_EQ(parse("A", "k", "[A]\nj=1\0k=2\n")[0], 0);
    EXPECT_EQ(parse("A", "k", "[A]\nj\0k=2\n")[0], 0);
    EXPECT_EQ(parse("A", "k", "[A\0]\nk=2\n")[0], 0);
}

TEST(ParseFileDeathTest, ImageSectionAndKeyMustBeThere)
{
    EXPECT_DEATH(parse("A", "k", nullptr), "buf != NULL");
    EXPECT_DEATH(parse(nullptr, "k", ""), "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(parse("", "k", ""), "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(parse("A", nullptr, ""), "key != NULL && strlen\\(key\\)");
    EXPECT_DEATH(parse("A", "", ""), "key != NULL && strlen\\(key\\)");
}

} // namespace
