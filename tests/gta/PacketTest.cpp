// Packet layer: buffer growth, URLs, encodings, and the receive and send
// state machines over the memory transport and over a real socket.
#include "tests/support/GtaPeer.h"

#include <cstring>
#include <string>
#include <vector>

using rq7test::command;
using rq7test::packet;
using rq7test::replyText;

namespace {

// ---- Buffer ----------------------------------------------------------------

TEST(GtaBuffer, GrowthDoublesUpToTheLimit) {
    struct Row {
        uint64_t capacity, maxSize, need;
        int32_t status;
        uint64_t newCapacity;
    };
    const std::vector<Row> rows = {
        {0, 0, 10, GTA_OK, 16},     // created with the default capacity
        {16, 0, 17, GTA_OK, 32},    // doubled
        {16, 0, 100, GTA_OK, 100},  // the need wins over doubling
        {16, 24, 20, GTA_OK, 24},   // doubling capped by the limit
        {16, 24, 25, GTA_ERR_BUFFER_LIMIT, 16},
        {16, 0, 0x100000000ull, GTA_ERR_BUFFER_LIMIT, 16},  // 0 means 0xFFFFFFFF
    };
    for (const auto& r : rows) {
        GtaBuffer* b = nullptr;
        ASSERT_EQ(gta_buffer_create(r.capacity, r.maxSize, &b), GTA_OK);
        ASSERT_EQ(gta_buffer_append(b, "abc", 3), GTA_OK);
        EXPECT_EQ(gta_buffer_grow(b, r.need), r.status) << r.need;
        EXPECT_EQ(b->capacity, r.newCapacity) << r.need;
        EXPECT_EQ(std::string(reinterpret_cast<char*>(b->data), b->size), "abc");
        gta_buffer_destroy(b);
    }
}

TEST(GtaBuffer, OutOfMemoryIsReported) {
    gta_set_allocator([](size_t) -> void* { return nullptr; }, nullptr);
    GtaBuffer* b = nullptr;
    GtaSession* s = nullptr;
    GtaContext* c = nullptr;
    EXPECT_EQ(gta_buffer_create(16, 0, &b), GTA_ERR_NO_MEMORY);
    EXPECT_EQ(gta_open("memory", &s), GTA_ERR_NO_MEMORY);
    EXPECT_EQ(gta_context_create("C", "D", 3, "X", &c), GTA_ERR_NO_MEMORY);
    gta_set_allocator(nullptr, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(c, nullptr);
}

TEST(GtaPacket, Classification) {
    struct Row {
        std::string bytes;
        uint32_t kind;
        int32_t errorCode;
    };
    const std::vector<Row> rows = {
        {"OK", GTA_PACKET_OK, -1},   {"E07", GTA_PACKET_ERROR, 7}, {"E99", GTA_PACKET_ERROR, 99},
        {"E7", GTA_PACKET_DATA, -1}, {"E0x", GTA_PACKET_DATA, -1}, {"OKK", GTA_PACKET_DATA, -1},
        {"ok", GTA_PACKET_DATA, -1}, {"", GTA_PACKET_DATA, -1},    {"E070", GTA_PACKET_DATA, -1},
    };
    for (const auto& r : rows) {
        GtaPacket* p = nullptr;
        ASSERT_EQ(gta_packet_create(&p), GTA_OK);
        gta_buffer_append(&p->buffer, r.bytes.data(), r.bytes.size());
        EXPECT_EQ(gta_packet_kind(p), r.kind) << r.bytes;
        EXPECT_EQ(p->errorCode, r.errorCode) << r.bytes;
        gta_packet_destroy(p);
    }
}

// ---- URLs and transport selection -----------------------------------------

TEST(GtaUrl, ParsingAndTransportSelection) {
    struct Row {
        const char* url;
        int32_t parse;     // gta_url_parse
        const char* host;  // when parsed
        const char* port;
        int32_t transport;  // gta_transport_create (tcp to a closed port fails to connect)
    };
    const std::vector<Row> rows = {
        {"memory", GTA_OK, nullptr, nullptr, GTA_OK},
        {"memory://host:1", GTA_OK, "host", "1", GTA_ERR_URL},
        {"tcp", GTA_OK, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://host", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://:5", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://host:65536", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://host:12x", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://host:", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp:host:5", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"://host:5", GTA_ERR_URL, nullptr, nullptr, GTA_ERR_URL},
        {"tcp://host/:65535", GTA_OK, "host", "65535", GTA_ERR_CONNECT},
        {"udp://host:5", GTA_OK, "host", "5", GTA_ERR_SCHEME},
        {"serial", GTA_OK, nullptr, nullptr, GTA_ERR_SCHEME},
    };
    for (const auto& r : rows) {
        GtaUrl url;
        EXPECT_EQ(gta_url_parse(r.url, &url), r.parse) << r.url;
        if (r.parse == GTA_OK) {
            EXPECT_STREQ(url.host ? url.host : "(none)", r.host ? r.host : "(none)") << r.url;
            EXPECT_STREQ(url.port ? url.port : "(none)", r.port ? r.port : "(none)") << r.url;
            gta_url_release(&url);
        }
        GtaTransport* t = nullptr;
        EXPECT_EQ(gta_transport_create(r.url, 0, &t), r.transport) << r.url;
        gta_transport_destroy(t);
    }
}

// ---- Encodings -------------------------------------------------------------

TEST(GtaEncoding, PacketBuilding) {
    struct Row {
        std::string data;
        uint32_t encoding;
        std::string packet;
    };
    const std::vector<Row> rows = {
        {"", GTA_ENCODE_RAW, "$#00"},
        {"OK", GTA_ENCODE_RAW, "$OK#9a"},
        {std::string("\x12\xab", 2), GTA_ENCODE_HEX, "$12ab#26"},
        {std::string("\x12\xab", 2), GTA_ENCODE_DOUBLE_HEX, "$31326162#98"},
        {"#$*}a", GTA_ENCODE_ESCAPED, "$}\x03}\x04}\x0a}]a#c3"},
        {std::string("\x00\xff", 2), GTA_ENCODE_HEX, "$00ff#2c"},
    };
    for (const auto& r : rows) {
        GtaSession* s = nullptr;
        ASSERT_EQ(gta_open("memory", &s), GTA_OK);
        ASSERT_EQ(gta_packet_begin(s), GTA_OK);
        ASSERT_EQ(gta_packet_append(s, r.data.data(), r.data.size(), r.encoding), GTA_OK);
        ASSERT_EQ(gta_packet_end(s), GTA_OK);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(s->command->data), s->command->size), r.packet) << r.data;
        gta_close(s);
    }
}

// ---- Receiving over the memory transport ----------------------------------

struct MemorySession {
    MemorySession() { EXPECT_EQ(gta_open("memory", &session), GTA_OK); }
    ~MemorySession() { gta_close(session); }
    void feed(const std::string& bytes) {
        ASSERT_EQ(session->transport->writeAll(session->transport, bytes.data(), bytes.size()), GTA_OK);
    }
    // What the session wrote back (acks) and nobody has read.
    std::string pending() const {
        GtaTransport* t = session->transport;
        return std::string(reinterpret_cast<char*>(t->memory->data) + t->memoryPosition,
                           t->memory->size - t->memoryPosition);
    }
    GtaSession* session = nullptr;
};

struct ReceiveRow {
    const char* name;
    std::string input;
    int32_t status;
    std::string reply;
    uint32_t kind;
    std::string acks;  // what the session wrote back
};

const std::string NOISE_AT_LIMIT(GTA_NOISE_LIMIT, 'x');

const std::vector<ReceiveRow> RECEIVE_ROWS = {
    {"ok", "$OK#9a", GTA_OK, "OK", GTA_PACKET_OK, "+"},
    {"empty", "$#00", GTA_OK, "", GTA_PACKET_DATA, "+"},
    {"error reply", "$E07#ac", GTA_OK, "E07", GTA_PACKET_ERROR, "+"},
    {"escape", "$}]#da", GTA_OK, "}", GTA_PACKET_DATA, "+"},
    {"escaped hash and dollar", "$a}\x03}\x04#62", GTA_OK, "a#$", GTA_PACKET_DATA, "+"},
    {"upper-case checksum", "$}]#DA", GTA_OK, "}", GTA_PACKET_DATA, "+"},
    {"spurious ack", "+$OK#9a", GTA_OK, "+", GTA_PACKET_ACK, ""},
    {"spurious nack", "-", GTA_OK, "-", GTA_PACKET_NACK, ""},
    {"noise before start", "\r\nxyz$OK#9a", GTA_OK, "OK", GTA_PACKET_OK, "+"},
    {"noise up to the limit", NOISE_AT_LIMIT + "$OK#9a", GTA_OK, "OK", GTA_PACKET_OK, "+"},
    {"noise over the limit", NOISE_AT_LIMIT + "x$OK#9a", GTA_ERR_BAD_PACKET, "", 0, ""},
    {"restart inside data", "$abc$OK#9a", GTA_OK, "OK", GTA_PACKET_OK, "+"},
    {"restart after hash", "$abc#$OK#9a", GTA_OK, "OK", GTA_PACKET_OK, "+"},
    {"bad checksum", "$OK#00", GTA_ERR_CHECKSUM, "OK", 0, "-"},
    {"bad first digit", "$OK#g0", GTA_ERR_BAD_PACKET, "OK", 0, ""},
    {"bad second digit", "$OK#9g", GTA_ERR_BAD_PACKET, "OK", 0, ""},
    {"stream ends inside a packet", "$OK#9", GTA_ERR_CLOSED, "", GTA_PACKET_DATA, ""},
    {"stream ends in noise", "xyz", GTA_ERR_CLOSED, "", GTA_PACKET_DATA, ""},
};

TEST(GtaReceive, StateMachineOverMemory) {
    for (const auto& r : RECEIVE_ROWS) {
        MemorySession m;
        m.feed(r.input);
        EXPECT_EQ(gta_receive_packet(m.session), r.status) << r.name;
        EXPECT_EQ(replyText(m.session->reply), r.reply) << r.name;
        if (r.kind) {
            EXPECT_EQ(gta_packet_kind(m.session->reply), r.kind) << r.name;
        }
        EXPECT_EQ(m.pending(), r.acks) << r.name;
    }
}

TEST(GtaReceive, WithoutAcknowledgementNothingIsChecked) {
    MemorySession m;
    m.session->ackMode = 1;
    m.feed("$OK#zz");
    EXPECT_EQ(gta_receive_packet(m.session), GTA_OK);
    EXPECT_EQ(replyText(m.session->reply), "OK");
    EXPECT_EQ(m.pending(), "");
}

TEST(GtaReceive, DebugTraceNamesTheMismatch) {
    MemorySession m;
    std::string trace;
    gta_debug_attach(
        m.session, [](GtaDebugSink* sink, const char* text) { *static_cast<std::string*>(sink->user) += text; },
        nullptr, &trace);
    m.feed("$OK#00");
    EXPECT_EQ(gta_receive_packet(m.session), GTA_ERR_CHECKSUM);
    EXPECT_EQ(trace,
              "Receiving packet ... OK\nRecv packet: OK\nCHECKSUM missmatch, sending NACK ... OK\n"
              "Packet integrity problem ...FAILED (error=-200)\n");
}

struct ReplyRow {
    const char* name;
    uint32_t receiveRetries;
    std::string input;
    int32_t status;
    std::string reply;
    std::string acks;
};

const std::vector<ReplyRow> REPLY_ROWS = {
    {"console output dropped", 0, "$O6869#2c$OK#9a", GTA_OK, "OK", "++"},
    {"several console packets", 0, "$Oa#b0$Ob#b1$done#a6", GTA_OK, "done", "+++"},
    {"OK is not console output", 0, "$OK#9a$Ox#c7", GTA_OK, "OK", "+"},
    {"bare O is console output", 0, "$O#4f$OK#9a", GTA_OK, "OK", "++"},
    {"empty reply ends", 0, "$#00", GTA_OK, "", "+"},
    {"bad checksum retried", 0, "$OK#00$OK#01$OK#9a", GTA_OK, "OK", "--+"},
    {"retries exhausted", 1, "$OK#00$OK#01$OK#9a", GTA_ERR_CHECKSUM, "OK", "--"},
    {"one retry suffices", 1, "$OK#00$OK#9a", GTA_OK, "OK", "-+"},
    {"bad packet not retried", 0, "$OK#x0$OK#9a", GTA_ERR_BAD_PACKET, "OK", ""},
};

TEST(GtaReceive, ReplySkipsConsoleAndRetriesChecksums) {
    for (const auto& r : REPLY_ROWS) {
        MemorySession m;
        m.session->receiveRetries = r.receiveRetries;
        m.feed(r.input);
        GtaPacket* reply = nullptr;
        EXPECT_EQ(gta_receive_reply(m.session, &reply), r.status) << r.name;
        EXPECT_EQ(replyText(m.session->reply), r.reply) << r.name;
        EXPECT_EQ(m.pending(), r.acks) << r.name;
    }
}

// ---- Sending and whole exchanges over a socket -----------------------------

struct ExchangeRow {
    const char* name;
    uint32_t sendRetries;
    std::string peerBytes;  // queued before the call
    int32_t status;
    std::string clientBytes;  // all the client sent
};

const std::string PING = command("ping");

const std::vector<ExchangeRow> EXCHANGE_ROWS = {
    {"ack and OK", 0, "+$OK#9a", GTA_OK, PING + "+"},
    {"nack resends", 0, "-+$OK#9a", GTA_OK, PING + PING + "+"},
    {"any byte but + is a nack", 0, "x-+$OK#9a", GTA_OK, PING + PING + PING + "+"},
    {"nack with one try", 1, "-+$OK#9a", GTA_ERR_CHECKSUM, PING},
    {"two tries", 2, "-+$OK#9a", GTA_OK, PING + PING + "+"},
    {"bad reply checksum", 0, "+$OK#00$OK#9a", GTA_OK, PING + "-+"},
    {"console then OK", 0, "+$O6869#2c$OK#9a", GTA_OK, PING + "++"},
    {"error reply", 0, "+$E07#ac", GTA_ERR_COMMAND, PING + "+"},
    {"other data", 0, "+$xyz#6b", GTA_ERR_COMMAND, PING + "+"},
    {"noise before reply", 0, "+" + std::string(GTA_NOISE_LIMIT, '\n') + "$OK#9a", GTA_OK, PING + "+"},
    {"noise over the limit", 0, "+" + std::string(GTA_NOISE_LIMIT + 1, '\n') + "$OK#9a", GTA_ERR_BAD_PACKET, PING},
};

TEST(GtaExchange, ExecOkOverSocket) {
    for (const auto& r : EXCHANGE_ROWS) {
        rq7test::TcpSession t;
        t.session->sendRetries = r.sendRetries;
        t.peer.send(r.peerBytes);
        EXPECT_EQ(gta_exec_ok(t.session, "ping"), r.status) << r.name;
        EXPECT_EQ(t.peer.received(), r.clientBytes) << r.name;
    }
}

TEST(GtaExchange, SessionSurvivesBadPacketsAndErrorReplies) {
    rq7test::TcpSession t;
    t.peer.send("+" + std::string(GTA_NOISE_LIMIT + 1, '.'));
    EXPECT_EQ(gta_exec_ok(t.session, "ping"), GTA_ERR_BAD_PACKET);
    t.session->readFill = t.session->readPosition = 0;  // drop the rest of the noise
    t.peer.received();
    t.peer.send("+$E01#a6");
    EXPECT_EQ(gta_exec_ok(t.session, "ping"), GTA_ERR_COMMAND);
    t.peer.send("+$OK#9a");
    EXPECT_EQ(gta_exec_ok(t.session, "ping"), GTA_OK);
}

TEST(GtaExchange, PeerThatClosesIsAFailure) {
    struct Row {
        const char* name;
        std::string peerBytes;  // sent before the peer closes
    };
    const std::vector<Row> rows = {
        {"before the ack", ""},
        {"before the reply", "+"},
        {"inside the reply", "+$OK#9"},
        {"after a nack", "-"},
    };
    for (const auto& r : rows) {
        rq7test::TcpSession t;
        t.peer.send(r.peerBytes);
        t.peer.closePeer();
        // A resend after the nack may already find the connection reset.
        const int32_t status = gta_exec_ok(t.session, "ping");
        EXPECT_TRUE(status == GTA_ERR_CLOSED || (r.peerBytes == "-" && status == GTA_ERR_SEND))
            << r.name << ": " << status;
        // The transport is down from now on.
        EXPECT_EQ(gta_exec_ok(t.session, "ping"), GTA_ERR_SEND) << r.name;
        uint64_t n = 0;
        uint8_t byte;
        EXPECT_EQ(t.session->transport->read(t.session->transport, &byte, 1, &n), GTA_ERR_RECEIVE);
    }
}

TEST(GtaExchange, TimeoutEndsAWait) {
    rq7test::TcpSession t;
    t.session->transport->timeout = 50;
    EXPECT_EQ(gta_exec_ok(t.session, "ping"), GTA_ERR_TIMEOUT);
}

}  // namespace
