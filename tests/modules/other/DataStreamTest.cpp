// Trace sinks: the controller's programming for each mode, the ETF and DDR
// sinks built on it, and what a sink block with missing attributes leads to.
#include "modules/HugoModule.h"
#include "modules/HugoModuleDDR.h"
#include "modules/TMC.h"
#include "tests/support/ModuleTestSupport.h"

#include <gtest/gtest.h>

#include <functional>

using namespace rq7test;
using quorl::HugoModule;
using quorl::HugoModuleDDR;
using quorl::TMC;

namespace {

// Controller register addresses for a controller at `base`.
struct TmcAt {
    uint64_t base;
    uint64_t RSZ() const { return base + 0x004; }
    uint64_t STS() const { return base + 0x00C; }
    uint64_t CTL() const { return base + 0x020; }
    uint64_t MODE() const { return base + 0x028; }
    uint64_t AXICTL() const { return base + 0x110; }
    uint64_t DBALO() const { return base + 0x118; }
    uint64_t DBAHI() const { return base + 0x11C; }
    uint64_t FFCR() const { return base + 0x304; }
    uint64_t PSCR() const { return base + 0x308; }
    uint64_t LAR() const { return base + 0xFB0; }
};

class DataStreamTest : public testing::Test {
protected:
    void SetUp() override { useTestMemorySpaces(); }
};

TEST_F(DataStreamTest, ControllerProgramsEachMode) {
    const TmcAt t{0x10000};
    using Start = std::function<bool(TMC&, boost::shared_ptr<RecordingTaProcess>)>;
    auto internal = [](bool overwrite) {
        return [overwrite](TMC& tmc, boost::shared_ptr<RecordingTaProcess> p) {
            return tmc.startInternalBuffer(p, overwrite);
        };
    };
    auto system = [](uint64_t address, uint32_t words, bool overwrite, bool scatterGather) {
        return [=](TMC& tmc, boost::shared_ptr<RecordingTaProcess> p) {
            TMC::SystemBuffer buffer;
            buffer.address = address;
            buffer.sizeWords = words;
            buffer.overwrite = overwrite;
            buffer.scatterGather = scatterGather;
            return tmc.startSystemBuffer(p, buffer);
        };
    };
    struct Row {
        const char* what;
        Start start;
        uint64_t status;
        uint64_t axiControl;
        std::vector<Access> tail;  // after the unlock and stop every mode begins with
    };
    const std::vector<Row> rows = {
        {"hardware FIFO",
         [](TMC& tmc, boost::shared_ptr<RecordingTaProcess> p) { return tmc.startHardwareFifo(p); },
         0,
         0,
         {w(t.MODE(), 2), w(t.CTL(), 1)}},
        {"internal circular buffer",
         internal(true),
         0,
         0,
         {w(t.PSCR(), 27), w(t.FFCR(), 0x1003), w(t.MODE(), 0), w(t.CTL(), 1)}},
        {"internal software FIFO",
         internal(false),
         0,
         0,
         {w(t.PSCR(), 27), w(t.FFCR(), 0x1003), w(t.MODE(), 1), w(t.CTL(), 1)}},
        {"system buffer with a memory error to clear",
         system(0x8012345678, 0x40000, true, false),
         0x24,
         0,
         {r(t.STS(), 0x24), w(t.STS(), 0x24), w(t.FFCR(), 0x5003), w(t.MODE(), 0), w(t.DBALO(), 0x12345678),
          w(t.DBAHI(), 0x80), w(t.RSZ(), 0x40000), w(t.CTL(), 1)}},
        {"system buffer without a memory error, bits above 39 dropped",
         system(0xFF000000001000, 16, false, false),
         0x04,
         0,
         {r(t.STS(), 0x04), w(t.FFCR(), 0x5003), w(t.MODE(), 1), w(t.DBALO(), 0x1000), w(t.DBAHI(), 0), w(t.RSZ(), 16),
          w(t.CTL(), 1)}},
        {"scatter-gather keeps the other AXI control bits",
         system(0x2000, 8, false, true),
         0,
         0x0F00,
         {r(t.STS(), 0), r(t.AXICTL(), 0x0F00), w(t.AXICTL(), 0x0F80), w(t.FFCR(), 0x5003), w(t.MODE(), 1),
          w(t.DBALO(), 0x2000), w(t.DBAHI(), 0), w(t.RSZ(), 8), w(t.CTL(), 1)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TMC tmc(t.base, "APB");
        auto fake = boost::make_shared<RecordingTaProcess>();
        fake->setReadValue(t.STS(), row.status);
        fake->setReadValue(t.AXICTL(), row.axiControl);
        EXPECT_TRUE(row.start(tmc, fake));
        std::vector<Access> expected = {w(t.LAR(), 0xC5ACCE55), w(t.CTL(), 0)};
        expected.insert(expected.end(), row.tail.begin(), row.tail.end());
        EXPECT_EQ(fake->accesses, expected);
    }
}

// ---- ETF sink ---------------------------------------------------------------

const TmcAt ETF{0x50000};

BlockSpec etfBlock() {
    return BlockSpec("ETF 0")
        .enumeration("BufferMode", {"PassThrough"})
        .boolean("Enable Buffer", true)
        .string("MemSpace", "APB")
        .addr64("Module Base Address", ETF.base)
        .enumeration("TraceCollectionMode", {"Overwrite"});
}

TEST_F(DataStreamTest, EtfSinkSequences) {
    const Access unlock = w(ETF.LAR(), 0xC5ACCE55), stop = w(ETF.CTL(), 0), start = w(ETF.CTL(), 1);
    const std::vector<Access> internalHead = {unlock, stop, w(ETF.PSCR(), 27), w(ETF.FFCR(), 0x1003)};
    struct Row {
        const char* what;
        BlockSpec block;
        int enableCalls;
        std::vector<Access> expected;
    };
    auto internal = [&](unsigned mode) {
        std::vector<Access> v = internalHead;
        v.push_back(w(ETF.MODE(), mode));
        v.push_back(start);
        return v;
    };
    const std::vector<Row> rows = {
        {"pass-through ignores the collection mode", etfBlock(), 1, {unlock, stop, w(ETF.MODE(), 2), start}},
        {"internal buffer, overwrite", etfBlock().enumeration("BufferMode", {"OneBuffer"}), 1, internal(0)},
        {"mode words are compared case-sensitively",
         etfBlock().enumeration("BufferMode", {"passthrough"}).enumeration("TraceCollectionMode", {"overwrite"}), 1,
         internal(1)},
        {"a second enable does nothing", etfBlock(), 2, {unlock, stop, w(ETF.MODE(), 2), start}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        HugoModule sink("ETF 0", row.block.build());
        auto fake = boost::make_shared<RecordingTaProcess>();
        for (int i = 0; i < row.enableCalls; ++i) EXPECT_TRUE(sink.enable(fake));
        EXPECT_TRUE(sink.isTmcConfigured());
        EXPECT_EQ(fake->accesses, row.expected);
    }
}

TEST_F(DataStreamTest, SinkResetStopsAndDisableLeavesRunning) {
    HugoModule etf("ETF 0", etfBlock().build());
    auto fake = boost::make_shared<RecordingTaProcess>();
    EXPECT_TRUE(etf.reset(fake));
    EXPECT_TRUE(etf.disable(fake));
    EXPECT_EQ(fake->accesses, (std::vector<Access>{w(ETF.CTL(), 0)}));
    EXPECT_EQ(etf.getModuleType(), 1u);
    EXPECT_FALSE(etf.supportsBufferMonitoring());
    EXPECT_EQ(etf.getFillLevel(fake), 0u);
}

TEST_F(DataStreamTest, FailedEnableIsNotLatched) {
    HugoModule etf("ETF 0", etfBlock().build());
    auto fake = boost::make_shared<RecordingTaProcess>();
    fake->failAtIndex(2, Failure::ThrowRuntimeError);  // MODE
    captureOutput([&] { EXPECT_FALSE(etf.enableModule(fake)); });
    EXPECT_FALSE(etf.isTmcConfigured());
    auto retry = boost::make_shared<RecordingTaProcess>();
    EXPECT_TRUE(etf.enable(retry));
    EXPECT_EQ(retry->accesses.size(), 4u);
}

// ---- DDR sink ---------------------------------------------------------------

const TmcAt DDR{0x60000};

BlockSpec ddrBlock() {
    return BlockSpec("DDR 0")
        .boolean("Enable Buffer", true)
        .string("MemSpace", "APB")
        .addr64("Module Base Address", DDR.base)
        .addr64("Trace Buffer Base Address", 0x8012345678)
        .addr64("Trace Buffer Size", 0x100000)
        .enumeration("TraceCollectionMode", {"Overwrite"});
}

TEST_F(DataStreamTest, DdrSinkSequences) {
    const Access unlock = w(DDR.LAR(), 0xC5ACCE55), stop = w(DDR.CTL(), 0), start = w(DDR.CTL(), 1),
                 ffcr = w(DDR.FFCR(), 0x5003);
    struct Row {
        const char* what;
        BlockSpec block;
        uint64_t status;
        std::vector<Access> expected;
    };
    const std::vector<Row> rows = {
        {"overwrite into a 1 MiB buffer",
         ddrBlock(),
         0,
         {unlock, stop, r(DDR.STS(), 0), ffcr, w(DDR.MODE(), 0), w(DDR.DBALO(), 0x12345678), w(DDR.DBAHI(), 0x80),
          w(DDR.RSZ(), 0x40000), start}},
        {"memory error written back, software FIFO, a size that is no multiple of four",
         ddrBlock().enumeration("TraceCollectionMode", {"StopOnFull"}).addr64("Trace Buffer Size", 0x1003),
         0x20,
         {unlock, stop, r(DDR.STS(), 0x20), w(DDR.STS(), 0x20), ffcr, w(DDR.MODE(), 1), w(DDR.DBALO(), 0x12345678),
          w(DDR.DBAHI(), 0x80), w(DDR.RSZ(), 0x400), start}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        boost::shared_ptr<HugoModuleDDR> sink;
        captureOutput([&] { sink = boost::make_shared<HugoModuleDDR>("DDR 0", row.block.build()); });
        auto fake = boost::make_shared<RecordingTaProcess>();
        fake->setReadValue(DDR.STS(), row.status);
        EXPECT_TRUE(sink->enable(fake));
        EXPECT_TRUE(sink->enable(fake));
        EXPECT_EQ(fake->accesses, row.expected);
    }
}

TEST_F(DataStreamTest, IncompleteSinkBlocks) {
    const std::string etf = "[quorl.ka.rq7.config.HugoModule] ERROR: [loadDataStreamSettings]";
    const std::string ddr = "[quorl.ka.rq7.config.HugoModuleDDR] ERROR: [loadDataStreamSettings]";
    auto etfSink = [](const BlockSpec& spec) { return builder<HugoModule>(spec); };
    auto ddrSink = [](const BlockSpec& spec) { return builder<HugoModuleDDR>(spec); };
    checkLoads({
        {"ETF without BufferMode", etfSink(etfBlock().without("BufferMode")),
         etf + " Could not find attribute BufferMode\n", "", false, false},
        {"ETF with an empty BufferMode", etfSink(etfBlock().enumeration("BufferMode", {})),
         etf + " No trace location selected\n", "", false, false},
        {"ETF without Enable Buffer", etfSink(etfBlock().without("Enable Buffer")),
         etf + " Could not find attribute Enable Buffer for ETF 0\n", "", false, false},
        {"ETF without MemSpace", etfSink(etfBlock().without("MemSpace")),
         etf + " No memory space string attribute (MemSpace) could be found for ETF 0\n", "", false, false},
        {"ETF without Module Base Address", etfSink(etfBlock().without("Module Base Address")),
         etf + " Could not find 'Module Base Address' for ETF 0\n", "", false, false},
        {"ETF without TraceCollectionMode", etfSink(etfBlock().without("TraceCollectionMode")),
         etf + "Could not find 'TraceCollectionMode' config block for ETF 0\n", "", false, false},
        {"ETF with an empty TraceCollectionMode", etfSink(etfBlock().enumeration("TraceCollectionMode", {})),
         etf + "Could not get value for 'TraceCollectionMode' config block for ETF 0\n", "", false, false},
        {"ETF not wanted by itself is still programmable", etfSink(etfBlock().boolean("Enable Buffer", false)), "", "",
         false, true},
        {"DDR without Enable Buffer", ddrSink(ddrBlock().without("Enable Buffer")),
         ddr + " Could not find attribute Enable Buffer for DDR 0\n", "", false, false},
        {"DDR without MemSpace", ddrSink(ddrBlock().without("MemSpace")),
         ddr + " No memory space string attribute (MemSpace) could be found for DDR 0\n", "", false, false},
        {"DDR without Module Base Address", ddrSink(ddrBlock().without("Module Base Address")),
         ddr + " Could not find 'Module Base Address' for DDR 0\n", "", false, false},
        {"DDR without Trace Buffer Base Address", ddrSink(ddrBlock().without("Trace Buffer Base Address")),
         ddr + " Could not find 'Trace Buffer Base Address' config block for DDR 0\n", "", false, false},
        {"DDR without Trace Buffer Size", ddrSink(ddrBlock().without("Trace Buffer Size")),
         ddr + " Could not find 'Trace Buffer Size' config block for DDR 0\n", "", false, false},
        {"DDR without TraceCollectionMode", ddrSink(ddrBlock().without("TraceCollectionMode")),
         ddr + "Could not find 'TraceCollectionMode' config block for DDR 0\n", "", false, false},
        {"DDR with zero buffer address and size",
         ddrSink(ddrBlock().addr64("Trace Buffer Base Address", 0).addr64("Trace Buffer Size", 0)),
         ddr + " Could not get value for 'Trace Buffer Base Address' config block for DDR 0\n" + ddr +
             " Could not get value for 'Trace Buffer Size' config block for DDR 0\n",
         "", true, true},
    });
}

}  // namespace
