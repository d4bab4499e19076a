#include "tests/vkPub/ProfileTest.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace
{

std::string make_folder()
{
    std::string dir = "/tmp/vkprofile.XXXXXX";
    EXPECT_NE(mkdtemp(dir.data()), nullptr);
    return dir;
}

} // namespace

ProfileTest::ProfileTest() : m_dir(make_folder()), path(m_dir + "/some.ini")
{
}

ProfileTest::~ProfileTest()
{
    std::error_code ignored; // a folder left behind fails no test
    std::filesystem::remove_all(m_dir, ignored);
}

void ProfileTest::Given(const std::string& text) const
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string ProfileTest::Text() const
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string ProfileTest::Read(const char* section, const char* key) const
{
    char value[256];
    read_profile_string(section, key, value, sizeof(value), "(missing)", path.c_str());
    return value;
}

std::string ProfileTest::AfterWrite(const char* section, const char* key, const char* value) const
{
    EXPECT_EQ(write_profile_string(section, key, value, path.c_str()), 1);
    return Text();
}
