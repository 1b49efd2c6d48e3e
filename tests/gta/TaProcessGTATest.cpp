// The GTA access process against the simulator: the commands it sends for
// each access, its byte order handling, and how connection failures end.
#include "target.access/ExtAddress.h"
#include "target.access/TaProcessGTA.h"
#include "tests/support/GtaPeer.h"
#include "tests/support/StdoutCapture.h"
#include "tools/gta-sim/GtaSim.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// g++ names AddressSanitizer builds by a macro, clang by a feature test.
#if defined(__SANITIZE_ADDRESS__)
#define RQ7_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RQ7_ASAN 1
#endif
#endif

#if defined(RQ7_ASAN)
#include <sanitizer/lsan_interface.h>
// A constructor that throws leaves its session open on purpose (the process
// ends on that exception); the tests that provoke it must not count it.
#define RQ7_EXPECTED_LEAK_SCOPE __lsan::ScopedDisabler rq7_expected_leak_scope
#else
#define RQ7_EXPECTED_LEAK_SCOPE
#endif

using quorl::ExtAddress;
using quorl::TaProcessGTA;
using Strings = std::vector<std::string>;

namespace {

const char* const CONTEXT = ":ka7710x-evb:KA7710X:Cluster 0 Core 0";

// A simulator on a free loopback port, served from its own thread.
class Sim {
public:
    explicit Sim(bool bigEndian = false) {
        gtasim::Options options;
        options.bigEndian = bigEndian;
        gtasim::MemoryImage image;
        image.writeValue("APB", 0x2000, 0xCAFEF00D, 4, bigEndian);
        image.writeValue("APB", 0x2008, 0x0123456789ABCDEFull, 8, bigEndian);
        server.reset(new gtasim::Server(options, image));
        std::string error;
        EXPECT_TRUE(server->listen(error)) << error;
        thread = std::thread([this] { server->run(); });
    }
    ~Sim() {
        server->stop();
        thread.join();
    }
    std::unique_ptr<TaProcessGTA> connect(const std::string& endianness) {
        auto p = std::unique_ptr<TaProcessGTA>(new TaProcessGTA("127.0.0.1", server->port(), "ka7710x-evb", "KA7710X",
                                                                "Cluster 0 Core 0", "APB", endianness));
        server->clearCommands();
        return p;
    }
    Strings commands() const { return server->commands(); }

