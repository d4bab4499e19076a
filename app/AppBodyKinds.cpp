// The rows of the kinds of bodies.
#include "app/AppBodyKinds.h"

namespace
{

using Kind = BodyKind;
using Source = HeadSource;

constexpr HeadField kDept = {Source::kSetting, nullptr};
constexpr HeadField kSetting = {Source::kSetting, nullptr};
constexpr HeadField kZero = {Source::kZero, nullptr};
constexpr HeadField kNow = {Source::kNow, nullptr};

constexpr HeadField column(const char* name)
{
    return {Source::kColumn, name};
}

constexpr BodyKindRows kRows = {{
    {Kind::kDevice,
     "device",
     nullptr,
     0,
     {{kDept,
       column("SID"),
       column("Type"),
       column("Tag1"),
       {Source::kKnownFirst, "Name"},
       column("ASubSys"),
       column("DateUpd"),
       {Source::kState, "State"}}}},
    {Kind::kGeneral,
     "general",
     nullptr,
     1,
     {{kDept, {Source::kPlace, nullptr}, kSetting, kZero, kSetting, kZero, kNow, kSetting}}},
    {Kind::kInput,
     "input",
     "psid",
     2,
     {{kDept,
       column("SID"),
       column("Type"),
       column("Tag1"),
       column("Name"),
       column("ASubSys"),
       column("LastUpd"),
       {Source::kState, "State"}}}},
    {Kind::kOutput,
     "output",
     "DoState",
     2,
     {{kDept,
       column("SID"),
       column("Type"),
       {Source::kOutput, nullptr},
       {Source::kOutput, nullptr},
       kZero,
       column("DateUpd"),
       {Source::kOutputState, nullptr}}}},
    {Kind::kCamera,
     "camera",
     "info",
     3,
     {{kDept,
       column("SID"),
       column("Type"),
       column("Tag1"),
       column("Name"),
       column("ASubSys"),
       kNow,
       {Source::kState, "State"}}}},
    {Kind::kHost,
     "host",
     "cpu1",
     4,
     {{kDept, kZero, kZero, kZero, kSetting, kZero, kNow, kSetting}}},
    {Kind::kAlarm,
     "alarm",
     "level",
     kNoStep,
     {{kDept,
       column("SID"),
       column("Type"),
       kZero,
       {Source::kKnownName, nullptr},
       {Source::kAlarmClass, "Type"},
       column("LastUpd"),
       {Source::kAlarmState, "Alm"}}}},
}};

constexpr bool is_in_order()
{
    for (size_t i = 0; i < kRows.size(); ++i)
    {
        if (static_cast<size_t>(kRows[i].kind) != i || kRows[i].name == nullptr)
        {
            return false;
        }
    }
    return true;
}
static_assert(is_in_order(), "each kind has its row, at its place");

// The kinds of a step stand side by side, in the order of the steps.
constexpr bool has_every_step()
{
    int last = kNoStep;
    for (const BodyKindRow& row : kRows)
    {
        if (row.step != last && row.step != last + 1 && row.step != kNoStep)
        {
            return false;
        }
        last = row.step != kNoStep ? row.step : last;
    }
    return last == kSweepSteps - 1;
}
static_assert(has_every_step(), "each step makes the bodies of a kind");

} // namespace

const BodyKindRows& body_kinds()
{
    return kRows;
}

const BodyKindRow& body_kind(BodyKind kind)
{
    return kRows.at(static_cast<size_t>(kind));
}
