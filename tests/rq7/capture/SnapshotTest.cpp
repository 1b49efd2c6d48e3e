// rq7 snapshot without a target, and the pieces capture shares with it.
#include "rq7/Snapshot.h"
#include "rq7/TraceSetup.h"
#include "tests/rq7/capture/CaptureSupport.h"

using namespace capturetest;
using rq7test::readFile;
using rq7test::ScratchDir;
using rq7test::writeFile;

namespace {

TEST(ImplementedConfigBits, FollowTheIdRegisters) {
    struct Row {
        uint32_t idr0, idr2, implemented;
    };
    const std::vector<Row> rows = {
        {0x00000001, 0x00000000, 0x00000001},  // nothing optional: only the RES1 bit
        {0x28000EA1, 0x00000488, 0x000018D9},  // Armv8-A unit: BB, CCI, CID, VMID, TS, RS
        {0x00000007, 0x00000000, 0x00000007},  // P0 tracing implemented
        {0x00000059, 0x00000000, 0x00030701},  // data tracing, conditional tracing
        {0x00018001, 0x60000000, 0x0000E001},  // Q elements, VMID option
    };
    for (const Row& r : rows)
        EXPECT_EQ(rq7::implementedConfigBits(r.idr0, r.idr2), r.implemented) << std::hex << r.idr0 << " " << r.idr2;
}

TEST(DumpRequest, ParsesSpaceAddressAndLengthOrFile) {
    struct Row {
        std::string text;
        bool ok;
        std::string space;
        uint64_t address, length;
        std::string file;
    };
    const std::vector<Row> rows = {
        {"AXI:0x40001000:20", true, "AXI", 0x40001000, 20, ""},
        {"APB:4096:0x10", true, "APB", 4096, 16, ""},
        {"AXI:0x0:@code.bin", true, "AXI", 0, 0, "code.bin"},
        {"AXI:0x0:0", false, "", 0, 0, ""},  // nothing to read
        {":0x0:4", false, "", 0, 0, ""},
        {"AXI:0x0", false, "", 0, 0, ""},
        {"AXI:zz:4", false, "", 0, 0, ""},
        {"AXI:0x0:@", false, "", 0, 0, ""},
        {"AXI:-1:4", false, "", 0, 0, ""},
    };
    for (const Row& r : rows) {
        rq7::DumpRequest d;
        ASSERT_EQ(rq7::parseDumpRequest(r.text, d), r.ok) << r.text;
        if (!r.ok) continue;
        EXPECT_EQ(d.space, r.space) << r.text;
        EXPECT_EQ(d.address, r.address) << r.text;
        EXPECT_EQ(d.length, r.length) << r.text;
        EXPECT_EQ(d.file, r.file) << r.text;
    }
}

// Without a target: register values from the plan, ID registers of an
// Armv8-A unit, a trace file given by hand; the lister decodes it.
TEST(SnapshotCommand, WritesWhatTheDecoderReads) {
    ScratchDir dir;
    writeFile(dir.file("trace.xml"), readFile(EXAMPLE));
    writeBytes(dir.file("trace.bin"), coresightFrames(2, etmPackets(sampleTrace())));
    writeBytes(dir.file("code.bin"), loopCode());
    const std::string out = dir.file("snapshot");
    writeFile(out + ".keep", "");
    auto result = rq7test::runProgram(RQ7_BINARY,
                                      {"snapshot", dir.file("trace.xml"), "-o", out, "--trace", dir.file("trace.bin"),
                                       "--dump", "AXI:0x40001000:@" + dir.file("code.bin")},
                                      dir.path());
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(dir.file("trace.xml")), readFile(EXAMPLE));  // never written

