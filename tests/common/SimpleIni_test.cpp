// The INI document: literal files in, values and literal files out.
#include "common/SimpleIni.h"

#include <climits>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kIn[] = "in.ini";
constexpr char kOut[] = "out.ini";

class SimpleIniTest : public ::testing::Test
{
protected:
    void Load(const std::string& content)
    {
        write_file(kIn, content);
        ASSERT_TRUE(ini.Load(kIn));
    }

    // What the document is as a file.
    std::string Saved()
    {
        EXPECT_TRUE(ini.SaveAs(kOut));
        return read_file(kOut);
    }

    std::string SavedAfterLoad(const std::string& content)
    {
        Load(content);
        return Saved();
    }

    int IntOf(const std::string& value, int defaultValue = 77)
    {
        Load("[S]\nk=" + value + "\n");
        return ini.GetValue<int>("S", "k", defaultValue);
    }

    std::string Value(const std::string& key) { return ini.GetValue("S", key, "?"); }

    std::vector<std::string> Sections() const
    {
        std::vector<std::string> names;
        for (auto at = ini.beginSection(); at != ini.endSection(); ++at)
        {
            names.push_back(*at);
        }
        return names;
    }

    std::vector<std::string> Keys(const std::string& section) const
    {
        std::vector<std::string> names;
        for (auto at = ini.beginKey(section); at != ini.endKey(section); ++at)
        {
            names.push_back(*at);
        }
        return names;
    }

    CTempDir dir;
    SimpleIni ini{""};
};

} // namespace

// --- Construction and files ---------------------------------------------------------------------

TEST_F(SimpleIniTest, EmptyNameLoadsNothingAndDoesNotThrow)
{
    EXPECT_THAT(Sections(), IsEmpty());
    EXPECT_EQ(Saved(), "");
}

TEST_F(SimpleIniTest, ConstructorLoadsTheFile)
{
    write_file(kIn, "[S]\nk=v\n");
    EXPECT_EQ(SimpleIni(kIn).GetValue("S", "k", "?"), "v");
}

TEST_F(SimpleIniTest, ConstructorThrowsATextForAFileThatCannotBeOpened)
{
    try
    {
        const SimpleIni missing("no/such.ini");
        FAIL() << "nothing was thrown";
    }
    catch (const std::string& text)
    {
        EXPECT_EQ(text, "Unable to open the file no/such.ini in read mode.");
    }
}

TEST_F(SimpleIniTest, LoadOfAMissingFileIsFalseAndLeavesNoSections)
{
    Load("[S]\nk=v\n");
    EXPECT_FALSE(ini.Load("no/such.ini"));
    EXPECT_THAT(Sections(), IsEmpty());
}

TEST_F(SimpleIniTest, LoadReplacesTheSectionsOfTheLoadBefore)
{
    Load("[Old]\na=1\n");
    Load("[New]\nb=2\n");
    EXPECT_THAT(Sections(), ElementsAre("New"));
}

TEST_F(SimpleIniTest, LoadKeepsTheDescriptionsOfTheLoadBefore)
{
    Load("# of S\n[S]\n# of a\na=1\n");
    EXPECT_EQ(SavedAfterLoad("[S]\na=2\n"), "# of S\n[S]\n# of a\na=2\n");
}

TEST_F(SimpleIniTest, SaveWritesTheFileThatWasLoadedLast)
{
    Load("[S]\nk = v\n");
    EXPECT_TRUE(ini.Save());
    EXPECT_EQ(read_file(kIn), "[S]\nk=v\n");
}

TEST_F(SimpleIniTest, SaveWritesTheFileThatCouldNotBeLoaded)
{
    EXPECT_FALSE(ini.Load("new.ini"));
    ini.SetValue("S", "k", "v");
    EXPECT_TRUE(ini.Save());
    EXPECT_EQ(read_file("new.ini"), "[S]\nk=v\n");
}

TEST_F(SimpleIniTest, SaveWithoutAnyLoadIsFalse)
{
    EXPECT_FALSE(ini.Save());
}

TEST_F(SimpleIniTest, SaveAsIsFalseForAFileThatCannotBeOpened)
{
    Load("[S]\nk=v\n");
    EXPECT_FALSE(ini.SaveAs("no/such.ini"));
    EXPECT_FALSE(std::filesystem::exists("no"));
}

