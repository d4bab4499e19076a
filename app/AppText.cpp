#include "app/AppText.h"

#include <cstdarg>
#include <cstdio>

std::string format_text(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char small[256];
    const int length = std::vsnprintf(small, sizeof(small), format, args);
    va_end(args);

    std::string text;
    if (length >= 0 && static_cast<size_t>(length) < sizeof(small))
    {
        text.assign(small, static_cast<size_t>(length));
    }
    else if (length > 0)
    {
        text.resize(static_cast<size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}
