// The gta-sim program: preloaded image, command vocabulary, its command log,
// and that bad packets and abrupt disconnects leave it serving.
#include "tests/support/GtaPeer.h"
#include "tests/support/SimProcess.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using rq7test::hexEncode;

namespace {

std::string tempPath(const std::string& name) {
    return ::testing::TempDir() + "gta_sim_test_" + std::to_string(::getpid()) + "_" + name;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

// Raw bytes to the server; the connection is dropped without a goodbye.
void sendAndDrop(unsigned port, const std::string& bytes) {
    int s = rq7test::connectTo(port);
    ASSERT_GE(s, 0);
    ::send(s, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    linger hard{1, 0};  // reset instead of an orderly close
    ::setsockopt(s, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    ::close(s);
}

struct Fixture : ::testing::Test {
    void SetUp() override {
        image = tempPath("image");
        log = tempPath("log");
        blob = tempPath("blob");
        // A binary file spanning a page boundary, named relative to the image.
        std::ofstream(blob, std::ios::binary) << std::string(4094, '\0') << "\x11\x22\x33\x44";  // 4098 bytes
        std::ofstream(image) << "# test image\nAPB 0x1000 0x12345678\nAPB 0x1008 0xAB 1\nDDR 0x0 0x0102030405060708 8\n"
                             << "DDR 0x10000 @" << blob.substr(blob.rfind('/') + 1) << "  # code\n";
        sim.reset(new rq7test::SimProcess(
            GTA_SIM_PROGRAM, {"--image", image, "--log", log, "--clear-on-write", "AXI:0x3004:0x41", "--clear-on-write",
                              "AXI:0x3008:0x1", "--read-fifo", "AXI:0x4000:" + blob}));
        ASSERT_NE(sim->port(), 0u) << sim->firstLine;
    }
    void TearDown() override {
        EXPECT_EQ(sim->stop(), 0);
        std::remove(image.c_str());
        std::remove(log.c_str());
        std::remove(blob.c_str());
    }
    GtaSession* open() {
        GtaSession* s = nullptr;
        EXPECT_EQ(gta_open(("tcp://127.0.0.1:" + std::to_string(sim->port())).c_str(), &s), GTA_OK);
        if (s) s->transport->timeout = rq7test::SAFETY_TIMEOUT_MS;
        return s;
    }
    std::string image, log, blob;
    std::unique_ptr<rq7test::SimProcess> sim;
};

using GtaSim = Fixture;

TEST_F(GtaSim, AnswersTheCommandVocabulary) {
    GtaSession* s = open();
    struct Row {
        std::string command;
        std::string reply;
    };
    const std::vector<Row> rows = {
        {"mem read :c:d:x 0x1000 4 APB 1", "E02"},  // no context yet
        {"ctx set current :c:d:x", "OK"},
        {"ctx id :c:d set prop speed fast", "OK"},
        {"ctx connect", "OK"},
        {"mem list-ms", hexEncode("APB\nAXI\nDDR\n")},
        {"mem read :c:d:x 0x1000 4 APB 1", hexEncode(hexEncode("\x78\x56\x34\x12"))},
        {"mem read-piped :c:d:x 0x1008 1 APB 2", hexEncode(hexEncode(std::string("\xab\x00", 2)))},
        {"mem read :c:d:x 0x0 8 DDR 1", hexEncode(hexEncode("\x08\x07\x06\x05\x04\x03\x02\x01"))},
        {"mem read :c:d:x 0x1000 4  1", hexEncode(hexEncode("\x78\x56\x34\x12"))},  // empty space: the first one
        {"mem write :c:d:x 0x2000 2 AXI beefcafe", "OK"},
        {"mem read :c:d:x 0x2000 4 AXI 1", hexEncode("beefcafe")},
        {"mem write :c:d:x 0x2000 4 AXI beef", "E06"},  // not a whole element
        {"mem read :c:d:x 0x2000 3 AXI 1", "E04"},
        {"mem read :c:d:x 0x2000 4 NOPE 1", "E05"},
        {"mem read :c:d:x 0x10ffe 2 DDR 2", hexEncode(hexEncode("\x11\x22\x33\x44"))},    // file bytes across pages
        {"mem read :c:d:x 0x11002 1 DDR 1", hexEncode(hexEncode(std::string(1, '\0')))},  // past the file's end
        // Clear-on-write: only the masked bits of that register drop back.
        {"mem write :c:d:x 0x3004 4 AXI c3000000", "OK"},
        {"mem read :c:d:x 0x3004 4 AXI 1", hexEncode(hexEncode(std::string("\x82\0\0\0", 4)))},
        {"mem write :c:d:x 0x3000 4 AXI 010000000f000000", "OK"},  // a wider write covering it
        {"mem read :c:d:x 0x3000 4 AXI 2", hexEncode("010000000e000000")},
        {"mem write :c:d:x 0x3008 4 APB 01000000", "OK"},  // same address, other space: kept
        {"mem read :c:d:x 0x3008 4 APB 1", hexEncode("01000000")},
        // Read FIFO: word after word of the file; a wider read sees memory.
        {"mem read :c:d:x 0x4000 4 AXI 1", hexEncode(hexEncode(std::string(4, '\0')))},
        {"mem read :c:d:x 0x4000 4 AXI 2", hexEncode(hexEncode(std::string(8, '\0')))},
        {"mem read :c:d:x 0x4000 4 AXI 1", hexEncode(hexEncode(std::string(4, '\0')))},
        {"mem erase", "E03"},
    };
    for (const auto& r : rows) {
        GtaPacket* reply = nullptr;
        ASSERT_EQ(gta_exec(s, r.command.c_str(), &reply), GTA_OK) << r.command;
        EXPECT_EQ(rq7test::replyText(reply), r.reply) << r.command;
    }
    for (int word = 2; word < 1023; ++word) {  // up to the word holding the file's last bytes
        GtaPacket* reply = nullptr;
        ASSERT_EQ(gta_exec(s, "mem read :c:d:x 0x4000 4 AXI 1", &reply), GTA_OK);
    }
    const std::vector<Row> tail = {
        {"mem read :c:d:x 0x4000 4 AXI 1", hexEncode(hexEncode(std::string("\0\0\x11\x22", 4)))},
        {"mem read :c:d:x 0x4000 4 AXI 1", hexEncode(hexEncode("\x33\x44\xff\xff"))},  // the file ends inside a word
        {"mem read :c:d:x 0x4000 4 AXI 1", hexEncode(hexEncode("\xff\xff\xff\xff"))},
    };
    for (const auto& r : tail) {
        GtaPacket* reply = nullptr;
        ASSERT_EQ(gta_exec(s, r.command.c_str(), &reply), GTA_OK) << r.command;
        EXPECT_EQ(rq7test::replyText(reply), r.reply) << r.command;
    }
    gta_close(s);
    const std::string text = readFile(log);
    EXPECT_NE(text.find("> ctx connect\n< OK\n"), std::string::npos) << text;
    EXPECT_NE(text.find("> mem erase\n< E03\n"), std::string::npos) << text;
}

TEST_F(GtaSim, SurvivesBadPacketsAndAbruptDisconnects) {
    const std::vector<std::string> abuse = {
        "garbage without any frame",
        rq7test::packet("qRcmd," + hexEncode("ctx connect")).replace(1, 1, "x"),  // bad checksum
        rq7test::packet("qRcmd,zz"),                                              // not hex
        "$qRcmd," + std::string(5000, 'a'),                                       // cut off inside a packet
        "$vCont?#49",                                                             // not a monitor command
        std::string(3, '\0') + "+-+-",
    };
    for (const auto& bytes : abuse) sendAndDrop(sim->port(), bytes);

    GtaSession* s = open();
    // A session whose first packet is corrupted on the way gets a NACK and
    // its resend is served.
    s->command->size = 0;
    gta_packet_begin(s);
    gta_packet_append(s, "qRcmd,", 6, GTA_ENCODE_RAW);
    gta_packet_append(s, "ctx set current :c", 18, GTA_ENCODE_HEX);
    gta_packet_end(s);
    s->command->data[s->command->size - 1] ^= 1;  // wrong checksum: NACK, then the same again
    s->sendRetries = 2;
    EXPECT_EQ(gta_send_packet(s), GTA_ERR_CHECKSUM);
    EXPECT_EQ(gta_exec_ok(s, "ctx set current :c"), GTA_OK);
    EXPECT_EQ(gta_exec_ok(s, "ctx connect"), GTA_OK);  // console output comes first and is dropped
    gta_close(s);
    const std::string text = readFile(log);
    EXPECT_NE(text.find("bad checksum, sent NACK"), std::string::npos) << text;
    // The dropped clients' event lines may fall between a command and its
    // reply: look at the command lines alone.
    std::string commands;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("# ", 0) != 0) commands += line + "\n";
    }
    EXPECT_NE(commands.find("> ctx connect\n< OK"), std::string::npos) << text;
}

TEST_F(GtaSim, ResendsItsLastPacketOnNack) {
    int s = rq7test::connectTo(sim->port());
    ASSERT_GE(s, 0);
    const std::string reply = rq7test::packet(hexEncode("APB\nAXI\nDDR\n"));
    auto expectBytes = [&](const std::string& expected) {
        std::string got(expected.size(), '\0');
        size_t n = 0;
        while (n < got.size()) {
            ssize_t r = ::recv(s, &got[n], got.size() - n, 0);
            ASSERT_GT(r, 0);
            n += size_t(r);
        }
        EXPECT_EQ(got, expected);
    };
    const std::string list = rq7test::command("mem list-ms");
    ::send(s, list.data(), list.size(), 0);
    expectBytes("+" + reply);
    ::send(s, "-", 1, 0);
    expectBytes(reply);
    ::send(s, "+", 1, 0);
    ::close(s);
}

TEST(GtaSimCommandLine, RefusesABadImageOrRule) {
    const std::string image = tempPath("bad_image");
    struct Row {
        std::string imageText;
        std::vector<std::string> extra;
    };
    const std::vector<Row> rows = {
        {"APB 0x1000\n", {}},
        {"DDR 0x0 @no_such_file_here\n", {}},
        {"DDR 0x0 @\n", {}},
        {"", {"--clear-on-write", "APB:0x10"}},
        {"", {"--clear-on-write", ":0x10:1"}},
        {"", {"--clear-on-write", "APB:0x10:x"}},
        {"", {"--read-fifo", "APB:0x10:/no/such/file"}},
        {"", {"--read-fifo", "APB:0x10"}},
    };
    for (const auto& r : rows) {
        std::ofstream(image) << r.imageText;
        std::vector<std::string> args = {"--image", image};
        args.insert(args.end(), r.extra.begin(), r.extra.end());
        rq7test::SimProcess sim(GTA_SIM_PROGRAM, args);
        EXPECT_EQ(sim.wait(), 2) << r.imageText;
        EXPECT_EQ(sim.port(), 0u);
    }
    std::remove(image.c_str());
}

}  // namespace
