// Files that write_profile_string makes, as both readers of INI files see them, tried on many
// random ones. The seed is fixed: a failure comes again.
//
// The readers agree where names have no common beginnings and values no blanks at their ends and
// none of the characters ";", "#", "%".
#include <map>
#include <random>
#include <unistd.h>

#include "common/SimpleIni.h"
#include "tests/vkPub/ProfileTest.h"

namespace
{

constexpr int kFiles = 60;
constexpr unsigned int kWrites = 30;
constexpr unsigned int kNames = 7;

using Keys = std::map<std::string, std::string>;

class ProfileProperties : public ProfileTest
{
protected:
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_engine() % limit); }

    // Names of one length: none is the beginning of another.
    std::string Name(const char* kind) { return kind + std::string(1, "abcdefg"[Below(kNames)]); }

    std::string Value()
    {
        const std::string inner = "ab=[]{}.:/\\$&'\" \t\xE5\x8A\xA8";
        std::string value;
        for (unsigned int left = Below(12); left > 0; --left)
        {
            value += inner[Below(static_cast<unsigned int>(inner.size()))];
        }
        return value.empty() ? value : "<" + value + ">";
    }

    // Writes a random key and remembers it.
    void WriteOne()
    {
        const std::string section = Name("sec");
        const std::string key = Name("key");
        const std::string value = Value();
        ASSERT_EQ(write_profile_string(section.c_str(), key.c_str(), value.c_str(), path.c_str()),
                  1);
        written[section][key] = value;
    }

    std::map<std::string, Keys> written;

private:
    std::mt19937 m_engine{20240229};
};

TEST_F(ProfileProperties, BothReadersFindWhatWasWritten)
{
    for (int file = 0; file < kFiles; ++file)
    {
        unlink(path.c_str());
        written.clear();
        for (unsigned int i = Below(kWrites); i > 0; --i)
        {
            WriteOne();
        }
        SimpleIni ini("");
        ASSERT_EQ(ini.Load(path), !written.empty());
        for (const auto& [section, keys] : written)
        {
            for (const auto& [key, value] : keys)
            {
                EXPECT_EQ(Read(section.c_str(), key.c_str()), value);
                EXPECT_EQ(ini.GetValue(section, key, "(missing)"), value);
            }
        }
    }
}

TEST_F(ProfileProperties, FileHoldsWhatWasWrittenAndNothingElse)
{
    for (int file = 0; file < kFiles; ++file)
    {
        WriteOne();
        SimpleIni ini(path);
        std::map<std::string, Keys> found;
        for (auto section = ini.beginSection(); section != ini.endSection(); ++section)
        {
            for (auto key = ini.beginKey(*section); key != ini.endKey(*section); ++key)
            {
                found[*section][*key] = ini.GetValue(*section, *key, "");
            }
        }
        EXPECT_EQ(found, written);
    }
}

TEST_F(ProfileProperties, FileSavedByTheDocumentIsReadByTheFunctions)
{
    for (int file = 0; file < kFiles; ++file)
    {
        WriteOne();
        SimpleIni ini(path);
        ASSERT_TRUE(ini.Save());
        for (const auto& [section, keys] : written)
        {
            for (const auto& [key, value] : keys)
            {
                EXPECT_EQ(Read(section.c_str(), key.c_str()), value);
            }
        }
    }
}

TEST_F(ProfileProperties, NumbersReadTheSameInBothReaders)
{
    for (int i = 0; i < kFiles; ++i)
    {
        const int number = static_cast<int>(Below(0x7FFFFFFF)) - 0x3FFFFFFF;
        write_profile_string("A", "k", std::to_string(number).c_str(), path.c_str());
        EXPECT_EQ(read_profile_int("A", "k", 7, path.c_str()), number);
        EXPECT_EQ(SimpleIni(path).GetValue<int>("A", "k", 7), number);
    }
}

} // namespace