    const std::string etm = readFile(out + "/ETM_Cluster_0_Core_0.ini");
    // TRCCONFIGR as a Logger run writes it, with the P0 and data bits dropped.
    for (const char* line : {"TRCCONFIGR(0x004)=0x00000850", "TRCTRACEIDR(0x010)=0x00000002",
                             "TRCIDR0(0x078)=0x28000EA1", "TRCIDR2(0x07A)=0x00000488", "TRCIDR13(0x065)=0x00000000"})
        EXPECT_NE(etm.find(line), std::string::npos) << line << "\n" << etm;
    const std::string trace = readFile(out + "/trace.ini");
    EXPECT_NE(trace.find("[buffer0]\nname=DDR_Trace_Buffer\nfile=DDR_Trace_Buffer.bin\nformat=coresight\n"),
              std::string::npos)
        << trace;
    EXPECT_NE(trace.find("ETM_Cluster_1_Core_1=DDR_Trace_Buffer\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("Cluster_1_Core_1=ETM_Cluster_1_Core_1\n"), std::string::npos) << trace;
    EXPECT_EQ(trace.find("Cluster_0_Core_3"), std::string::npos) << "a disabled core: " << trace;
    EXPECT_NE(readFile(out + "/STM_System_STM.ini").find("STMTCSR(0x3A0)=0x0040000F"), std::string::npos);

    if (!haveLister()) GTEST_SKIP() << LISTER << " is not installed";
    const std::string decoded = decode(out, dir.path());
    EXPECT_EQ(count(decoded, "exec range=0x40001000:[0x4000100c]"), 3u) << decoded;
    EXPECT_EQ(count(decoded, "OCSD_ERR"), 0u) << decoded;

    // A second snapshot replaces the first as a whole.
    result = rq7test::runProgram(RQ7_BINARY, {"snapshot", dir.file("trace.xml"), "-o", out}, dir.path());
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(out + "/DDR_Trace_Buffer.bin"), "");
    EXPECT_EQ(readFile(out + "/mem_0.bin"), "");
}

TEST(SnapshotCommand, RefusesBadInput) {
    ScratchDir dir;
    writeFile(dir.file("trace.xml"), readFile(EXAMPLE));
    writeFile(dir.file("broken.xml"), "<QUORL>");
    writeFile(dir.file("logger.xml"), readFile(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml"));
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string message;
    };
    const std::vector<Row> rows = {
        {{"snapshot", dir.file("trace.xml")}, 2, "missing -o DIR"},
        {{"snapshot", "-o", dir.file("s")}, 2, "missing FILE"},
        {{"snapshot", dir.file("trace.xml"), "-o", dir.file("s"), "--dump", "AXI:1"}, 2, "--dump takes"},
        {{"capture", dir.file("trace.xml"), "-o", dir.file("s"), "--dump", "AXI:0:@f"}, 2, "--dump takes"},
        {{"snapshot", dir.file("broken.xml"), "-o", dir.file("s")}, 2, "broken.xml"},
        {{"snapshot", dir.file("trace.xml"), "-o", dir.file("s"), "--dump", "AXI:0:16"}, 1, "--image"},
        {{"snapshot", dir.file("trace.xml"), "-o", dir.file("s"), "--trace", dir.file("none")}, 1, "none"},
        {{"snapshot", dir.file("trace.xml"), "-o", dir.file("missing/s")}, 1, "cannot create a directory beside"},
        {{"capture", dir.file("broken.xml"), "-o", dir.file("s")}, 2, "broken.xml"},
        {{"verify", dir.file("logger.xml")}, 1, "names no GTA debug server"},
        {{"capture", dir.file("logger.xml"), "-o", dir.file("s")}, 1, "names no GTA debug server"},
    };
    for (const Row& r : rows) {
        const auto result = rq7test::runProgram(RQ7_BINARY, r.args, dir.path());
        EXPECT_EQ(result.status, r.status) << result.err;
        EXPECT_NE(result.err.find(r.message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(::access(dir.file("s").c_str(), F_OK), -1) << "no partial snapshot";
    }
}

}  // namespace
