// The second-generation plugin against a recording access process: which
// modules a configuration gives, how they are linked, and the order in which
// configure, disable and reset reach the hardware.
#include "PluginTestConfig.h"

#include "plugin/TraceModuleCreator.h"
#include "plugin/base/ConfigurationModule.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace plugintest {
namespace {

using quorl::BLOCK_DATA_STREAMS;
using quorl::BLOCK_SOC_MODULES;

std::vector<std::string> keys(const CONFIG_KA::ModuleMap& map) {
    std::vector<std::string> out;
    for (const auto& entry : map) out.push_back(entry.first);
    return out;
}
std::vector<std::string> names(const CONFIG_KA::ModuleList& list) {
    std::vector<std::string> out;
    for (const auto& module : list) out.push_back(module->getName());
    return out;
}
std::vector<std::string> dependencyNames(const CONFIG_KA::ModuleMap& map, const std::string& name) {
    std::vector<std::string> out;
    for (const auto& d : map.at(name)->getDependencies()) out.push_back(d->getName());
    return out;
}

// ---- The walk over the tree ----------------------------------------------------

TEST(PluginLoad, WalksGeneratorBlocksInFixedOrderAndReadsDependencies) {
    TestConfig c;
    // Added in an order other than the walk's, to show that the walk decides.
    c.probe(quorl::BLOCK_DEBUG_MODULES, "Debug Probe 7", 0x7000, true, "Never Read");
    c.probe(quorl::BLOCK_TRACE_GENERATORS_STM, "Trace Probe S", 0x6000, true);
    c.generator("Main NoC Probe 0", 0x1000, true, "Link A");
    c.probe(quorl::BLOCK_TRACE_GENERATORS_PXDI, "PXDI 0 Probe", 0x2000, true, "Link B");
    // Names that give no module: skipped, but a core block's Dependency is still read.
    c.probe(quorl::BLOCK_TRACE_GENERATORS_CORE, "Core0", 0x3000, true);
    c.probe(quorl::BLOCK_DEBUG_MODULES, "Debug Halt Unit", 0x8000, true);
    // A top-level block with an empty name is walked after the STM block.
    c.probe("", "Hidden Probe", 0x9000, true, "Link C");

    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    t.plugin->loadModules();
    const std::string log = testing::internal::GetCapturedStdout();

    EXPECT_EQ(names(t.plugin->getModuleList()),
              (std::vector<std::string>{"PXDI 0 Probe", "Main NoC Probe 0", "Trace Probe S", "Hidden Probe",
                                        "Debug Probe 7"}));
    EXPECT_EQ(t.plugin->getDependencyMap(),
              (CONFIG_KA::DependencyMap{
                  {"Hidden Probe", "Link C"}, {"Main NoC Probe 0", "Link A"}, {"PXDI 0 Probe", "Link B"}}));
    // Missing Dependency is reported for generator blocks, module or not,
    // never for debug blocks.
    EXPECT_NE(log.find("Could not find attribute Dependency in config block Core0."), std::string::npos);
    EXPECT_NE(log.find("Could not find attribute Dependency in config block Trace Probe S."), std::string::npos);
    EXPECT_EQ(log.find("Debug"), std::string::npos) << log;
}

// Port settings reach their funnel: "X Port n" belongs to funnel "X".
struct PortCase {
    const char* label;
    std::vector<std::tuple<std::string, bool, uint32_t>> ports;  // name, enable, priority
    uint32_t control;
    uint32_t priorities;
};
void PrintTo(const PortCase& c, std::ostream* os) {
    *os << c.label;
}

class FunnelPorts : public ::testing::TestWithParam<PortCase> {};

TEST_P(FunnelPorts, FunnelProgrammedFromItsPorts) {
    const PortCase& pc = GetParam();
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true, "F ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "F ARM Funnel", 0x4000);
    for (const auto& p : pc.ports) c.port(quorl::BLOCK_GPP_FUNNEL, std::get<0>(p), std::get<1>(p), std::get<2>(p));

    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    ASSERT_TRUE(t.plugin->configure());
    testing::internal::GetCapturedStdout();

    const auto& w = t.process->accesses;
    auto lar = std::find(w.begin(), w.end(), Access::write(0x4FB0, 0xC5ACCE55));
    ASSERT_TRUE(lar != w.end());
    ASSERT_GE(w.end() - lar, 3);
    EXPECT_EQ(*(lar + 1), Access::write(0x4000, pc.control));
    EXPECT_EQ(*(lar + 2), Access::write(0x4004, pc.priorities));
}

INSTANTIATE_TEST_SUITE_P(
    Plugin, FunnelPorts,
    ::testing::Values(
        PortCase{"TwoPorts", {{"F ARM Funnel Port 0", true, 1}, {"F ARM Funnel Port 2", true, 4}}, 0x305, 0x101},
        PortCase{"ClosedPortKeepsPriority", {{"F ARM Funnel Port 3", false, 5}}, 0x300, 0xA00},
        PortCase{"NoPorts", {}, 0x300, 0},
        // A port beyond the eighth has nowhere to go.
        PortCase{"PortNumberTooHigh", {{"F ARM Funnel Port 9", true, 2}}, 0x300, 0},
        // A priority beyond 7 is repaired to 7 by the port itself.
        PortCase{"PriorityTooHigh", {{"F ARM Funnel Port 1", true, 9}}, 0x302, 0x38},
        PortCase{
            "OtherFunnelsPort", {{"G ARM Funnel Port 0", true, 3}, {"F ARM Funnel Port 7", true, 7}}, 0x380, 0xE00000},
        PortCase{"LaterPortOfSameNumberWins",
                 {{"F ARM Funnel Port 4", true, 2}, {"F ARM Funnel Port 4x", false, 6}},
                 0x300,
                 0x6000}),
    [](const ::testing::TestParamInfo<PortCase>& info) { return std::string(info.param.label); });

TEST(PluginLoad, PortNamingAnObserverIsReported) {
    TestConfig c;
    c.child(quorl::BLOCK_NOC_MODULES, "OBS_A");  // an observer: same kind as a funnel
    c.port(BLOCK_SOC_MODULES, "OBS_A Port 1", true, 0);
    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    t.plugin->loadModules();
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("ERROR: Could not cast to ArmFunnelModule\n"), std::string::npos) << log;
}

