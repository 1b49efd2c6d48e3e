#pragma once
// Helpers for libgta tests: framing written out independently of the
// library, and a loopback peer whose bytes are queued before the client
// runs (the kernel buffers them), so each exchange is one table row.
#include "gta/gta.h"
#include "tests/support/Loopback.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <thread>

namespace rq7test {

// Bytes as two lower-case hex digits each, as the debug server's replies
// carry them.
inline std::string hexEncode(const std::string& bytes) {
    static const char d[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : bytes) {
        out += d[c >> 4];
        out += d[c & 0xF];
    }
    return out;
}

// "$payload#cs" with the payload taken as it stands (already escaped).
inline std::string packet(const std::string& payload) {
    unsigned sum = 0;
    for (unsigned char c : payload) sum += c;
    char cs[3];
    std::snprintf(cs, sizeof cs, "%02x", sum & 0xFF);
    return "$" + payload + "#" + cs;
}

inline std::string command(const std::string& text) {
    return packet("qRcmd," + hexEncode(text));
}

inline std::string replyText(const GtaPacket* p) {
    return std::string(reinterpret_cast<const char*>(p->buffer.data), p->buffer.size);
}

// A listening socket on a free loopback port and the accepted peer of the
// one client that connects to it.
class Peer {
public:
    Peer() {
        sockaddr_in a;
        listener = listenOnFreePort(a, 4);
        port = ntohs(a.sin_port);
    }
    ~Peer() {
        closePeer();
        ::close(listener);
    }
    std::string url() const { return "tcp://127.0.0.1:" + std::to_string(port); }
    void accept() { fd = ::accept(listener, nullptr, nullptr); }
    void send(const std::string& bytes) {
        ASSERT_EQ(::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    // Everything the client has sent so far.
    std::string received() {
        std::string out;
        char chunk[4096];
        pollfd p{fd, POLLIN, 0};
        while (::poll(&p, 1, 0) > 0) {
            ssize_t n = ::recv(fd, chunk, sizeof chunk, MSG_DONTWAIT);
            if (n <= 0) break;
            out.append(chunk, static_cast<size_t>(n));
        }
        return out;
    }
    void closePeer() {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }

    int listener = -1;
    int fd = -1;
    unsigned short port = 0;
};

// A session connected to a Peer.
struct TcpSession {
    TcpSession() {
        EXPECT_EQ(gta_open(peer.url().c_str(), &session), GTA_OK);
        peer.accept();
        if (session) session->transport->timeout = SAFETY_TIMEOUT_MS;
    }
    ~TcpSession() { gta_close(session); }
    Peer peer;
    GtaSession* session = nullptr;
};

// A peer that answers a fixed script in its own thread and holds the
// connection until the client drops it; an empty script closes at once.
struct ScriptedPeer {
    explicit ScriptedPeer(std::string script) {
        thread = std::thread([this, script] {
            peer.accept();
            if (script.empty()) {
                peer.closePeer();
                return;
            }
            peer.send(script);
            char c;
            while (::recv(peer.fd, &c, 1, 0) > 0) {
            }
        });
    }
    ~ScriptedPeer() {
        if (peer.fd >= 0) ::shutdown(peer.fd, SHUT_RDWR);
        thread.join();
    }
    Peer peer;
    std::thread thread;
};

}  // namespace rq7test
