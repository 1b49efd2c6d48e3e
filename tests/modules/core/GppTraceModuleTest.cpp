// The core trace unit against a recording target: the whole ordered list of
// accesses of configure, reset, enable and disable for the settings that
// change register values, comparator and tracepoint allocation (filters placed
// in LinuxTraceGenerator) up to exhaustion, VMID masks, the lockstep gate, and
// the reading of the core's block.
#include "modules/GppTraceModule.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <functional>

#include "modules/TimestampUtils.h"
#include "tests/support/ModuleTestSupport.h"

using quorl::GppTraceModule;
using rq7test::Access;
using rq7test::BlockSpec;
using rq7test::logLines;

namespace {

typedef std::vector<Access> Seq;
typedef std::function<void(BlockSpec&)> BlockChange;
typedef std::function<void(GppTraceModule&)> Filters;

const uint64_t B = 0x80040000;         // trace unit
const uint64_t COUNTER = 0x2A010000;   // timestamp counter
const uint64_t LOCKSTEP = 0x4C000010;  // lockstep status register
const char* const SPACE = "apb";
const uint32_t ATB = 0x21;

Seq operator+(Seq a, const Seq& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Access W(uint32_t offset, uint64_t value) {
    return Access::write(B + offset, value, 4, SPACE);
}
Access W8(uint32_t offset, uint64_t value) {
    return Access::write(B + offset, value, 8, SPACE);
}
Access R(uint32_t offset, uint64_t value) {
    return Access::read(B + offset, value, 4, SPACE);
}
// Address comparator i: value, then access type (default: no context match,
// EXLEVEL 0xF, every level excluded, in both security states).
Seq cmp(unsigned i, uint64_t address, uint64_t type = 0xFF00) {
    return {W8(0x400 + 8 * i, address), W8(0x480 + 8 * i, type)};
}
uint32_t idr4(uint32_t acPairs, uint32_t vmids, uint32_t rsPairs = 0) {
    return acPairs | rsPairs << 16 | vmids << 28;
}

BlockSpec coreBlock(const std::string& name = "Core 0") {
    return BlockSpec(name)
        .boolean("Enable Trace", true)
        .string("MemSpace", SPACE)
        .addr64("Module Base Address", B)
        .string("Trace Generator Type", "ETM")
        .uint32("ATB ID", ATB)
        .boolean("Timestamp", false)
        .boolean("Cycle Counting", false)
        .enumeration("TraceScenario", {"ProgramTrace"})
        .enumeration("TraceMode", {"ProgramTrace"})
        .boolean("Enable Logging", false);
}
boost::shared_ptr<quorl::TimestampUtils> counter() {
    return boost::make_shared<quorl::TimestampUtils>(BlockSpec("Timestamp Generator")
                                                         .addr64("Module Base Address", COUNTER)
                                                         .boolean("Enable Timestamp Generator", true)
                                                         .boolean("Halt on Debug", false)
                                                         .string("MemSpace", SPACE)
                                                         .uint32("Counter Base Frequency", 50000000)
                                                         .build());
}
const Seq counterWrites = {Access::write(COUNTER, 1, 4, SPACE), Access::write(COUNTER + 0x20, 50000000, 4, SPACE)};

class GppTrace : public ::testing::Test {
protected:
    void SetUp() override { quorl::ExtAddress::memorySpaceIds = {"apb", "dap"}; }
    void TearDown() override { quorl::ExtAddress::memorySpaceIds.clear(); }
};

// The parts of the configure sequence that vary between cases.
struct Expected {
    uint32_t idr4 = 0;
    Seq timestamp;
    uint32_t config = 0x46;
    Seq vmidAndContext;
    bool cycleCounting = false;
    uint32_t tsctlr = 0, vdctlr = 0;
    Seq ranges = {W(0x084, 0)};
    Seq tracepoints = {W(0x088, 0)};
    Seq viewInst = {W(0x080, 0x201)};
    uint32_t prgctlr = 0;
};

Seq configureSequence(const Expected& e) {
    Seq s = {W(0x300, 0), W(0xFB0, 0xC5ACCE55), W(0x004, 0), R(0x1E8, 0), R(0x1F0, e.idr4)};
    s = s + e.timestamp + Seq{W(0x010, e.config)} + e.vmidAndContext +
        Seq{W(0x020, 0), W(0x024, 0), W(0x040, ATB), W(0x034, 10)};
    if (e.cycleCounting) s.push_back(W(0x038, 0x200));
    s = s + Seq{W(0x030, e.tsctlr), W(0x0A8, 0), W(0x0A0, e.vdctlr), W(0x0A4, 0)};
    return s + e.ranges + e.tracepoints + e.viewInst + Seq{W(0x004, e.prgctlr)};
}

TEST_F(GppTrace, MinimalConfigureGolden) {
    GppTraceModule core("Core 0", coreBlock().build(), counter());
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    ASSERT_TRUE(core.configure(process));
    EXPECT_EQ(process->accesses,
              (Seq{W(0x300, 0), W(0xFB0, 0xC5ACCE55), W(0x004, 0), R(0x1E8, 0), R(0x1F0, 0), W(0x010, 0x46),
                   W(0x020, 0), W(0x024, 0), W(0x040, ATB), W(0x034, 10), W(0x030, 0), W(0x0A8, 0), W(0x0A0, 0),
                   W(0x0A4, 0), W(0x084, 0), W(0x088, 0), W(0x080, 0x201), W(0x004, 0)}));
}

struct ConfigureCase {
    const char* name;
    BlockChange block;
    Filters filters;
    uint32_t idr4;
    std::function<void(Expected&)> expected;
    std::string log;
    uint32_t victlr = 0x300;  // TRCVICTLR as read back when tracepoints exist
    bool withCounter = true;
    bool throughEnableModule = false;
};

const BlockChange plain = [](BlockSpec&) {};
const Filters none = [](GppTraceModule&) {};
BlockChange flags(bool ts, bool cc) {
    return [=](BlockSpec& b) { b.boolean("Timestamp", ts).boolean("Cycle Counting", cc); };
}
BlockChange scenarios(std::vector<std::string> v) {
    return [v](BlockSpec& b) { b.enumeration("TraceScenario", v); };
}
void range(GppTraceModule& m, uint64_t start, uint64_t end, uint32_t kind) {
    m.addressRanges[start] = quorl::LinuxTraceGenerator::AddressRange{end, kind};
}
const std::string ERR = "[quorl.ka.rq7.config.GppTraceModule] ERROR: ";

const std::vector<ConfigureCase> configureCases = {
    // Settings that change TRCCONFIGR, TRCTSCTLR, TRCCCCTLR, TRCVDCTLR and TRCPRGCTLR.
    {"AllOptionsAndAVmidComparator", flags(true, true), none, idr4(4, 1),
     [](Expected& e) { e.timestamp = counterWrites, e.config = 0x8D6, e.cycleCounting = true, e.tsctlr = 1; }, ""},
    {"CycleCountingAlone", flags(false, true), none, 0, [](Expected& e) { e.config = 0x56, e.cycleCounting = true; },
     ""},
    {"DataAddress", scenarios({"ProgramTrace", "DataAddress"}), none, 0,
     [](Expected& e) { e.config = 0x10046, e.vdctlr = 1; }, ""},
    {"DataValue", scenarios({"DataValue"}), none, 0, [](Expected& e) { e.config = 0x20046, e.vdctlr = 1; }, ""},
    {"BothDataScenarios", scenarios({"DataValue", "DataAddress"}), none, 0,
     [](Expected& e) { e.config = 0x30046, e.vdctlr = 1; }, ""},
    {"ScenarioNamesCompareWhole", scenarios({"DataAdress", "dataaddress", "DataValue "}), none, 0, [](Expected&) {},
     ""},
    {"TimestampWithoutGenerator", flags(true, false), none, 0, [](Expected& e) { e.config = 0x846, e.tsctlr = 1; },
     ERR + "Error: Timestamp module not initialized. Make sure config block Timestamp Generator is present.\n", 0x300,
     false},
    {"EnableModuleStartsTheUnit", plain, none, 0, [](Expected& e) { e.prgctlr = 1; }, "", 0x300, true, true},
    // VMID and context identifier.
    {"VmidComparatorZero", plain, [](GppTraceModule& m) { m.vmid = 0x42; }, idr4(0, 2),
     [](Expected& e) {
         e.vmidAndContext = {W(0x688, 0xFFFFFF00), W8(0x640, 0x42)};
     },
     ""},
    {"VmidWithoutComparatorsDropped", plain, [](GppTraceModule& m) { m.vmid = 0x42; }, 0, [](Expected&) {}, ""},
    {"ContextIdWithComparator", plain, [](GppTraceModule& m) { m.contextId = 0x77, m.contextIdComparator = true; }, 0,
     [](Expected& e) {
         e.vmidAndContext = {W(0x600, 0x77), R(0x680, 0xABCD), W(0x680, 0xAB01)};
     },
     ""},
    {"ContextIdWithoutComparator", plain, [](GppTraceModule& m) { m.contextId = 0x77; }, 0,
     [](Expected& e) {
         e.vmidAndContext = {W(0x600, 0x77), R(0x680, 0xABCD), W(0x680, 0xAB00)};
     },
     ""},
    // Address ranges: comparator pairs, TRCVIIECTLR, access types.
    {"OneIncludeRange", plain, [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 0),
     [](Expected& e) { e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + Seq{W(0x084, 1)}; }, ""},
    {"ExcludeRangeSecondInMap", plain,
     [](GppTraceModule& m) { range(m, 0x9000, 0x9FFF, 1), range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 0),
     [](Expected& e) {
         e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + cmp(2, 0x9000) + cmp(3, 0x9FFF) + Seq{W(0x084, 0x20001)};
     },
     ""},
    {"RangeOfOtherKindTakesComparatorsOnly", plain,
     [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 2), range(m, 0x5000, 0x5FFF, 0); }, idr4(4, 0),
     [](Expected& e) {
         e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + cmp(2, 0x5000) + cmp(3, 0x5FFF) + Seq{W(0x084, 2)};
     },
     ""},
    {"ContextIdInAccessType", plain, [](GppTraceModule& m) { m.contextId = 5, range(m, 0x1000, 0x1FFF, 0); },
     idr4(4, 0),
     [](Expected& e) {
         e.vmidAndContext = {W(0x600, 5), R(0x680, 0xABCD), W(0x680, 0xAB00)};
         e.ranges = cmp(0, 0x1000, 0xFF04) + cmp(1, 0x1FFF, 0xFF04) + Seq{W(0x084, 1)};
     },
     ""},
    {"ContextIdAndVmidInAccessType", plain,
     [](GppTraceModule& m) { m.contextId = 5, m.vmid = 6, range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 1),
     [](Expected& e) {
         e.vmidAndContext = {W(0x688, 0xFFFFFF00), W8(0x640, 6), W(0x600, 5), R(0x680, 0xABCD), W(0x680, 0xAB00)};
         e.ranges = cmp(0, 0x1000, 0xFF0C) + cmp(1, 0x1FFF, 0xFF0C) + Seq{W(0x084, 1)};
     },
     ""},
    {"VmidAloneNotMatched", plain, [](GppTraceModule& m) { m.vmid = 6, range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 1),
     [](Expected& e) {
         e.vmidAndContext = {W(0x688, 0xFFFFFF00), W8(0x640, 6)};
         e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + Seq{W(0x084, 1)};
     },
     ""},
    {"AllExceptionLevelsTraced", plain,
     [](GppTraceModule& m) { m.exceptionLevelFilter = 7, range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 0),
     [](Expected& e) { e.ranges = cmp(0, 0x1000, 0x4400) + cmp(1, 0x1FFF, 0x4400) + Seq{W(0x084, 1)}; }, ""},
    {"El1Traced", plain, [](GppTraceModule& m) { m.exceptionLevelFilter = 2, range(m, 0x1000, 0x1FFF, 0); }, idr4(4, 0),
     [](Expected& e) { e.ranges = cmp(0, 0x1000, 0xDD00) + cmp(1, 0x1FFF, 0xDD00) + Seq{W(0x084, 1)}; }, ""},
    {"RangesExhausted", plain, [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 0), range(m, 0xA000, 0xAFFF, 1); },
     idr4(1, 0), [](Expected& e) { e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF); },
     ERR + "Unable to find an available address range comparators for 0xa000-0xafff\n"},
    {"NoComparatorsForARange", plain, [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 0); }, 0,
     [](Expected& e) { e.ranges = {}; },
     ERR + "Unable to find an available address range comparators for 0x1000-0x1fff\n"},
    // Tracepoints: lowest free comparator, TRCVISSCTLR, TRCVICTLR read back.
    {"StartTracepointAfterRange", plain,
     [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 0), m.tracepoints[0x3000] = 0; }, idr4(4, 0),
     [](Expected& e) {
         e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + Seq{W(0x084, 1)};
         e.tracepoints = cmp(2, 0x3000) + Seq{W(0x088, 0x4)};
         e.viewInst = {R(0x080, 0), W(0x080, 0x1)};
     },
     "", 0},
    {"StopTracepointKeepsAnEventAlreadySet", plain, [](GppTraceModule& m) { m.tracepoints[0x3000] = 1; }, idr4(4, 0),
     [](Expected& e) {
         e.tracepoints = cmp(0, 0x3000) + Seq{W(0x088, 0x10000)};
         e.viewInst = {R(0x080, 0x205), W(0x080, 0x205)};
     },
     "", 0x205},
    {"TracepointOfOtherKindSetsNoBit", plain,
     [](GppTraceModule& m) { m.tracepoints[0x3000] = 7, m.tracepoints[0x4000] = 0; }, idr4(4, 0),
     [](Expected& e) {
         e.tracepoints = cmp(0, 0x3000) + cmp(1, 0x4000) + Seq{W(0x088, 0x2)};
         e.viewInst = {R(0x080, 0x300), W(0x080, 0x301)};
     },
     ""},
    {"TracepointsExhausted", plain,
     [](GppTraceModule& m) { m.tracepoints[0x1000] = 0, m.tracepoints[0x2000] = 1, m.tracepoints[0x3000] = 0; },
     idr4(1, 0),
     [](Expected& e) {
         e.tracepoints = cmp(0, 0x1000) + cmp(1, 0x2000);
         e.viewInst = {R(0x080, 0x300), W(0x080, 0x301)};
     },
     ERR + "Unable to find an available comparator for tracepoint : 0x3000\n"},
    {"RangesLeaveNoComparatorForTracepoint", plain,
     [](GppTraceModule& m) { range(m, 0x1000, 0x1FFF, 1), m.tracepoints[0xBEEF] = 0; }, idr4(1, 0),
     [](Expected& e) {
         e.ranges = cmp(0, 0x1000) + cmp(1, 0x1FFF) + Seq{W(0x084, 0x10000)};
         e.tracepoints = {};
         e.viewInst = {R(0x080, 0x300), W(0x080, 0x301)};
     },
     ERR + "Unable to find an available comparator for tracepoint : 0xbeef\n"},
};

