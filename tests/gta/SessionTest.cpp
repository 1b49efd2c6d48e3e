// Contexts and the monitor commands, checked as the exact packets a session
// sends and the replies it accepts or refuses.
#include "tests/support/GtaPeer.h"

#include <cstring>
#include <string>
#include <vector>

using rq7test::command;
using rq7test::hexEncode;
using rq7test::packet;

namespace {

const std::string ACKED_OK = "+$OK#9a";

std::string idOf(const GtaContext* c) {
    char* id = nullptr;
    EXPECT_EQ(gta_context_id(c, &id), GTA_OK);
    std::string text = id ? id : "";
    gta_free(id);
    return text;
}

TEST(GtaContext, IdsByMode) {
    struct Row {
        uint32_t mode;
        std::string id;
    };
    const std::vector<Row> rows = {{3, ":C:D:X"}, {1, ":C:D-sim:X"}, {2, ":C:D-emu:X"}, {0, ":C:D:X"}};
    for (const auto& r : rows) {
        GtaContext* c = nullptr;
        ASSERT_EQ(gta_context_create("C", "D", r.mode, "X", &c), GTA_OK);
        EXPECT_EQ(idOf(c), r.id) << r.mode;
        char* base = nullptr;
        ASSERT_EQ(c->ops->id(c, GTA_CONTEXT_BASE, &base), GTA_OK);
        EXPECT_STREQ(base, ":C");
        gta_free(base);
        char* none = nullptr;
        EXPECT_EQ(c->ops->id(c, 3, &none), GTA_ERR_COMMAND_TEXT);
        gta_context_destroy(c);
    }
}

TEST(GtaContext, CloneIsDeepAndEqual) {
    GtaContext* a = nullptr;
    ASSERT_EQ(gta_context_create("C", "D", 1, "X", &a), GTA_OK);
    for (int i = 0; i < 10; ++i)  // past the initial capacity of the list
        ASSERT_EQ(gta_context_add_property(a, GTA_CONTEXT_DEVICE, ("k" + std::to_string(i)).c_str(), "v"), GTA_OK);
    GtaContext* b = nullptr;
    ASSERT_EQ(a->ops->clone(a, &b), GTA_OK);
    EXPECT_EQ(a->ops->equals(a, b), 1);
    EXPECT_NE(a->name, b->name);
    b->name[0] = 'Z';
    EXPECT_EQ(a->ops->equals(a, b), 0);
    EXPECT_EQ(idOf(a), ":C:D-sim:X");
    GtaContext* c = nullptr;
    ASSERT_EQ(gta_context_create("C", "D", 2, "X", &c), GTA_OK);
    EXPECT_EQ(a->ops->equals(a, c), 0);  // the mode differs
    gta_context_destroy(a);
    gta_context_destroy(b);
    gta_context_destroy(c);
    gta_context_destroy(nullptr);
}

struct Fixture : ::testing::Test {
    void SetUp() override { ASSERT_EQ(gta_context_create("C", "D", 3, "X", &context), GTA_OK); }
    void TearDown() override { gta_context_destroy(context); }
    rq7test::TcpSession t;
    GtaContext* context = nullptr;
};

using GtaConnect = Fixture;

TEST_F(GtaConnect, SetsCurrentThenPropertiesThenConnects) {
    gta_context_add_property(context, GTA_CONTEXT_DEVICE, "speed", "fast");
    gta_context_add_property(context, GTA_CONTEXT_MEMORY, "cache", "off");
    t.peer.send(ACKED_OK + ACKED_OK + ACKED_OK + ACKED_OK);
    EXPECT_EQ(gta_context_connect(t.session, context), GTA_OK);
    EXPECT_EQ(t.peer.received(), command("ctx set current :C:D:X") + "+" + command("ctx id :C:D set prop speed fast") +
                                     "+" + command("ctx id :C:D:X set prop cache off") + "+" + command("ctx connect") +
                                     "+");
}

TEST_F(GtaConnect, StopsAtTheFirstRefusal) {
    struct Row {
        const char* name;
        std::string peerBytes;
        int32_t status;
        std::string sent;
    };
    const std::vector<Row> rows = {
        {"set current refused", "+$E01#a6", GTA_ERR_COMMAND, command("ctx set current :C:D:X") + "+"},
        {"connect refused", ACKED_OK + "+$E02#a7", GTA_ERR_COMMAND,
         command("ctx set current :C:D:X") + "+" + command("ctx connect") + "+"},
    };
    for (const auto& r : rows) {
        rq7test::TcpSession s;
        s.peer.send(r.peerBytes);
        EXPECT_EQ(gta_context_connect(s.session, context), r.status) << r.name;
        EXPECT_EQ(s.peer.received(), r.sent) << r.name;
    }
    EXPECT_EQ(gta_context_connect(t.session, nullptr), GTA_ERR_COMMAND_TEXT);
    gta_context_add_property(context, 7, "k", "v");
    t.peer.send(ACKED_OK);
    EXPECT_EQ(gta_context_connect(t.session, context), GTA_ERR_COMMAND_TEXT);
}

using GtaMemory = Fixture;

TEST_F(GtaMemory, ReadRepliesAreCheckedAndDecoded) {
    struct Row {
        const char* name;
        int32_t width, count;
        std::string reply;  // payload of the server's reply
        int32_t status;
        std::string bytes;  // what lands in the buffer
    };
    const std::vector<Row> rows = {
        {"one word", 4, 1, hexEncode("78563412"), GTA_OK, "\x78\x56\x34\x12"},
        {"upper-case digits", 1, 1, "4142", GTA_OK, "\xab"},
        {"two half-words", 2, 2, hexEncode("0102a0b0"), GTA_OK, "\x01\x02\xa0\xb0"},
        {"surplus ignored", 1, 1, hexEncode("ff") + "zz", GTA_OK, "\xff"},
        {"one character short", 4, 1, hexEncode("78563412").substr(1), GTA_ERR_COMMAND, ""},
        {"error reply", 4, 1, "E01", GTA_ERR_COMMAND, ""},
        {"OK is too short", 1, 1, "OK", GTA_ERR_COMMAND, ""},
        {"bad outer digit", 1, 1, "3g30", GTA_ERR_HEX, ""},
        {"bad inner digit", 1, 1, hexEncode("zz"), GTA_ERR_HEX, ""},
        {"nothing asked", 4, 0, "", GTA_OK, ""},
    };
    for (const auto& r : rows) {
        rq7test::TcpSession s;
        s.peer.send("+" + packet(r.reply));
        uint8_t buffer[16] = {};
        EXPECT_EQ(gta_mem_read(s.session, context, 0x1000, "APB", r.width, r.count, buffer), r.status) << r.name;
        if (r.status == GTA_OK) {
            EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), r.bytes.size()), r.bytes);
        }
        const std::string text =
            "mem read :C:D:X 0x1000 " + std::to_string(r.width) + " APB " + std::to_string(r.count);
        EXPECT_EQ(s.peer.received(), command(text) + "+") << r.name;
    }
}

