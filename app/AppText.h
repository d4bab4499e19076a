// Texts as the poster's files make and take them. Any thread.
#pragma once

#include <string>

// The formatted text, of any length.
std::string format_text(const char* format, ...) __attribute__((format(printf, 1, 2)));

// A text of the library's, as the empty text where a library of another maker says null.
inline const char* text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}