TEST_F(SimpleIniTest, SaveAsTruncatesTheFile)
{
    write_file(kOut, "a longer text than what is written\n");
    EXPECT_EQ(SavedAfterLoad("k=v"), "k=v\n");
}

TEST_F(SimpleIniTest, SaveAsDoesNotChangeWhereSaveWrites)
{
    Load("k=v\n");
    Saved();
    ini.SetValue("", "k", "w");
    EXPECT_TRUE(ini.Save());
    EXPECT_EQ(read_file(kIn), "k=w\n");
}

TEST_F(SimpleIniTest, FreeEmptiesTheSectionsAndKeepsTheRest)
{
    Load("# of S\n[S]\nk=v\n");
    ini.Free();
    EXPECT_THAT(Sections(), IsEmpty());
    ini.SetValue("S", "k", "w");
    EXPECT_TRUE(ini.Save());
    EXPECT_EQ(read_file(kIn), "# of S\n[S]\nk=w\n");
}

// --- Lines --------------------------------------------------------------------------------------

TEST_F(SimpleIniTest, ReadsCrLfLikeLf)
{
    Load("# note\r\n[S]\r\n\r\na = 1\r\nb=2 ;in\r\n");
    EXPECT_EQ(Value("a"), "1");
    EXPECT_EQ(ini.GetComment("S", "b"), "in");
    EXPECT_EQ(Saved(), "# note\n[S]\na=1\nb=2\t;in\n");
}

TEST_F(SimpleIniTest, ReadsALastLineWithoutLineEnd)
{
    Load("[S]\nk=v");
    EXPECT_EQ(Value("k"), "v");
}

TEST_F(SimpleIniTest, OnlyOneControlCharacterIsTakenOffALine)
{
    Load("[S]\na=x\x01\nb=x\x01\x02\n");
    EXPECT_EQ(Value("a"), "x");
    EXPECT_EQ(Value("b"), "x\x01");
}

TEST_F(SimpleIniTest, AByteAbove127AtTheEndOfALineStays)
{
    Load("[S]\nk=机\n");
    EXPECT_EQ(Value("k"), "机");
}

TEST_F(SimpleIniTest, ValueAndKeyAreTrimmedOfBlanksAndTabs)
{
    Load("[S]\n \t key \t = \t a b \t \n");
    EXPECT_EQ(Value("key"), "a b");
}

TEST_F(SimpleIniTest, OtherWhiteSpaceIsNotTrimmed)
{
    Load("[S]\na=\r b\v\r\r\n");
    EXPECT_EQ(Value("a"), "\r b\v\r");
    EXPECT_EQ(SimpleIni::Trim(" \f\t x\n "), "\f\t x\n");
}

TEST_F(SimpleIniTest, ValueBeginsBehindTheFirstEqualsSign)
{
    Load("[S]\nUrl = http://h/?a=1&b=2\n");
    EXPECT_EQ(Value("Url"), "http://h/?a=1&b=2");
}

TEST_F(SimpleIniTest, LineWithoutEqualsSignIsAKeyWithAnEmptyValue)
{
    Load("[S]\nkey\n");
    EXPECT_EQ(Value("key"), "");
    EXPECT_EQ(ini.GetValue<int>("S", "key", 77), 0);
}

TEST_F(SimpleIniTest, LastOfARepeatedKeyWins)
{
    Load("[S]\nk=1 ;one\nk=2\n");
    EXPECT_EQ(Value("k"), "2");
    EXPECT_EQ(ini.GetComment("S", "k"), "");
}

TEST_F(SimpleIniTest, LineOfBlanksIsAnEmptyKey)
{
    Load("[S]\na=1\n  \n");
    EXPECT_THAT(Keys("S"), ElementsAre("", "a"));
    EXPECT_EQ(Saved(), "[S]\n\na=1\n");
}

TEST_F(SimpleIniTest, EmptyLinesLeaveNothing)
{
    EXPECT_EQ(SavedAfterLoad("\n\r\n[S]\n\na=1\n\n"), "[S]\na=1\n");
}

// --- Section headers ----------------------------------------------------------------------------

TEST_F(SimpleIniTest, SectionNameIsTrimmedAndTheRestOfItsLineIgnored)
{
    Load("[ \tS ] k=no ;no\na=1\n");
    EXPECT_THAT(Sections(), ElementsAre("S"));
    EXPECT_THAT(Keys("S"), ElementsAre("a"));
}

