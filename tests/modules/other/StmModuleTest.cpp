// STM programming: the control values and write order for each combination of
// the four switches, and what a block with missing attributes leads to.
#include "modules/StmModule.h"
#include "modules/TimestampUtils.h"
#include "tests/support/ModuleTestSupport.h"

#include <gtest/gtest.h>

using namespace rq7test;
using quorl::StmModule;

namespace {

const uint64_t STM = 0x20000;
const uint64_t TSGEN = 0x30000;

// Register addresses of the STM under test.
const uint64_t STMLAR = STM + 0xFB0, STMTSFREQR = STM + 0xE8C, STMTCSR = STM + 0xE80, STMAUXCR = STM + 0xE94,
               STMSPER = STM + 0xE00, STMHEER = STM + 0xD00, STMHETER = STM + 0xD20, STMHEMCR = STM + 0xD64,
               STMHEBSR = STM + 0xD60;

BlockSpec stmBlock() {
    return BlockSpec("STM")
        .boolean("Enable Trace", true)
        .string("MemSpace", "APB")
        .addr64("Module Base Address", STM)
        .boolean("Timestamp", true)
        .uint32("Bank Event ID", 3)
        .boolean("Enable Hw Events Trace", true);
}

// A running counter, no halt on debug, no frequency: one write of CNTCR = 1.
boost::shared_ptr<quorl::TimestampUtils> timestampGenerator() {
    return boost::make_shared<quorl::TimestampUtils>(BlockSpec("Timestamp Generator")
                                                         .addr64("Module Base Address", TSGEN)
                                                         .boolean("Enable Timestamp Generator", true)
                                                         .boolean("Halt on Debug", false)
                                                         .string("MemSpace", "APB")
                                                         .uint32("Counter Base Frequency", 0)
                                                         .build());
}

ModuleBuilder stm(const BlockSpec& spec, bool withTimestampGenerator = true) {
    return builder<StmModule>(spec, withTimestampGenerator ? timestampGenerator() : nullptr);
}

class StmModuleTest : public testing::Test {
protected:
    void SetUp() override { useTestMemorySpaces(); }
};

TEST_F(StmModuleTest, WritesControlValuesInRequiredOrder) {
    const Access unlock = w(STMLAR, 0xC5ACCE55), counter = w(TSGEN, 1), noFrequency = w(STMTSFREQR, 0),
                 aux = w(STMAUXCR, 1), ports = w(STMSPER, 0xFFFFFFFF), events = w(STMHEER, 0xFFFFFFFF),
                 triggers = w(STMHETER, 0xFFFFFFFF), eventControl = w(STMHEMCR, 0xF7);
    checkSequences(
        {
            {"timestamp and hardware events, bank 3",
             stm(stmBlock()),
             Op::EnableModule,
             {unlock, counter, noFrequency, w(STMTCSR, 0x40000E), w(STMTCSR, 0x40000F), aux, ports, events, triggers,
              eventControl, w(STMHEBSR, 1)}},
            {"neither timestamp nor hardware events",
             stm(stmBlock().boolean("Timestamp", false).boolean("Enable Hw Events Trace", false)),
             Op::EnableModule,
             {unlock, w(STMTCSR, 0x400004), w(STMTCSR, 0x400005), aux, ports}},
            {"hardware events on bank 0",
             stm(stmBlock().boolean("Timestamp", false).uint32("Bank Event ID", 0)),
             Op::EnableModule,
             {unlock, w(STMTCSR, 0x40000C), w(STMTCSR, 0x40000D), aux, ports, events, triggers, eventControl,
              w(STMHEBSR, 0)}},
            {"configure while not enabled writes the control value once, unit off",
             stm(stmBlock()),
             Op::Configure,
             {unlock, counter, noFrequency, w(STMTCSR, 0x40000E), aux, ports, events, triggers, eventControl,
              w(STMHEBSR, 1)}},
            {"no bank event: hardware events stay off, the base address is kept",
             stm(stmBlock().without("Bank Event ID")),
             Op::EnableModule,
             {unlock, counter, noFrequency, w(STMTCSR, 0x400006), w(STMTCSR, 0x400007), aux, ports}},
            {"timestamp without a timestamp generator",
             stm(stmBlock(), false),
             Op::EnableModule,
             {unlock, noFrequency, w(STMTCSR, 0x40000E), w(STMTCSR, 0x40000F), aux, ports, events, triggers,
              eventControl, w(STMHEBSR, 1)}},
            {"reset clears the control register alone", stm(stmBlock()), Op::Reset, {w(STMTCSR, 0)}},
            {"disable clears the control register alone", stm(stmBlock()), Op::Disable, {w(STMTCSR, 0)}},
        },
        quorl::ConfigurationModule::TraceGenerator);
}

TEST_F(StmModuleTest, IncompleteBlocks) {
    const std::string channel = "[quorl.ka.rq7.config.StmModule] ERROR: ";
    auto build = [](const char* missing) { return stm(stmBlock().without(missing)); };
    checkLoads({
        {"Enable Trace", build("Enable Trace"), "", "[loadSTMSettings]: Error: Could not find attribute Enable Trace\n",
         false, false},
        {"MemSpace", build("MemSpace"), channel + "[loadSTMSettings]: Error: Could not find attribute MemSpace\n\n", "",
         false, false},
        {"Module Base Address", build("Module Base Address"),
         channel + "[loadDataStreamSettings] Could not find 'Module Base Address' for STM\n", "", false, false},
        {"Timestamp", build("Timestamp"), channel + "[loadSTMSettings]: Error: Could not find attribute Timestamp\n\n",
         "", false, false},
        {"Bank Event ID is optional and not reported", build("Bank Event ID"), "", "", true, true},
        {"Enable Hw Events Trace", build("Enable Hw Events Trace"),
         channel + "[loadSTMSettings]: Error: Could not find attribute Enable Hw Events Trace\n\n", "", true, true},
    });
}

}  // namespace
