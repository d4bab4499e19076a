// A fixture with a poster on scripted databases: default head format, state texts "0" to "3",
// department "xxx", no configuration otherwise. Nothing is initialised, nothing waits.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

#include "app/AppPost.h"
#include "tests/support/FakeDb.h"
#include "tests/support/Recorder.h"

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

class PosterTest : public ::testing::Test
{
protected:
    PosterTest();

    // Settings of one section: Ini("POST.xFld", {"5.Run=1", "5.Runx=unknown"}).
    void Ini(const std::string& section, std::initializer_list<std::string> lines);

    // A text of the given length.
    static std::string Long(size_t length, char letter = 'x')
    {
        return std::string(length, letter);
    }

    Recorder& rec = Recorder::Get();
    FakeDb db;     // the data database
    FakeDb db_alm; // the alarm database
    CAppPost app;  // goes first, databases later
};
