// Preloaded into a daemon: a name server that never answers for "silent.example", says 127.0.0.1
// for "known.example", and knows no "unknown.example". How often it was asked is the length of the
// file "asked".
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

namespace
{

using Resolver = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

void note_question()
{
    if (FILE* file = std::fopen("asked", "ae"))
    {
        std::fputc('?', file);
        std::fclose(file);
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) int
getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** found)
{
    static const auto next = reinterpret_cast<Resolver>(dlsym(RTLD_NEXT, "getaddrinfo"));
    note_question();
    while (node != nullptr && std::strcmp(node, "silent.example") == 0)
    {
        pause();
    }
    if (node != nullptr && std::strcmp(node, "unknown.example") == 0)
    {
        return EAI_NONAME;
    }
    const bool is_known = node != nullptr && std::strcmp(node, "known.example") == 0;
    return next(is_known ? "127.0.0.1" : node, service, hints, found);
}