class Configure : public GppTrace, public ::testing::WithParamInterface<ConfigureCase> {};

TEST_P(Configure, WholeAccessList) {
    const ConfigureCase& c = GetParam();
    BlockSpec spec = coreBlock();
    c.block(spec);
    testing::internal::CaptureStdout();
    GppTraceModule core("Core 0", spec.build(), c.withCounter ? counter() : boost::shared_ptr<quorl::TimestampUtils>());
    c.filters(core);
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    process->setReadValue(B + 0x1F0, c.idr4);
    process->setReadValue(B + 0x680, 0xABCD);
    process->setReadValue(B + 0x080, c.victlr);
    EXPECT_TRUE(c.throughEnableModule ? core.enableModule(process) : core.configure(process));
    const std::string log = logLines(testing::internal::GetCapturedStdout());

    Expected e;
    e.idr4 = c.idr4;
    if (c.idr4 >> 28) e.config |= 0x80;
    c.expected(e);
    EXPECT_EQ(process->accesses, configureSequence(e));
    EXPECT_EQ(log, c.log);
}

INSTANTIATE_TEST_SUITE_P(GppTraceModule, Configure, ::testing::ValuesIn(configureCases),
                         [](const auto& info) { return std::string(info.param.name); });

// In-use marks survive from one configure to the next, so each configure with
// a VMID takes the next comparator; its mask is shifted by the comparator
// number and comparator 4 gets none, as the unit is told.
TEST_F(GppTrace, EachConfigureTakesTheNextVmidComparator) {
    GppTraceModule core("Core 0", coreBlock().build(), counter());
    core.vmid = 0x42;
    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    process->setReadValue(B + 0x1F0, idr4(0, 8));
    const std::vector<Seq> expected = {
        {W(0x688, 0xFFFFFF00), W8(0x640, 0x42)},
        {W(0x688, 0xFFFFFE01), W8(0x648, 0x42)},
        {W(0x688, 0xFFFFFC03), W8(0x650, 0x42)},
        {W(0x688, 0xFFFFF807), W8(0x658, 0x42)},
        {W8(0x660, 0x42)},
        {W(0x68C, 0xFFFFFE01), W8(0x668, 0x42)},
        {W(0x68C, 0xFFFFFC03), W8(0x670, 0x42)},
        {W(0x68C, 0xFFFFF807), W8(0x678, 0x42)},
        {},
    };
    for (size_t run = 0; run < expected.size(); ++run) {
        process->clear();
        ASSERT_TRUE(core.configure(process));
        Expected e;
        e.idr4 = idr4(0, 8);
        e.config = 0xC6;
        e.vmidAndContext = expected[run];
        EXPECT_EQ(process->accesses, configureSequence(e)) << "configure " << run;
    }
}

