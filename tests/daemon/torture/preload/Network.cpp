// Sockets, and the name server.
#include "tests/daemon/torture/preload/Gate.h"

#include <cstring>
#include <ctime>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

VK_MAY_FAIL(int, socket, (int domain, int type, int protocol), (domain, type, protocol), -1)
VK_MAY_FAIL(int, socketpair, (int domain, int type, int protocol, int* pair),
            (domain, type, protocol, pair), -1)
VK_MAY_FAIL(int, connect, (int fd, const sockaddr* to, socklen_t n), (fd, to, n), -1)
VK_MAY_FAIL(ssize_t, send, (int fd, const void* from, size_t n, int flags), (fd, from, n, flags),
            -1)
VK_MAY_FAIL(ssize_t, sendto,
            (int fd, const void* from, size_t n, int flags, const sockaddr* to, socklen_t to_n),
            (fd, from, n, flags, to, to_n), -1)
VK_MAY_FAIL(ssize_t, recv, (int fd, void* to, size_t n, int flags), (fd, to, n, flags), -1)
VK_MAY_FAIL(ssize_t, recvfrom,
            (int fd, void* to, size_t n, int flags, sockaddr* from, socklen_t* from_n),
            (fd, to, n, flags, from, from_n), -1)
VK_MAY_FAIL(int, poll, (pollfd * fds, nfds_t n, int timeout_ms), (fds, n, timeout_ms), -1)
VK_MAY_FAIL(int, setsockopt, (int fd, int level, int name, const void* value, socklen_t n),
            (fd, level, name, value, n), -1)
VK_MAY_FAIL(int, getsockopt, (int fd, int level, int name, void* value, socklen_t* n),
            (fd, level, name, value, n), -1)
VK_MAY_FAIL(int, getsockname, (int fd, sockaddr* out, socklen_t* n), (fd, out, n), -1)
VK_MAY_FAIL(int, getpeername, (int fd, sockaddr* out, socklen_t* n), (fd, out, n), -1)

namespace
{

constexpr char kServerName[] = "server.test"; // known to the campaign's name server alone

// A name server that does not answer for so long. A signal does not shorten it.
void wait_for_name_server()
{
    const TortureBlock* block = torture_block();
    const int silent_ms = block != nullptr ? block->resolver_ms.load() : 0;
    timespec left{silent_ms / 1000, (silent_ms % 1000) * 1000000L};
    while (syscall(SYS_nanosleep, &left, &left) != 0 && errno == EINTR)
    {
    }
}

} // namespace

VK_DEFINE(int, getaddrinfo,
          (const char* node, const char* service, const addrinfo* hints, addrinfo** out))
{
    VK_INDEX(getaddrinfo);
    int code = 0;
    if (call_fails(kIndex, code))
    {
        return code;
    }
    if (node != nullptr && std::strcmp(node, kServerName) == 0)
    {
        wait_for_name_server();
        node = "127.0.0.1";
    }
    return next<int (*)(const char*, const char*, const addrinfo*, addrinfo**)>(kIndex)(
        node, service, hints, out);
}
