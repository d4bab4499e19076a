// Fixture of the profile-string functions: one INI file in a folder of its own.
//
//     Given("[A]\nk=v\n");
//     EXPECT_EQ(Read("A", "k"), "v");
//     EXPECT_EQ(AfterWrite("A", "k", "w"), "[A]\nk=w\n");
#pragma once

#include <gmock/gmock.h>
#include <string>

#include "vkPub/vkLog.h"

class ProfileTest : public testing::Test
{
protected:
    ProfileTest();
    ~ProfileTest() override;
    ProfileTest(const ProfileTest&) = delete;
    ProfileTest& operator=(const ProfileTest&) = delete;

    void Given(const std::string& text) const;
    std::string Text() const; // of the file

    // The value, or "(missing)".
    std::string Read(const char* section, const char* key) const;

    // The file's text after a write that says it succeeded.
    std::string AfterWrite(const char* section, const char* key, const char* value) const;

private:
    std::string m_dir;

protected:
    std::string path; // of a file that does not exist before Given or a write
};
