// The diagnostic log: one statement, VKLOG_TRACE, and the two sinks behind it. Below it the
// profile-string functions, which read and write single keys of an INI file.
//
// The environment variable VKLOG is read at every message: "Printf" or "vkapppost" sends the
// message to standard output, "ExpLog" to the log file under that tag, everything else (unset
// included) to the log file under the tag "RtLog". Nothing is ever reported about the log
// itself: a line that cannot be written is dropped.
//
// Threads: any thread and the alarm signal handler may log at any time. Each line of the file is
// composed on the caller's own stack and handed to the system in one write, so lines never mix;
// its key comes from an atomic counter. On standard output, prefix and message stay together.
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

// Writes "[vkapppost] " and the whole message, of any length, to standard output, without
// flushing it. Returns what printf returned for the message.
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

// --- Profile strings ------------------------------------------------------------------------
//
// Single keys of an INI file, read and written straight on its text:
//
//     [section]
//     ;a comment, with ";" in the first column
//     key=value
//
// No blanks are trimmed: "key =v" has the key "key ". A name in the file matches when it is the
// beginning of the name asked for, or equal to it, and the first match counts: asking for Url1
// finds a line "Url=x" that comes before. A byte 0xFF ends a file early. Files reach up to
// MAX_FILE_SIZE - 1 bytes.
//
// Bad arguments are errors of the caller and end the process, in every kind of build, with the
// assertion that was broken. A missing file is none. Nothing is kept between calls; the working
// images live on the heap, so a thread with a small stack may call. Two callers that write the
// same file at once are not kept apart.

constexpr int MAX_FILE_SIZE = 1048576;

// Reads a file into buf (MAX_FILE_SIZE bytes long) and ends it with a NUL; *file_size is the
// number of bytes read. 1, or 0 when the file cannot be opened (*file_size is 0 then). A file of
// MAX_FILE_SIZE bytes or more breaks the assertion "i < MAX_FILE_SIZE".
int load_ini_file(const char* file, char* buf, int* file_size);

// Finds a key in an image: 1 when it was found, else 0. The positions are indexes into the image,
// -1 where nothing was found: sec_s the section's name, sec_e its body, key_s and key_e the first
// and last byte of the key, value_s the value, value_e the line's end. The section's positions are
// set also when only the key is missing.
int parse_file(const char* section, const char* key, const char* buf, int* sec_s, int* sec_e,
               int* key_s, int* key_e, int* value_s, int* value_e);

// Copies the key's value, cut to size - 1 bytes and terminated: 1. When the key is missing, copies
// default_value (unless null) as strncpy does, without NUL when it fills size: 0.
int read_profile_string(const char* section, const char* key, char* value, int size,
                        const char* default_value, const char* file);

// The key's value as a decimal number, 0 when it does not begin with one; default_value when the
// key is missing.
int read_profile_int(const char* section, const char* key, int default_value, const char* file);

// Sets the key's value and rewrites the file, which is made when it is missing: 1. A new key comes
// first in its section; on purpose the text behind it then passes through a printf format without
// arguments: "%%" becomes "%", numbers read 0, texts read empty. 0 when the file cannot be written
// or the new text would exceed MAX_FILE_SIZE - 1 bytes; in the latter case it is left alone.
int write_profile_string(const char* section, const char* key, const char* value, const char* file);

int newline(char c);       // 1 for a line feed or carriage return, else 0
int end_of_string(char c); // 1 for NUL
int left_barce(char c);    // 1 for "["
int isright_brace(char c); // 1 for "]"