TEST_F(SimpleIniTest, HeaderWithoutClosingBracketTakesTheWholeLine)
{
    Load("[ S ;x\nk=v\n");
    EXPECT_THAT(Sections(), ElementsAre("S ;x"));
}

TEST_F(SimpleIniTest, HeaderEndsAtTheFirstClosingBracket)
{
    Load("[S]T]\nk=v\n");
    EXPECT_EQ(Value("k"), "v");
}

TEST_F(SimpleIniTest, IndentedHeaderIsAKey)
{
    Load("[S]\n   [Sec]\nk=v\n");
    EXPECT_THAT(Keys("S"), ElementsAre("[Sec]", "k"));
    EXPECT_EQ(Value("[Sec]"), "");
}

TEST_F(SimpleIniTest, KeysBeforeTheFirstHeaderBelongToTheEmptyName)
{
    Load("k=v\n[S]\nk=w\n");
    EXPECT_EQ(ini.GetValue("", "k", "?"), "v");
    EXPECT_THAT(Sections(), ElementsAre("", "S"));
}

TEST_F(SimpleIniTest, SectionMetTwiceIsOneSection)
{
    Load("[S]\na=1\nb=1\n[T]\nc=1\n[S]\nb=2\n");
    EXPECT_EQ(Value("a"), "1");
    EXPECT_EQ(Value("b"), "2");
}

TEST_F(SimpleIniTest, HeaderWithoutKeysMakesNoSection)
{
    Load("[S]\n[T]\nk=v\n");
    EXPECT_THAT(Sections(), ElementsAre("T"));
}

// --- Comments -----------------------------------------------------------------------------------

TEST_F(SimpleIniTest, InlineCommentIsKeptUntrimmedWithoutItsCharacter)
{
    Load("[S]\nName = a b ;note\nName2 = a#b\nName3 = a ; b \n");
    EXPECT_EQ(Value("Name"), "a b");
    EXPECT_EQ(ini.GetComment("S", "Name"), "note");
    EXPECT_EQ(Value("Name2"), "a");
    EXPECT_EQ(ini.GetComment("S", "Name2"), "b");
    EXPECT_EQ(ini.GetComment("S", "Name3"), " b ");
}

TEST_F(SimpleIniTest, FirstOfTheTwoCommentCharactersCounts)
{
    Load("[S]\na = 1 #x;y\nb = 1 ;x#y\n");
    EXPECT_EQ(ini.GetComment("S", "a"), "x;y");
    EXPECT_EQ(ini.GetComment("S", "b"), "x#y");
}

TEST_F(SimpleIniTest, CommentBeforeTheEqualsSignCutsTheValueOff)
{
    Load("[S]\nkey ;a=b\n");
    EXPECT_EQ(Value("key"), "");
    EXPECT_EQ(ini.GetComment("S", "key"), "a=b");
}

TEST_F(SimpleIniTest, IndentedCommentBelongsToTheEmptyKey)
{
    EXPECT_EQ(SavedAfterLoad("[S]\n  ;note\nk=v\n"), "[S]\n#note\nk=v\n");
    EXPECT_EQ(ini.GetComment("S", ""), "note");
}

TEST_F(SimpleIniTest, ValueOfTheEmptyKeyIsReadAndNotSaved)
{
    EXPECT_EQ(SavedAfterLoad("[S]\n=v\n"), "[S]\n\n");
    EXPECT_EQ(Value(""), "v");
}

TEST_F(SimpleIniTest, CommentLinesBelongToWhatFollowsThem)
{
    EXPECT_EQ(SavedAfterLoad("; of S\n[S]\n# of b\n;more\nb=1\n#of a\na=1\n"),
              "# of S\n[S]\n#of a\na=1\n# of b\n#more\nb=1\n");
}

TEST_F(SimpleIniTest, EmptyCommentLineThatComesFirstAddsNothing)
{
    EXPECT_EQ(SavedAfterLoad("#\n#\n#a\n#\n#b\nk=v\n"), "#a\n#\n#b\nk=v\n");
}

TEST_F(SimpleIniTest, EmptyCommentLineThatComesLastIsKept)
{
    EXPECT_EQ(SavedAfterLoad("#a\n#\nk=v\n"), "#a\n#\nk=v\n");
}