// Which sinks exist for a trace location.
struct LocationCase {
    const char* label;
    const char* location;  // null: no TraceLocation attribute
    std::vector<std::string> sinks;
};
void PrintTo(const LocationCase& c, std::ostream* os) {
    *os << c.label;
}

class TraceLocationFilter : public ::testing::TestWithParam<LocationCase> {};

TEST_P(TraceLocationFilter, SinksBuilt) {
    const LocationCase& lc = GetParam();
    TestConfig c;
    c.etf("ETF 0", 0x5000, false);
    c.ddr("DDR 0", 0x6000, false);
    c.etf("ETF DDR", 0x7000, false);  // "ETF" wins the classification, "DDR" the filter
    if (lc.location)
        c.traceLocation(lc.location);
    else
        c.cfg->ensureBlock(BLOCK_DATA_STREAMS);

    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    t.plugin->loadModules();
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(keys(t.plugin->getModuleMap()), lc.sinks);
    if (!lc.location) {
        EXPECT_NE(log.find("[loadDataStreamSettings]Could not find 'TraceCollectionMode' config "
                           "block for Data Streams"),
                  std::string::npos)
            << log;
    }
}

INSTANTIATE_TEST_SUITE_P(Plugin, TraceLocationFilter,
                         ::testing::Values(LocationCase{"Internal", "Internal", {"ETF 0"}},
                                           LocationCase{"DdrBuffer", "DDR Buffer", {"DDR 0", "ETF 0", "ETF DDR"}},
                                           LocationCase{"DdrAnywhere", "xDDRx", {"DDR 0", "ETF 0", "ETF DDR"}},
                                           LocationCase{"LowerCaseDdr", "ddr", {"ETF 0"}},
                                           LocationCase{"NoLocation", nullptr, {}}),
                         [](const ::testing::TestParamInfo<LocationCase>& info) {
                             return std::string(info.param.label);
                         });

TEST(PluginLoad, DependencyOnFilteredSinkIsDroppedSilently) {
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true, "DDR 0");
    c.ddr("DDR 0", 0x6000, true);
    c.traceLocation("Internal");
    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    t.plugin->loadModules();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(t.plugin->getDependencyMap().at("Main NoC Probe 0"), "DDR 0");
    EXPECT_TRUE(dependencyNames(t.plugin->getModuleMap(), "Main NoC Probe 0").empty());
}

TEST(PluginLoad, SinkBlockGivingNoModuleStopsSinksAndLinks) {
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true, "F ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "F ARM Funnel", 0x4000);
    c.traceLocation("Internal");
    c.child(BLOCK_DATA_STREAMS, "Scratch Area");
    c.etf("ETF 0", 0x5000, true);
    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    t.plugin->loadModules();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(t.plugin->getModuleMap().count("ETF 0"), 0u);
    EXPECT_TRUE(dependencyNames(t.plugin->getModuleMap(), "Main NoC Probe 0").empty());
}

