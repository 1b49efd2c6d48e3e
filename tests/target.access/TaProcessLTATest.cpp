// The agent-socket access process: the whole road through the Logger server,
// and its error texts and connection rules against scripted peers.
#include "target.access/TaProcessLTA.h"

#include "app/base/Exception.h"
#include "app/base/HexText.h"
#include "target.access/ExtAddress.h"
#include "target.access/quorl/register.h"
#include "target.access/server/DummyServer.h"
#include "tests/support/AgentWire.h"
#include "tests/support/RecordingTaProcess.h"

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <cinttypes>
#include <cstdio>
#include <functional>

namespace {

using namespace rq7test;
using quorl::DummyServer;
using quorl::Exception;
using quorl::ExtAddress;
using quorl::TaProcessLTA;

const char* const LOOPBACK = "127.0.0.1";

class TaProcessLTATest : public testing::Test {
protected:
    void SetUp() override { quorl::resetAgentConnection(); }
    void TearDown() override { quorl::resetAgentConnection(); }
};

// The server side of a Logger run, torn down in the run's order.
struct LoggerServer {
    DummyServer server{0};
    LoggerServer() { EXPECT_TRUE(server.run()); }
    ~LoggerServer() {
        server.stop();
        quorl::closeAgentSocket();
        server.join();
    }
    unsigned short port() const { return server.getPort(); }
};

// The server formats the lines of register accesses by hand: they must be
// the printf form, for every width of address and value.
TEST_F(TaProcessLTATest, WordLinesAreTheirPrintfForm) {
    LoggerServer logger;
    auto process = boost::make_shared<TaProcessLTA>(LOOPBACK, logger.port());
    const uint64_t addresses[] = {0,          0x8,           0x10,           0xabcdef,
                                  0x80010fb0, 0xffffffffull, 0x123456789ull, 0xfedcba9876543210ull};
    const uint64_t values[] = {0, 1, 0xa, 0xc5acce55, 0xffffffffu, 0x00f000f0, 0x123456789ull, 0xffffffffffffffffull};
    std::string expected;
    testing::internal::CaptureStdout();
    for (uint64_t address : addresses) {
        for (uint64_t value : values) {
            char line[128];
            if (value <= 0xffffffffu) {
                uint32_t v = static_cast<uint32_t>(value);
                EXPECT_TRUE(process->writeMemory(ExtAddress(address, ""), 4, 1, &v));
                std::snprintf(line, sizeof line, "write_mem 0x%" PRIx64 " data=0x%08" PRIx32 " length=0x%x\n", address,
                              v, 4u);
                expected += line;
            }
            uint64_t v = value;
            EXPECT_TRUE(process->writeMemory(ExtAddress(address, ""), 8, 1, &v));
            std::snprintf(line, sizeof line, "write_mem 0x%" PRIx64 " data=0x%08" PRIx64 " length=0x%x\n", address,
                          value, 8u);
            expected += line;
        }
        uint32_t read = 0;
        EXPECT_TRUE(process->readMemory(ExtAddress(address, ""), 4, 1, &read));
        expected += "read_mem  0x" + quorl::hexDigits(address) + " data=0x00000000 length=0x4\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST_F(TaProcessLTATest, RegisterAccessesCrossTheSocketToTheLoggerServer) {
    LoggerServer logger;
    auto process = boost::make_shared<TaProcessLTA>(LOOPBACK, logger.port());
    EXPECT_EQ(ExtAddress::memorySpaceIds, std::vector<std::string>{"logger"});
    quorl::Register<unsigned int> ctrl(0x80001000, "APB", "ETM_TRCPRGCTLR");
    quorl::Register<uint64_t> acvr(0x80001400, "", "ETM_TRCACVR0");

    testing::internal::CaptureStdout();
    ctrl.write(process, 0x12345678);
    EXPECT_EQ(ctrl.read(process), 0x12345678u);
    acvr.write(process, 0x0123456789ABCDEFull);
    EXPECT_EQ(acvr.read(process), 0x0123456789ABCDEFull);
    uint8_t low = 0;
    ExtAddress where(0x80001000, "");
    EXPECT_TRUE(process->readMemory(where, 1, 1, &low));  // the low byte of the mailbox
    uint32_t three[3] = {0x11111111, 0x22222222, 0x33333333};
    EXPECT_TRUE(process->writeMemory(where, 4, 3, three));  // clamped to one 8-byte request
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "write_mem 0x80001000 data=0x12345678 length=0x4\n"
              "read_mem  0x80001000 data=0x00000000 length=0x4\n"
              "write_mem 0x80001400 data=0x123456789abcdef length=0x8\n"
              "read_mem  0x80001400 data=0x00000000 length=0x8\n"
              "read_mem  0x80001000 data=0x00000000 length=0x1\n"
              "write_mem 0x80001000 data=0x2222222211111111 length=0x8\n");
    EXPECT_EQ(low, 0xEF);
    EXPECT_TRUE(process->isConnected());
    EXPECT_EQ(process->getConnectionInfo().port, logger.port());
}

TEST_F(TaProcessLTATest, NullBuffersAndUnusableWidths) {
    LoggerServer logger;
    TaProcessLTA process(LOOPBACK, logger.port());
    uint64_t v = 0;
    ExtAddress where(0x10, "");
    EXPECT_FALSE(process.writeMemory(where, 4, 1, nullptr));
    EXPECT_FALSE(process.readMemory(where, 4, 1, nullptr));

    // A width the protocol cannot carry fails before anything is sent, and the
    // session goes on.
    Exception e = thrownBy([&] { process.writeMemory(ExtAddress(0x1000, "xyz"), 3, 1, &v); });
    EXPECT_EQ(e.getMessage(), "Cannot write address 1000 with memory space xyz");
    EXPECT_EQ(e.getFile(), "taprocesslta");
    EXPECT_EQ(e.getLine(), 72u);
    EXPECT_EQ(quorl::getLastError(), "Failed to send a request");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(process.writeMemory(where, 4, 1, &v));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "write_mem 0x10 data=0x00000000 length=0x4\n");
}

