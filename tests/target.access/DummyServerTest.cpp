// The Logger server over real loopback sockets: its trace lines and replies,
// its refusals of malformed input, and its teardown.
#include "target.access/server/DummyServer.h"

#include "tests/support/AgentWire.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

using namespace rq7test;
using quorl::DummyServer;

// Runs stop (and `between`) then join, and fails instead of hanging.
void tearDown(
    DummyServer& server, const std::function<void()>& between = [] {}) {
    server.stop();
    between();
    auto joined = std::async(std::launch::async, [&] { server.join(); });
    ASSERT_EQ(joined.wait_for(std::chrono::milliseconds(SAFETY_TIMEOUT_MS)), std::future_status::ready)
        << "join did not return";
}

// Waits for the server thread to end by itself; a thread still serving after
// the safety time is stopped and reported.
void joinWithin(DummyServer& server) {
    auto joined = std::async(std::launch::async, [&] { server.join(); });
    if (joined.wait_for(std::chrono::milliseconds(SAFETY_TIMEOUT_MS)) != std::future_status::ready) {
        ADD_FAILURE() << "the server thread went on serving";
        server.stop();
    }
}

const Bytes OK = hex("00000002 05 00");

struct Exchange {
    const char* name;
    Bytes request;
    Bytes answer;       // reply (for reads) and status, on the wire
    const char* trace;  // stdout of the server for this request
};

// One client session in order: the mailbox carries values from one request to
// the next, as in a Logger run.
TEST(DummyServer, TraceLinesAndReplies) {
    const Exchange session[] = {
        {"write width 4", hex("00000013 00 01 02 0000000080001000 0000000012345678"), OK,
         "write_mem 0x80001000 data=0x12345678 length=0x4\n"},
        {"read shows the request's value, replies the mailbox",
         hex("00000013 00 00 02 0000000080001004 00000000deadbeef"),
         hex("00000013 00 00 02 0000000080001004 0000000012345678") + OK,
         "read_mem  0x80001004 data=0xdeadbeef length=0x4\n"},
        {"write width 8", hex("00000013 00 01 03 0000000080001010 1122334455667788"), OK,
         "write_mem 0x80001010 data=0x1122334455667788 length=0x8\n"},
        {"write width 1 keeps the low byte", hex("00000013 00 01 00 0000000000000010 00000000000001ab"), OK,
         "write_mem 0x10 data=0x000001ab length=0x1\n"},
        {"read width 1 returns the mailbox whole", hex("00000013 00 00 00 0000000000000010 0000000000000000"),
         hex("00000013 00 00 00 0000000000000010 00000000000000ab") + OK,
         "read_mem  0x10 data=0x00000000 length=0x1\n"},
        {"register write prints nothing", hex("0000000f 01 0000000000000077 01 4354524c00"), OK, ""},
        {"register read", hex("0000000f 01 0000000000000000 00 4354524c00"),
         hex("0000000f 01 0000000000000077 00 4354524c00") + OK, ""},
        {"ddr block write, 8 bytes", hex("0000001b 03 01 0000000000000008 0000000000002000 08 0102030405060708"), OK,
         "write_mem 0x2000 data=0x0102030405060708 length=0x8\n"},
        {"ddr block read, 8 bytes, says write_mem",
         hex("0000001b 03 00 0000000000000008 0000000000002008 08 0000000000000000"),
         hex("0000001b 03 00 0000000000000008 0000000000002008 08 0102030405060708") + OK,
         "write_mem 0x2008 data=0x0102030405060708 length=0x8\n"},
        {"ddr block write, 4 bytes", hex("00000017 03 01 0000000000000004 0000000000003000 04 0a0b0c0d"), OK,
         "write_mem 0x3000 data=0x0a0b0c0d length=0x4\n"},
        {"ddr block read, 4 bytes", hex("00000017 03 00 0000000000000004 0000000000003000 04 00000000"),
         hex("00000017 03 00 0000000000000004 0000000000003000 04 0a0b0c0d") + OK,
         "read_mem 0x3000 data=0x0a0b0c0d length=0x4\n"},
        {"ddr block write, 2 bytes", hex("00000015 03 01 0000000000000002 0000000000003000 02 0102"), OK,
         "write_mem 0x3000 data=0x0102 length=0x2\n"},
        {"ddr block write, 1 byte", hex("00000014 03 01 0000000000000001 0000000000003000 01 05"), OK,
         "write_mem 0x3000 data=0x5 length=0x1\n"},
        {"ddr block read, 1 byte", hex("00000014 03 00 0000000000000001 0000000000003000 01 00"),
         hex("00000014 03 00 0000000000000001 0000000000003000 01 05") + OK, "read_mem 0x3000 data=0x5 length=0x1\n"},
        {"ddr block write, 3 bytes prints nothing", hex("00000016 03 01 0000000000000003 0000000000003000 01 010203"),
         OK, ""},
        {"ddr get answers the last address", hex("00000012 02 00 0000000000000042 0000000000000000"),
         hex("00000012 02 00 0000000000000042 0000000000003000") + OK, ""},
        {"ddr set and trigger", hex("00000012 02 01 0000000000000000 0000000000000099"), OK, ""},
        {"bad width code", hex("00000013 00 01 04 0000000000000010 0000000000000001"),
         failureStatus("Invalid data length"), ""},
        {"after a refusal the session goes on", hex("00000013 00 00 02 0000000000000020 0000000000000000"),
         hex("00000013 00 00 02 0000000000000020 0000000000000077") + OK,
         "read_mem  0x20 data=0x00000000 length=0x4\n"},
    };

    DummyServer server(0);
    ASSERT_TRUE(server.run());
    RawClient client(server.getPort());
    ASSERT_TRUE(client.connected);
    EXPECT_EQ(client.read(6), GREETING);
    for (const Exchange& e : session) {
        SCOPED_TRACE(e.name);
        testing::internal::CaptureStdout();
        client.send(e.request);
        EXPECT_EQ(client.read(e.answer.size()), e.answer);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), e.trace);
    }
    EXPECT_EQ(quorl::loggerAgentState.lastRegisterName, std::string("CTRL"));
    EXPECT_EQ(quorl::loggerAgentState.triggered, 0);
    tearDown(server, [&] { client.close(); });
}

