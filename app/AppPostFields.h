// The columns of a query's current row as parts of a body. Main thread.
#pragma once

#include "app/AppBodyKinds.h"
#include "app/AppBodyWriter.h"
#include "app/AppPost.h"
#include "app/AppRows.h"

// The head of a body made from the current row of a query that holds the joined columns of tbSM:
// name, type, place and state as the row has them, in the columns of the kind. now: the time of a
// kind that has no column for it. Valid as long as the row is.
CHead row_head(CAppPost& app, const CRows& rows, BodyKind kind, const char* now = "");

// Appends "&name=value" for each column first to end - 1 of the current row that renders to a
// text. Columns that no result has, below 0 or behind its end, render to nothing.
void append_columns(CAppPost& app, CBodyWriter& body, const CRows& rows, int type, int first,
                    int end);
