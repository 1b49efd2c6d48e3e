// rq7.config in GTA mode against gta-sim: the commands the server received
// for configure and disable runs of the example, byte order on big-endian
// targets, and how a failed connection ends the run.
#include "tests/support/GtaPeer.h"
#include "tests/support/SimProcess.h"
#include "tests/support/ToolRun.h"

#include <sstream>
#include <string>
#include <thread>
#include <vector>

using rq7test::readFile;
using rq7test::runTool;
using rq7test::ScratchDir;
using Lines = std::vector<std::string>;

namespace {

const std::string EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml";
const std::string IMAGE = std::string(RQ7_SIM_DIR) + "/ka7710x.image";
const std::string EXAMPLE_PORT = "<DefaultValue>6170</DefaultValue>";

// The example, pointed at `port`, with `endianness` as the target's order.
std::string configFor(unsigned port, const std::string& endianness = "little") {
    std::string text = readFile(EXAMPLE);
    auto at = text.find(EXAMPLE_PORT);
    EXPECT_NE(at, std::string::npos);
    text.replace(at, EXAMPLE_PORT.size(), "<DefaultValue>" + std::to_string(port) + "</DefaultValue>");
    const std::string little = "<Name>endianness</Name><DefaultValue>little</DefaultValue>";
    at = text.find(little);
    EXPECT_NE(at, std::string::npos);
    text.replace(at, little.size(), "<Name>endianness</Name><DefaultValue>" + endianness + "</DefaultValue>");
    return text;
}

// The commands of a gta-sim log ("> " lines), in order.
Lines commandsOf(const std::string& log) {
    Lines out;
    std::istringstream in(log);
    std::string line;
    while (std::getline(in, line))
        if (line.compare(0, 2, "> ") == 0) out.push_back(line.substr(2));
    return out;
}

Lines linesOf(const std::string& text) {
    Lines out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) out.push_back(line);
    return out;
}

// Lists compared line by line, reporting the first difference only.
void expectSameLines(const Lines& actual, const Lines& expected, const std::string& what) {
    size_t i = 0;
    while (i < actual.size() && i < expected.size() && actual[i] == expected[i]) ++i;
    if (i == actual.size() && i == expected.size()) return;
    ADD_FAILURE() << what << ": first difference at line " << i + 1
                  << "\n  actual:   " << (i < actual.size() ? actual[i] : "(end)")
                  << "\n  expected: " << (i < expected.size() ? expected[i] : "(end)") << "\n  (" << actual.size()
                  << " vs " << expected.size() << " lines)";
}

struct SimRun {
    explicit SimRun(std::vector<std::string> extra = {}) {
        extra.insert(extra.end(), {"--image", IMAGE, "--log", dir.file("sim.log")});
        sim.reset(new rq7test::SimProcess(GTA_SIM_PROGRAM, extra));
        EXPECT_NE(sim->port(), 0u) << sim->firstLine;
    }
    rq7test::ToolResult run(const std::vector<std::string>& flags, const std::string& endianness = "little") {
        rq7test::writeFile(dir.file("trace.xml"), configFor(sim->port(), endianness));
        std::vector<std::string> args = flags;
        args.push_back(dir.file("trace.xml"));
        return runTool(args, dir.path());
    }
    Lines commands() {
        sim->stop();
        return commandsOf(readFile(dir.file("sim.log")));
    }
    ScratchDir dir;
    std::unique_ptr<rq7test::SimProcess> sim;
};

TEST(GtaRun, ConfigureSendsTheExpectedCommands) {
    SimRun s;
    auto r = s.run({"-c"});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.out, "Configuration finished successfully.\n");
    EXPECT_EQ(r.err, "");
    const Lines commands = s.commands();
    ASSERT_GE(commands.size(), 3u);
    EXPECT_EQ(Lines(commands.begin(), commands.begin() + 3),
              (Lines{"ctx set current :ka7710x-evb:KA7710X:Cluster 0 Core 0", "ctx connect", "mem list-ms"}));
    expectSameLines(commands, linesOf(readFile(std::string(RQ7_GOLDEN_DIR) + "/configure.commands")), "configure");
    // The run saves its configuration, with the connection settings kept.
    EXPECT_NE(readFile(s.dir.file("trace.xml")).find("<Name>Connection</Name>"), std::string::npos);
}

TEST(GtaRun, DisableSendsTheExpectedCommands) {
    SimRun s;
    auto r = s.run({"-d", "-c"});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.out, "Trace Generators were successfully disabled.\n");
    expectSameLines(s.commands(), linesOf(readFile(std::string(RQ7_GOLDEN_DIR) + "/disable.commands")), "disable");
}

// The same run on a big-endian target sends every 4-byte element with its
// bytes reversed, and the identification registers read the same values.
TEST(GtaRun, BigEndianTargetGetsSwappedData) {
    SimRun little;
    ASSERT_EQ(little.run({"-c"}).status, 0);
    SimRun big({"--big-endian"});
    auto r = big.run({"-c"}, "big");
    ASSERT_EQ(r.status, 0) << r.out;
    Lines expected;
    for (std::string c : little.commands()) {
        if (c.compare(0, 10, "mem write ") == 0) {
            std::string& data = c;
            const auto blank = data.rfind(' ');
            std::string swapped;
            for (size_t i = blank + 1; i + 8 <= data.size(); i += 8)
                for (int b = 3; b >= 0; --b) swapped += data.substr(i + 2 * b, 2);
            c = data.substr(0, blank + 1) + swapped;
        }
        expected.push_back(c);
    }
    expectSameLines(big.commands(), expected, "big-endian");
}

using rq7test::ScriptedPeer;  // for failures gta-sim never makes

TEST(GtaRun, FailedConnectionEndsTheRunAbnormally) {
    const std::string ok = "+$OK#9a";
    struct Row {
        const char* name;
        std::string script;  // "-": nobody listens
        std::string text;
    };
    const std::vector<Row> rows = {
        {"no server", "-", "Cannot open a connection to server"},
        {"context refused", ok + "+$E02#a7", "Cannot create memory context"},
        {"memory spaces refused", ok + ok + "+$E01#a6", "Cannot load memory spaces."},
    };
    for (const auto& r : rows) {
        ScratchDir dir;
        std::unique_ptr<ScriptedPeer> server;
        unsigned port;
        if (r.script == "-") {
            rq7test::Peer closed;
            port = closed.port;  // released again when `closed` goes
        } else {
            server.reset(new ScriptedPeer(r.script));
            port = server->peer.port;
        }
        const std::string config = configFor(port);
        rq7test::writeFile(dir.file("trace.xml"), config);
        auto result = runTool({"-c", dir.file("trace.xml")}, dir.path());
        EXPECT_NE(result.status, 0) << r.name;
        EXPECT_NE(result.status, 1) << r.name << ": an uncaught exception, not a normal failure";
        EXPECT_EQ(rq7test::maskLogTimes(result.out), "- HH:MM:SS.mmm [qor.ta.gta] ERROR: " + r.text + "\n") << r.name;
        EXPECT_NE(result.err.find(r.text), std::string::npos) << r.name << result.err;
        EXPECT_EQ(readFile(dir.file("trace.xml")), config) << r.name << ": nothing saved";
    }
}

}  // namespace
