// Files as streams. What the C library calls inside of them cannot be reached: the streams fail
// themselves.
#include "tests/daemon/torture/preload/Gate.h"

#include <cstdarg>
#include <cstdio>
#include <sys/types.h>

VK_MAY_FAIL(FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr)
VK_MAY_FAIL(FILE*, fopen64, (const char* path, const char* mode), (path, mode), nullptr)
VK_MAY_FAIL_AFTERWARDS(int, fclose, (FILE * file), (file), EOF)
VK_MAY_FAIL(char*, fgets, (char* to, int n, FILE* file), (to, n, file), nullptr)
VK_MAY_FAIL(size_t, fread, (void* to, size_t size, size_t n, FILE* file), (to, size, n, file), 0)
VK_MAY_FAIL(size_t, fwrite, (const void* from, size_t size, size_t n, FILE* file),
            (from, size, n, file), 0)
VK_MAY_FAIL(int, fputs, (const char* text, FILE* file), (text, file), EOF)
VK_MAY_FAIL(int, fflush, (FILE * file), (file), EOF)
VK_MAY_FAIL(ssize_t, __getdelim, (char** line, size_t* room, int end, FILE* file),
            (line, room, end, file), -1)

VK_DEFINE(int, __isoc99_fscanf, (FILE * file, const char* format, ...))
{
    VK_INDEX(__isoc99_fscanf);
    if (call_fails(kIndex, errno))
    {
        return EOF;
    }
    va_list rest;
    va_start(rest, format);
    const int taken = std::vfscanf(file, format, rest);
    va_end(rest);
    return taken;
}
