// Logger runs that reach the target: the register accesses printed by the
// in-process server, the log lines, the result line and what is saved.
#include "tests/e2e_run/ConfigText.h"
#include "tests/support/ToolRun.h"

#include <gtest/gtest.h>

namespace rq7test {
namespace {

// A NoC probe feeding a funnel through an observer, the funnel feeding an ETF.
// The funnel's own Enable Trace is false: only the probe's chain switches it on.
std::string chainConfig(const std::string& port = "5000", const std::string& funnelDependency = "ETF 0") {
    Block probe{
        "Main NoC Probe 0",
        {boolAttr("Enable Trace", true), stringAttr("MemSpace", "APB"), boolAttr("Enable Payload", true),
         addr64Attr("Module Base Address", "0x1000"), boolAttr("Enable Statistics", false),
         boolAttr("Enable Intrusive Mode", false), uint32Attr("Trace Port", "1"), stringAttr("Dependency", "OBS_A")},
        {}};
    Block observer{
        "OBS_A",
        {boolAttr("Enable Trace", false), addr64Attr("Module Base Address", "0x2000"),
         addr64Attr("STP Base Address", "0x3000"), stringAttr("MemSpace", "APB"), uint32Attr("SyncPeriod", "511"),
         uint32Attr("ATB ID", "33"), stringAttr("Dependency", "Top ARM Funnel Port 2")},
        {}};
    Block funnel{"Top ARM Funnel",
                 {boolAttr("Enable Trace", false), stringAttr("MemSpace", "APB"),
                  addr64Attr("Module Base Address", "0x4000"), stringAttr("Dependency", funnelDependency)},
                 {}};
    // Port 0 has no Dependency: reported, and no failure.
    Block port0{"Top ARM Funnel Port 0", {boolAttr("Enable Port", true), uint32Attr("Port Priority", "4")}, {}};
    Block port2{
        "Top ARM Funnel Port 2",
        {boolAttr("Enable Port", true), uint32Attr("Port Priority", "1"), stringAttr("Dependency", "Top ARM Funnel")},
        {}};
    Block etf{"ETF 0",
              {enumAttr("BufferMode", "OneBuffer", "PassThrough,OneBuffer"), boolAttr("Enable Buffer", false),
               stringAttr("MemSpace", "APB"), addr64Attr("Module Base Address", "0x5000"),
               enumAttr("TraceCollectionMode", "Overwrite", "Overwrite,StopOnFull"),
               stringAttr("Dependency", "DDR Buffer 0")},
              {}};
    // Left out for an "Internal" location; the ETF's link to it is dropped silently.
    Block ddr{
        "DDR Buffer 0",
        {boolAttr("Enable Buffer", true), stringAttr("MemSpace", "APB"), addr64Attr("Module Base Address", "0x6000"),
         addr64Attr("Trace Buffer Base Address", "0x80000000"), addr64Attr("Trace Buffer Size", "0x1000"),
         enumAttr("TraceCollectionMode", "Overwrite", "Overwrite,StopOnFull")},
        {}};
    return document({
        loggerAccess(port),
        Block{"Trace Generators", {}, {Block{"NOC", {}, {Block{"MAIN", {}, {probe}}}}}},
        Block{"SoC Modules", {}, {funnel, port0, port2}},
        Block{"NoC Modules", {}, {observer}},
        Block{"Data Streams", {enumAttr("TraceLocation", "Internal", "Internal,DDR Buffer")}, {etf, ddr}},
    });
}

const char* const MissingPortDependency =
    "- HH:MM:SS.mmm [quorl.ka.rq.config.TraceTargetConfigPluginKA] ERROR: "
    "[loadConfigBlockDependency]: Error: Could not find attribute Dependency in config block "
    "Top ARM Funnel Port 0.\n\n";

std::string w(const char* address, const char* value) {
    return std::string("write_mem ") + address + " data=" + value + " length=0x4\n";
}

// Reset walks the probe and everything its chain reaches, in chain order;
// enabling then starts the chain from the sink up to the probe.
const std::string ChainConfigureTrace =
    std::string(MissingPortDependency) +
    // reset: probe, observer, (port), funnel, ETF
    w("0x100c", "0x00000000") + w("0x1008", "0x00000000") + w("0x200c", "0x00000000") + w("0x2008", "0x00000000") +
    w("0x3008", "0x00000000") + w("0x300c", "0x00000000") + w("0x4000", "0x00000300") + w("0x4004", "0x00fac688") +
    w("0x5020", "0x00000000") +
    // ETF as internal circular buffer
    w("0x5fb0", "0xc5acce55") + w("0x5020", "0x00000000") + w("0x5308", "0x0000001b") + w("0x5304", "0x00001003") +
    w("0x5028", "0x00000000") + w("0x5020", "0x00000001") +
    // funnel: ports 0 and 2 open, priorities 4 and 1
    w("0x4fb0", "0xc5acce55") + w("0x4000", "0x00000305") + w("0x4004", "0x00000044") +
    // observer: sync period cut to 8 bits, ATB ID 0x21
    w("0x200c", "0x00000000") + w("0x300c", "0x00000000") + w("0x3008", "0x000000ff") + w("0x2008", "0x00000021") +
    w("0x300c", "0x00000001") + w("0x200c", "0x00000001") +
    // probe: payload on, trace port 1
    w("0x100c", "0x00000000") + w("0x1008", "0x00000000") + w("0x1008", "0x00000006") + w("0x1010", "0x00000001") +
    w("0x1014", "0x0000ffff") + w("0x100c", "0x00000001") + "Configuration finished successfully.\n";

// Not forced: only the probe itself is stopped.
const std::string ChainDisableTrace = std::string(MissingPortDependency) + w("0x1008", "0x00000000") +
                                      w("0x100c", "0x00000000") + "Trace Generators were successfully disabled.\n";

struct LoggerCase {
    const char* label;
    std::string config;
    bool disable;
    int status;
    std::string out;
    std::string err;
    bool saved;  // the file was written back
};

void PrintTo(const LoggerCase& c, std::ostream* os) {
    *os << c.label;
}

// The agent code reports each request that could not go out on stderr.
const std::string BrokenPipe =
    "[sock_write] [communication:412] ERROR : \tonly 0 of 23 bytes chunk sent (errno "
    "32:Broken pipe)\n\n";

const std::string CycleLine =
    "- HH:MM:SS.mmm [quorl.ka.tracetargetconfigplugin.ka2.TraceTargetConfigPluginKA2] ERROR: "
    "[linkDependencies]: Error: Dependency cycle Top ARM Funnel Port 2 -> Top ARM Funnel -> "
    "OBS_A -> Top ARM Funnel Port 2. The dependency of Top ARM Funnel Port 2 on Top ARM Funnel "
    "is ignored.\n";

std::vector<LoggerCase> loggerCases() {
    const std::string unreachable = "5001";
    return {
        {"Configure", chainConfig(), false, 0, ChainConfigureTrace, "", true},
        {"Disable", chainConfig(), true, 0, ChainDisableTrace, "", false},
        // Nobody listens on 5001: every access fails, the run still ends.
        {"ConfigureUnreachable", chainConfig(unreachable), false, 1,
         std::string(MissingPortDependency) +
             "- HH:MM:SS.mmm [quorl.ka.tracetargetconfigplugin.ka2.TraceTargetConfigPluginKA2] "
             "ERROR: Unable to reset module: Error while writing NOC_PROBE_CFGCTL\n"
             "- HH:MM:SS.mmm [quorl.ka.rq.config.ConfigurationModule] ERROR: Cannot enable "
             "module: Error while writing LAR\n"
             "Configuration was unsuccessful.\n",
         BrokenPipe + BrokenPipe, false},
        {"DisableUnreachable", chainConfig(unreachable), true, 1,
         std::string(MissingPortDependency) +
             "- HH:MM:SS.mmm [quorl.ka.rq.config.ConfigurationModule] ERROR: Cannot disable "
             "module: Error while writing NOC_PROBE_MAINCTL\n"
             "Trace Generators were unsuccessfully disabled.\n",
         BrokenPipe, false},
    };
}

class LoggerRun : public ::testing::TestWithParam<LoggerCase> {};

TEST_P(LoggerRun, TraceLogAndSavedFile) {
    const LoggerCase& c = GetParam();
    ScratchDir dir;
    const std::string path = dir.file("board.xml");
    writeFile(path, c.config);
    std::vector<std::string> args{"-c", "board.xml"};
    if (c.disable) args.insert(args.begin(), "-d");

    ToolResult r = runTool(args, dir.path());
    ASSERT_FALSE(r.timedOut);
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(maskLogTimes(r.out), c.out);
    EXPECT_EQ(r.err, c.err);
    const std::string after = readFile(path);
    if (c.saved)
        EXPECT_NE(after, c.config);
    else
        EXPECT_EQ(after, c.config);
}

INSTANTIATE_TEST_SUITE_P(Chain, LoggerRun, ::testing::ValuesIn(loggerCases()),
                         [](const ::testing::TestParamInfo<LoggerCase>& info) {
                             return std::string(info.param.label);
                         });

// Value of the first "Enable Trace" after the block's name in a saved file.
std::string enableTraceOf(const std::string& text, const std::string& block) {
    const auto at = text.find("<Name>" + block + "</Name>");
    if (at == std::string::npos) return "no block";
    const auto name = text.find("<Name>Enable Trace</Name>", at);
    const auto open = text.find("<DefaultValue>", name);
    const auto close = text.find("</DefaultValue>", open);
    if (name == std::string::npos || close == std::string::npos) return "no attribute";
    return text.substr(open + 14, close - open - 14);
}

// The saved file records what ended up enabled: the funnel and the observer,
// switched on through the probe's chain, now say Enable Trace true.
TEST(LoggerRunSaved, EnableTraceOfChainModulesWrittenBack) {
    ScratchDir dir;
    const std::string path = dir.file("board.xml");
    writeFile(path, chainConfig());
    ToolResult first = runTool({"-c", "board.xml"}, dir.path());
    ASSERT_EQ(first.status, 0);
    const std::string saved = readFile(path);
    EXPECT_EQ(enableTraceOf(saved, "Top ARM Funnel"), "true");
    EXPECT_EQ(enableTraceOf(saved, "OBS_A"), "true");
    EXPECT_EQ(enableTraceOf(saved, "Main NoC Probe 0"), "true");
    // Top-level blocks come back sorted by name.
    EXPECT_LT(saved.find("<Name>Data Streams</Name>"), saved.find("<Name>NoC Modules</Name>"));
    EXPECT_LT(saved.find("<Name>SoC Modules</Name>"), saved.find("<Name>Target Access</Name>"));

    // The saved file programs the same again and is then written back unchanged.
    ToolResult second = runTool({"-c", "board.xml"}, dir.path());
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(maskLogTimes(second.out), maskLogTimes(first.out));
    EXPECT_EQ(readFile(path), saved);
}

// A chain that comes back to itself is reported once and the run ends.
TEST(LoggerRunCycle, CycleReportedAndRunEnds) {
    ScratchDir dir;
    writeFile(dir.file("board.xml"), chainConfig("5000", "OBS_A"));
    ToolResult r = runTool({"-c", "board.xml"}, dir.path(), 30);
    ASSERT_FALSE(r.timedOut);
    EXPECT_EQ(r.status, 0);
    const std::string out = maskLogTimes(r.out);
    EXPECT_NE(out.find(CycleLine), std::string::npos) << out;
    EXPECT_NE(out.find("Configuration finished successfully.\n"), std::string::npos);
}

}  // namespace
}  // namespace rq7test
