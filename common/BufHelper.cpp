#include "common/BufHelper.h"

#include <cstdint>
#include <cstring>
#include <iconv.h>

namespace
{

// The code speaks GNU libiconv's names. Where iconv is the C library's, this is the one place
// that maps them; GNU libiconv's own header declares them itself.
#ifndef _LIBICONV_VERSION
iconv_t libiconv_open(const char* to, const char* from)
{
    return ::iconv_open(to, from);
}

size_t libiconv(iconv_t descriptor, char** in, size_t* in_left, char** out, size_t* out_left)
{
    return ::iconv(descriptor, in, in_left, out, out_left);
}

int libiconv_close(iconv_t descriptor)
{
    return ::iconv_close(descriptor);
}
#endif

// libiconv_open's answer when it fails.
bool is_failure(const void* descriptor)
{
    return reinterpret_cast<uintptr_t>(descriptor) == UINTPTR_MAX;
}

} // namespace

int CBufHelper::conv_code(const char* to_charset, const char* from_charset, char* output,
                          char* input)
{
    if (output == nullptr || input == nullptr)
    {
        return 0;
    }
    const iconv_t descriptor = libiconv_open(to_charset, from_charset);
    const int written = conv_code(descriptor, output, input, static_cast<int>(std::strlen(input)));
    if (!is_failure(descriptor)) // closing the failure value would crash some implementations
    {
        libiconv_close(descriptor);
    }
    return written;
}

int CBufHelper::conv_code(void* descriptor, char* output, char* input, int length)
{
    const auto in_bytes = static_cast<size_t>(length);
    if (is_failure(descriptor))
    {
        std::memcpy(output, input, in_bytes);
        return length;
    }
    char* in = input;
    char* out = output;
    size_t in_left = in_bytes;
    size_t out_left = in_bytes * 4;
    // One call, its result not looked at on purpose: what was converted before an invalid place
    // is what there is.
    libiconv(descriptor, &in, &in_left, &out, &out_left);
    return static_cast<int>(out - output);
}