TEST_F(SimpleIniTest, CommentLinesAtTheEndAreDropped)
{
    EXPECT_EQ(SavedAfterLoad("[S]\nk=v\n; the end\n"), "[S]\nk=v\n");
}

TEST_F(SimpleIniTest, CommentTextIsKeptUntrimmed)
{
    EXPECT_EQ(SavedAfterLoad(";  two blanks \nk=v\n"), "#  two blanks \nk=v\n");
}

// --- Saving -------------------------------------------------------------------------------------

TEST_F(SimpleIniTest, SavesSectionsAndKeysInByteOrderWithAnEmptyLineBetween)
{
    EXPECT_EQ(SavedAfterLoad("[b]\nz=1\nB=2\na=3\n[B]\nk=4\n[A]\nk = 5\n"),
              "[A]\nk=5\n\n[B]\nk=4\n\n[b]\nB=2\na=3\nz=1\n");
}

TEST_F(SimpleIniTest, SavesTheUnnamedSectionFirstAndWithoutHeader)
{
    EXPECT_EQ(SavedAfterLoad("k=0 # in\n[A]\nk=1\n"), "k=0\t; in\n\n[A]\nk=1\n");
}

TEST_F(SimpleIniTest, SavedDocumentLoadsAndSavesTheSame)
{
    const std::string once = SavedAfterLoad("#d\nk\n; of S\n[S]\nb = 1 #c\n[A]\nx\n");
    EXPECT_EQ(once, "#d\nk=\n\n[A]\nx=\n\n# of S\n[S]\nb=1\t;c\n");
    SimpleIni again(kOut);
    EXPECT_TRUE(again.SaveAs("again.ini"));
    EXPECT_EQ(read_file("again.ini"), once);
}

TEST_F(SimpleIniTest, EmptyKeyIsSavedWithTheDescriptionOfItsSection)
{
    // Both stand under the empty name.
    EXPECT_EQ(SavedAfterLoad("# of S\n[S]\n  ;note\na=1\n"), "# of S\n[S]\n# of S\n#note\na=1\n");
}

TEST_F(SimpleIniTest, SaveDescriptionWritesEachPieceBehindAHash)
{
    Load(";one\n;two\n[S]\nk=v\n");
    std::ofstream out(kOut);
    ini.SaveDescription("S", "", out);
    ini.SaveDescription("S", "k", out);
    ini.SaveDescription("none", "none", out);
    out.close();
    EXPECT_EQ(read_file(kOut), "#one\n#two\n");
}

// --- Look-ups -----------------------------------------------------------------------------------

TEST_F(SimpleIniTest, MissingNamesGiveTheDefaultAndInsertNothing)
{
    Load("[S]\nk=v\n");
    EXPECT_EQ(ini.GetValue("S", "none", "dflt"), "dflt");
    EXPECT_EQ(ini.GetValue("None", "k", "dflt"), "dflt");
    EXPECT_EQ(ini.GetValue<int>("S", "none", 15), 15);
    EXPECT_EQ(ini.GetValue<int>("None", "k", -15), -15);
    EXPECT_EQ(ini.GetComment("None", "k"), "");
    EXPECT_EQ(ini.GetComment("S", "none"), "");
    EXPECT_EQ(Saved(), "[S]\nk=v\n");
}

TEST_F(SimpleIniTest, NamesAreCaseSensitive)
{
    Load("[S]\nk=v\n");
    EXPECT_EQ(ini.GetValue("s", "k", "?"), "?");
    EXPECT_EQ(ini.GetValue("S", "K", "?"), "?");
}

TEST_F(SimpleIniTest, PresentEmptyValueIsNotTheDefault)
{
    Load("[S]\nk=\n");
    EXPECT_EQ(Value("k"), "");
    EXPECT_EQ(ini.GetValue<int>("S", "k", 15), 0);
}

TEST_F(SimpleIniTest, IntegerIsReadAsFarAsItsDigitsGo)
{
    EXPECT_EQ(IntOf("42"), 42);
    EXPECT_EQ(IntOf("-5"), -5);
    EXPECT_EQ(IntOf("+5"), 5);
    EXPECT_EQ(IntOf("12abc"), 12);
    EXPECT_EQ(IntOf("3.9"), 3);
    EXPECT_EQ(IntOf("010"), 10);
    EXPECT_EQ(IntOf("0x10"), 0);
}

