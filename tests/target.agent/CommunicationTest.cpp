// Agent messages: byte-exact conversion tables, transfer over a socket pair,
// and the dispatcher with a recording handler table.
#include "target.agent/user/communication.h"

#include "tests/support/AgentWire.h"

#include <cstring>

namespace {

using rq7test::Bytes;
using rq7test::hex;
using rq7test::operator+;

// A message in host order from (width, value) fields, as the structures
// lay them out; `tail` follows the fixed fields.
Bytes fields(std::initializer_list<std::pair<int, uint64_t>> list, const Bytes& tail = {}) {
    Bytes out;
    for (auto f : list) {
        const uint8_t* p = reinterpret_cast<const uint8_t*>(&f.second);  // little-endian host
        out.insert(out.end(), p, p + f.first);
    }
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}
Bytes nulTerminated(const std::string& s) {
    return Bytes(s.c_str(), s.c_str() + s.size() + 1);
}

Bytes mem(uint8_t op, uint8_t code, uint64_t address, uint64_t value) {
    return fields({{4, 19}, {1, AGENT_MSG_MEMORY}, {1, op}, {1, code}, {8, address}, {8, value}});
}
Bytes reg(uint64_t value, uint8_t op, const std::string& name) {
    return fields({{4, 11 + name.size()}, {1, AGENT_MSG_REGISTER}, {8, value}, {1, op}}, nulTerminated(name));
}
Bytes ddrControl(uint8_t op, uint64_t first, uint64_t second) {
    return fields({{4, 18}, {1, AGENT_MSG_DDR_CONTROL}, {1, op}, {8, first}, {8, second}});
}
Bytes ddrBlock(uint8_t op, uint64_t size, uint64_t address, uint8_t width, const Bytes& payload) {
    return fields({{4, 19 + payload.size()}, {1, AGENT_MSG_DDR_BLOCK}, {1, op}, {8, size}, {8, address}, {1, width}},
                  payload);
}
Bytes status(uint8_t st, const std::string& text) {
    if (text.empty()) return fields({{4, 2}, {1, AGENT_MSG_STATUS}, {1, st}});
    return fields({{4, text.size() + 3}, {1, AGENT_MSG_STATUS}, {1, st}}, nulTerminated(text));
}

agent_message* asMessage(Bytes& b) {
    return reinterpret_cast<agent_message*>(b.data());
}

Bytes take(agent_message* m, size_t size) {
    Bytes out(reinterpret_cast<uint8_t*>(m), reinterpret_cast<uint8_t*>(m) + size);
    std::free(m);
    return out;
}

// ---- Conversion ----------------------------------------------------------------

struct ConversionCase {
    const char* name;
    Bytes host;
    const char* wire;
};

std::vector<ConversionCase> conversionCases() {
    return {
        {"memory read", mem(0, 2, 0x1122334455667788ull, 0), "00000013 00 00 02 1122334455667788 0000000000000000"},
        {"memory write", mem(1, 3, 0x80001000, 0x0102030405060708ull),
         "00000013 00 01 03 0000000080001000 0102030405060708"},
        {"register write", reg(0xCAFEF00D, 1, "TRC"), "0000000e 01 00000000cafef00d 01 54524300"},
        {"register with empty name", reg(0, 0, ""), "0000000b 01 0000000000000000 00 00"},
        {"ddr control", ddrControl(1, 0xA1A2A3A4A5A6A7A8ull, 0x0B), "00000012 02 01 a1a2a3a4a5a6a7a8 000000000000000b"},
        {"ddr block width 1", ddrBlock(1, 3, 0x40, 1, {0x01, 0x02, 0x03}),
         "00000016 03 01 0000000000000003 0000000000000040 01 010203"},
        {"ddr block width 2, odd payload", ddrBlock(1, 3, 0x40, 2, {0x34, 0x12, 0x56}),
         "00000016 03 01 0000000000000003 0000000000000040 02 123456"},
        {"ddr block width 2, one byte", ddrBlock(1, 1, 0x40, 2, {0x56}),
         "00000014 03 01 0000000000000001 0000000000000040 02 56"},
        {"ddr block width 4, two elements", ddrBlock(1, 8, 0, 4, hex("44332211 88776655")),
         "0000001b 03 01 0000000000000008 0000000000000000 04 11223344 55667788"},
        {"ddr block width 4, short payload", ddrBlock(1, 3, 0, 4, {0x01, 0x02, 0x03}),
         "00000016 03 01 0000000000000003 0000000000000000 04 010203"},
        {"ddr block width 8 and a remainder", ddrBlock(0, 9, 0, 8, hex("0807060504030201 ff")),
         "0000001c 03 00 0000000000000009 0000000000000000 08 0102030405060708 ff"},
        {"ddr block without payload", ddrBlock(0, 200, 0x10, 1, {}),
         "00000013 03 00 00000000000000c8 0000000000000010 01"},
        {"status success", status(0, ""), "00000002 05 00"},
        {"status with text", status(1, "abc"), "00000006 05 01 61626300"},
    };
}

TEST(AgentMessageConversion, HostToNetworkAndBack) {
    for (ConversionCase c : conversionCases()) {
        SCOPED_TRACE(c.name);
        const Bytes wire = hex(c.wire);
        ASSERT_EQ(c.host.size(), wire.size());
        Bytes host = c.host;
        agent_message* out = nullptr;
        ASSERT_EQ(htonm(asMessage(host), &out), 0);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(take(out, wire.size()), wire);
        EXPECT_EQ(host, c.host);  // the source is left alone

        Bytes net = wire;
        out = nullptr;
        ASSERT_EQ(ntohm(asMessage(net), &out), 0);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(take(out, wire.size()), c.host);
    }
}

TEST(AgentMessageConversion, StmKmsgConvertsInPlace) {
    const Bytes host = fields({{4, 10}, {1, AGENT_MSG_STM_KMSG}, {1, 7}, {8, 0x0102030405060708ull}});
    Bytes b = host;
    agent_message* untouched = nullptr;
    ASSERT_EQ(htonm(asMessage(b), &untouched), 0);
    EXPECT_EQ(untouched, nullptr);
    EXPECT_EQ(b, hex("0000000a 04 07 0102030405060708"));
    ASSERT_EQ(ntohm(asMessage(b), nullptr), 0);  // no destination needed
    EXPECT_EQ(b, host);

    // A destination that already points somewhere is reported and ignored.
    agent_message* dummy = asMessage(b);
    testing::internal::CaptureStderr();
    EXPECT_EQ(htonm(asMessage(b), &dummy), 0);
    EXPECT_EQ(ntohm(asMessage(b), &dummy), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[htonm] [communication:213] ERROR : destination should point to NULL for STM/KMSG "
              "operations\n\n"
              "[ntohm] [communication:342] ERROR : destination should point to NULL for STM/KMSG "
              "operations\n\n");
    EXPECT_EQ(b, host);
}

TEST(AgentMessageConversion, Refusals) {
    struct Case {
        const char* name;
        Bytes host;
        bool nullDestination;
        const char* stderrOfNtohm;
    };
    const Case cases[] = {
        {"unknown type", fields({{4, 2}, {1, 6}, {1, 0}}), false, ""},
        {"no type byte", hex("00000000"), false, ""},
        {"bad element width", ddrBlock(1, 2, 0, 3, {1, 2}), false, ""},
        {"element width 0", ddrBlock(0, 0, 0, 0, {}), false, ""},
        {"memory message shorter than its fields", fields({{4, 3}, {1, 0}, {1, 1}, {1, 2}}), false, ""},
        {"register message shorter than its fields", fields({{4, 9}, {1, 1}, {8, 0}}), false, ""},
        {"no destination", mem(0, 2, 0, 0), true,
         "[ntohm] [communication:246] ERROR : destination must not be null for mem/reg "
         "operations\n\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes host = c.host;
        agent_message* out = nullptr;
        EXPECT_EQ(htonm(asMessage(host), c.nullDestination ? nullptr : &out), -22);
        EXPECT_EQ(out, nullptr);
        // The same message as it would come from the wire.
        Bytes net = host;
        uint32_t length;
        std::memcpy(&length, net.data(), 4);
        length = __builtin_bswap32(length);
        std::memcpy(net.data(), &length, 4);
        testing::internal::CaptureStderr();
        EXPECT_EQ(ntohm(asMessage(net), c.nullDestination ? nullptr : &out), -22);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.stderrOfNtohm);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(htonm(nullptr, nullptr), -22);
    EXPECT_EQ(ntohm(nullptr, nullptr), -22);
}

// ---- Transfer ------------------------------------------------------------------

struct SocketPair {
    int a = -1, b = -1;
    SocketPair() {
        int fds[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        a = fds[0];
        b = fds[1];
    }
    ~SocketPair() {
        ::close(a);
        closeB();
    }
    void closeB() {
        if (b >= 0) ::close(b);
        b = -1;
    }
    bool bHasData() {
        pollfd p{b, POLLIN, 0};
        return ::poll(&p, 1, 0) == 1;
    }
};

TEST(AgentMessageTransfer, WholeMessagesArriveAsSent) {
    SocketPair s;
    const Bytes wire = hex("00000013 00 01 02 0000000000001000 0000000012345678");
    Bytes w = wire;
    EXPECT_EQ(sock_write(s.a, asMessage(w)), 23);
    agent_message* in = nullptr;
    ASSERT_EQ(recv_sock_message(s.b, &in), 0);
    EXPECT_EQ(take(in, wire.size()), wire);

    // A length whose total wraps to zero sends nothing.
    Bytes wrap = hex("fffffffc 00");
    EXPECT_EQ(sock_write(s.a, asMessage(wrap)), 0);
    EXPECT_FALSE(s.bHasData());

    char buffer[1];
    EXPECT_EQ(sock_read(s.b, buffer, 0), 0);
}

TEST(AgentMessageTransfer, ReceiveFailures) {
    struct Case {
        const char* name;
        Bytes sent;
        int result;
        bool buffer;  // the caller receives a buffer to free
        const char* error;
    };
    const Case cases[] = {
        {"peer closed between messages", {}, -120, false, ""},
        {"length breaks off", hex("0000"), -5, false, ""},
        {"content breaks off", hex("00000013 00 01"), -5, true,
         "[recv_sock_message] [communication:484] ERROR : Unable to read the message content\n\n"},
        {"just above the limit", hex("00100001 00"), -90, false, ""},
    };
    for (bool buffered : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + (buffered ? ", buffered" : ""));
            SocketPair s;
            agent_reader reader;
            agent_reader_init(&reader, s.a);
            ASSERT_EQ(::send(s.b, c.sent.data(), c.sent.size(), 0), ssize_t(c.sent.size()));
            s.closeB();
            agent_message* in = nullptr;
            testing::internal::CaptureStderr();
            EXPECT_EQ(recv_sock_message(s.a, &in, buffered ? &reader : nullptr), c.result);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), c.error);
            EXPECT_EQ(in != nullptr, c.buffer);
            std::free(in);
        }
    }
    EXPECT_EQ(recv_sock_message(0, nullptr), -22);
}

