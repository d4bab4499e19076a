// Host names looked up within a limit of time.
//
// getaddrinfo knows none: a silent name server keeps it for 10 s, several of them and a search list
// for minutes. libcurl calls it on a thread of its own, gives the transfer up at the time limit and
// then waits for that thread nevertheless. So the daemon defines getaddrinfo itself
// (GetAddrInfo.cpp), and what libcurl calls comes back in time, whatever version of libcurl it is
// and whether the name is a server's or a proxy's. The system's function goes on alone.
//
// What is left behind does not pile up: the next one who asks the same waits for the lookup that is
// already under way. So there are never more of them than names in the configuration, or than
// transfers of one name that run at the same time.
#pragma once

#include <functional>
#include <memory>
#include <netdb.h>

class CNameLookups
{
public:
    using Function = std::function<int(const char* node, const char* service, const addrinfo* hints,
                                       addrinfo** found)>;

    // Looks names up by that function, which is called on threads of its own and as getaddrinfo is
    // defined. A lookup may still be under way when this is destroyed; it ends by itself.
    explicit CNameLookups(Function function);

    // As getaddrinfo; EAI_AGAIN when the answer has not come within limit_ms. Throws
    // std::bad_alloc, and std::system_error when there is no thread to be had. Any thread.
    int Find(const char* node, const char* service, const addrinfo* hints, addrinfo** found,
             int limit_ms);

private:
    struct Lookup;
    struct State;

    std::shared_ptr<State> m_state; // shared with the lookups that are under way
};

// How long a transfer that starts now may take, in seconds; 0: without limit. Any thread.
void limit_name_lookups(int limit_s);
int name_lookup_limit_s();
