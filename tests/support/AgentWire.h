#pragma once
// Agent protocol bytes for tests of the agent server and client: messages
// written as hex text, a raw client that writes exact bytes, and a one-shot
// server that runs a script.
#include "target.agent/user/communication.h"
#include "tests/support/Loopback.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace rq7test {

using Bytes = std::vector<uint8_t>;

// "00 0a ff" -> bytes; blanks are ignored.
inline Bytes hex(const std::string& text) {
    Bytes out;
    std::string digits;
    for (char c : text)
        if (c != ' ') digits += c;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return out;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class RawClient {
public:
    explicit RawClient(unsigned short port) : fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in a = loopback(port);
        connected = ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    }
    ~RawClient() { close(); }
    void send(const Bytes& b) { ::send(fd, b.data(), b.size(), MSG_NOSIGNAL); }
    // Up to n bytes, fewer at the peer's end or the safety timeout.
    Bytes read(size_t n) {
        Bytes out;
        uint8_t buf[4096];
        while (out.size() < n && wait()) {
            ssize_t r = ::recv(fd, buf, std::min(sizeof buf, n - out.size()), 0);
            if (r <= 0) break;
            out.insert(out.end(), buf, buf + r);
        }
        return out;
    }
    // True when the peer has closed (end of stream or reset) with nothing unread.
    bool closedByPeer(int waitMs = SAFETY_TIMEOUT_MS) {
        uint8_t b;
        return wait(waitMs) && ::recv(fd, &b, 1, 0) <= 0;
    }
    void shutdownWrite() { ::shutdown(fd, SHUT_WR); }
    void close() {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }
    int fd;
    bool connected;

private:
    bool wait(int waitMs = SAFETY_TIMEOUT_MS) {
        pollfd p{fd, POLLIN, 0};
        return ::poll(&p, 1, waitMs) == 1;
    }
};

// Accepts one client on 127.0.0.1 and runs `script` with its socket.
class ScriptedServer {
public:
    explicit ScriptedServer(std::function<void(int)> script) {
        listenFd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a = loopback(0);
        ::bind(listenFd, reinterpret_cast<sockaddr*>(&a), sizeof a);
        socklen_t len = sizeof a;
        ::getsockname(listenFd, reinterpret_cast<sockaddr*>(&a), &len);
        port = ntohs(a.sin_port);
        ::listen(listenFd, 1);
        worker = std::thread([this, script] {
            pollfd p{listenFd, POLLIN, 0};
            if (::poll(&p, 1, SAFETY_TIMEOUT_MS) != 1) return;
            int client = ::accept(listenFd, nullptr, nullptr);
            if (client < 0) return;
            script(client);
            ::close(client);
        });
    }
    ~ScriptedServer() {
        worker.join();
        ::close(listenFd);
    }
    unsigned short port;

private:
    int listenFd;
    std::thread worker;
};

// Script steps for a ScriptedServer.
inline void sendRaw(int fd, const Bytes& b) {
    ::send(fd, b.data(), b.size(), MSG_NOSIGNAL);
}
// Reads one request and drops it.
inline void readRequest(int fd) {
    agent_message* m = nullptr;
    recv_sock_message(fd, &m);
    std::free(m);
}

const Bytes GREETING = {0, 0, 0, 2, 5, 0};

// A failure status with `message` and the byte counted behind it.
inline Bytes failureStatus(const std::string& message) {
    uint32_t length = uint32_t(message.size() + 3);
    Bytes b = {uint8_t(length >> 24), uint8_t(length >> 16), uint8_t(length >> 8), uint8_t(length), 5, 1};
    return b + Bytes(message.begin(), message.end()) + Bytes{0};
}

}  // namespace rq7test
