// NoC probe and observer programming: the bit values of the control
// registers, the enable and disable orders, and incomplete blocks.
#include "modules/NocObserverModule.h"
#include "modules/NocProbeModule.h"
#include "tests/support/ModuleTestSupport.h"

#include <gtest/gtest.h>

using namespace rq7test;
using quorl::NocObserverModule;
using quorl::NocProbeModule;

namespace {

class NocModuleTest : public testing::Test {
protected:
    void SetUp() override { useTestMemorySpaces(); }
};

// ---- Probe ------------------------------------------------------------------

const uint64_t PROBE = 0x70000;
const uint64_t CFGCTL = PROBE + 0x0C, MAINCTL = PROBE + 0x08, TRACEPORT_SEL = PROBE + 0x10, FILTER_LUT = PROBE + 0x14;

BlockSpec probeBlock(bool payload, bool statistics, bool intrusive, uint32_t port) {
    return BlockSpec("Main NoC Probe 0")
        .boolean("Enable Trace", true)
        .string("MemSpace", "APB")
        .boolean("Enable Payload", payload)
        .addr64("Module Base Address", PROBE)
        .boolean("Enable Statistics", statistics)
        .boolean("Enable Intrusive Mode", intrusive)
        .uint32("Trace Port", port);
}

std::vector<Access> probeProgram(uint32_t mainControl, uint32_t port, uint32_t finalConfig) {
    return {w(CFGCTL, 0),           w(MAINCTL, 0),         w(MAINCTL, mainControl),
            w(TRACEPORT_SEL, port), w(FILTER_LUT, 0xFFFF), w(CFGCTL, finalConfig)};
}

TEST_F(NocModuleTest, ProbeSequences) {
    auto probe = [](bool payload, bool statistics, bool intrusive, uint32_t port) {
        return builder<NocProbeModule>(probeBlock(payload, statistics, intrusive, port));
    };
    checkSequences(
        {
            {"no options", probe(false, false, false, 0), Op::EnableModule, probeProgram(0x02, 0, 1)},
            {"payload only", probe(true, false, false, 2), Op::EnableModule, probeProgram(0x06, 2, 1)},
            {"statistics only", probe(false, true, false, 3), Op::EnableModule, probeProgram(0x0A, 3, 1)},
            {"intrusive mode only, any port number", probe(false, false, true, 0xFFFFFFFF), Op::EnableModule,
             probeProgram(0x42, 0xFFFFFFFF, 1)},
            {"configure while not enabled leaves the probe off", probe(true, false, false, 1), Op::Configure,
             probeProgram(0x04, 1, 0)},
            {"reset: configuration off, then main control",
             probe(true, true, true, 1),
             Op::Reset,
             {w(CFGCTL, 0), w(MAINCTL, 0)}},
            {"disable: main control off, then configuration",
             probe(true, true, true, 1),
             Op::Disable,
             {w(MAINCTL, 0), w(CFGCTL, 0)}},
        },
        quorl::ConfigurationModule::TraceGenerator);
}

TEST_F(NocModuleTest, IncompleteProbeBlocks) {
    const std::string channel = "[quorl.ka.rq7.config.NocProbeModule] ERROR: ";
    std::vector<LoadCase> cases;
    for (const char* missing : {"Enable Trace", "MemSpace", "Enable Payload", "Module Base Address",
                                "Enable Statistics", "Enable Intrusive Mode", "Trace Port"}) {
        cases.push_back(
            {missing, builder<NocProbeModule>(probeBlock(true, true, true, 1).without(missing)),
             std::string(missing) == "Module Base Address"
                 ? channel + "[loadDataStreamSettings] Could not find 'Module Base Address' for Main NoC Probe 0\n"
                 : channel + "[loadNoCProbeSettings]: Error: Could not find attribute " + missing + "\n\n",
             "", false, false});
    }
    checkLoads(cases);
}

// ---- Observer -----------------------------------------------------------------

const uint64_t ATB = 0x1000, STP = 0x2000;
const uint64_t ATBEN = ATB + 0x0C, ATBID = ATB + 0x08, ASYNC_PERIOD = STP + 0x08, STPV2_EN = STP + 0x0C;

BlockSpec observerBlock(uint32_t syncPeriod, uint32_t atbId) {
    return BlockSpec("Main NoC Observer")
        .boolean("Enable Trace", true)
        .addr64("Module Base Address", ATB)
        .addr64("STP Base Address", STP)
        .string("MemSpace", "APB")
        .uint32("SyncPeriod", syncPeriod)
        .uint32("ATB ID", atbId);
}

TEST_F(NocModuleTest, ObserverSequences) {
    auto observer = [](uint32_t syncPeriod, uint32_t atbId) {
        return builder<NocObserverModule>(observerBlock(syncPeriod, atbId));
    };
    checkSequences(
        {
            {"enable: down ATB first, up STP first",
             observer(0x10, 0x21),
             Op::EnableModule,
             {w(ATBEN, 0), w(STPV2_EN, 0), w(ASYNC_PERIOD, 0x10), w(ATBID, 0x21), w(STPV2_EN, 1), w(ATBEN, 1)}},
            {"sync period keeps its low eight bits",
             observer(0x1FF, 0x22),
             Op::EnableModule,
             {w(ATBEN, 0), w(STPV2_EN, 0), w(ASYNC_PERIOD, 0xFF), w(ATBID, 0x22), w(STPV2_EN, 1), w(ATBEN, 1)}},
            {"configure while not enabled leaves both sides off",
             observer(0x10, 0x21),
             Op::Configure,
             {w(ATBEN, 0), w(STPV2_EN, 0), w(ASYNC_PERIOD, 0x10), w(ATBID, 0x21), w(STPV2_EN, 0), w(ATBEN, 0)}},
            {"disable takes both sides down, ATB first",
             observer(0x10, 0x21),
             Op::Disable,
             {w(ATBEN, 0), w(STPV2_EN, 0)}},
            {"reset clears all four",
             observer(0x10, 0x21),
             Op::Reset,
             {w(ATBEN, 0), w(ATBID, 0), w(ASYNC_PERIOD, 0), w(STPV2_EN, 0)}},
        },
        quorl::ConfigurationModule::FunnelOrObserver);
}

TEST_F(NocModuleTest, IncompleteObserverBlocks) {
    const std::string channel = "[quorl.ka.rq7.config.NocObserverModule] ERROR: ";
    const std::string noAddress =
        channel + "[readModuleConfiguration] Could not find 'Module Base Address' for Main NoC Observer\n";
    const std::vector<std::pair<const char*, std::string>> missing = {
        {"Enable Trace", channel + "[loadNoCObserverSettings]: Error: Could not find attribute Enable Trace\n\n"},
        {"Module Base Address", noAddress},
        {"STP Base Address", noAddress},
        {"MemSpace",
         channel + "[loadDataStreamSettings] No memory space string attribute (MemSpace) could be found.\n"},
        {"SyncPeriod", channel + "[loadNoCObserverSettings]: Error: Could not find attribute SyncPeriod\n\n"},
        {"ATB ID", channel + "[loadNoCObserverSettings]: Error: Could not find attribute ATB ID\n\n"},
    };
    std::vector<LoadCase> cases;
    for (const auto& [name, log] : missing) {
        cases.push_back(
            {name, builder<NocObserverModule>(observerBlock(0x10, 0x21).without(name)), log, "", false, false});
    }
    checkLoads(cases);
}

}  // namespace
