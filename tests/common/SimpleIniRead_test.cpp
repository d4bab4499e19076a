// A document whose file cannot be read to its end: the system's reads and the memory fail as the
// test says. A program of its own, since it replaces both.
#include "common/SimpleIni.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/TempDir.h"

namespace
{

struct SystemScript
{
    int reads_left = -1;             // reads that succeed before one fails; -1: all do
    size_t largest_bytes = SIZE_MAX; // no larger piece of memory is to be had
};
SystemScript script;

} // namespace

extern "C" ssize_t read(int fd, void* buffer, size_t size)
{
    if (script.reads_left == 0)
    {
        errno = EIO;
        return -1;
    }
    script.reads_left -= script.reads_left > 0 ? 1 : 0;
    return syscall(SYS_read, fd, buffer, size);
}

// Not inlined: the compiler would take them for halves of different pairs.
__attribute__((noinline)) void* operator new(size_t size)
{
    void* memory = size <= script.largest_bytes ? std::malloc(size) : nullptr;
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept
{
    std::free(memory);
}

__attribute__((noinline)) void operator delete(void* memory, size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace
{

// Of some 70 kB, read in several pieces.
std::string many_keys()
{
    std::string text = "[S]\n";
    for (int i = 0; i < 5000; ++i)
    {
        text += "key" + std::to_string(i) + "=value\n";
    }
    return text;
}

class SimpleIniRead : public ::testing::Test
{
protected:
    void TearDown() override { script = {}; }

    bool IsEmpty() const { return !(ini.beginSection() != ini.endSection()); }

    CTempDir dir;
    SimpleIni ini{""};
};

} // namespace

TEST_F(SimpleIniRead, FailureInTheMiddleKeepsNothing)
{
    write_file("in.ini", many_keys());
    script.reads_left = 3;
    EXPECT_FALSE(ini.Load("in.ini"));
    EXPECT_EQ(ini.ReadError(), EIO);
    EXPECT_TRUE(IsEmpty());
}

TEST_F(SimpleIniRead, ReadAgainItIsWhole)
{
    write_file("in.ini", many_keys());
    script.reads_left = 3;
    ini.Load("in.ini");
    script.reads_left = -1;
    EXPECT_TRUE(ini.Load("in.ini"));
    EXPECT_EQ(ini.ReadError(), 0);
    EXPECT_EQ(ini.GetValue("S", "key4999", "?"), "value");
}

TEST_F(SimpleIniRead, FolderCanBeOpenedAndNotRead)
{
    std::filesystem::create_directory("in.ini");
    EXPECT_FALSE(ini.Load("in.ini"));
    EXPECT_EQ(ini.ReadError(), EISDIR);
}

TEST_F(SimpleIniRead, FileThatCannotBeOpenedIsNoFailedRead)
{
    std::filesystem::create_directory("in.ini");
    ini.Load("in.ini");
    EXPECT_FALSE(ini.Load("missing.ini"));
    EXPECT_EQ(ini.ReadError(), 0);
}

TEST_F(SimpleIniRead, ConstructorThrowsForAFailedReadAsWell)
{
    std::filesystem::create_directory("in.ini");
    EXPECT_THROW(SimpleIni("in.ini"), std::string);
}

TEST_F(SimpleIniRead, LackOfMemoryIsThrownAndKeepsNothing)
{
    write_file("in.ini", "[S]\nfirst=1\nlong=" + std::string(100000, 'x') + "\nlast=1\n");
    script.largest_bytes = 50000;
    EXPECT_THROW(ini.Load("in.ini"), std::bad_alloc);
    script = {};
    EXPECT_TRUE(IsEmpty());
    EXPECT_EQ(ini.ReadError(), 0);
}
