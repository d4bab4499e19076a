// What the profile-string functions leave behind: no descriptor, also when a write fails.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>

#include "tests/vkPub/ProfileTest.h"

namespace
{

bool fail_next_write = false; // one thread

long open_descriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

class ProfileFiles : public ProfileTest
{
protected:
    ProfileFiles() { Given("[A]\nk=v\n"); }
    int Write(const char* section, const char* key, const char* value) const
    {
        return write_profile_string(section, key, value, path.c_str());
    }
};

} // namespace

// In the place of the C library's: fails once when it is told to, then the file takes text again.
extern "C" int fputs(const char* text, FILE* file)
{
    if (fail_next_write)
    {
        fail_next_write = false;
        return EOF;
    }
    return std::fwrite(text, 1, std::strlen(text), file) == std::strlen(text) ? 1 : EOF;
}

TEST_F(ProfileFiles, ReadingLeavesNoDescriptorOpen)
{
    const long before = open_descriptors();
    EXPECT_EQ(Read("A", "k"), "v");
    EXPECT_EQ(Read("B", "k"), "(missing)");
    EXPECT_EQ(read_profile_int("A", "k", 5, path.c_str()), 0);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ProfileFiles, WritingLeavesNoDescriptorOpen)
{
    const long before = open_descriptors();
    EXPECT_EQ(Write("A", "k", "w"), 1); // a value
    EXPECT_EQ(Write("A", "l", "w"), 1); // a key
    EXPECT_EQ(Write("B", "k", "w"), 1); // a section
    EXPECT_EQ(Write("A", "k", std::string(MAX_FILE_SIZE, 'x').c_str()), 0);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ProfileFiles, FailedWriteLeavesNoDescriptorOpen)
{
    const long before = open_descriptors();
    fail_next_write = true;
    EXPECT_EQ(Write("A", "k", "w"), 0);
    EXPECT_EQ(write_profile_string("A", "k", "v", (path + "/no/such").c_str()), 0);
    EXPECT_EQ(open_descriptors(), before);
}

// The close has nothing left to complain about then.
TEST_F(ProfileFiles, WriteThatFailsBeforeACloseThatSucceedsIsReported)
{
    fail_next_write = true;
    EXPECT_EQ(Write("A", "k", "w"), 0);
    EXPECT_FALSE(fail_next_write);
}

TEST_F(ProfileFiles, NewSectionStandsBeforeANulThatEndsTheFile)
{
    Given(std::string("[A]\nk=v\n\0j=1\n", 13));
    EXPECT_EQ(AfterWrite("B", "x", "1"), "[A]\nk=v\n\n[B]\nx=1\n");
}

TEST_F(ProfileFiles, EveryWhiteSpaceBehindAHeaderIsSkipped)
{
    Given("[A] \t\v\f\r\n\t j=1\n");
    EXPECT_EQ(AfterWrite("A", "k", "v"), "[A] \t\v\f\r\n\t k=v\nj=1\n");
}
