// The kinds of bodies that the daemon posts: one row for each, by which it composes their heads and
// makes its sweep, and by which tools name, make and explain them. Who adds a kind adds a row; what
// goes by the rows has it then.
#pragma once

#include <array>
#include <cstddef>

enum class BodyKind
{
    kDevice,
    kGeneral,
    kInput,
    kOutput,
    kCamera,
    kHost,
    kAlarm,
    kOther // no body of the daemon's; the number of its kinds
};

// The eight values of a head, in the order in which Fmt0 takes them.
enum class HeadValue
{
    kSuid,
    kSid,
    kType,
    kTag,
    kName,
    kSubSystem,
    kTime,
    kState,
    kCount // of them
};

enum class HeadSource
{
    kSetting,     // text of the configuration: Dept, DeptName, State0, or of the table's own
    kColumn,      // of the row, as it is
    kState,       // the configured text of the number in the column
    kKnownName,   // the name that discovery has read for the SID
    kKnownFirst,  // the same, the column where it has read none
    kZero,        // always 0
    kPlace,       // 900 and the table's place among the general ones
    kOutput,      // number of the output, or made from it
    kOutputState, // the configured text of the number in the output's own column
    kNow,         // time of reading
    kAlarmClass,  // of the column, refined by the title
    kAlarmState   // active or cleared, by a bit of the column
};

struct HeadField
{
    HeadSource source;
    const char* column; // that is read; null where none is
};

constexpr int kSweepSteps = 5;
constexpr int kNoStep = -1;

struct BodyKindRow
{
    BodyKind kind;
    const char* name; // as tools call it, "device"
    const char* mark; // the pair behind the head that no other kind has; null: none
    int step; // of a sweep that makes its bodies, from 0; kNoStep: they are posted at a signal
    std::array<HeadField, static_cast<size_t>(HeadValue::kCount)> head;

    const HeadField& Field(HeadValue value) const { return head.at(static_cast<size_t>(value)); }
    const char* Column(HeadValue value) const { return Field(value).column; }
};

using BodyKindRows = std::array<BodyKindRow, static_cast<size_t>(BodyKind::kOther)>;

const BodyKindRows& body_kinds(); // those of a sweep first and in its order
const BodyKindRow& body_kind(BodyKind kind);

// The routine of a step, which is below kSweepSteps; see AppSweep.cpp.
class CAppPost;
using SweepStep = void (CAppPost::*)();
SweepStep sweep_step(size_t step);
