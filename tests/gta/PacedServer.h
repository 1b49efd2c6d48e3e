#pragma once
// Servers for the reply-deadline tests, each on a free loopback port and run
// in its own thread:
//  - PacedServer acknowledges each command at once and sends its reply after
//    a delay of the script's choosing;
//  - CutProxy passes a real server's conversation through until the client
//    starts its command number `keep` + 1, then either closes both sides or
//    falls silent (acknowledging what it gets and answering nothing).
#include "tests/support/GtaPeer.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace rq7test {

// Reads one "$...#xx" packet from fd, skipping bytes before its '$'; false at
// the end of the stream.
inline bool readPacket(int fd, std::string* packet) {
    packet->clear();
    char c;
    int tail = -1;  // checksum digits still to come, once '#' was seen
    while (::recv(fd, &c, 1, 0) == 1) {
        if (packet->empty() && c != '$') continue;
        *packet += c;
        if (tail > 0 && --tail == 0) return true;
        if (c == '#') tail = 2;
    }
    return false;
}

class PacedServer {
public:
    struct Answer {
        int delayMs;        // after the acknowledgement
        std::string bytes;  // what is sent then
    };
    // `answer` gets the 0-based number of the command.
    explicit PacedServer(std::function<Answer(unsigned)> answer) {
        thread = std::thread([this, answer] {
            peer.accept();
            std::string p;
            for (unsigned n = 0; readPacket(peer.fd, &p); ++n) {
                const Answer a = answer(n);
                ::send(peer.fd, "+", 1, MSG_NOSIGNAL);
                std::this_thread::sleep_for(std::chrono::milliseconds(a.delayMs));
                ::send(peer.fd, a.bytes.data(), a.bytes.size(), MSG_NOSIGNAL);
            }
        });
    }
    ~PacedServer() {
        if (peer.fd >= 0) ::shutdown(peer.fd, SHUT_RDWR);
        thread.join();
    }
    Peer peer;
    std::thread thread;
};

class CutProxy {
public:
    enum class Cut { Close, Silence };

    CutProxy(unsigned upstreamPort, unsigned keep, Cut cut) {
        thread = std::thread([this, upstreamPort, keep, cut] { run(upstreamPort, keep, cut); });
    }
    ~CutProxy() {
        stopping = true;
        thread.join();
    }
    Peer peer;

private:
    void run(unsigned upstreamPort, unsigned keep, Cut cut) {
        peer.accept();
        const int up = connectTo(upstreamPort);
        unsigned commands = 0;
        bool cutDone = false;
        char chunk[4096];
        while (!stopping) {
            pollfd p[2] = {{peer.fd, POLLIN, 0}, {cutDone ? -1 : up, POLLIN, 0}};
            if (::poll(p, 2, 100) <= 0) continue;
            if (p[1].revents) {
                const ssize_t n = ::recv(up, chunk, sizeof chunk, 0);
                if (n <= 0) break;
                ::send(peer.fd, chunk, static_cast<size_t>(n), MSG_NOSIGNAL);
            }
            if (!p[0].revents) continue;
            const ssize_t n = ::recv(peer.fd, chunk, sizeof chunk, 0);
            if (n <= 0) break;
            std::string forward;
            for (ssize_t i = 0; i < n; ++i) {
                const char c = chunk[i];
                if (c == '$' && ++commands > keep && !cutDone) {
                    cutDone = true;
                    ::send(up, forward.data(), forward.size(), MSG_NOSIGNAL);
                    if (cut == Cut::Close) {
                        ::close(up);
                        peer.closePeer();
                        return;
                    }
                }
                if (!cutDone)
                    forward += c;
                else if (c == '#')
                    ::send(peer.fd, "+", 1, MSG_NOSIGNAL);  // acknowledged, never answered
            }
            if (!cutDone) ::send(up, forward.data(), forward.size(), MSG_NOSIGNAL);
        }
        ::close(up);
        peer.closePeer();
    }

    std::atomic<bool> stopping{false};
    std::thread thread;
};

}  // namespace rq7test