TEST(PluginLoad, DependencyCycleReportedAndBroken) {
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true, "A ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "A ARM Funnel", 0x4000, "B ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "B ARM Funnel", 0x5000, "A ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "C ARM Funnel", 0x6000, "C ARM Funnel");  // on itself
    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(t.plugin->configure());
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("Dependency cycle B ARM Funnel -> A ARM Funnel -> B ARM Funnel. The dependency of "
                       "B ARM Funnel on A ARM Funnel is ignored."),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("Dependency cycle C ARM Funnel -> C ARM Funnel"), std::string::npos);
    // The first link of the loop in name order stays; the closing one goes.
    EXPECT_EQ(dependencyNames(t.plugin->getModuleMap(), "A ARM Funnel"), std::vector<std::string>{"B ARM Funnel"});
    EXPECT_TRUE(dependencyNames(t.plugin->getModuleMap(), "B ARM Funnel").empty());
    EXPECT_TRUE(dependencyNames(t.plugin->getModuleMap(), "C ARM Funnel").empty());
}

// ---- Reset, configure, disable -------------------------------------------------

// Two probes sharing a funnel that feeds an ETF.
TestConfig sharedChain(bool secondEnabled = true) {
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true, "F ARM Funnel");
    c.generator("Main NoC Probe 1", 0x2000, secondEnabled, "F ARM Funnel");
    c.funnel(BLOCK_SOC_MODULES, "F ARM Funnel", 0x4000, "ETF 0");
    c.port(BLOCK_SOC_MODULES, "F ARM Funnel Port 0", true, 0);
    c.traceLocation("Internal");
    c.etf("ETF 0", 0x5000, false);
    return c;
}

TEST(PluginReset, ResetsGeneratorsThenTheirDependencyClosure) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    t.plugin->loadModules();
    EXPECT_TRUE(t.plugin->resetModules());
    EXPECT_EQ(t.process->accesses, concat({probeResetWrites(0x1000), probeResetWrites(0x2000),
                                           funnelResetWrites(0x4000), etfResetWrites(0x5000)}));
}

TEST(PluginReset, FailureStopsTheResetButReportsSuccess) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    t.plugin->loadModules();
    t.process->failAtAddress(0x4000, rq7test::AccessKind::Write, rq7test::Failure::ReturnFalse);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(t.plugin->resetModules());
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("ERROR: Unable to reset module: Error while writing CSTFCR\n"), std::string::npos) << log;
    EXPECT_EQ(t.process->accesses.back(), Access::write(0x4000, 0x300));  // ETF not reached
}

TEST(PluginConfigure, SharedChainEnabledOnceFromTheSinkUp) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    ASSERT_TRUE(t.plugin->configure());
    const auto resets = 2 + 2 + 2 + 1;
    std::vector<Access> enables(t.process->accesses.begin() + resets, t.process->accesses.end());
    EXPECT_EQ(enables, concat({etfEnableWrites(0x5000), funnelEnableWrites(0x4000, 0x301, 0), probeEnableWrites(0x1000),
                               probeEnableWrites(0x2000)}));
    EXPECT_EQ(t.plugin->getModuleMap().at("F ARM Funnel")->getUseCount(), 2u);
    EXPECT_TRUE(t.saved());
}

TEST(PluginConfigure, WantedSinksLastInNameOrder) {
    TestConfig c;
    c.traceLocation("Internal");
    c.etf("ETF 1", 0x6000, true);
    c.etf("ETF 2", 0x7000, false);
    c.etf("ETF 0", 0x5000, true);
    PluginUnderTest t(c);
    ASSERT_TRUE(t.plugin->configure());
    // Sinks are no generators: nothing resets them here.
    EXPECT_EQ(t.process->accesses, concat({etfEnableWrites(0x5000), etfEnableWrites(0x6000)}));
}

TEST(PluginConfigure, AbortBeforeConfigureLoadsThenFailsWithoutSaving) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    t.plugin->abort();
    EXPECT_FALSE(t.plugin->configure());
    EXPECT_EQ(t.plugin->getModuleList().size(), 2u);
    EXPECT_TRUE(t.process->accesses.empty());
    EXPECT_FALSE(t.saved());
}

TEST(PluginConfigure, NothingToProgramStillSaves) {
    TestConfig c;
    PluginUnderTest t(c);
    t.plugin->abort();  // no module to stop at
    EXPECT_TRUE(t.plugin->configure());
    EXPECT_TRUE(t.saved());
    EXPECT_TRUE(t.plugin->disableTrace());
}

