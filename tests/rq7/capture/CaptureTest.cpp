// rq7 capture and rq7 verify over GTA against gta-sim: a configure run of
// the example, trace put where the sink keeps it, the capture decoded by the
// trace decoder's own lister; verify after clean and tampered runs.
#include "gta/gta.h"
#include "rq7/Fields.h"
#include "tests/rq7/capture/CaptureSupport.h"
#include "tests/support/GtaPeer.h"
#include "tests/support/SimProcess.h"

#include <sys/stat.h>

#include <memory>

using namespace capturetest;
using rq7test::readFile;
using rq7test::runTool;
using rq7test::ScratchDir;
using rq7test::writeFile;

namespace {

const uint64_t DDR_BASE = 0xa0000000;  // the example's DDR trace buffer
const std::string DDR_RWP = "0x80060018", DDR_STS = "0x8006000c", DDR_FFCR = "0x80060304";
const std::string ETF_RSZ = "0x80050004", ETF_RRD = "0x80050010", ETF_FFCR = "0x80050304";
const unsigned CORE0_ID = 2;  // ATB ID of "Cluster 0 Core 0"

std::string hexText(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

// A run of the example against gta-sim: the image is the example's with
// `extraImage` lines, "@DIR@" in gta-sim's arguments is the run's folder, and
// `files` are written there first.
class CaptureRun {
public:
    CaptureRun(const std::string& extraImage, std::vector<std::string> simArgs, const Edits& edits,
               const std::vector<std::pair<std::string, Bytes>>& files = {}) {
        writeBytes(dir.file("code.bin"), loopCode());
        for (const auto& f : files) writeBytes(dir.file(f.first), f.second);
        writeFile(dir.file("sim.image"),
                  readFile(EXAMPLE_IMAGE) + "\nAXI " + hexText(CODE_ADDRESS) + " @code.bin\n" + extraImage);
        for (std::string& a : simArgs)
            if (a.find("@DIR@") != std::string::npos) a.replace(a.find("@DIR@"), 5, dir.path());
        simArgs.insert(simArgs.begin(), {"--image", dir.file("sim.image"), "--quiet"});
        sim.reset(new rq7test::SimProcess(GTA_SIM_PROGRAM, simArgs));
        EXPECT_NE(sim->port(), 0u) << sim->firstLine;
        Edits all = portEdit(sim->port());
        all.insert(all.end(), edits.begin(), edits.end());
        writeFile(config(), editedExample(all));
    }
    std::string config() const { return dir.file("trace.xml"); }
    rq7test::ToolResult configure() { return runTool({"-c", config()}, dir.path()); }
    rq7test::ToolResult rq7(const std::vector<std::string>& args) {
        return rq7test::runProgram(RQ7_BINARY, args, dir.path());
    }
    rq7test::ToolResult capture() {
        return rq7({"capture", config(), "-o", snapshot(), "--dump", "AXI:" + hexText(CODE_ADDRESS) + ":20"});
    }
    std::string snapshot() const { return dir.file("snapshot"); }
    // A second debug-server client changing a register behind the run's back.
    void poke(const std::string& space, uint64_t address, uint32_t value) {
        GtaSession* s = nullptr;
        ASSERT_EQ(gta_open(("tcp://127.0.0.1:" + std::to_string(sim->port())).c_str(), &s), GTA_OK);
        s->transport->timeout = rq7test::SAFETY_TIMEOUT_MS;
        std::string data;
        for (int i = 0; i < 4; ++i) data += static_cast<char>(value >> (8 * i));
        EXPECT_EQ(gta_exec_ok(s, "ctx set current :other"), GTA_OK);
        EXPECT_EQ(gta_exec_ok(s, "ctx connect"), GTA_OK);
        const std::string command =
            "mem write :other " + hexText(address) + " 4 " + space + " " + rq7test::hexEncode(data);
        EXPECT_EQ(gta_exec_ok(s, command.c_str()), GTA_OK);
        gta_close(s);
    }

    ScratchDir dir;
    std::unique_ptr<rq7test::SimProcess> sim;
};

bool exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

struct Scenario {
    const char* name;
    unsigned traceId;
    enum Sink { Ddr, DdrWrapped, Etf } sink;
    bool known;  // the configuration has a unit with that trace ID
};

class Capture : public ::testing::TestWithParam<Scenario> {};

TEST_P(Capture, DecodesWhatTheSinkHeld) {
    if (!haveLister()) GTEST_SKIP() << LISTER << " is not installed";
    const Scenario& s = GetParam();
    const Bytes stream = coresightFrames(static_cast<uint8_t>(s.traceId), etmPackets(sampleTrace()));
    std::string image;
    std::vector<std::string> simArgs;
    Edits edits = {{"<Name>Cluster 0 Core 0</Name>",  // an attribute rq7.config does not know
                    "<Name>Cluster 0 Core 0</Name><StringAttribute><Name>Core Type</Name>"
                    "<DefaultValue>Cortex-A53</DefaultValue></StringAttribute>"}};
    Bytes buffer = stream;
    if (s.sink == Scenario::Etf) {
        edits.push_back({"<DefaultValue>DDR Buffer</DefaultValue>", "<DefaultValue>Internal</DefaultValue>"});
        edits.push_back({"<DefaultValue>PassThrough</DefaultValue>", "<DefaultValue>OneBuffer</DefaultValue>"});
        image = "APB " + ETF_RSZ + " 0x400\n";
        simArgs = {"--read-fifo", "APB:" + ETF_RRD + ":@DIR@/trace.bin", "--clear-on-write",
                   "APB:" + ETF_FFCR + ":0x40"};
    } else {
        uint64_t pointer = DDR_BASE + stream.size(), status = 0x4;  // TMCReady
        if (s.sink == Scenario::DdrWrapped) {
            // A 4 KiB buffer that wrapped: the oldest byte at the write pointer.
            const size_t size = 0x1000, split = 0x800;
            edits.push_back({"<DefaultValue>0x1000000</DefaultValue>", "<DefaultValue>0x1000</DefaultValue>"});
            Bytes whole = stream;
            const Bytes nullFrame = {0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};  // ID 0: nothing
            while (whole.size() < size) whole.insert(whole.end(), nullFrame.begin(), nullFrame.end());
            buffer.assign(whole.begin() + split, whole.end());
            buffer.insert(buffer.end(), whole.begin(), whole.begin() + split);
            pointer = DDR_BASE + (size - split);
            status |= 0x1;  // Full
        }
        image = "APB " + hexText(DDR_BASE) + " @trace.bin\nAPB " + DDR_RWP + " " + hexText(pointer) + "\nAPB " +
                DDR_STS + " " + hexText(status) + "\n";
        simArgs = {"--clear-on-write", "APB:" + DDR_FFCR + ":0x40"};
    }
    CaptureRun run(image, simArgs, edits, {{"trace.bin", buffer}});

    const auto configured = run.configure();
    ASSERT_EQ(configured.status, 0) << configured.out << configured.err;
    const auto captured = run.capture();
    ASSERT_EQ(captured.status, 0) << captured.err;
    const std::string warning = "holds trace of ID " + hexText(s.traceId);
    EXPECT_EQ(captured.err.find(warning) != std::string::npos, !s.known) << captured.err;

    const std::string core = readFile(run.snapshot() + "/Cluster_0_Core_0.ini");
    EXPECT_NE(core.find("type=Cortex-A53"), std::string::npos) << core;
    const std::string decoded = decode(run.snapshot(), run.dir.path());
    const std::string range = "exec range=" + hexText(CODE_ADDRESS) + ":[" + hexText(CODE_ADDRESS + 12) + "]";
    if (s.known) {
        EXPECT_NE(decoded.find("Addr=0x00000000" + hexText(CODE_ADDRESS).substr(2)), std::string::npos) << decoded;
        EXPECT_EQ(count(decoded, range), 3u) << decoded;  // E, E, N over the dumped code
        EXPECT_NE(decoded.find("TS=0x000123456789"), std::string::npos) << decoded;
        EXPECT_EQ(count(decoded, "OCSD_ERR"), 0u) << decoded;
    } else {
        EXPECT_EQ(count(decoded, range), 0u) << decoded;
    }
}

INSTANTIATE_TEST_SUITE_P(Sinks, Capture,
                         ::testing::Values(Scenario{"ddr", CORE0_ID, Scenario::Ddr, true},
                                           Scenario{"wrapped", CORE0_ID, Scenario::DdrWrapped, true},
                                           Scenario{"etf", CORE0_ID, Scenario::Etf, true},
                                           Scenario{"unknown_id", 0x55, Scenario::Ddr, false}),
                         [](const ::testing::TestParamInfo<Scenario>& info) { return info.param.name; });

// The README's example: the shipped trace image decodes as it says.
TEST(CaptureExample, ShippedTraceImageDecodes) {
    if (!haveLister()) GTEST_SKIP() << LISTER << " is not installed";
    CaptureRun run(readFile(std::string(RQ7_SIM_DIR) + "/ka7710x-trace.image"),
                   {"--clear-on-write", "APB:" + DDR_FFCR + ":0x40"}, {});
    ASSERT_EQ(run.configure().status, 0);
    const auto captured = run.capture();
    ASSERT_EQ(captured.status, 0) << captured.err;
    const std::string decoded = decode(run.snapshot(), run.dir.path());
    EXPECT_EQ(count(decoded, "exec range=0x40001000:[0x4000100c]"), 3u) << decoded;
    EXPECT_NE(decoded.find("TS=0x000123456789"), std::string::npos) << decoded;
}

// Failures end with a message and status 1, and leave nothing under the
// snapshot's name: a flush that never completes, a server that is gone.
TEST(CaptureFailure, LeavesNoSnapshot) {
    CaptureRun run("", {}, {});  // no flush completion: FlushMan stays set
    ASSERT_EQ(run.configure().status, 0);
    auto result = run.capture();
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("DDR Trace Buffer: the formatter flush did not complete"), std::string::npos)
        << result.err;
    EXPECT_FALSE(exists(run.snapshot()));

    EXPECT_EQ(run.sim->stop(), 0);
    result = run.capture();
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("rq7 capture: debug server 127.0.0.1:"), std::string::npos) << result.err;
    EXPECT_FALSE(exists(run.snapshot()));
}

TEST(Verify, ReportsOnlyRegistersChangedBehindItsBack) {
    CaptureRun run("", {"--clear-on-write", "APB:" + DDR_FFCR + ":0x40"}, {});
    ASSERT_EQ(run.configure().status, 0);
    auto result = run.rq7({"verify", run.config()});
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_EQ(result.out, "");

    // Timestamps off in Cluster 0 Core 0's TRCCONFIGR; the unit's TS field.
    run.poke("APB", 0x81030010, 0x000200d6);
    result = run.rq7({"verify", run.config()});
    EXPECT_EQ(result.status, 1);
    // The differing fields by name where the field tables say them.
    std::string fields;
    for (const std::string& f : rq7::differingFields("ETM_TRCCONFIGR", 0x8d0, 0x0d0))
        fields += (fields.empty() ? "" : ", ") + f;
    EXPECT_EQ(result.out, "Cluster 0 Core 0 ETM_TRCCONFIGR 0x81030010: wrote 0x000208d6, reads 0x000200d6 (" +
                              (fields.empty() ? "bit 11" : fields) + ")\n");
}

}  // namespace