// A reply and its status sent together, then a message larger than the
// buffer: each is received whole and in order.
TEST(AgentMessageTransfer, BufferedReaderSplitsMessages) {
    SocketPair s;
    const Bytes reply = hex("00000013 00 00 02 0000000000001000 0000000012345678");
    const Bytes status = hex("00000002 05 00");
    Bytes big = hex("00002003 03 01 0000000000002000 0000000000000000 01");
    big.resize(4 + 0x2003, 0x5A);
    const Bytes all = reply + status + big;
    std::thread writer([&] { ::send(s.b, all.data(), all.size(), 0); });
    agent_reader reader;
    agent_reader_init(&reader, s.a);
    for (const Bytes& expected : {reply, status, big}) {
        agent_message* in = nullptr;
        ASSERT_EQ(recv_sock_message(s.a, &in, &reader), 0);
        EXPECT_EQ(take(in, expected.size()), expected);
    }
    writer.join();
}

TEST(AgentMessageTransfer, SendToAGonePeerIsReported) {
    SocketPair s;
    s.closeB();
    Bytes w = hex("00000002 05 00");
    testing::internal::CaptureStderr();
    EXPECT_LT(sock_write(s.a, asMessage(w)), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[sock_write] [communication:412] ERROR : \tonly 0 of 6 bytes chunk sent (errno "
              "32:Broken pipe)\n\n");
}

// ---- Dispatch ------------------------------------------------------------------

std::vector<std::string> calls;
int handlerResult = 0;
const uint64_t MAILBOX = 0x1122334455667788ull;

std::string fmt(const char* f, unsigned long long a = 0, unsigned long long b = 0, unsigned long long c = 0) {
    char buf[128];
    std::snprintf(buf, sizeof buf, f, a, b, c);
    return buf;
}

int record(const std::string& call) {
    calls.push_back(call);
    return handlerResult;
}

// Reads answer MAILBOX; a block read fills A0, A1, ...
const agent_handler_table recordingHandlers = {
    [](uint64_t a, uint64_t v, unsigned w) { return record(fmt("write_mem %llx %llx %llu", a, v, w)); },
    [](uint64_t a, uint64_t* v, unsigned w) {
        int r = record(fmt("read_mem %llx %llx %llu", a, *v, w));
        return *v = MAILBOX, r;
    },
    [](const char* n, uint64_t* v) { return *v = MAILBOX, record(std::string("read_reg ") + n); },
    [](const char* n, uint64_t v) { return record(std::string("write_reg ") + n + fmt(" %llx", v)); },
    [](uint64_t f, uint64_t* s) { return *s = MAILBOX, record(fmt("ddr_get %llx", f)); },
    [](uint64_t s) { return record(fmt("ddr_set %llx", s)); },
    []() { return record("ddr_trigger"); },
    [](uint64_t a, uint64_t n, uint8_t* d) { return record(fmt("ddr_write %llx %llu %x", a, n, d[0])); },
    [](uint64_t a, uint64_t n, uint8_t* d) {
        for (uint64_t i = 0; i < n; ++i) d[i] = uint8_t(0xA0 + i);
        return record(fmt("ddr_read %llx %llu", a, n));
    },
};

struct DispatchCase {
    const char* name;
    Bytes message;  // host order
    int result;     // what the handlers return
    const char* text;
    const char* call;
    const char* reply;  // wire bytes, or "" for none
};

// Handler results and replies; the refusals of malformed requests are
// covered against the running server.
TEST(AgentMessageDispatch, EveryTypeAndOperation) {
    const DispatchCase cases[] = {
        {"memory write", mem(1, 2, 0x1000, 0x12345678), 0, nullptr, "write_mem 1000 12345678 4", ""},
        {"memory write failing", mem(1, 0, 0x1000, 1), -5, "Input/output error", "write_mem 1000 1 1", ""},
        {"memory write unknown failure", mem(1, 3, 0x8, 1), 7, "Unknown error", "write_mem 8 1 8", ""},
        {"memory read", mem(0, 1, 0x2000, 0x55), 0, nullptr, "read_mem 2000 55 2",
         "00000013 00 00 01 0000000000002000 1122334455667788"},
        {"memory read failing still replies", mem(0, 2, 0x2000, 0), -22, "Invalid argument", "read_mem 2000 0 4",
         "00000013 00 00 02 0000000000002000 1122334455667788"},
        {"register write", reg(0xAB, 1, "CTRL"), 0, nullptr, "write_reg CTRL ab", ""},
        {"register write failing", reg(0xAB, 1, "CTRL"), -1, "register write failure", "write_reg CTRL ab", ""},
        {"register read", reg(0, 0, "ID"), 0, nullptr, "read_reg ID", "0000000d 01 1122334455667788 00 494400"},
        {"register read failing", reg(0, 0, "ID"), 3, "Register read failure", "read_reg ID",
         "0000000d 01 1122334455667788 00 494400"},
        {"ddr get", ddrControl(0, 0x77, 0), 0, nullptr, "ddr_get 77",
         "00000012 02 00 0000000000000077 1122334455667788"},
        {"ddr set failing keeps the sign", ddrControl(1, 0, 0x99), -5, "Unknown error -5", "ddr_set 99", ""},
        {"ddr block write", ddrBlock(1, 2, 0x30, 1, {0x5A, 0x5B}), 0, nullptr, "ddr_write 30 2 5a", ""},
        {"ddr block read keeps the request's length", ddrBlock(0, 2, 0x30, 1, {0, 0}), 0, nullptr, "ddr_read 30 2",
         "00000015 03 00 0000000000000002 0000000000000030 01 a0a1"},
    };
    const agent_handler_table saved = agent_handlers;
    agent_handlers = recordingHandlers;
    for (const DispatchCase& c : cases) {
        SCOPED_TRACE(c.name);
        SocketPair s;
        calls.clear();
        handlerResult = c.result;
        Bytes m = c.message;
        const char* text = interpret_message(s.a, asMessage(m));
        EXPECT_STREQ(text, c.text);
        EXPECT_EQ(calls.empty() ? "" : calls.front(), c.call);
        EXPECT_LE(calls.size(), 1u);
        const Bytes reply = hex(c.reply);
        if (reply.empty()) {
            EXPECT_FALSE(s.bHasData());
        } else {
            agent_message* in = nullptr;
            ASSERT_EQ(recv_sock_message(s.b, &in), 0);
            EXPECT_EQ(take(in, reply.size()), reply);
        }
    }
    agent_handlers = saved;
}

TEST(AgentMessageDispatch, ReplyThatCannotBeSent) {
    const agent_handler_table saved = agent_handlers;
    agent_handlers = recordingHandlers;
    handlerResult = 0;
    SocketPair s;
    s.closeB();
    Bytes m = mem(0, 2, 0x10, 0);
    testing::internal::CaptureStderr();
    EXPECT_STREQ(interpret_message(s.a, asMessage(m)), "Failed to send reply to a client");
    testing::internal::GetCapturedStderr();
    agent_handlers = saved;

    EXPECT_STREQ(interpret_ddr_message(s.a, nullptr), "m is NULL");
}

}  // namespace
