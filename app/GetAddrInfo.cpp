// The daemon's own getaddrinfo, which libcurl finds before the system's: see NameLookup.h.
#include <atomic>
#include <cerrno>
#include <curl/curl.h>
#include <dlfcn.h>
#include <exception>
#include <netdb.h>

#include "app/NameLookup.h"

namespace
{

// libcurl gives the transfer up first, with a code that says so: its time began a moment earlier.
constexpr int kGraceMs = 100;

using Resolver = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

// Any thread. Looks for the system's one until it is found.
int ask_system(const char* node, const char* service, const addrinfo* hints, addrinfo** found)
{
    static std::atomic<Resolver> known{nullptr};
    Resolver resolver = known;
    if (resolver == nullptr)
    {
        resolver = reinterpret_cast<Resolver>(dlsym(RTLD_NEXT, "getaddrinfo"));
        if (resolver == nullptr)
        {
            errno = ENOSYS;
            return EAI_SYSTEM;
        }
        known = resolver;
    }
    return resolver(node, service, hints, found);
}

// A libcurl that looks names up on the posting thread itself ends that by SIGALRM and a long jump,
// which must not leave a lock of ours behind.
bool has_threads_for_names()
{
    static const bool found =
        (curl_version_info(CURLVERSION_NOW)->features & CURL_VERSION_ASYNCHDNS) != 0;
    return found;
}

CNameLookups& lookups()
{
    // Never destroyed: at the process's end one may be under way.
    static CNameLookups& all = *new CNameLookups(ask_system);
    return all;
}

} // namespace

// Seen by libcurl, whatever visibility is compiled with.
extern "C" __attribute__((visibility("default"))) int
getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** found)
{
    const int limit_s = name_lookup_limit_s();
    if (limit_s > 0 && has_threads_for_names())
    {
        try
        {
            return lookups().Find(node, service, hints, found, limit_s * 1000 + kGraceMs);
        }
        catch (const std::exception&)
        {
            // No memory or no thread for that: slowly is better than not at all.
        }
    }
    return ask_system(node, service, hints, found);
}