// ---- reset ----------------------------------------------------------------------

Seq resetSequence(uint32_t id4, unsigned comparators = 0, unsigned vmids = 0) {
    Seq s = {W(0x300, 0), W(0xFB0, 0xC5ACCE55), R(0x1E8, 0), R(0x1F0, id4), W(0x080, 0), W(0x088, 0),
             W(0x020, 0), W(0x024, 0),          W(0x004, 0), W(0x084, 0),   W(0x680, 0)};
    if (comparators > 4) s.push_back(W(0x684, 0));
    for (unsigned i = 0; i < comparators; ++i) s.push_back(W8(0x400 + 8 * i, 0));
    for (unsigned i = 0; i < comparators; ++i) s.push_back(W8(0x480 + 8 * i, 0));
    for (unsigned i = 0; i < vmids; ++i) s.push_back(W8(0x640 + 8 * i, 0));
    return s;
}

TEST_F(GppTrace, ResetAndDisableWriteTheSameSequence) {
    struct Case {
        uint32_t idr4;
        unsigned comparators, vmids;
    };
    const std::vector<Case> cases = {
        {0, 0, 0}, {idr4(2, 0), 4, 0}, {idr4(4, 2), 8, 2}, {idr4(15, 15, 15), 16, 8},  // above the maximum
    };
    for (const Case& c : cases)
        for (bool throughDisableModule : {false, true}) {
            GppTraceModule core("Core 0", coreBlock().build(), counter());
            auto process = boost::make_shared<rq7test::RecordingTaProcess>();
            process->setReadValue(B + 0x1F0, c.idr4);
            EXPECT_TRUE(throughDisableModule ? core.disableModule(process, true) : core.reset(process));
            EXPECT_EQ(process->accesses, resetSequence(c.idr4, c.comparators, c.vmids)) << std::hex << c.idr4;
        }
}

