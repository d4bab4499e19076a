// The diagnostic log: one statement, VKLOG_TRACE, and the two sinks behind it.
//
// The environment variable VKLOG is read at every message: "Printf" or "vkapppost" sends the
// message to standard output, "ExpLog" to the log file under that tag, everything else (unset
// included) to the log file under the tag "RtLog". Nothing is ever reported about the log
// itself: a line that cannot be written is dropped.
//
// Threads: any thread and the alarm signal handler may log at any time. Each line is composed
// on the caller's own stack and handed to the system in one write, so lines never mix; its key
// comes from an atomic counter.
#pragma once

#include <cstdlib>
#include <cstring>

// Writes one line to the log file "/NandFlash/tmp/vkapppost.log.ini":
//     <key>=[<tag>][YYYY-MM-DD hh:mm:ss] <message>
// The key counts from 0 since the start or the last rotation; after 20000 lines the file becomes
// "<file>.bak" and a new one begins. The message carries its own line end, if any, and is cut to
// 20479 characters. Returns -1 when tag is null (nothing is written), else 1, also when the file
// cannot be opened: the line is dropped then and the next one takes its key.
int trace_log_vkapppost(const char* tag, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Writes "[vkapppost] " and the message to standard output, without flushing it.
int trace_console_vkapppost(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The tag for the log file by the present value of VKLOG; null when the console is chosen.
inline const char* vklog_file_tag()
{
    const char* sink = std::getenv("VKLOG");
    if (sink == nullptr)
    {
        return "RtLog";
    }
    if (std::strcmp(sink, "ExpLog") == 0)
    {
        return "ExpLog";
    }
    if (std::strcmp(sink, "Printf") == 0 || std::strcmp(sink, "vkapppost") == 0)
    {
        return nullptr;
    }
    return "RtLog";
}

// The logging statement: VKLOG_TRACE(format, ...). A macro, so that the compiler checks format
// and arguments at each use and no argument is evaluated for a sink that is not chosen.
#define VKLOG_TRACE(...)                                                                           \
    do                                                                                             \
    {                                                                                              \
        if (const char* vklog_tag = vklog_file_tag())                                              \
        {                                                                                          \
            trace_log_vkapppost(vklog_tag, __VA_ARGS__);                                           \
        }                                                                                          \
        else                                                                                       \
        {                                                                                          \
            trace_console_vkapppost(__VA_ARGS__);                                                  \
        }                                                                                          \
    } while (false)
