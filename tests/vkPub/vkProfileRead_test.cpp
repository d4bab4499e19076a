// Reading profile strings and numbers, also on a thread with a small stack.
#include <pthread.h>
#include <utility>

#include "tests/vkPub/ProfileTest.h"

namespace
{

class ReadProfileString : public ProfileTest
{
protected:
    // The result, and what the buffer of 8 question marks holds then.
    std::pair<int, std::string> ReadInto(int size, const char* fallback)
    {
        std::string buffer(8, '?');
        const int found =
            read_profile_string("A", "k", buffer.data(), size, fallback, path.c_str());
        return {found, buffer};
    }
};

TEST_F(ReadProfileString, FindsTheValue)
{
    Given("[A]\nk=v\n");
    EXPECT_EQ(Read("A", "k"), "v");
}

TEST_F(ReadProfileString, KeepsTheBlanksOfTheValue)
{
    Given("[A]\r\nk= v ;x\t\r\n");
    EXPECT_EQ(Read("A", "k"), " v ;x\t");
}

TEST_F(ReadProfileString, ZeroesTheBufferBehindTheValue)
{
    Given("[A]\nk=abc\n");
    EXPECT_EQ(ReadInto(6, "-"), std::pair(1, std::string("abc\0\0\0??", 8)));
}

TEST_F(ReadProfileString, CutsTheValueToTheBuffer)
{
    Given("[A]\nk=abcdef\n");
    EXPECT_EQ(ReadInto(4, "-"), std::pair(1, std::string("abc\0????", 8)));
    EXPECT_EQ(ReadInto(1, "-"), std::pair(1, std::string("\0???????", 8)));
}

TEST_F(ReadProfileString, DefaultIsFilledUpWithZeros)
{
    EXPECT_EQ(ReadInto(6, "xy"), std::pair(0, std::string("xy\0\0\0\0??", 8)));
}

TEST_F(ReadProfileString, DefaultThatFillsTheBufferIsNotTerminated)
{
    EXPECT_EQ(ReadInto(2, "xyz"), std::pair(0, std::string("xy??????")));
}

TEST_F(ReadProfileString, WithoutADefaultTheBufferStays)
{
    EXPECT_EQ(ReadInto(6, nullptr), std::pair(0, std::string("????????")));
}

TEST_F(ReadProfileString, TakesTheDefaultForWhatIsMissing)
{
    Given("[A]\nk=v\n");
    EXPECT_EQ(Read("A", "x"), "(missing)");
    EXPECT_EQ(Read("B", "k"), "(missing)");
}

TEST_F(ReadProfileString, SeesNothingBehindAByteFf)
{
    Given("[A]\na=1\n\xFFk=v\n");
    EXPECT_EQ(Read("A", "a"), "1");
    EXPECT_EQ(Read("A", "k"), "(missing)");
}

using ReadProfileStringDeathTest = ReadProfileString;

TEST_F(ReadProfileStringDeathTest, SectionAndKeyMustBeThere)
{
    EXPECT_DEATH(Read(nullptr, "k"), "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(Read("", "k"), "section != NULL && strlen\\(section\\)");
    EXPECT_DEATH(Read("A", nullptr), "key != NULL && strlen\\(key\\)");
    EXPECT_DEATH(Read("A", ""), "key != NULL && strlen\\(key\\)");
}

TEST_F(ReadProfileStringDeathTest, BufferSizeAndFileMustBeThere)
{
    char value[8];
    EXPECT_DEATH(read_profile_string("A", "k", nullptr, 8, "", path.c_str()), "value != NULL");
    EXPECT_DEATH(read_profile_string("A", "k", value, 0, "", path.c_str()), "size > 0");
    EXPECT_DEATH(read_profile_string("A", "k", value, -1, "", path.c_str()), "size > 0");
    EXPECT_DEATH(read_profile_string("A", "k", value, 8, "", nullptr),
                 "file != NULL && strlen\\(key\\)");
}

class ReadProfileInt : public ProfileTest
{
protected:
    // The number that a value reads as; 7 is the default.
    int Number(const std::string& value)
    {
        Given("[A]\nk=" + value + "\n");
        return read_profile_int("A", "k", 7, path.c_str());
    }
};

TEST_F(ReadProfileInt, ReadsADecimalNumber)
{
    EXPECT_EQ(Number("42"), 42);
    EXPECT_EQ(Number("-5"), -5);
    EXPECT_EQ(Number("  +12abc"), 12);
    EXPECT_EQ(Number("010"), 10);
    EXPECT_EQ(Number("0x10"), 0);
}

TEST_F(ReadProfileInt, ValueThatIsNoNumberIsZeroAndNotTheDefault)
{
    EXPECT_EQ(Number("abc"), 0);
    EXPECT_EQ(Number(""), 0);
}

TEST_F(ReadProfileInt, Reads31Characters)
{
    EXPECT_EQ(Number(std::string(30, '0') + "12"), 1);
}

TEST_F(ReadProfileInt, TakesTheDefaultForWhatIsMissing)
{
    EXPECT_EQ(read_profile_int("A", "k", 7, path.c_str()), 7);
    Given("[A]\nx=1\n");
    EXPECT_EQ(read_profile_int("A", "k", 7, path.c_str()), 7);
}

using ReadProfileIntDeathTest = ReadProfileInt;

TEST_F(ReadProfileIntDeathTest, ArgumentsMustBeThere)
{
    EXPECT_DEATH(read_profile_int("", "k", 7, path.c_str()), "section != NULL");
    EXPECT_DEATH(read_profile_int("A", "", 7, path.c_str()), "key != NULL");
    EXPECT_DEATH(read_profile_int("A", "k", 7, nullptr), "file != NULL && strlen\\(key\\)");
}

// Runs a function on a thread with a stack of 256 KiB and returns what it returned.
int on_small_stack(int (*run)(const char*), const std::string& path)
{
    struct Call
    {
        int (*run)(const char*);
        const char* path;
        int result;
    } call{run, path.c_str(), -1};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, size_t{256} * 1024), 0);
    const auto body = [](void* argument) -> void*
    {
        auto* made = static_cast<Call*>(argument);
        made->result = made->run(made->path);
        return nullptr;
    };
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, body, &call), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return call.result;
}

TEST_F(ProfileTest, ThreadWithASmallStackReadsAndWrites)
{
    const auto write = [](const char* file)
    {
        return write_profile_string("A", "k", "5", file);
    };
    const auto read = [](const char* file)
    {
        return read_profile_int("A", "k", 7, file);
    };
    EXPECT_EQ(on_small_stack(write, path), 1);
    EXPECT_EQ(on_small_stack(read, path), 5);
}

} // namespace