    std::unique_ptr<gtasim::Server> server;
    std::thread thread;
};

std::string mem(const std::string& verb, const std::string& rest) {
    return "mem " + verb + " " + CONTEXT + " " + rest;
}

TEST(TaProcessGTA, ConnectsAndLoadsMemorySpaces) {
    Sim sim;
    ExtAddress::memorySpaceIds.clear();
    TaProcessGTA process("127.0.0.1", sim.server->port(), "ka7710x-evb", "KA7710X", "Cluster 0 Core 0", "APB",
                         "little");
    EXPECT_EQ(sim.commands(), (Strings{std::string("ctx set current ") + CONTEXT, "ctx connect", "mem list-ms"}));
    EXPECT_EQ(ExtAddress::memorySpaceIds, (Strings{"APB", "AXI"}));
    EXPECT_EQ(process.accessType(), 2u);
    uint64_t value = 0;
    EXPECT_FALSE(process.writeRegister("R", 4, 1, &value));
    EXPECT_FALSE(process.readRegister("R", 4, 1, &value));
    EXPECT_FALSE(process.reserved());
    // Null buffers are refused before anything is sent.
    EXPECT_FALSE(process.writeMemory(ExtAddress(0x1000, "APB"), 8, 1, nullptr));
    EXPECT_FALSE(process.readMemory(ExtAddress(0x1000, "APB"), 4, 1, nullptr));
    EXPECT_FALSE(process.readMemoryPiped(ExtAddress(0x1000, "APB"), 4, 1, nullptr));
    EXPECT_EQ(sim.commands().size(), 3u);
}

TEST(TaProcessGTA, WritesByWidthAndByteOrder) {
    struct Row {
        const char* name;
        std::string endianness;
        uint64_t width;
        std::vector<uint8_t> host;  // the caller's buffer, host order
        uint32_t count;
        Strings commands;
    };
    const uint32_t word = 0x11223344;
    const uint64_t dword = 0x1122334455667788ull;
    auto bytesOf = [](const void* p, size_t n) {
        auto* b = static_cast<const uint8_t*>(p);
        return std::vector<uint8_t>(b, b + n);
    };
    const uint16_t halves[] = {0x1122, 0x3344};
    const uint64_t dwords[] = {dword, 0xAABBCCDD00000001ull};
    const std::vector<Row> rows = {
        {"little word", "little", 4, bytesOf(&word, 4), 1, {mem("write", "0x1000 4 APB 44332211")}},
        {"big word", "big", 4, bytesOf(&word, 4), 1, {mem("write", "0x1000 4 APB 11223344")}},
        {"other text is not big", "Big", 4, bytesOf(&word, 4), 1, {mem("write", "0x1000 4 APB 44332211")}},
        {"big half-words", "big", 2, bytesOf(halves, 4), 2, {mem("write", "0x1000 2 APB 11223344")}},
        {"little half-words", "little", 2, bytesOf(halves, 4), 2, {mem("write", "0x1000 2 APB 22114433")}},
        {"big double word: low word first",
         "big",
         8,
         bytesOf(&dword, 8),
         1,
         {mem("write", "0x1000 4 APB 55667788"), mem("write", "0x1004 4 APB 11223344")}},
        {"little double word",
         "little",
         8,
         bytesOf(&dword, 8),
         1,
         {mem("write", "0x1000 4 APB 88776655"), mem("write", "0x1004 4 APB 44332211")}},
        {"two double words",
         "little",
         8,
         bytesOf(dwords, 16),
         2,
         {mem("write", "0x1000 4 APB 88776655"), mem("write", "0x1004 4 APB 44332211"),
          mem("write", "0x1008 4 APB 01000000"), mem("write", "0x100c 4 APB ddccbbaa")}},
        {"no double words", "little", 8, bytesOf(&dword, 8), 0, {}},
    };
    Sim sim;
    for (const auto& r : rows) {
        auto process = sim.connect(r.endianness);
        std::vector<uint8_t> buffer = r.host;
        EXPECT_TRUE(process->writeMemory(ExtAddress(0x1000, "APB"), r.width, r.count, buffer.data())) << r.name;
        EXPECT_EQ(buffer, r.host) << r.name << ": the caller's buffer comes back unchanged";
        EXPECT_EQ(sim.commands(), r.commands) << r.name;
    }
}

TEST(TaProcessGTA, ReadsSwapOnlyForBigEndianTargets) {
    struct Row {
        bool simBig;
        std::string endianness;
        uint32_t expected;
    };
    const std::vector<Row> rows = {
        {false, "little", 0xCAFEF00D},
        {true, "big", 0xCAFEF00D},
        {true, "little", 0x0DF0FECA},  // a mismatch shows as swapped bytes
    };
    for (const auto& r : rows) {
        Sim sim(r.simBig);
        auto process = sim.connect(r.endianness);
        uint32_t value = 0;
        EXPECT_TRUE(process->readMemory(ExtAddress(0x2000, "APB"), 4, 1, &value));
        EXPECT_EQ(value, r.expected) << r.endianness;
        uint32_t piped = 0;
        EXPECT_TRUE(process->readMemoryPiped(ExtAddress(0x2000, "APB"), 4, 1, &piped));
        EXPECT_EQ(piped, r.expected);
        uint64_t wide = 0;  // width 8 is one read, not split
        EXPECT_TRUE(process->readMemory(ExtAddress(0x2008, "APB"), 8, 1, &wide));
        if (r.simBig == (r.endianness == "big")) {
            EXPECT_EQ(wide, 0x0123456789ABCDEFull);
        }
        EXPECT_EQ(sim.commands(), (Strings{mem("read", "0x2000 4 APB 1"), mem("read-piped", "0x2000 4 APB 1"),
                                           mem("read", "0x2008 8 APB 1")}));
    }
}

TEST(TaProcessGTA, RefusedAccessesThrow) {
    Sim sim;
    auto process = sim.connect("little");
    uint32_t value = 1;
    struct Row {
        const char* name;
        std::function<void()> access;
        std::string text;
        bool logged;
    };
    const std::vector<Row> rows = {
        {"write", [&] { process->writeMemory(ExtAddress(0x1000, "XYZ"), 4, 1, &value); },
         "Cannot write memory through GTA", true},
        {"read", [&] { process->readMemory(ExtAddress(0x1000, "XYZ"), 4, 1, &value); },
         "Cannot read memory through GTA", false},
        {"piped read", [&] { process->readMemoryPiped(ExtAddress(0x1000, "XYZ"), 4, 1, &value); },
         "Cannot read memory through GTA", false},
    };
    for (const auto& r : rows) {
        rq7test::StdoutCapture capture;
        try {
            r.access();
            ADD_FAILURE() << r.name << " did not throw";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), r.text) << r.name;
        }
        const std::string out = capture.text();
        EXPECT_EQ(out.find("[qor.ta.gta] ERROR: " + r.text) != std::string::npos, r.logged) << r.name << out;
    }
    EXPECT_EQ(value, 1u);
}

