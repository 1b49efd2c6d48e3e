#pragma once
// Loopback TCP plumbing of the benchmarks' bare round trips.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>

namespace loopback {

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

// Small messages leave at once instead of waiting under Nagle.
inline void noDelay(int fd) {
    int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// A socket listening for one client on a free loopback port; address
// receives that port.
inline int listenOnFreePort(sockaddr_in& address) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    address = sockaddr_in{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(fd, 1);
    socklen_t len = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &len);
    return fd;
}

// A client socket without Nagle, connected to address.
inline int connectNoDelay(const sockaddr_in& address) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    noDelay(fd);
    ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return fd;
}

}  // namespace loopback
