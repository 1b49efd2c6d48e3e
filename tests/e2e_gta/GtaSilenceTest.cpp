// A debug server that falls silent ends an rq7.config run as one that closes
// the connection at the same point: same output, same status, same file.
// Each silent run waits out the reply deadline, so these tests take a minute.
#include "tests/gta/PacedServer.h"
#include "tests/support/SimProcess.h"
#include "tests/support/ToolRun.h"

#include <string>

using rq7test::CutProxy;
using rq7test::readFile;
using rq7test::ScratchDir;

namespace {

const std::string EXAMPLE = std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_gta.xml";
const std::string IMAGE = std::string(RQ7_SIM_DIR) + "/ka7710x.image";
const int RUN_LIMIT_SECONDS = 120;

struct Outcome {
    rq7test::ToolResult result;
    std::string savedFile;
    std::string config;
};

// One configure run through a proxy that keeps `keep` commands of gta-sim's
// conversation and then cuts it as `cut` says.
Outcome runCut(unsigned keep, CutProxy::Cut cut) {
    rq7test::SimProcess sim(GTA_SIM_PROGRAM, {"--image", IMAGE});
    EXPECT_NE(sim.port(), 0u) << sim.firstLine;
    CutProxy proxy(sim.port(), keep, cut);
    ScratchDir dir;
    Outcome o;
    o.config = readFile(EXAMPLE);
    const std::string port = "<DefaultValue>6170</DefaultValue>";
    const auto at = o.config.find(port);
    EXPECT_NE(at, std::string::npos);
    o.config.replace(at, port.size(), "<DefaultValue>" + std::to_string(proxy.peer.port) + "</DefaultValue>");
    rq7test::writeFile(dir.file("trace.xml"), o.config);
    o.result = rq7test::runTool({"-c", dir.file("trace.xml")}, dir.path(), RUN_LIMIT_SECONDS);
    o.result.out = rq7test::maskLogTimes(o.result.out);
    o.savedFile = readFile(dir.file("trace.xml"));
    return o;
}

// The silent run ends as the closed one; the closed one is returned.
Outcome expectSameEnd(unsigned keep) {
    const Outcome closed = runCut(keep, CutProxy::Cut::Close);
    const Outcome silent = runCut(keep, CutProxy::Cut::Silence);
    EXPECT_FALSE(silent.result.timedOut);
    EXPECT_EQ(silent.result.status, closed.result.status);
    EXPECT_EQ(silent.result.out, closed.result.out);
    EXPECT_EQ(silent.result.err, closed.result.err);
    // Each run has its own port in the file: compare whether it was kept.
    EXPECT_EQ(silent.savedFile == silent.config, closed.savedFile == closed.config);
    return closed;
}

TEST(GtaSilence, SilentAfterAcceptEndsAsAClosedConnection) {
    // The connection step throws, which nothing catches: not a normal status.
    const Outcome closed = expectSameEnd(0);
    EXPECT_NE(closed.result.status, 0);
    EXPECT_NE(closed.result.status, 1);
    EXPECT_NE(closed.result.err.find("Cannot create memory context"), std::string::npos) << closed.result.err;
}

TEST(GtaSilence, SilentPartWayEndsTheRunUnsuccessfully) {
    const unsigned keep = 200;  // past the connection, inside the programming
    const Outcome closed = expectSameEnd(keep);
    EXPECT_EQ(closed.result.status, 1);
    const std::string last = "Configuration was unsuccessful.\n";
    ASSERT_GE(closed.result.out.size(), last.size());
    EXPECT_EQ(closed.result.out.substr(closed.result.out.size() - last.size()), last);
    EXPECT_NE(closed.result.out.find("Cannot write memory through GTA"), std::string::npos);
}

}  // namespace