using rq7test::ScriptedPeer;

const std::string OK = "+$OK#9a";

std::string listReply(const std::string& text) {
    return "+" + rq7test::packet(rq7test::hexEncode(text));
}

TEST(TaProcessGTA, ConnectionFailuresThrowTheirText) {
    struct Row {
        const char* name;
        std::string script;
        std::string text;
    };
    const std::vector<Row> rows = {
        {"server closes at once", "", "Cannot create memory context"},
        {"current context refused", "+$E02#a7", "Cannot create memory context"},
        {"connect refused", OK + "+$E02#a7", "Cannot create memory context"},
        {"list refused", OK + OK + "+$E01#a6", "Cannot load memory spaces."},
        {"list not hex", OK + OK + "+" + rq7test::packet("zz"), "Cannot load memory spaces."},
        {"list of odd size", OK + OK + "+" + rq7test::packet("612"), "Cannot load memory spaces."},
    };
    for (const auto& r : rows) {
        RQ7_EXPECTED_LEAK_SCOPE;
        ScriptedPeer server(r.script);
        rq7test::StdoutCapture capture;
        try {
            TaProcessGTA process("127.0.0.1", server.peer.port, "C", "D", "X", "APB", "little");
            ADD_FAILURE() << r.name << " did not throw";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), r.text) << r.name;
        }
        EXPECT_NE(capture.text().find("[qor.ta.gta] ERROR: " + r.text), std::string::npos) << r.name;
    }
}

TEST(TaProcessGTA, MemorySpaceListsKeepEmptyNamesAndDropTheTail) {
    struct Row {
        std::string list;
        Strings ids;
    };
    const std::vector<Row> rows = {
        {"a\nb\n", {"a", "b"}}, {"a", {}}, {"", {}}, {"a\n\nb\n", {"a", "", "b"}}, {"a\nb", {"a"}},
    };
    for (const auto& r : rows) {
        ScriptedPeer server(OK + OK + listReply(r.list));
        ExtAddress::memorySpaceIds = {"stale"};
        TaProcessGTA process("127.0.0.1", server.peer.port, "C", "D", "X", "APB", "little");
        EXPECT_EQ(ExtAddress::memorySpaceIds, r.ids) << r.list;
    }
}

TEST(TaProcessGTA, LostServerFailsTheNextAccess) {
    auto sim = std::unique_ptr<Sim>(new Sim);
    auto process = sim->connect("little");
    sim.reset();  // the server goes away with the connection
    uint32_t value = 0;
    EXPECT_THROW(process->writeMemory(ExtAddress(0x1000, "APB"), 4, 1, &value), std::runtime_error);
    EXPECT_THROW(process->readMemory(ExtAddress(0x1000, "APB"), 4, 1, &value), std::runtime_error);
}

}  // namespace