TEST_F(GtaMemory, PipedReadAndWriteTexts) {
    uint8_t buffer[4] = {};
    t.peer.send("+" + packet(hexEncode("00000000")));
    EXPECT_EQ(gta_mem_read_piped(t.session, context, 0xffffffff00000010ull, "AXI", 4, 1, buffer), GTA_OK);
    EXPECT_EQ(t.peer.received(), command("mem read-piped :C:D:X 0xffffffff00000010 4 AXI 1") + "+");

    const uint8_t data[] = {0x12, 0xAB};
    t.peer.send(ACKED_OK);
    EXPECT_EQ(gta_mem_write(t.session, context, 0x20, "", 1, 2, data), GTA_OK);
    // The text and then the data, both hex-encoded once more: the data part
    // of 0x12 0xAB is "31326162".
    EXPECT_EQ(t.peer.received(), packet("qRcmd," + hexEncode("mem write :C:D:X 0x20 1  ") + "31326162") + "+");
}

TEST_F(GtaMemory, WriteNeedsOK) {
    const std::vector<std::pair<std::string, int32_t>> rows = {
        {"OK", GTA_OK}, {"E05", GTA_ERR_COMMAND}, {"okay", GTA_ERR_COMMAND}};
    const uint32_t value = 1;
    for (const auto& r : rows) {
        rq7test::TcpSession s;
        s.peer.send("+" + packet(r.first));
        EXPECT_EQ(gta_mem_write(s.session, context, 0, "APB", 4, 1, &value), r.second) << r.first;
    }
}

TEST_F(GtaMemory, ExecReturnsTheReply) {
    t.peer.send("+" + packet(hexEncode("APB\nAXI\n")));
    GtaPacket* reply = nullptr;
    ASSERT_EQ(gta_exec(t.session, "mem list-ms", &reply), GTA_OK);
    EXPECT_EQ(rq7test::replyText(reply), hexEncode("APB\nAXI\n"));
    EXPECT_EQ(reply, t.session->reply);
    EXPECT_EQ(gta_mem_read(t.session, nullptr, 0, "APB", 4, 1, nullptr), GTA_ERR_COMMAND_TEXT);
}

}  // namespace
