// libcurl as the daemon calls it.
#include "tests/daemon/torture/preload/Gate.h"

#include <cstdarg>

// Prototypes are macros in libcurl's header that check their arguments: these are definitions.
#undef curl_easy_setopt
#undef curl_easy_getinfo
#undef curl_multi_setopt

VK_MAY_FAIL(CURLcode, curl_global_init, (long what), (what), static_cast<CURLcode>(code))
VK_MAY_FAIL(CURL*, curl_easy_init, (), (), nullptr)
VK_MAY_FAIL(CURLcode, curl_easy_perform, (CURL * handle), (handle), static_cast<CURLcode>(code))
VK_MAY_FAIL(CURLM*, curl_multi_init, (), (), nullptr)
VK_MAY_FAIL(CURLMcode, curl_multi_add_handle, (CURLM * multi, CURL* handle), (multi, handle),
            static_cast<CURLMcode>(code))
VK_MAY_FAIL(CURLMcode, curl_multi_perform, (CURLM * multi, int* running), (multi, running),
            static_cast<CURLMcode>(code))
VK_MAY_FAIL(CURLMcode, curl_multi_timeout, (CURLM * multi, long* timeout_ms), (multi, timeout_ms),
            static_cast<CURLMcode>(code))
VK_MAY_FAIL(CURLMcode, curl_multi_wait,
            (CURLM * multi, curl_waitfd* fds, unsigned n, int timeout_ms, int* ready),
            (multi, fds, n, timeout_ms, ready), static_cast<CURLMcode>(code))
VK_MAY_FAIL(CURLMcode, curl_multi_poll,
            (CURLM * multi, curl_waitfd* fds, unsigned n, int timeout_ms, int* ready),
            (multi, fds, n, timeout_ms, ready), static_cast<CURLMcode>(code))
VK_MAY_FAIL(CURLMsg*, curl_multi_info_read, (CURLM * multi, int* queued), (multi, queued), nullptr)

// Each takes one further argument, a number or an address, which travel alike.
#define VK_CURL_OPTION(RESULT, NAME, HANDLE, OPTION, MAY)                                          \
    VK_DEFINE(RESULT, NAME, (HANDLE * handle, OPTION option, ...))                                 \
    {                                                                                              \
        VK_INDEX(NAME);                                                                            \
        va_list rest;                                                                              \
        va_start(rest, option);                                                                    \
        void* argument = va_arg(rest, void*);                                                      \
        va_end(rest);                                                                              \
        int code = 0;                                                                              \
        if ((MAY) && call_fails(kIndex, code))                                                     \
        {                                                                                          \
            return static_cast<RESULT>(code);                                                      \
        }                                                                                          \
        return next<RESULT (*)(HANDLE*, OPTION, ...)>(kIndex)(handle, option, argument);           \
    }

namespace
{

// Only what libcurl copies can fail for want of memory. A number that it knows is always taken.
bool is_copied(CURLoption option)
{
    return option == CURLOPT_URL || option == CURLOPT_CAINFO || option == CURLOPT_COOKIEFILE;
}

} // namespace

VK_CURL_OPTION(CURLcode, curl_easy_setopt, CURL, CURLoption, is_copied(option))
VK_CURL_OPTION(CURLcode, curl_easy_getinfo, CURL, CURLINFO, true)
VK_CURL_OPTION(CURLMcode, curl_multi_setopt, CURLM, CURLMoption, true)
