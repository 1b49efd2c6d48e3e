// The reply deadline of a session: a server that is slow but answers keeps
// the session; one that acknowledges and then falls silent loses it exactly
// as one that closes the connection.
#include "tests/gta/PacedServer.h"

#include <string>
#include <vector>

using rq7test::PacedServer;
using rq7test::packet;

namespace {

const std::string OK_PACKET = packet("OK");

// A session on `server` that waits for ever at the transport: only the reply
// deadline bounds a wait.
struct Session {
    explicit Session(const PacedServer& server) { EXPECT_EQ(gta_open(server.peer.url().c_str(), &session), GTA_OK); }
    ~Session() { gta_close(session); }
    GtaSession* session = nullptr;
};

TEST(GtaReplyDeadline, SlowServerThatKeepsAnsweringKeepsTheSession) {
    // Half a second per reply, with console output and a damaged packet
    // between command and reply (each shows the server is there).
    PacedServer server([](unsigned n) -> PacedServer::Answer {
        if (n == 1) return {500, packet("O" + rq7test::hexEncode("busy\n")) + OK_PACKET};
        if (n == 2) return {500, "$OK#00" + OK_PACKET};
        return {500, OK_PACKET};
    });
    Session s(server);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(gta_exec_ok(s.session, "ctx connect"), GTA_OK) << i;
}

TEST(GtaReplyDeadline, ReplyHalfTheLimitLateSucceeds) {
    PacedServer server([](unsigned n) -> PacedServer::Answer {
        return {n == 0 ? static_cast<int>(GTA_REPLY_SILENCE_LIMIT_MS / 2) : 0, OK_PACKET};
    });
    Session s(server);
    EXPECT_EQ(gta_exec_ok(s.session, "ctx connect"), GTA_OK);
    EXPECT_EQ(gta_exec_ok(s.session, "ctx connect"), GTA_OK);
}

}  // namespace