TEST_F(SimpleIniTest, IntegerWithoutDigitsIsZero)
{
    EXPECT_EQ(IntOf("abc"), 0);
    EXPECT_EQ(IntOf("-"), 0);
    EXPECT_EQ(IntOf(" ;5"), 0);
}

TEST_F(SimpleIniTest, IntegerBeyondTheRangeIsTheNearestLimit)
{
    EXPECT_EQ(IntOf("2147483647"), INT_MAX);
    EXPECT_EQ(IntOf("2147483648"), INT_MAX);
    EXPECT_EQ(IntOf("-99999999999999999999"), INT_MIN);
}

TEST_F(SimpleIniTest, ASemicolonThatWasSetCountsAsMissingForAnInteger)
{
    ini.SetValue("S", "k", ";");
    EXPECT_EQ(ini.GetValue<int>("S", "k", 15), 15);
    EXPECT_EQ(Value("k"), ";");
}

// --- Changes ------------------------------------------------------------------------------------

TEST_F(SimpleIniTest, SetValueMakesSectionAndKeyAndKeepsTheComment)
{
    Load("[S]\nk=1 ;note\n");
    ini.SetValue("S", "k", "2");
    ini.SetValue("T", "n", "3");
    EXPECT_EQ(Saved(), "[S]\nk=2\t;note\n\n[T]\nn=3\n");
}

TEST_F(SimpleIniTest, SetCommentMakesSectionAndKeyAndKeepsTheValue)
{
    Load("[S]\nk=1 ;note\n");
    ini.SetComment("S", "k", " new");
    ini.SetComment("T", "n", "only");
    EXPECT_EQ(Saved(), "[S]\nk=1\t; new\n\n[T]\nn=\t;only\n");
    EXPECT_EQ(ini.GetComment("T", "n"), "only");
}

TEST_F(SimpleIniTest, DeleteKeyReturnsTheNumberErased)
{
    Load("[S]\na=1\nb=2\n");
    EXPECT_EQ(ini.DeleteKey("S", "a"), 1U);
    EXPECT_EQ(ini.DeleteKey("S", "a"), 0U);
    EXPECT_EQ(Saved(), "[S]\nb=2\n");
}

TEST_F(SimpleIniTest, DeleteKeyMakesAMissingSection)
{
    EXPECT_EQ(ini.DeleteKey("S", "a"), 0U);
    EXPECT_THAT(Sections(), ElementsAre("S"));
    EXPECT_EQ(Saved(), "[S]\n");
}

// --- Iteration ----------------------------------------------------------------------------------

TEST_F(SimpleIniTest, KeysComeInByteOrder)
{
    Load("[S]\nb=1\n10=1\n9=1\nB=1\n");
    EXPECT_THAT(Keys("S"), ElementsAre("10", "9", "B", "b"));
}

TEST_F(SimpleIniTest, KeysOfAMissingSectionAreAnEmptyRange)
{
    EXPECT_TRUE(ini.beginKey("None") == ini.endKey("None")); // not a section at all
    Load("[S]\nk=v\n");
    EXPECT_TRUE(ini.beginKey("None") == ini.endKey("None"));
    EXPECT_THAT(Sections(), ElementsAre("S"));
}

// --- Text routines ------------------------------------------------------------------------------

TEST(SimpleIniText, ParasitCarTakesOneControlCharacterOffTheEnd)
{
    const auto without = [](std::string line)
    {
        SimpleIni::ParasitCar(line);
        return line;
    };
    EXPECT_EQ(without(""), "");
    EXPECT_EQ(without("\r"), "");
    EXPECT_EQ(without("a\t\r"), "a\t");
    EXPECT_EQ(without("a\x1f"), "a");
    EXPECT_EQ(without("a "), "a ");
    EXPECT_EQ(without("a\x7f"), "a\x7f");
    EXPECT_EQ(without("\xff"), "\xff");
}

TEST(SimpleIniText, TrimDropsBlanksAndTabsOnly)
{
    EXPECT_EQ(SimpleIni::Trim(" \t a \t b\t "), "a \t b");
    EXPECT_EQ(SimpleIni::Trim(" \t "), "");
    EXPECT_EQ(SimpleIni::Trim(""), "");
    EXPECT_EQ(SimpleIni::Trim("\ra\v "), "\ra\v");
    EXPECT_EQ(SimpleIni::Trim("\v\fa\f\r"), "\v\fa\f\r");
}