// The server never trusts its peer: each message is written as raw bytes to a
// fresh server, which either answers with its status text and serves on, or
// stops serving. It closes the connection only when the receive failed; after
// a message it cannot convert the socket stays open. Nothing crashes and
// nothing big is allocated.
TEST(DummyServer, MalformedInput) {
    enum Outcome { Answered, Closed, LeftOpen };
    struct Case {
        const char* name;
        Bytes bytes;
        bool breakOff;  // the client stops sending after the bytes
        Outcome outcome;
        const char* status;  // failure text answered
        const char* error;   // what the server reports on stderr
    };
    const Case cases[] = {
        {"length far above the limit", hex("7fffffff 00 01 02"), false, Closed, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Message too long\n\n"},
        {"all-ones length", hex("ffffffff"), false, Closed, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Message too long\n\n"},
        {"message breaks off", hex("00000013 00 01 02 00000000"), true, Closed, nullptr,
         "[recv_sock_message] [communication:484] ERROR : Unable to read the message content\n\n"
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Input/output error\n\n"},
        {"length field breaks off", hex("0000"), true, Closed, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Input/output error\n\n"},
        {"unknown type", hex("00000002 09 00"), false, LeftOpen, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Invalid argument\n\n"},
        {"memory message too short for its fields", hex("00000003 00 01 02"), false, LeftOpen, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Invalid argument\n\n"},
        {"STM/KMSG has no handler here", hex("0000000a 04 00 0000000000000001"), false, LeftOpen, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Cannot allocate "
         "memory\n\n"},
        {"empty message", hex("00000000"), false, LeftOpen, nullptr,
         "[waitData] [dummyserver:111] ERROR : Error interpreting message: Invalid argument\n\n"},
        {"ddr block with a bad element width", hex("00000015 03 01 0000000000000002 0000000000000000 03 0102"), false,
         LeftOpen, nullptr, "[waitData] [dummyserver:111] ERROR : Error interpreting message: Invalid argument\n\n"},
        {"status sent to the server", hex("00000002 05 00"), false, Answered, "Invalid operation", ""},
        {"bad memory operation", hex("00000013 00 07 02 0000000000000010 0000000000000001"), false, Answered,
         "Invalid memory operation", ""},
        {"bad width code", hex("00000013 00 01 09 0000000000000010 0000000000000001"), false, Answered,
         "Invalid data length", ""},
        {"bad register operation", hex("0000000c 01 0000000000000000 05 4100"), false, Answered,
         "Invalid register operation", ""},
        {"register name without its end", hex("0000000c 01 0000000000000000 01 4142"), false, Answered,
         "Invalid argument", ""},
        {"bad ddr operation", hex("00000012 02 09 0000000000000000 0000000000000000"), false, Answered,
         "Invalid ddr operation", ""},
        {"bad ddr block operation", hex("00000013 03 02 0000000000000000 0000000000000000 01"), false, Answered,
         "Invalid ddr operation", ""},
        {"ddr block read of a huge size", hex("00000013 03 00 0000010000000000 0000000000000000 01"), false, Answered,
         "Cannot allocate memory", ""},
        {"ddr block write longer than its payload", hex("00000015 03 01 00000000000000ff 0000000000000000 01 0102"),
         false, Answered, "Invalid argument", ""},
    };
    const Bytes probe = hex("00000013 00 01 02 0000000000000004 0000000000000001");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DummyServer server(0);
        ASSERT_TRUE(server.run());
        RawClient client(server.getPort());
        ASSERT_EQ(client.read(6), GREETING);
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        client.send(c.bytes);
        if (c.breakOff) client.shutdownWrite();
        if (c.outcome == Answered) {
            EXPECT_EQ(client.read(failureStatus(c.status).size()), failureStatus(c.status));
            client.send(probe);  // still served
            EXPECT_EQ(client.read(OK.size()), OK);
        } else {
            // The server thread ends by itself after a refusal.
            joinWithin(server);
            // A closing server has sent its end before the thread ended; an
            // open socket is only given a moment to show otherwise.
            EXPECT_EQ(client.closedByPeer(c.outcome == Closed ? SAFETY_TIMEOUT_MS : 200), c.outcome == Closed);
        }
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.error);
        tearDown(server, [&] { client.close(); });
    }
}

TEST(DummyServer, TeardownNeverHangs) {
    struct Case {
        const char* name;
        bool connect;
        bool closeBeforeStop;
    };
    const Case cases[] = {
        {"no client ever connected", false, false},
        {"idle client that never closes", true, false},
        {"client closed first", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DummyServer server(0);
        ASSERT_TRUE(server.run());
        std::unique_ptr<RawClient> client;
        if (c.connect) {
            client.reset(new RawClient(server.getPort()));
            ASSERT_EQ(client->read(6), GREETING);
            if (c.closeBeforeStop) client->close();
        }
        tearDown(server);
        if (client && !c.closeBeforeStop) {
            EXPECT_TRUE(client->closedByPeer());
        }
    }
    // Never started, and destroyed while running without a stop.
    DummyServer idle(0);
    tearDown(idle);
    auto running = std::make_unique<DummyServer>(0);
    ASSERT_TRUE(running->run());
    running.reset();
}

TEST(DummyServer, BindFailureIsReported) {
    DummyServer first(0);
    ASSERT_TRUE(first.run());
    DummyServer second(first.getPort());
    testing::internal::CaptureStderr();
    EXPECT_FALSE(second.run());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[quorl::DummyServer::run] [dummyserver:171] ERROR : Failed to bind the socket\n\n");
    tearDown(first);
    tearDown(second);
}

}  // namespace
