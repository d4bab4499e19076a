// What the routines that compose bodies tell of their work, as they do it: which body begins, what
// each part of it comes from, what is left out and why.
//
// In the daemon the functions are empty (AppBodyReport.cpp): nothing looks at what they are told.
// A program that explains or judges bodies links definitions of its own, and asks the rows, which
// stand where they stood when the part was made, for the values behind it. Main thread, or the
// alarm routine's.
#pragma once

#include <cstddef>

#include "app/AppHeadFormat.h"
#include "app/AppRows.h"

// How a part of a body is made.
enum class BodyPart
{
    kHead,  // one group of Fmt0, from "&" to "&"
    kPair,  // one "&name=value"
    kGroup, // several pairs, or one, of numbers only
};

enum class PartOrigin
{
    kHead,       // that many values of the head, behind those of the group in front of it
    kRendered,   // a column of the row by its number, rendered for a type
    kText,       // a column of the row, as it is
    kNumber,     // a column of the row, as a number
    kDetailRow,  // a row of a detail table, in its mode
    kAlarmLevel, // the class in a column of an alarm
    kNotCleared, // the time that an alarm which has not been cleared does not have
    kNothing,    // always empty
    kLoad,       // the host's load
    kSystem      // the host's memory, clock and flash
};

// Where a part comes from. Borrows rows and names.
struct PartSource
{
    PartOrigin origin = PartOrigin::kNothing;
    const CRows* rows = nullptr;  // null: none
    const char* column = nullptr; // by its name
    int number = 0;               // kHead: of values; kRendered: the column; kDetailRow: the mode
    int type = 0;                 // kRendered
};

enum class LeftOut
{
    kNoRoom,
    kEmpty,      // the value, or the one that decides about a detail row
    kNoColumn,   // the table has no column of that number, or its ".flds" hides it
    kUnknownMode // of a detail table
};

// A body begins. What was begun before and not posted is dropped, but for other outputs: those are
// all composed before the first is posted.
void body_begun(const CHead& head);

// The text as it stands in the body, not terminated.
void body_part(BodyPart part, const char* text, size_t length, const PartSource& source);

void body_left_out(BodyPart part, const PartSource& source, LeftOut why);

// A try at detail rows begins, which a next try of them begins afresh.
void body_details_begun(bool is_again);
