#pragma once
// Loopback TCP plumbing shared by the tests and the benchmarks: addresses,
// free ports, connected and listening sockets, exact reads.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace rq7test {

// Long enough never to fire on a working peer; it only turns a hang into a
// failure.
constexpr int SAFETY_TIMEOUT_MS = 10000;

inline sockaddr_in loopback(unsigned port) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return a;
}

// A socket listening on a free loopback port; `address` receives that port.
inline int listenOnFreePort(sockaddr_in& address, int backlog = 1) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    address = loopback(0);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(fd, backlog);
    socklen_t len = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &len);
    return fd;
}

// A port that nothing listens on (just released by the system).
inline unsigned short unusedPort() {
    int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a = loopback(0);
    ::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(s);
    return ntohs(a.sin_port);
}

// Small messages leave at once instead of waiting under Nagle.
inline void noDelay(int fd) {
    int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// A client socket connected to the loopback port, or -1.
inline int connectTo(unsigned port, bool withoutDelay = false) {
    int s = ::socket(AF_INET, SOCK_STREAM, 0);
    if (withoutDelay) noDelay(s);
    sockaddr_in a = loopback(port);
    if (::connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        ::close(s);
        return -1;
    }
    return s;
}

// Receives exactly n bytes; false when the peer went away first.
inline bool readExactly(int fd, void* buffer, size_t n) {
    char* p = static_cast<char*>(buffer);
    while (n > 0) {
        ssize_t r = ::recv(fd, p, n, 0);
        if (r <= 0) return false;
        p += r;
        n -= size_t(r);
    }
    return true;
}

}  // namespace rq7test
