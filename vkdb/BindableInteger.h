// The integer in a query's text that may be bound to a parameter instead.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace vkdb
{

// Where it stands in the text, sign included, and what it is.
struct CBindableInteger
{
    size_t begin;
    size_t end;
    int value;
};

// Nothing where the statement with a parameter in its place might not give the same rows in the
// same order, and wherever that is in doubt. The text must be one plain "select ... where ...",
// without quotes, comments, parameters, a second select and whatever else needs more than its words
// to be understood; its condition a row of comparisons of columns, joined by "and"; and the integer
// the last one in it, compared for equality.
//
// 0, 1 and -1 stay in the text: SQLite expects more rows for them than for other numbers and may
// read tables in another order. Integers beyond 32 bits stay, too: a bound one is rounded where it
// meets a column of type REAL.
std::optional<CBindableInteger> bindable_integer(std::string_view text);

} // namespace vkdb
