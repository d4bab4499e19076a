// CBufHelper: static helpers on text and byte buffers. No state, no instances; every function
// is reentrant. Buffers belong to the caller.
#pragma once

class CBufHelper
{
public:
    CBufHelper() = delete;

    // Converts the NUL-terminated input from one character set to another and returns the number
    // of bytes written; the output is not terminated and must have room for four bytes per input
    // byte. 0 when output or input is null. Where the pair of character sets is unknown the input
    // is copied as it is; where the input is invalid the output ends before the invalid place.
    static int conv_code(const char* toCharset, const char* fromCharset, char* output, char* input);

    // The same with a descriptor of libiconv_open and the input's length in bytes.
    static int conv_code(void* descriptor, char* output, char* input, int length);
};