// One request against a peer that greets, reads the request and answers
// with the given bytes (nothing: it leaves).
TEST_F(TaProcessLTATest, FailuresAndTheirTexts) {
    struct Case {
        const char* name;
        Bytes greeting;
        Bytes answer;
        bool read;
        const char* lastError;
        bool connectedAfter;
        uint32_t readBack;  // what a failed read leaves in the destination
    };
    const Bytes readReply = hex("00000013 00 00 02 0000000000001000 00000000cafef00d");
    const Case cases[] = {
        {"server refuses the write", GREETING, failureStatus("Invalid data length"), false, "Invalid data length", true,
         0},
        {"status text is not a format", GREETING, failureStatus("100%s %n done"), false, "100%s %n done", true, 0},
        {"server leaves", GREETING, {}, false, "Failed to receive a message from server", false, 0},
        {"answer of the wrong type", GREETING, readReply, false, "Unexpected type of message : 0", true, 0},
        {"read refused after its reply: the reply's value is kept", GREETING,
         readReply + failureStatus("Register read failure"), true, "Register read failure", true, 0xCAFEF00D},
        {"read refused without a reply", GREETING, failureStatus("Invalid data length"), true, "Invalid data length",
         true, 0},
        {"reply too short for its type", GREETING, hex("00000003 00 00 02"), true,
         "Failed to interpret message from network", true, 0},
        {"reply with an absurd length", GREETING, hex("7fffffff 00"), true, "Failed to receive a message from server",
         false, 0},
        {"greeting refused: the connection is down but stays open", failureStatus("busy"), failureStatus("still busy"),
         false, "still busy", false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        quorl::resetAgentConnection();
        ScriptedServer peer([&c](int fd) {
            sendRaw(fd, c.greeting);
            readRequest(fd);
            sendRaw(fd, c.answer);
        });
        TaProcessLTA process(LOOPBACK, peer.port);
        uint32_t value = 0;
        testing::internal::CaptureStderr();
        Exception e = thrownBy([&] {
            if (c.read)
                process.readMemory(ExtAddress(0x1000, ""), 4, 1, &value);
            else
                process.writeMemory(ExtAddress(0x1000, ""), 4, 1, &value);
        });
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(e.getMessage(),
                  std::string(c.read ? "Cannot read" : "Cannot write") + " address 1000 with memory space ");
        EXPECT_EQ(e.getLine(), c.read ? 97u : 72u);
        EXPECT_EQ(quorl::getLastError(), c.lastError);
        // A failed send or receive marks the connection down, and the
        // question consumes its text.
        EXPECT_EQ(process.isConnected(), c.connectedAfter);
        if (std::string(c.lastError).find("Failed to receive") == 0) {
            EXPECT_EQ(quorl::getLastError(), "");
        }
        EXPECT_EQ(value, c.readBack);
        quorl::closeAgentSocket();  // lets the peer's script end
    }
}

// A peer that accepts but never answers (another program on the port), or
// stops half-way through an answer, must not hang the run: the access fails
// like a lost connection.
TEST_F(TaProcessLTATest, SilentPeerEndsTheAccess) {
    const struct {
        const char* what;
        Bytes before;  // what the peer sends before it falls silent
    } peers[] = {
        {"no greeting", {}},
        {"silent after the greeting", GREETING},
        {"silent half-way through the status", {0, 0, 0, 2, 5, 0, 0, 0}},
    };
    for (const auto& p : peers) {
        SCOPED_TRACE(p.what);
        quorl::resetAgentConnection();
        ScriptedServer peer([&p](int fd) {
            if (!p.before.empty()) sendRaw(fd, p.before);
            char byte;
            while (::recv(fd, &byte, 1, 0) > 0) {
            }  // until the client gives up and closes
        });
        TaProcessLTA process(LOOPBACK, peer.port);
        quorl::setAgentReplyTimeout(100);
        uint32_t v = 0;
        testing::internal::CaptureStderr();
        Exception e = thrownBy([&] { process.writeMemory(ExtAddress(0x40, ""), 4, 1, &v); });
        testing::internal::GetCapturedStderr();
        quorl::setAgentReplyTimeout(5000);
        EXPECT_EQ(e.getMessage(), "Cannot write address 40 with memory space ");
        EXPECT_FALSE(process.isConnected());
        quorl::closeAgentSocket();
    }
}

TEST_F(TaProcessLTATest, ConnectionRules) {
    // Whatever stopped the connection, the request then fails on the dead
    // socket and its own text replaces the connection's.
    const unsigned short nobody = unusedPort();
    const std::string addresses[] = {LOOPBACK, "localhost", std::string(100, '1')};
    for (const std::string& address : addresses) {
        SCOPED_TRACE(address);
        quorl::resetAgentConnection();
        TaProcessLTA process(address, nobody);
        uint32_t v = 0;
        testing::internal::CaptureStderr();
        Exception e = thrownBy([&] { process.writeMemory(ExtAddress(0x40, "APB"), 4, 1, &v); });
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(e.getMessage(), "Cannot write address 40 with memory space APB");
        EXPECT_EQ(quorl::getLastError(), "Failed to send a request");
        EXPECT_FALSE(process.getConnectionInfo().connected);
    }

    // The same target is not tried again, even once a server listens there:
    // the second request still fails instead of reaching it.
    quorl::resetAgentConnection();
    TaProcessLTA process(LOOPBACK, nobody);
    uint32_t v = 0;
    testing::internal::CaptureStderr();
    thrownBy([&] { process.writeMemory(ExtAddress(0x40, ""), 4, 1, &v); });
    DummyServer late(nobody);
    ASSERT_TRUE(late.run());
    thrownBy([&] { process.writeMemory(ExtAddress(0x40, ""), 4, 1, &v); });
    testing::internal::GetCapturedStderr();
    late.stop();
    late.join();  // it never had a client

    // A new target is connected afresh.
    LoggerServer logger;
    TaProcessLTA other(LOOPBACK, logger.port());
    testing::internal::CaptureStdout();
    EXPECT_TRUE(other.writeMemory(ExtAddress(0x40, ""), 4, 1, &v));
    testing::internal::GetCapturedStdout();
}

TEST_F(TaProcessLTATest, ProcessesOnOneTargetShareTheConnection) {
    // The Logger server serves one client only: a second connection would
    // never be answered.
    LoggerServer logger;
    TaProcessLTA first(LOOPBACK, logger.port());
    TaProcessLTA second(LOOPBACK, logger.port());
    uint32_t v = 7;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(first.writeMemory(ExtAddress(0x10, ""), 4, 1, &v));
    EXPECT_TRUE(second.writeMemory(ExtAddress(0x14, ""), 4, 1, &v));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "write_mem 0x10 data=0x00000007 length=0x4\n"
              "write_mem 0x14 data=0x00000007 length=0x4\n");
    EXPECT_EQ(first.getConnectionInfo().address, LOOPBACK);
}

