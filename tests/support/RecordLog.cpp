// The log writer, recording: "log <message>", the message as it would stand in the log.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "tests/support/Recorder.h"
#include "vkPub/vkLog.h"

namespace
{

void record(const char* format, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string message(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(message.data(), message.size(), format, args);
    message.pop_back();
    Recorder::Get().Add("log " + message);
}

} // namespace

int trace_log_vkapppost(const char* /*tag*/, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    record(format, args);
    va_end(args);
    return 1;
}

int trace_console_vkapppost(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    record(format, args);
    va_end(args);
    return 1;
}