// ---- lockstep gate ----------------------------------------------------------------

struct LockstepCase {
    const char* name;
    unsigned accessType;
    BlockChange block;
    bool statusFails;
    uint32_t status;
    Seq gate;         // accesses of the gate itself
    bool programmed;  // the rest of the sequence follows
    std::string log;
};

BlockChange lockstep(bool main, uint64_t address = LOCKSTEP, bool withSpace = true) {
    return [=](BlockSpec& b) {
        if (withSpace) b.string("Lockstep Register MemSpace", "dap");
        b.addr64("Lockstep Status Register", address).boolean("Main Lockstep Cluster", main);
    };
}
Access statusRead(uint32_t v) {
    return Access::read(LOCKSTEP, v, 4, "dap");
}

const std::vector<LockstepCase> lockstepCases = {
    {"AgentNeverReadsTheStatus", 1, lockstep(false), false, 1, {}, true, ""},
    {"SecondaryCoreIsLeftAlone", 2, lockstep(false), false, 1, {statusRead(1)}, false, ""},
    {"MainClusterIsProgrammed", 2, lockstep(true), false, 1, {statusRead(1)}, true, ""},
    {"CoreNotInLockstep", 2, lockstep(false), false, 0xFFFFFFFE, {statusRead(0xFFFFFFFE)}, true, ""},
    {"NoStatusRegister", 2, plain, false, 1, {}, true, ""},
    {"StatusRegisterWithoutMemorySpace", 2, lockstep(false, LOCKSTEP, false), false, 1, {}, true, ""},
    {"StatusRegisterAtZero", 2, lockstep(false, 0), false, 1, {}, true, ""},
    {"UnreadableStatusProgramsTheCore",
     2,
     lockstep(false),
     true,
     1,
     {statusRead(1)},
     true,
     ERR + "Error reading lockstep status register.Error while reading LOCKSTEP_STATUS\n"},
};

