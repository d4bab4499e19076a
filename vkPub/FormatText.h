// A printf format without arguments.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Appends a text as printf would print it as a format whose every argument is 0 or empty: "%%"
// becomes "%", a number reads 0 and a text reads empty, each with its flags, width and precision;
// "%n" and single characters write nothing; what is no conversion stays as it is. False, with the
// text in an unknown state, when it would grow to limit bytes or more.
bool append_formatted(std::string& text, std::string_view format, size_t limit);