TEST(PluginConfigure, FailedEnableEndsWithoutSaving) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    t.process->failAtAddress(0x5FB0, rq7test::AccessKind::Write, rq7test::Failure::ThrowException);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(t.plugin->configure());
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("Cannot enable module: Error while writing LAR"), std::string::npos);
    EXPECT_FALSE(t.saved());
}

TEST(PluginDisable, StopsOnlyEnabledGeneratorsAndNeverSaves) {
    TestConfig c = sharedChain(false);
    PluginUnderTest t(c);
    EXPECT_TRUE(t.plugin->disableTrace());
    EXPECT_EQ(t.process->accesses, probeDisableWrites(0x1000));
    EXPECT_FALSE(t.saved());
}

TEST(PluginReconfigure, WorksOnEarlierModulesAndLeavesStartedSinkStopped) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    ASSERT_TRUE(t.plugin->configure());
    t.process->clear();
    EXPECT_TRUE(t.plugin->reconfigure());
    const std::vector<Access> expected =
        concat({probeResetWrites(0x1000), probeResetWrites(0x2000), funnelResetWrites(0x4000), etfResetWrites(0x5000),
                probeEnableWrites(0x1000), probeEnableWrites(0x2000)});
    EXPECT_EQ(t.process->accesses, expected);
}

TEST(PluginConfigureModuleType, EnablesOnlyGeneratorsOfThatKind) {
    TestConfig c;
    c.generator("Main NoC Probe 0", 0x1000, true);
    c.generator("Main NoC Probe 1", 0x2000, false);
    ConfigBlockXmlPtr stm = c.child(quorl::BLOCK_TRACE_GENERATORS_STM, "System STM");
    stm->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_ENABLE_TRACE, true));
    stm->addAttribute(quorl::makeStringAttribute(quorl::ATTR_MEM_SPACE, "APB"));
    stm->addAttribute(quorl::makeAddr64Attribute(quorl::ATTR_MODULE_BASE_ADDRESS, 0x3000));
    stm->addAttribute(quorl::makeBoolAttribute(quorl::ATTR_TIMESTAMP, false));
    PluginUnderTest t(c);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(t.plugin->configureModuleType(quorl::TraceModuleCreator::NocProbeKind, "unused"));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(t.process->accesses, probeEnableWrites(0x1000));
    EXPECT_TRUE(t.saved());
}

TEST(PluginFillLevel, OnlySinksAnswerAndNoneMonitors) {
    TestConfig c = sharedChain();
    PluginUnderTest t(c);
    t.plugin->loadModules();
    struct Case {
        const char* module;
        const char* log;
    } cases[] = {
        {"No Such Module", ""},
        {"Main NoC Probe 0",
         "[quorl.ka.tracetargetconfigplugin.ka2.TraceTargetConfigPluginKA2] ERROR: "
         "[getFillLevelTrace]: Error: Could not find any data stream module.!\n"},
        {"ETF 0", ""},  // the warning stays below the channel's level
    };
    for (const Case& k : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(t.plugin->getFillLevelTrace(k.module), 0u) << k.module;
        const std::string log = testing::internal::GetCapturedStdout();
        const std::string text = log.empty() ? "" : log.substr(log.find('['));
        EXPECT_EQ(text, k.log) << k.module;
    }
    EXPECT_TRUE(t.process->accesses.empty());
}

// The first generation stops everything, forced, before it starts anything.
class FirstGenerationPlugin : public CONFIG_KA2::TraceTargetConfigPluginKA2 {
public:
    using TraceTargetConfigPluginKA2::TraceTargetConfigPluginKA2;
    bool configureFirstGeneration() { return TraceTargetConfigPluginKA::configure(); }
};

TEST(PluginFirstGeneration, StopsForcedThenEnables) {
    TestConfig c = sharedChain(false);
    const std::string path = "/tmp/rq7-plugin-first-generation.saved";
    auto plugin = boost::make_shared<FirstGenerationPlugin>("id", "1.0.0", path, "x");
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    quorl::ExtAddress::memorySpaceIds = {"logger"};
    plugin->setConfiguration(c.cfg);
    plugin->setAccessProcess(process);
    EXPECT_TRUE(plugin->configureFirstGeneration());
    std::remove(path.c_str());
    // Forced stop reaches the funnel of each probe, not the ETF behind it.
    EXPECT_EQ(process->accesses, concat({probeDisableWrites(0x1000),
                                         {Access::write(0x4000, 0x300)},
                                         probeDisableWrites(0x2000),
                                         {Access::write(0x4000, 0x300)},
                                         etfEnableWrites(0x5000),
                                         funnelEnableWrites(0x4000, 0x301, 0),
                                         probeEnableWrites(0x1000)}));
}

}  // namespace
}  // namespace plugintest
