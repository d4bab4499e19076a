// The lines of an INI file one by one, and where SimpleIni says that a key stands.
#include "common/IniReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

#include "common/SimpleIni.h"
#include "tests/support/TempDir.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

// An item in one line: "3 [S] k=v ;comment", "2 [S]", "1 [] #comment".
std::string shown(const IniItem& item)
{
    const std::string place = std::to_string(item.line) + " [" + item.section + "]";
    switch (item.kind)
    {
    case IniItemKind::kSection:
        return place;
    case IniItemKind::kComment:
        return place + " #" + item.comment;
    default:
        return place + " " + item.key + (item.has_equals ? "=" + item.value : "") +
               (item.comment.empty() ? "" : " ;" + item.comment);
    }
}

std::vector<std::string> read_items(const std::string& text)
{
    std::istringstream in(text);
    CIniReader reader(in);
    std::vector<std::string> items;
    for (IniItem item; reader.Next(item);)
    {
        items.push_back(shown(item));
    }
    return items;
}

SimpleIni loaded(const std::string& text)
{
    const CTempDir dir;
    write_file("in.ini", text);
    SimpleIni ini("");
    EXPECT_TRUE(ini.Load("in.ini"));
    return ini;
}

} // namespace

TEST(IniReader, LinesComeInTheirOrderWithTheirNumbers)
{
    EXPECT_THAT(
        read_items("a=1\n[S]\n# text\nb=2\n[T]\nc=3\n"),
        ElementsAre("1 [] a=1", "2 [S]", "3 [S] # text", "4 [S] b=2", "5 [T]", "6 [T] c=3"));
}

TEST(IniReader, EmptyLinesCountAndSayNothing)
{
    EXPECT_THAT(read_items("\n\r\n[S]\n\n\nk=v"), ElementsAre("3 [S]", "6 [S] k=v"));
}

TEST(IniReader, EverySameKeyIsTold)
{
    EXPECT_THAT(read_items("[S]\nk=1\nk=2\n[S]\nk=3\n"),
                ElementsAre("1 [S]", "2 [S] k=1", "3 [S] k=2", "4 [S]", "5 [S] k=3"));
}

TEST(IniReader, KeyAndValueAreTrimmed)
{
    EXPECT_THAT(read_items(" \tk \t=\t a b \t\n"), ElementsAre("1 [] k=a b"));
}

TEST(IniReader, FirstEqualsParts)
{
    EXPECT_THAT(read_items("k=a=b\n=x\n"), ElementsAre("1 [] k=a=b", "2 [] =x"));
}

TEST(IniReader, LineWithoutEqualsIsAKeyWithoutValue)
{
    EXPECT_THAT(read_items("word\n   \n"), ElementsAre("1 [] word", "2 [] "));
}

TEST(IniReader, CommentBehindAValueKeepsItsBlanks)
{
    EXPECT_THAT(read_items("k=v ; one # two\nw # x=y\n"),
                ElementsAre("1 [] k=v ; one # two", "2 [] w ; x=y"));
}

TEST(IniReader, CommentBeginsInTheFirstColumnOrBehindAKey)
{
    EXPECT_THAT(read_items(";k=v\n ;k=v\n"), ElementsAre("1 [] #k=v", "2 []  ;k=v"));
}

TEST(IniReader, SectionBeginsInTheFirstColumn)
{
    EXPECT_THAT(read_items("[ S ]\n [T]\n[U\n[V] k=1\n"),
                ElementsAre("1 [S]", "2 [S] [T]", "3 [U]", "4 [V]"));
}

TEST(IniReader, ItemSaysNothingOfTheLineBefore)
{
    std::istringstream in("[S]\nk=v ;c\nx\n");
    CIniReader reader(in);
    IniItem item;
    while (reader.Next(item) && item.line < 3)
    {
    }
    EXPECT_EQ(shown(item), "3 [S] x");
    EXPECT_EQ(item.value + item.comment, "");
}

TEST(IniReader, NothingIsReadFromAStreamThatCannotBeRead)
{
    EXPECT_THAT(read_items(""), IsEmpty());
    std::istringstream in("k=v");
    in.setstate(std::ios::failbit);
    CIniReader reader(in);
    IniItem item;
    EXPECT_FALSE(reader.Next(item));
}

// --- SimpleIni::GetLine --------------------------------------------------------------------------

TEST(SimpleIniLine, IsThatOfTheValueInForce)
{
    const SimpleIni ini = loaded("[S]\nk=1\n\n[T]\nk=2\n[S]\nk=3\n");
    EXPECT_EQ(ini.GetLine("S", "k"), 7); // the last one wins
    EXPECT_EQ(ini.GetLine("T", "k"), 5);
}

TEST(SimpleIniLine, IsZeroForWhatIsNotInTheFile)
{
    SimpleIni ini = loaded("[S]\nk=1\n");
    EXPECT_EQ(ini.GetLine("S", "x"), 0);
    EXPECT_EQ(ini.GetLine("X", "k"), 0);
    ini.SetValue("S", "new", "1");
    EXPECT_EQ(ini.GetLine("S", "new"), 0);
}

TEST(SimpleIniLine, StaysWhenTheValueIsSet)
{
    SimpleIni ini = loaded("\nk=1\n");
    ini.SetValue("", "k", "2");
    EXPECT_EQ(ini.GetLine("", "k"), 2);
}