TEST_F(TaProcessLTATest, RegistersByName) {
    {
        LoggerServer logger;
        TaProcessLTA process(LOOPBACK, logger.port());
        uint64_t value = 0xABCD, back = 0;
        EXPECT_TRUE(process.writeRegister("CTRL", 4, 1, &value));
        EXPECT_TRUE(process.readRegister("CTRL", 8, 1, &back));
        EXPECT_EQ(back, 0xABCDu);
    }

    struct Case {
        bool read;
        const char* message;
        uint32_t line;
    };
    const Case cases[] = {{false, "Cannot write register CTRL", 144}, {true, "Cannot read register CTRL", 118}};
    for (const Case& c : cases) {
        quorl::resetAgentConnection();
        ScriptedServer peer([](int fd) {
            sendRaw(fd, GREETING);
            readRequest(fd);
            sendRaw(fd, failureStatus("register write failure"));
        });
        TaProcessLTA process(LOOPBACK, peer.port);
        uint64_t v = 0;
        Exception e = thrownBy([&] {
            if (c.read)
                process.readRegister("CTRL", 8, 1, &v);
            else
                process.writeRegister("CTRL", 8, 1, &v);
        });
        EXPECT_EQ(e.getMessage(), c.message);
        EXPECT_EQ(e.getLine(), c.line);
        EXPECT_EQ(quorl::getLastError(), "register write failure");
        quorl::closeAgentSocket();
    }
}

}  // namespace