class Lockstep : public GppTrace, public ::testing::WithParamInterface<LockstepCase> {};

TEST_P(Lockstep, GateOfConfigureAndReset) {
    const LockstepCase& c = GetParam();
    BlockSpec spec = coreBlock();
    c.block(spec);
    GppTraceModule core("Core 0", spec.build(), counter());
    for (bool isReset : {false, true}) {
        auto process = boost::make_shared<rq7test::RecordingTaProcess>();
        process->setAccessType(c.accessType);
        process->setReadValue(LOCKSTEP, c.status);
        if (c.statusFails) process->failAtAddress(LOCKSTEP, rq7test::AccessKind::Read, rq7test::Failure::ReturnFalse);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(isReset ? core.reset(process) : core.configure(process));
        EXPECT_EQ(logLines(testing::internal::GetCapturedStdout()), c.log);
        Seq expected = c.gate;
        if (c.programmed) expected = expected + (isReset ? resetSequence(0) : configureSequence(Expected{}));
        EXPECT_EQ(process->accesses, expected) << (isReset ? "reset" : "configure");
    }
}

INSTANTIATE_TEST_SUITE_P(GppTraceModule, Lockstep, ::testing::ValuesIn(lockstepCases),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- reading the block --------------------------------------------------------------

struct ReadingCase {
    const char* name;
    BlockChange change;
    std::string message;
};

BlockChange drop(const char* attribute) {
    return [attribute](BlockSpec& b) { b.without(attribute); };
}
const std::string NOT_FOUND = "[readModuleConfiguration]: Error: Could not find attribute ";

const std::vector<ReadingCase> readingCases = {
    {"EnableTraceMissing", drop("Enable Trace"), NOT_FOUND + "Enable Trace for Core 3"},
    {"MemSpaceMissing", drop("MemSpace"), NOT_FOUND + "MemSpace for Core 3"},
    {"BaseAddressMissing", drop("Module Base Address"),
     "[readModuleConfiguration] Could not find 'Module Base Address' for Core 3"},
    {"TraceGeneratorTypeMissing", drop("Trace Generator Type"), NOT_FOUND + "Trace Generator Type for Core 3"},
    {"AtbIdOfAnotherType", [](BlockSpec& b) { b.string("ATB ID", "33"); }, NOT_FOUND + "ATB ID for Core 3"},
    {"TimestampMissing", drop("Timestamp"),
     "[readModuleConfiguration]Could not find 'Timestamp' attribute! for Core 3"},
    {"CycleCountingMissing", drop("Cycle Counting"),
     "[readModuleConfiguration]Could not find 'Cycle Counting' attribute for Core 3"},
    {"TraceScenarioMissing", drop("TraceScenario"),
     "[readModuleConfiguration]Could not find 'TraceScenario' config block for Core 3"},
    {"TraceScenarioWithoutValue", [](BlockSpec& b) { b.enumeration("TraceScenario", {}); },
     "[readModuleConfiguration]Could not get value for 'TraceScenario' config block for Core 3"},
    {"TraceModeMissing", drop("TraceMode"),
     "[readModuleConfiguration]Could not find 'TraceMode' config block for Core 3"},
    {"TraceModeWithoutValue", [](BlockSpec& b) { b.enumeration("TraceMode", {}); },
     "[readModuleConfiguration]Could not get value for 'TraceMode' config block for Core 3"},
    {"EnableLoggingMissing", drop("Enable Logging"),
     "[loadCoreSettings]: Error: Could not find attribute Enable Logging for Core 3"},
};

class Reading : public GppTrace, public ::testing::WithParamInterface<ReadingCase> {};

// A block that stops early gives a module that keeps enableTrace false and,
// having no base address, touches nothing however it is driven.
TEST_P(Reading, IncompleteBlockGivesAnInertModule) {
    const ReadingCase& c = GetParam();
    BlockSpec spec = coreBlock("Core 3");
    c.change(spec);
    testing::internal::CaptureStdout();
    GppTraceModule core("Core 3", spec.build(), counter());
    EXPECT_EQ(logLines(testing::internal::GetCapturedStdout()), ERR + c.message + "\n");
    EXPECT_FALSE(core.isEnableTrace());

    auto process = boost::make_shared<rq7test::RecordingTaProcess>();
    process->setAccessType(2);
    EXPECT_TRUE(core.reset(process));
    EXPECT_TRUE(core.enableModule(process));
    EXPECT_TRUE(core.disableModule(process, true));
    EXPECT_TRUE(process->accesses.empty());
}

INSTANTIATE_TEST_SUITE_P(GppTraceModule, Reading, ::testing::ValuesIn(readingCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(GppTrace, CompleteBlockNamesTheModuleAndChecksTheMemorySpace) {
    testing::internal::CaptureStdout();  // the memory space check logs the unknown name
    GppTraceModule core("as the factory passed it", coreBlock("Core 3").string("MemSpace", "nowhere").build(),
                        counter());
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(core.isEnableTrace());
    EXPECT_EQ(core.getName(), "Core 3");
    EXPECT_EQ(core.getMemorySpace(), "");  // unknown spaces fall back to the default
}

// ---- failures on the way ------------------------------------------------------------

TEST_F(GppTrace, FailedAccessStopsTheSequenceAndNamesTheRegister) {
    struct Case {
        bool enable;
        uint32_t offset;
        rq7test::AccessKind kind;
        std::string message;
        size_t accesses;  // how far the sequence got, the failing access included
    };
    const std::vector<Case> cases = {
        {true, 0x010, rq7test::AccessKind::Write, "Cannot enable module: Error while writing ETM_TRCCONFIGR", 6},
        {true, 0x300, rq7test::AccessKind::Write, "Cannot enable module: Error while writing ETM_TRCOSLAR", 1},
        {false, 0x1F0, rq7test::AccessKind::Read, "Cannot disable module: Error while reading ETM_TRCIDR4", 4},
        {false, 0x004, rq7test::AccessKind::Write, "Cannot disable module: Error while writing ETM_TRCPRGCTLR", 9},
    };
    for (const Case& c : cases) {
        GppTraceModule core("Core 0", coreBlock().build(), counter());
        auto process = boost::make_shared<rq7test::RecordingTaProcess>();
        process->failAtAddress(B + c.offset, c.kind, rq7test::Failure::ThrowException);
        testing::internal::CaptureStdout();
        EXPECT_FALSE(c.enable ? core.enableModule(process) : core.disableModule(process, false));
        EXPECT_EQ(logLines(testing::internal::GetCapturedStdout()),
                  "[quorl.ka.rq.config.ConfigurationModule] ERROR: " + c.message + "\n");
        EXPECT_EQ(process->accesses.size(), c.accesses) << c.message;
    }
}

}  // namespace
