// The rows of the kinds of bodies.
#include "app/AppBodyKinds.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

TEST(AppBodyKinds, NamesAndMarksAreTold)
{
    std::set<std::string> names;
    std::set<std::string> marks;
    for (const BodyKindRow& row : body_kinds())
    {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_TRUE(row.mark == nullptr || marks.insert(row.mark).second) << row.name;
    }
    EXPECT_EQ(names, (std::set<std::string>{"alarm", "camera", "device", "general", "host", "input",
                                            "output"}));
}

TEST(AppBodyKinds, EveryBodyBeginsWithTheDepartment)
{
    for (const BodyKindRow& row : body_kinds())
    {
        EXPECT_EQ(row.Field(HeadValue::kSuid).source, HeadSource::kSetting) << row.name;
    }
}

TEST(AppBodyKinds, WhatIsReadFromARowHasItsColumn)
{
    for (const BodyKindRow& row : body_kinds())
    {
        for (const HeadField& field : row.head)
        {
            if (field.source == HeadSource::kColumn || field.source == HeadSource::kState)
            {
                EXPECT_NE(field.column, nullptr) << row.name;
            }
        }
    }
}

TEST(AppBodyKinds, TimesAreThoseOfTheRowWhereItHasOne)
{
    const auto time = [](BodyKind kind)
    {
        return body_kind(kind).Column(HeadValue::kTime);
    };
    EXPECT_STREQ(time(BodyKind::kDevice), "DateUpd");
    EXPECT_STREQ(time(BodyKind::kOutput), "DateUpd");
    EXPECT_STREQ(time(BodyKind::kInput), "LastUpd");
    EXPECT_STREQ(time(BodyKind::kAlarm), "LastUpd");
    EXPECT_EQ(time(BodyKind::kCamera), nullptr);
    EXPECT_EQ(time(BodyKind::kHost), nullptr);
}

TEST(AppBodyKinds, InputsAndOutputsAreOneStepAndAlarmsNone)
{
    EXPECT_EQ(body_kind(BodyKind::kDevice).step, 0);
    EXPECT_EQ(body_kind(BodyKind::kInput).step, body_kind(BodyKind::kOutput).step);
    EXPECT_EQ(body_kind(BodyKind::kHost).step, kSweepSteps - 1);
    EXPECT_EQ(body_kind(BodyKind::kAlarm).step, kNoStep);
}

} // namespace
